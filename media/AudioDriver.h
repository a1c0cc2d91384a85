#pragma once

// A family of output devices: RtAudio (JACK, PulseAudio, ALSA), null (real-time paced
// without hardware) or offline (pulled by tests). The engine asks its driver for the
// device list and for streams.
//
// Thread contract: the engine never calls into one driver from two threads at once (it
// serialises every call with its own mutex), but devices() is also called from the
// engine's device-watch thread, so a driver must not assume the main thread. Streams it
// returned may outlive further calls and are destroyed on the main thread.

#include "media/AudioDeviceInfo.h"

#include <QString>
#include <memory>
#include <vector>

namespace media {

class DeviceStream;
class RenderCallback;

class AudioDriver {
public:
    virtual ~AudioDriver() = default;

    // "rtaudio", "null", "offline".
    virtual QString name() const = 0;

    // Every output device present now. May take a few milliseconds (it probes the
    // system); the engine calls it at start and from its device-watch poll, off the main
    // thread.
    virtual std::vector<AudioDeviceInfo> devices() = 0;

    // Opens a stream on the device with all its output channels at `sampleRate`, asking
    // for `periodFrames` frames per callback (the device may choose another size).
    // Returns null and sets *error when the device cannot be opened.
    virtual std::unique_ptr<DeviceStream> openStream(const AudioDeviceInfo& device, int sampleRate,
                                                     int periodFrames, RenderCallback* callback,
                                                     QString* error) = 0;
};

} // namespace media
