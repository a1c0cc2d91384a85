#include "app/hid/XKeysKeyTable.h"

#include "app/hid/XKeysActions.h"

namespace {

constexpr int kFirstKey = 5;
constexpr int kKeysPerColumn = 8;
constexpr int kOutputs = 8;
constexpr int kFirstGridColumn = 2;
constexpr int kGridColumns = 4;
constexpr int kFirstGridRow = 2; // the third key of a column
constexpr int kGridRows = 5;
constexpr int kShiftedFunctionKeyOffset = 6;

int columnOf(int key) {
    return (key - kFirstKey) / kKeysPerColumn;
}
int rowOf(int key) {
    return (key - kFirstKey) % kKeysPerColumn;
}

} // namespace

void XKeysKeyTable::handlePressedXKey(int key) {
    if (!_actions || key < kFirstKey) {
        return;
    }
    if (setLatchedState(key, true)) {
        return;
    }
    const int column = columnOf(key);
    const int row = rowOf(key);
    if (column < kOutputs && row == 0) {
        _actions->stopOutput(column);
        return;
    }
    if (column < kOutputs && row == 1) {
        _actions->pauseOutput(column);
        return;
    }
    if (const int button = gridButtonForKey(key); button >= 0) {
        _actions->handleClipButtonPressed(button);
        return;
    }
    if (const int document = functionKeyDocumentForKey(key); document > 0) {
        _actions->openFunctionKeyDocumentAtIndex(
            _actions->shiftKeyState() ? document + kShiftedFunctionKeyOffset : document);
        return;
    }
    switch (key) {
    case 8:
        _actions->preListenStopButtonPushed();
        break;
    case 9:
        if (_actions->commandKeyState()) {
            _actions->toggleCueMode();
        }
        break;
    case 16:
        _actions->preListenPlayButtonPushed();
        break;
    case 17:
        _actions->preListenJumpBackButtonPushed();
        break;
    case 69:
        _actions->stopButtonPushed();
        break;
    case 70:
        _actions->pauseButtonPushed();
        break;
    default:
        break; // a key without a row
    }
}

void XKeysKeyTable::handleReleasedXKey(int key) {
    if (_actions) {
        setLatchedState(key, false);
    }
}

bool XKeysKeyTable::setLatchedState(int key, bool state) {
    switch (key) {
    case 7:
        _actions->setLeftArrowKeyState(state);
        return true;
    case 10:
        _actions->setShiftKeyState(state);
        return true;
    case 11:
        _actions->setControlKeyState(state);
        return true;
    case 15:
        _actions->setRightArrowKeyState(state);
        return true;
    case 18:
        _actions->setAltKeyState(state);
        return true;
    case 19:
        _actions->setCommandKeyState(state);
        return true;
    case 58:
        _actions->setConfigKeyState(state);
        return true;
    case 59:
        _actions->setStopKeyState(state);
        return true;
    case 66:
        _actions->setEditKeyState(state);
        return true;
    case 67:
        _actions->setLoopKeyState(state);
        return true;
    default:
        return false;
    }
}

int XKeysKeyTable::gridButtonForKey(int key) {
    const int column = columnOf(key) - kFirstGridColumn;
    const int row = rowOf(key) - kFirstGridRow;
    if (column < 0 || column >= kGridColumns || row < 0 || row >= kGridRows) {
        return -1;
    }
    return kGridColumns * row + column;
}

int XKeysKeyTable::functionKeyDocumentForKey(int key) {
    switch (key) {
    case 55:
        return 1;
    case 56:
        return 3;
    case 57:
        return 5;
    case 63:
        return 2;
    case 64:
        return 4;
    case 65:
        return 6;
    default:
        return 0;
    }
}
