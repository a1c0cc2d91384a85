#pragma once

// The decoder workers: a small pool of threads that fill the prerolls and decode-ahead
// rings of every voice. Workers sleep on a semaphore that the device callbacks and the
// main thread post; each pass takes one unit of work from one voice (voices that need
// their first preroll frames come first) so many voices are served fairly. Nothing here
// runs on the main thread or on a device callback except add/remove/wake.

#include "media/WakeSemaphore.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace media {

class Voice;

class DecoderPool {
public:
    // Main thread only: starts `threads` workers.
    explicit DecoderPool(int threads);
    // Main thread only: stops and joins the workers (a unit in progress finishes).
    ~DecoderPool();
    DecoderPool(const DecoderPool&) = delete;
    DecoderPool& operator=(const DecoderPool&) = delete;

    // Main thread only: voices the workers serve. A removed voice may still finish the
    // unit in progress (the worker holds its own reference until then).
    void add(std::shared_ptr<Voice> voice);
    void remove(const Voice* voice);

    // Any thread, the device callback included: lock-free wake-up of one worker.
    void wake();

    // Main thread only (tests and benchmarks): waits until no voice has decoding work
    // left and no worker is busy. False when `timeoutMs` passed first.
    bool waitUntilIdle(int timeoutMs);

private:
    void run();
    std::shared_ptr<Voice> claimNext();
    bool isIdleLocked() const;
    bool anotherHasWork(size_t claimed) const;

    const int _threadCount;
    std::mutex _mutex; // main thread and workers only, never the device callback
    std::condition_variable _idle;
    std::vector<std::shared_ptr<Voice>> _voices;
    size_t _cursor = 0;
    int _busy = 0;
    int _idleWaiters = 0; // threads in waitUntilIdle()
    WakeSemaphore _wake;
    std::atomic<bool> _stopping{false};
    std::vector<std::thread> _threads;
};

} // namespace media
