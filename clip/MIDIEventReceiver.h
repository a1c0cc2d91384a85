#pragma once

// A client of the MIDI controller: every open document registers one and hears every
// note-on from every source, deciding by itself whether it matches a clip's trigger.
//
// Thread contract: called on the main thread, from the controller's 50 ms drain tick.

class MIDIEvent;

class MIDIEventReceiver {
public:
    virtual ~MIDIEventReceiver() = default;

    virtual void receiveMIDIEvent(const MIDIEvent& event) = 0;
};
