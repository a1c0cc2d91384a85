#pragma once

// A bounded single-producer single-consumer queue of trivially copyable values, lock-free
// on both ends. Commands travel from the main thread to a device callback through it.
//
// Thread contract: push() from exactly one producer thread at a time, pop() from exactly
// one consumer thread at a time. The consumer may change threads (a voice handed from
// one device to another) only through a release/acquire hand-over outside the queue.
// Neither end locks, allocates or frees; the storage is allocated by the constructor.

#include <atomic>
#include <cstddef>
#include <memory>
#include <type_traits>

namespace media {

template <typename T>
class SpscQueue {
    static_assert(std::is_trivially_copyable_v<T>, "queue values are copied bytewise");

public:
    // Any thread (before the queue is shared). Holds up to `capacity` values.
    explicit SpscQueue(size_t capacity)
        : _capacity(capacity + 1)
        , _slots(std::make_unique<T[]>(capacity + 1)) {}

    SpscQueue(const SpscQueue&) = delete;
    SpscQueue& operator=(const SpscQueue&) = delete;

    // Producer only. False when the queue is full (nothing is written).
    bool push(const T& value) {
        const size_t tail = _tail.load(std::memory_order_relaxed);
        const size_t next = advance(tail);
        if (next == _cachedHead) {
            _cachedHead = _head.load(std::memory_order_acquire);
            if (next == _cachedHead) {
                return false;
            }
        }
        _slots[tail] = value;
        _tail.store(next, std::memory_order_release);
        return true;
    }

    // Consumer only. False when the queue is empty.
    bool pop(T& value) {
        const size_t head = _head.load(std::memory_order_relaxed);
        if (head == _cachedTail) {
            _cachedTail = _tail.load(std::memory_order_acquire);
            if (head == _cachedTail) {
                return false;
            }
        }
        value = _slots[head];
        _head.store(advance(head), std::memory_order_release);
        return true;
    }

    // Any thread; a snapshot that may be stale by the time it is used.
    bool isEmpty() const {
        return _head.load(std::memory_order_acquire) == _tail.load(std::memory_order_acquire);
    }

private:
    size_t advance(size_t index) const { return index + 1 == _capacity ? 0 : index + 1; }

    const size_t _capacity;
    std::unique_ptr<T[]> _slots;
    // Producer side: its write index and its last view of the consumer's index.
    alignas(64) std::atomic<size_t> _tail{0};
    size_t _cachedHead = 0;
    // Consumer side: its read index and its last view of the producer's index.
    alignas(64) std::atomic<size_t> _head{0};
    size_t _cachedTail = 0;
};

} // namespace media
