#pragma once

// The keyboard state the document windows consult beside the event in hand: the
// application's latched key states (set by a keypad's modifier keys, so they last beyond
// one event) and whether the physical Left and Right arrow keys are held at this moment
// (the application tracks their presses and releases itself). Installed by the
// application in StudioServices; without it nothing is latched and no arrow is held.
//
// Thread contract: main thread only.

class ApplicationKeyStates {
public:
    virtual ~ApplicationKeyStates() = default;

    virtual bool shiftKeyState() const = 0;
    virtual bool altKeyState() const = 0;
    virtual bool commandKeyState() const = 0;
    virtual bool controlKeyState() const = 0;
    // While set, a fired button is pre-listened from its start instead.
    virtual bool leftArrowKeyState() const = 0;
    // While set, a fired button is pre-listened from shortly before its end instead.
    virtual bool rightArrowKeyState() const = 0;

    // The physical arrow keys, held down now.
    virtual bool isLeftArrowDepressed() const = 0;
    virtual bool isRightArrowDepressed() const = 0;
};
