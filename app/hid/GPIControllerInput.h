#pragma once

// One input line of a GPI box, as a handle others can hold: its stored level.
// Main thread only.

class GPIController;

class GPIControllerInput {
public:
    GPIControllerInput(GPIController* controller, int index)
        : _controller(controller)
        , _index(index) {}

    int index() const { return _index; }
    // The line's last level read: true = high (contact open), false = low (closed).
    bool state() const;

private:
    GPIController* _controller; // the owner, not retained
    int _index;
};
