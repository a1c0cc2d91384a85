#pragma once

// The device-callback side of one voice: applies the movie's transport commands, reads
// decoded audio from the preroll or the ring, shapes it with the declick envelope,
// applies the gain ramp and adds it into the device buffer on the voice's two channels.
//
// Behaviour the rest of the engine relies on:
// - start and stop fade over kDeclickFrames frames; a jump or seek while sounding
//   fades the old stream out over the same length while the new one fades in;
// - a gain change ramps linearly across one render period, so fades never click;
// - a decoder that falls behind gives silence and the playhead waits (counted as an
//   underrun); waiting for the first block after a seek is expected and not counted;
// - at the end of a stream that does not loop the voice halts and reports the end.
//
// Thread contract: device callback only (the mixer that owns the voice). Never locks,
// allocates, frees, logs or touches Qt.

#include <cstdint>

namespace media {

class Preroll;
class Voice;
struct VoiceCommand;

class VoiceRenderer {
public:
    static constexpr int kDeclickFrames = 128;
    // Free ring blocks that make the callback wake the decoder workers.
    static constexpr int kRefillBatch = 8;
    static constexpr int kMaxChannels = 2;

    explicit VoiceRenderer(Voice& voice);
    VoiceRenderer(const VoiceRenderer&) = delete;
    VoiceRenderer& operator=(const VoiceRenderer&) = delete;

    // Applies pending commands, renders `frames` frames and adds them into `out`
    // (`deviceChannels` interleaved). `scratch` holds frames × kMaxChannels floats.
    void render(float* out, int deviceChannels, int frames, float* scratch);

private:
    enum class Source : uint8_t { None, Preroll, Ring, Ended };

    void applyCommands();
    void apply(const VoiceCommand& command);
    void captureTail();
    int produce(float* destination, int frames, bool* starved);
    int copyWithEnvelope(float* destination, const float* source, int frames);
    int available(const float** data, int maxFrames);
    void consume(int frames);
    bool discardStaleBlocks();
    void reachEnd(long long frame);
    void addTail(float* destination, int frames);
    void mixInto(float* out, int deviceChannels, int frames, const float* scratch, float target);

    Voice& _voice;
    Source _source = Source::None;
    const Preroll* _preroll = nullptr;
    int _prerollOffset = 0;
    uint64_t _generation = 0;
    int _blockOffset = 0;
    bool _awaitingStream = false;
    long long _position = 0;
    uint64_t _sequence = 0;

    bool _playing = false;
    float _envelope = 0.0f;
    float _gain = 1.0f;
    bool _firstFramePending = false;
    bool _freedBlock = false;

    float _tail[kDeclickFrames * kMaxChannels] = {};
    int _tailFrames = 0;
    int _tailPosition = 0;
    float _tailEnvelope = 0.0f;
};

} // namespace media
