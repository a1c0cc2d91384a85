#pragma once

// The programmable keypad as the poller reads it: input reports, taken without waiting.
// The keypad's button bits come first in every report, one byte per column of the keypad
// (eight keys to a column, bit r = row r); the key number of column c, row r is
// 5 + 8c + r, so the keys are numbered 5 to 76 in column order and the eighth of each
// column is never pressed. The hidapi back end reads a real X-keys keypad; the simulated
// one makes the same reports from key presses.
//
// Thread contract: main thread only; readReport() never blocks.

#include <cstdint>

class XKeysDevice {
public:
    static constexpr int kVendorId = 1523; // P. I. Engineering
    static constexpr int kProductId = 657;
    static constexpr int kFirstKey = 5;
    static constexpr int kColumns = 9;
    static constexpr int kKeysPerColumn = 8;

    virtual ~XKeysDevice() = default;

    // Copies the oldest waiting report into `buffer`: its length, 0 when none is waiting,
    // -1 when the keypad no longer answers (unplugged).
    virtual int readReport(std::uint8_t* buffer, int capacity) = 0;

    // The byte and bit of `key` in a report; false for a number no key has.
    static bool keyPosition(int key, int* byte, int* bit) {
        const int offset = key - kFirstKey;
        if (offset < 0 || offset >= kColumns * kKeysPerColumn) {
            return false;
        }
        *byte = offset / kKeysPerColumn;
        *bit = offset % kKeysPerColumn;
        return true;
    }
};
