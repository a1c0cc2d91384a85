// The line handles of a GPI box, over their controller.

#include "app/hid/GPIController.h"
#include "app/hid/GPIControllerInput.h"
#include "app/hid/GPIControllerOutput.h"

bool GPIControllerInput::state() const {
    return _controller->getStateOfInput(_index);
}

void GPIControllerOutput::setState(bool state) {
    _controller->setState(state, _index);
}

void GPIControllerOutput::handlePulseCommand() {
    _controller->pulseOutput(_index);
}
