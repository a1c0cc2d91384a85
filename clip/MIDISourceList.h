#pragma once

// The system's MIDI sources as the controller sees them: how many there are and their
// names, in the order the connections were made (a source's index there is the source
// index of its events). The platform back end implements it and connects every source
// so that its note-ons reach the process note ring; tests install a fake.
//
// Thread contract: main thread only.

#include <QString>

class MIDISourceList {
public:
    virtual ~MIDISourceList() = default;

    // The number of sources.
    virtual int count() const = 0;
    // The name of source `index` (0 <= index < count()) in *name; false when it cannot
    // be read.
    virtual bool name(int index, QString* name) const = 0;

    // Connects every source under the client name `clientName`, so their note-ons are
    // written to the process note ring. Called once, when the controller is made and at
    // least one source exists.
    virtual void openConnections(const QString& clientName) { (void)clientName; }
    // Disconnects every source and releases the client.
    virtual void closeConnections() {}
};
