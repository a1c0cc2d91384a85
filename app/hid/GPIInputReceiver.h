#pragma once

// The controller of a document as a GPI box reaches it: a contact of the box changed.
//
// Thread contract: main thread only, from the GPI poll.

class GPIInputReceiver {
public:
    virtual ~GPIInputReceiver() = default;

    // Input `input` (0..23) went to `newState`: 1 = contact closed, 0 = contact opened.
    virtual void gpiInputHasChanged(int input, int newState) = 0;
};
