#pragma once

// One voice of the engine: everything the three threads share about one open movie.
//
// - The main thread (Movie) writes the controls (gain, route, loop, metering) as
//   atomics and sends transport commands through `commands`.
// - The device callback of the mixer that owns the voice drains `commands`, renders
//   through `renderer`, and publishes the status atomics (position, peaks, end,
//   underruns, acknowledged command).
// - Decoder workers fill the preroll and `ring` through `feeder`.
//
// A voice is handed from one mixer to another (a route to another device) through
// `owner`: the old mixer releases it, the new one claims it, so exactly one callback
// renders it at any moment. Voices are freed on the main thread (or by the last decoder
// job holding them) once their mixer has let go (`retired`); never on the callback.

#include "media/BlockRing.h"
#include "media/SpscQueue.h"
#include "media/VoiceCommand.h"
#include "media/VoiceFeeder.h"
#include "media/VoiceRenderer.h"

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>

namespace media {

class AudioSource;
class DecoderPool;
class Mixer;

class Voice {
public:
    // Ring layout: 24 blocks of 2048 frames, about one second ahead at 48 kHz.
    static constexpr int kRingBlocks = 24;
    static constexpr int kBlockFrames = 2048;
    // Per-voice queue depth; the main thread sends a few commands per tick at most.
    static constexpr int kCommandCapacity = 128;
    // A route side that goes nowhere.
    static constexpr int kNoChannel = -1;

    // Main thread only. `pool` wakes the decoder workers; `name` labels log lines.
    Voice(std::unique_ptr<AudioSource> source, DecoderPool* pool, const QString& name);
    ~Voice();
    Voice(const Voice&) = delete;
    Voice& operator=(const Voice&) = delete;

    // Any thread: constant after construction.
    int channels() const { return _channels; }
    long long durationFrames() const { return _durationFrames; }
    const QString& name() const { return _name; }

    // Any thread, the device callback included: asks the decoder workers for a pass
    // over this voice (coalesced: one wake per request that finds the voice idle).
    void requestFeed();

    static uint64_t packRoute(int leftChannel, int rightChannel);
    static int routeLeft(uint64_t route) { return int(int32_t(uint32_t(route))); }
    static int routeRight(uint64_t route) { return int(int32_t(uint32_t(route >> 32))); }

    // --- Controls: written by the main thread, read by the callback and workers ---
    std::atomic<float> targetGain{1.0f};
    std::atomic<uint64_t> route{packRoute(0, 1)};
    std::atomic<bool> looping{false};
    std::atomic<bool> metering{false};

    // --- Status: written by the owning callback, read by the main thread ---
    std::atomic<long long> position{0};         // file frame of the next frame to play
    std::atomic<uint64_t> acknowledged{0};      // sequence of the last applied command
    std::atomic<uint64_t> endedSequence{0};     // = acknowledged while halted at the end
    std::atomic<uint32_t> underruns{0};         // periods short of decoded audio
    std::atomic<uint32_t> peakBits[2] = {0, 0}; // float bits of |peak| since last read
    std::atomic<long long> firstFrameNs{0};     // steady clock of the latest start's first frame

    // --- Hand-over between mixers ---
    std::atomic<const Mixer*> owner{nullptr};
    std::atomic<bool> retired{false};

    // Main thread produces, the owning callback consumes.
    SpscQueue<VoiceCommand> commands{kCommandCapacity};
    // Decoder workers write, the owning callback reads.
    BlockRing ring;
    // Device callback only (of the owning mixer).
    VoiceRenderer renderer;
    // Decoder workers (work) and the main thread (requests).
    VoiceFeeder feeder;

    // Main thread only: the mixer this voice was last attached to.
    Mixer* assignedMixer = nullptr;

private:
    const int _channels;
    const long long _durationFrames;
    const QString _name;
    DecoderPool* const _pool;
};

} // namespace media
