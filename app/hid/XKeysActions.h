#pragma once

// What the keypad's keys do, as the application object offers it: its latched key
// states, the front document, the function-key documents, the outputs panel and the
// pre-listen player. The application implements it; XKeysKeyTable maps key numbers onto
// it.
//
// Thread contract: main thread only.

class XKeysActions {
public:
    virtual ~XKeysActions() = default;

    // ---- Latched key states ----
    virtual bool shiftKeyState() const = 0;
    virtual bool commandKeyState() const = 0;
    // The four modifier setters also post the physical modifier key where the window
    // system allows it, so a held keypad modifier modifies clicks and typing as well.
    virtual void setShiftKeyState(bool state) = 0;
    virtual void setControlKeyState(bool state) = 0;
    virtual void setAltKeyState(bool state) = 0;
    virtual void setCommandKeyState(bool state) = 0;
    virtual void setLeftArrowKeyState(bool state) = 0;
    virtual void setRightArrowKeyState(bool state) = 0;
    virtual void setConfigKeyState(bool state) = 0;
    virtual void setEditKeyState(bool state) = 0;
    virtual void setStopKeyState(bool state) = 0;
    virtual void setLoopKeyState(bool state) = 0;

    // ---- The front document (the document of the front-most window) ----
    // A grid-button press from the keypad: the application's key-state rule (configure,
    // edit, stop, loop, or start / pre-listen) applied to button `index` of the front
    // document.
    virtual void handleClipButtonPressed(int index) = 0;
    // The front document's controller toggles its cue mode.
    virtual void toggleCueMode() = 0;
    // Opens the document stored under "Function Key <index>" (1..12).
    virtual bool openFunctionKeyDocumentAtIndex(int index) = 0;

    // ---- The outputs panel ----
    virtual void stopOutput(int outputIndex) = 0;
    virtual void pauseOutput(int outputIndex) = 0;
    // The panel's stop-all and pause-all buttons.
    virtual void stopButtonPushed() = 0;
    virtual void pauseButtonPushed() = 0;

    // ---- The pre-listen player ----
    virtual void preListenStopButtonPushed() = 0;
    virtual void preListenPlayButtonPushed() = 0;
    virtual void preListenJumpBackButtonPushed() = 0;
};
