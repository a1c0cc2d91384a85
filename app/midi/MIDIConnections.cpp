#include "app/midi/MIDIConnections.h"

#include "app/midi/RtMidiSourceList.h"
#include "clip/MIDIController.h"

#include <QComboBox>

RtMidiSourceList& platformMIDISources() {
    // Never destroyed: its inputs' threads must not be torn down by a static destructor
    // after the application object has gone; closing is CloseMIDIConnections' job.
    static RtMidiSourceList* sources = new RtMidiSourceList;
    return *sources;
}

void OpenMIDIConnections(const QString& name) {
    platformMIDISources().openConnections(name);
}

void CloseMIDIConnections() {
    platformMIDISources().closeConnections();
}

int CountMIDISources() {
    return platformMIDISources().count();
}

int GetMIDISourceName(int index, QString* name) {
    return platformMIDISources().name(index, name) ? 0 : -1;
}

void fillPopUpButtonWithMIDISources(QComboBox* popUp) {
    if (!popUp) {
        return;
    }
    popUp->clear();
    popUp->addItems(MIDIController::popUpItemsForMIDISources());
}
