#pragma once

// One open output device of the engine: its mixer and the stream that drives it. When
// the device's stream fails the mixer moves onto a fallback clock (a null stream with
// the same channels, rate and period), so its voices keep advancing; when the device
// returns the mixer moves back. Never two streams on one mixer at once.
//
// Thread contract: main thread only.

#include "media/AudioDeviceInfo.h"

#include <memory>

namespace media {

class DeviceStream;
class Mixer;

class EngineDevice {
public:
    EngineDevice(const AudioDeviceInfo& info, int sampleRate, int periodFrames, int maxVoices);
    ~EngineDevice(); // closes the stream before the mixer goes
    EngineDevice(const EngineDevice&) = delete;
    EngineDevice& operator=(const EngineDevice&) = delete;

    const AudioDeviceInfo& info() const { return _info; }
    Mixer& mixer() { return *_mixer; }

    // Drives the mixer from `stream` (from the device's driver), replacing the fallback
    // clock. False when the stream does not start; the fallback clock then runs.
    bool useStream(std::unique_ptr<DeviceStream> stream);
    // Closes the device's stream (if any) and drives the mixer from the fallback clock.
    void useFallback();

    bool isOnFallback() const { return _onFallback; }
    // The device's own stream reported a failure (checked with an atomic read).
    bool hasFailed() const;
    // The stream driving the mixer now (the device's or the fallback clock).
    DeviceStream* stream() const { return _stream.get(); }

private:
    AudioDeviceInfo _info;
    const int _sampleRate;
    const int _periodFrames;
    std::unique_ptr<Mixer> _mixer;
    std::unique_ptr<DeviceStream> _stream;
    bool _onFallback = false;
};

} // namespace media
