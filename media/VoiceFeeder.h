#pragma once

// The decoding side of one voice: fills the movie's preroll and its decode-ahead ring
// from the voice's AudioSource, one small unit of work per call, so that a few worker
// threads can serve many voices fairly.
//
// Order of work for a voice: the preroll first (its first few thousand frames before
// anything else, so a start right after a position change sounds at once), then the
// ring while the voice plays. The ring is tagged with the generation of the stream the
// main thread asked for last; a new request abandons the old stream mid-way.
//
// Thread contract: requests come from the main thread; work() runs on one decoder
// worker at a time (tryClaim/release); markWork() and the flags are any thread, the
// device callback included. The request mutex is shared by the main thread and the
// workers only: nothing the device callback calls ever takes it.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace media {

class AudioSource;
class Preroll;
class Voice;

class VoiceFeeder {
public:
    // First preroll chunk (decoded before anything else, small so that a start right
    // after a position change waits as little as possible) and later chunks, in frames.
    static constexpr int kFirstPrerollChunk = 1024;
    static constexpr int kPrerollChunk = 8192;

    VoiceFeeder(Voice& voice, std::unique_ptr<AudioSource> source);
    ~VoiceFeeder();
    VoiceFeeder(const VoiceFeeder&) = delete;
    VoiceFeeder& operator=(const VoiceFeeder&) = delete;

    // Any thread: constant.
    long long durationFrames() const { return _durationFrames; }

    // --- Main thread ---
    // Makes `preroll` the one to fill (an unfinished older one is dropped).
    void fillPreroll(std::shared_ptr<Preroll> preroll);
    // The ring continues with stream `generation` from file frame `startFrame`.
    void setStream(uint64_t generation, long long startFrame);
    // The ring is filled only while the voice plays.
    void setStreaming(bool streaming);
    // Where a looping stream goes on after the file's end: the movie's start position.
    void setLoopFrame(long long frame);

    // --- Any thread (the device callback included) ---
    // Flags the voice for a worker pass; true when it was not flagged before (the
    // caller then wakes the pool).
    bool markWork();
    bool hasWork() const { return _needsWork.load(std::memory_order_acquire); }
    bool isUrgent() const { return _urgent.load(std::memory_order_acquire); }
    bool tryClaim() { return !_claimed.exchange(true, std::memory_order_acq_rel); }
    void release() { _claimed.store(false, std::memory_order_release); }

    // --- Decoder worker only (claimed) ---
    // One unit: a preroll chunk or a ring block. Flags the voice again when more is due.
    void work();

private:
    bool fillPrerollChunk(Preroll& preroll);
    bool fillRingBlock(uint64_t generation, long long startFrame, long long loopFrame);
    bool writeEndMarker();
    bool seekSource(long long frame);
    int readFrames(float* destination, int frames);

    Voice& _voice;
    const long long _durationFrames;

    std::atomic<bool> _needsWork{false};
    std::atomic<bool> _urgent{false};
    std::atomic<bool> _claimed{false};

    // Requests: main thread writes, workers copy; guarded by _requestMutex.
    std::mutex _requestMutex;
    std::shared_ptr<Preroll> _preroll;
    uint64_t _requestGeneration = 0;
    long long _requestFrame = 0;
    long long _loopFrame = 0;
    bool _streaming = false;

    // Worker state (only the claiming worker touches it).
    std::unique_ptr<AudioSource> _source;
    long long _sourceFrame = -1; // next frame read() delivers; -1 unknown
    uint64_t _fillGeneration = 0;
    long long _fillFrame = 0;
    bool _atEnd = false;
    bool _endMarked = false;
    bool _wrapNext = false;
    bool _failed = false;
};

} // namespace media
