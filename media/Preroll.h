#pragma once

// The pre-decoded first second after a movie's start position. A start plays from here
// while the decoder catches up behind it, so firing costs no disk access and no seek.
//
// A preroll is filled once, front to back, by a decoder worker, and read by the device
// callback up to readyFrames(): frames once published never change. A new start
// position gets a new preroll; the old one is retired by the main thread once the
// callback has acknowledged the command that replaced it.

#include <atomic>
#include <memory>

namespace media {

class Preroll {
public:
    // Main thread only. `frames` frames of `channels` channels starting at file frame
    // `startFrame`; `reachesEnd` when those frames run to the end of the file. The
    // storage is reserved but not touched until it is filled.
    Preroll(long long startFrame, int frames, int channels, bool reachesEnd);
    Preroll(const Preroll&) = delete;
    Preroll& operator=(const Preroll&) = delete;

    // Any thread: constant after construction.
    long long startFrame() const { return _startFrame; }
    int channels() const { return _channels; }

    // Any thread: the preroll's length. It only shrinks, once, when the file ended
    // before the frames it was made for (a duration the container overstated).
    int frames() const { return _frames.load(std::memory_order_acquire); }
    // Any thread: whether the preroll runs to the end of the file.
    bool reachesEnd() const { return _reachesEnd.load(std::memory_order_acquire); }
    // Any thread: frames published so far (acquire: those frames may be read).
    int readyFrames() const { return _ready.load(std::memory_order_acquire); }
    bool isComplete() const { return readyFrames() >= frames(); }
    // Device callback (or any reader): interleaved frames, valid up to readyFrames().
    const float* data() const { return _data.get(); }

    // Decoder worker only: where the next frames go (frame readyFrames()), and the
    // publication of `count` more frames written there.
    float* writePosition() { return _data.get() + size_t(readyFrames()) * size_t(_channels); }
    void publish(int count);
    // Decoder worker only: the file ended here; the preroll is complete as it stands.
    void truncate();

    // Main thread marks a preroll nobody will play any more; the worker stops filling it.
    void abandon() { _abandoned.store(true, std::memory_order_relaxed); }
    bool isAbandoned() const { return _abandoned.load(std::memory_order_relaxed); }

private:
    const long long _startFrame;
    const int _channels;
    std::unique_ptr<float[]> _data;
    std::atomic<int> _frames;
    std::atomic<bool> _reachesEnd;
    std::atomic<int> _ready{0};
    std::atomic<bool> _abandoned{false};
};

} // namespace media
