#pragma once

// A counting semaphore that a device callback may post: the decoder workers sleep on it
// and the callback (or the main thread) wakes them when a voice needs data. Posting is a
// single futex operation: no lock, no allocation, safe on the device callback.

#include <semaphore.h>

namespace media {

class WakeSemaphore {
public:
    WakeSemaphore();
    ~WakeSemaphore();
    WakeSemaphore(const WakeSemaphore&) = delete;
    WakeSemaphore& operator=(const WakeSemaphore&) = delete;

    // Any thread, the device callback included.
    void post();
    // Decoder worker only: sleeps until posted or until `timeoutMs` passed. True when
    // woken by a post.
    bool wait(int timeoutMs);

private:
    sem_t _semaphore;
};

} // namespace media
