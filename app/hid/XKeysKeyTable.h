#pragma once

// The keypad's key table. The keypad has nine columns of seven keys (key numbers 5 + 8c to
// 11 + 8c; 69 and 70 in the ninth column):
//
//   column 0 (5..11)   stop / pause output 1, left arrow (held), pre-listen stop,
//                      cue-mode toggle (with the command state), shift (held), control (held)
//   column 1 (13..19)  stop / pause output 2, right arrow (held), pre-listen play,
//                      pre-listen jump back, alt (held), command (held)
//   columns 2..5       stop / pause outputs 3..6, then grid buttons: the keypad's columns 2 to
//                      5 are the grid's four columns and their keys 3 to 7 its first five rows
//                      (button = 4 x row + column)
//   column 6 (53..59)  stop / pause output 7, function-key documents 1, 3, 5 (7, 9, 11 with
//                      shift), config (held), stop (held)
//   column 7 (61..67)  stop / pause output 8, function-key documents 2, 4, 6 (8, 10, 12 with
//                      shift), edit (held), loop (held)
//   column 8 (69, 70)  stop all, pause all
//
// A held key sets its latched state on press and clears it on release; every other key
// acts on press only. Keys without a row (below 5, above 70, the eighth of each column)
// do nothing.
//
// Thread contract: main thread only.

#include "app/hid/XKeyHandler.h"

class XKeysActions;

class XKeysKeyTable : public XKeyHandler {
public:
    explicit XKeysKeyTable(XKeysActions* actions)
        : _actions(actions) {}

    void handlePressedXKey(int key) override;
    void handleReleasedXKey(int key) override;

private:
    // Sets the latched state of a held key; false when `key` is not a held key.
    bool setLatchedState(int key, bool state);
    // The grid button of `key` in columns 2..5, or -1.
    static int gridButtonForKey(int key);
    // The function-key document of `key` (1..6 without shift), or 0.
    static int functionKeyDocumentForKey(int key);

    XKeysActions* _actions;
};
