#pragma once

// The keypad poller: every 10 ms it takes every report the keypad sent since the last
// tick, turns the key bits that changed into presses and releases (in report order, and
// by key number within one report), queues them and hands the whole queue, in order, to
// the handler. Fast sequences of presses and releases therefore arrive complete and in
// order.
//
// The keypad is looked for once, at creation: one plugged in later is not found, and one
// pulled out leaves the poll running without events (logged once). A report too short to
// hold every column is dropped whole and changes nothing (logged once). No keypad at all
// is not reported.
//
// Thread contract: main thread only.

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

class QTimer;
class XKeyHandler;
class XKeysDevice;

class XKeysController {
public:
    static constexpr int kTickMilliseconds = 10;

    // Polls `device` (null: no keypad) for `controller` (not owned), starting at once.
    XKeysController(XKeyHandler* controller, std::unique_ptr<XKeysDevice> device);
    ~XKeysController();
    XKeysController(const XKeysController&) = delete;
    XKeysController& operator=(const XKeysController&) = delete;

    // The tick: drains the keypad's reports, then the queue.
    void updateTimer();
    bool hasDevice() const { return _currentDevice != nullptr; }
    bool isPolling() const;
    XKeysDevice* device() const { return _currentDevice.get(); }

private:
    void takeReport(const std::uint8_t* report, int length);

    XKeyHandler* _controller;
    std::unique_ptr<XKeysDevice> _currentDevice;
    std::unique_ptr<QTimer> _timer;
    std::array<std::uint8_t, 16> _buttons{};
    std::deque<std::pair<int, bool>> _queue; // key, pressed
    bool _lossLogged = false;
    bool _garbageLogged = false;
};
