#pragma once

// One output (tally) line of a GPI box, as a handle others can hold. Main thread only.

class GPIController;

class GPIControllerOutput {
public:
    GPIControllerOutput(GPIController* controller, int index)
        : _controller(controller)
        , _index(index) {}

    int index() const { return _index; }
    // Sets the line's state: false lights the tally, true turns it off.
    void setState(bool state);
    // Flashes the line for one sixtieth of a second; its stored state does not change.
    void handlePulseCommand();

private:
    GPIController* _controller; // the owner, not retained
    int _index;
};
