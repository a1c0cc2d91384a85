#include "media/DecoderPool.h"

#include "media/Voice.h"

#include <QScopeGuard>
#include <algorithm>
#include <chrono>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace media {

namespace {
// Workers also look around on their own this often, in case a wake-up was coalesced away.
constexpr int kIdleScanMs = 100;
constexpr int kWorkerNice = -10;
} // namespace

DecoderPool::DecoderPool(int threads)
    : _threadCount(std::max(threads, 1)) {
    for (int i = 0; i < _threadCount; ++i) {
        _threads.emplace_back([this] { run(); });
    }
}

DecoderPool::~DecoderPool() {
    _stopping.store(true, std::memory_order_release);
    for (size_t i = 0; i < _threads.size(); ++i) {
        _wake.post();
    }
    for (std::thread& thread : _threads) {
        thread.join();
    }
}

void DecoderPool::add(std::shared_ptr<Voice> voice) {
    std::lock_guard lock(_mutex);
    _voices.push_back(std::move(voice));
}

void DecoderPool::remove(const Voice* voice) {
    std::lock_guard lock(_mutex);
    const auto found = std::find_if(_voices.begin(), _voices.end(),
                                    [voice](const auto& entry) { return entry.get() == voice; });
    if (found != _voices.end()) {
        _voices.erase(found);
    }
}

void DecoderPool::wake() {
    _wake.post();
}

bool DecoderPool::waitUntilIdle(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    wake();
    std::unique_lock lock(_mutex);
    ++_idleWaiters;
    const auto leave = qScopeGuard([this] { --_idleWaiters; });
    while (!isIdleLocked()) {
        // Work can be flagged without the mutex (by a callback), so look again now and then.
        if (_idle.wait_until(lock, std::min(deadline, std::chrono::steady_clock::now() +
                                                          std::chrono::milliseconds(5))) ==
                std::cv_status::timeout &&
            std::chrono::steady_clock::now() >= deadline) {
            return isIdleLocked();
        }
    }
    return true;
}

bool DecoderPool::anotherHasWork(size_t claimed) const {
    for (size_t i = 0; i < _voices.size(); ++i) {
        if (i != claimed && _voices[i]->feeder.hasWork()) {
            return true;
        }
    }
    return false;
}

bool DecoderPool::isIdleLocked() const {
    if (_busy > 0) {
        return false;
    }
    return std::none_of(_voices.begin(), _voices.end(),
                        [](const auto& voice) { return voice->feeder.hasWork(); });
}

void DecoderPool::run() {
    // Decoding feeds the device callbacks: ahead of ordinary work on a busy machine
    // (a lower nice value), yet never real-time. Without the privilege it stays as it is.
    setpriority(PRIO_PROCESS, pid_t(syscall(SYS_gettid)), kWorkerNice);
    while (!_stopping.load(std::memory_order_acquire)) {
        std::shared_ptr<Voice> voice = claimNext();
        if (!voice) {
            _wake.wait(kIdleScanMs);
            continue;
        }
        voice->feeder.work();
        voice->feeder.release();
        bool waiting = false;
        {
            std::lock_guard lock(_mutex);
            --_busy;
            waiting = _idleWaiters > 0;
        }
        if (waiting) {
            _idle.notify_all();
        }
    }
}

std::shared_ptr<Voice> DecoderPool::claimNext() {
    std::lock_guard lock(_mutex);
    const size_t count = _voices.size();
    // Voices waiting for their first preroll frames first, then everyone in turn.
    for (int pass = 0; pass < 2; ++pass) {
        for (size_t i = 0; i < count; ++i) {
            const size_t index = (_cursor + i) % count;
            Voice& voice = *_voices[index];
            if (!voice.feeder.hasWork() || (pass == 0 && !voice.feeder.isUrgent())) {
                continue;
            }
            if (voice.feeder.tryClaim()) {
                _cursor = index + 1;
                ++_busy;
                if (_threadCount > 1 && anotherHasWork(index)) {
                    _wake.post(); // let a second worker share the load
                }
                return _voices[index];
            }
        }
    }
    return nullptr;
}

} // namespace media
