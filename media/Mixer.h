#pragma once

// The render callback of one device: mixes every voice routed to the device into the
// device's buffer. Voices arrive and leave through a lock-free command queue from the
// main thread; a voice that arrives while another mixer still renders it is adopted
// as soon as that mixer lets it go.
//
// The same mixer keeps running when its device is lost: the engine moves it onto a
// fallback clock (a null stream) so its voices keep advancing, and back onto the real
// device when it returns. Only one stream calls a mixer at any time.

#include "media/RenderCallback.h"
#include "media/SpscQueue.h"

#include <atomic>
#include <memory>
#include <vector>

namespace media {

class Voice;

class Mixer final : public RenderCallback {
public:
    // Longest stretch mixed in one go; longer device periods are mixed in pieces.
    static constexpr int kMaxChunkFrames = 4096;

    // Main thread only. Holds up to `maxVoices` voices.
    explicit Mixer(int maxVoices);
    ~Mixer() override;

    // Main thread only. Each returns false (and changes nothing) when the command queue
    // is full, which only happens if the mixer's stream stopped calling it.
    bool attach(Voice* voice);
    bool detach(Voice* voice);
    // Lets go of the voice for good: once applied the voice is marked retired.
    bool retire(Voice* voice);

    // Device callback only.
    void render(float* interleaved, int channels, int frames) override;

    // Any thread: frames rendered so far, and voices currently owned (snapshots).
    long long framesRendered() const { return _framesRendered.load(std::memory_order_acquire); }
    int voiceCount() const { return _voiceCount.load(std::memory_order_acquire); }

private:
    struct Command {
        enum class Type : unsigned char { Attach, Detach, Retire };
        Type type;
        Voice* voice;
    };

    void applyCommands();
    void adoptPending();
    static bool removeFrom(std::vector<Voice*>& voices, Voice* voice);

    const size_t _maxVoices;
    SpscQueue<Command> _commands;
    // Device callback only; reserved to _maxVoices so they never allocate.
    std::vector<Voice*> _voices;
    std::vector<Voice*> _pending;
    std::unique_ptr<float[]> _scratch;
    std::atomic<long long> _framesRendered{0};
    std::atomic<int> _voiceCount{0};
};

} // namespace media
