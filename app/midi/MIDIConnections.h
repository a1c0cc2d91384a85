#pragma once

// The process's MIDI connections in the procedural form the rest of the program calls:
// one process-wide source list over the ALSA sequencer and JACK, which the application
// installs in MIDIController at start (MIDIController::setSourceList), and the operations
// on it.
//
// Thread contract: main thread only.

#include <QString>

class QComboBox;
class RtMidiSourceList;

// The process's sources (ALSA sequencer, then JACK), made on first use.
RtMidiSourceList& platformMIDISources();

// Connects every source of the process list under the client and port name `name`, each
// with its index as connection reference.
void OpenMIDIConnections(const QString& name);
// Disconnects every source and releases the inputs.
void CloseMIDIConnections();
// The number of MIDI sources of the system.
int CountMIDISources();
// The name of source `index` in *name; 0 on success, -1 when it cannot be read.
int GetMIDISourceName(int index, QString* name);

// Empties `popUp` and fills it with "None", then the name of every source whose name can
// be read, in source order (through the source list installed in MIDIController).
void fillPopUpButtonWithMIDISources(QComboBox* popUp);
