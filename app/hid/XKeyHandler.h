#pragma once

// The receiver of keypad keys: the application object (through XKeysKeyTable). Keys come
// by number (5..76, see XKeysDevice), every press and every release in the order they
// happened. Main thread only, from the keypad poll.

class XKeyHandler {
public:
    virtual ~XKeyHandler() = default;

    virtual void handlePressedXKey(int key) = 0;
    virtual void handleReleasedXKey(int key) = 0;
};
