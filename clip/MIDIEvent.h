#pragma once

// One received note-on as the documents see it: which source sent it (its index in the
// list of sources when the connections were made), on which channel (0..15; channel 1
// of the user interface is 0) and which note (0..127). A plain value. Any thread.

class MIDIEvent {
public:
    MIDIEvent() = default;
    MIDIEvent(int note, int sourceIndex, int channel)
        : _note(note)
        , _sourceIndex(sourceIndex)
        , _channel(channel) {}

    int note() const { return _note; }
    void setNote(int note) { _note = note; }
    int sourceIndex() const { return _sourceIndex; }
    void setSourceIndex(int sourceIndex) { _sourceIndex = sourceIndex; }
    int channel() const { return _channel; }
    void setChannel(int channel) { _channel = channel; }

private:
    int _note = 0;
    int _sourceIndex = 0;
    int _channel = 0;
};
