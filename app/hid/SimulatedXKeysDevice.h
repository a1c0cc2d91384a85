#pragma once

// A keypad in memory that reports key presses and releases exactly as the X-keys keypad
// does, one report per change: for the tests, and for driving the keypad by hand
// (--simulate-surfaces). Garbage reports can be queued as they are, and the keypad can be
// pulled out. Main thread only.

#include "app/hid/XKeysDevice.h"

#include <QByteArray>
#include <array>
#include <deque>

class SimulatedXKeysDevice : public XKeysDevice {
public:
    static constexpr int kReportLength = kColumns;

    // Holds `key` down (a number no key has is ignored) and queues the report.
    void press(int key);
    void release(int key);
    bool isHeld(int key) const;
    // Queues `report` as it is.
    void queueRawReport(const QByteArray& report);
    // From now on the keypad answers nothing but failure.
    void unplug() { _unplugged = true; }

    int readReport(std::uint8_t* buffer, int capacity) override;

private:
    void setKey(int key, bool held);

    std::array<std::uint8_t, kReportLength> _buttons{};
    std::deque<QByteArray> _reports;
    bool _unplugged = false;
};
