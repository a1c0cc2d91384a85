#pragma once

// Polls `condition` every few milliseconds until it holds or `timeoutMs` have passed;
// answers whether it held. For waiting on another process or a device thread (a JACK
// server, a started program), never for the passing of audio time, which the tests
// drive explicitly.

#include <QElapsedTimer>
#include <QThread>
#include <functional>

inline bool pollUntil(const std::function<bool()>& condition, int timeoutMs, int pollMs = 2) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs) {
            return false;
        }
        QThread::msleep(pollMs);
    }
    return true;
}
