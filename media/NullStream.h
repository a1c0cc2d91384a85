#pragma once

// A device stream without hardware: a thread of its own calls the render callback one
// period at a time, paced at real time by an absolute clock. The null back end's
// streams, and the fallback clock that keeps a lost device's voices advancing.

#include "media/DeviceStream.h"

#include <atomic>
#include <thread>

namespace media {

class RenderCallback;

class NullStream final : public DeviceStream {
public:
    // Main thread only.
    NullStream(int channels, int sampleRate, int periodFrames, RenderCallback* callback);
    ~NullStream() override; // stops and joins the render thread

    bool start() override;
    int channelCount() const override { return _channels; }
    int sampleRate() const override { return _sampleRate; }
    int periodFrames() const override { return _periodFrames; }
    bool hasFailed() const override { return false; }

private:
    void run();

    const int _channels;
    const int _sampleRate;
    const int _periodFrames;
    RenderCallback* const _callback;
    std::atomic<bool> _stopping{false};
    std::thread _thread;
};

} // namespace media
