#pragma once

// The null back end: output devices without hardware, each stream paced at real time on
// a thread of its own. What the program plays on when no device opens (or with
// ZELVORA_AUDIO=null); every device list has one default stereo "Null Output" unless
// other devices are given.
//
// Thread contract: as AudioDriver (calls are serialised by the engine, from any thread).

#include "media/AudioDriver.h"

namespace media {

class NullDriver final : public AudioDriver {
public:
    NullDriver();
    explicit NullDriver(std::vector<AudioDeviceInfo> devices);

    // The default device of a NullDriver().
    static AudioDeviceInfo defaultDevice();

    QString name() const override;
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<DeviceStream> openStream(const AudioDeviceInfo& device, int sampleRate,
                                             int periodFrames, RenderCallback* callback,
                                             QString* error) override;

private:
    std::vector<AudioDeviceInfo> _devices;
};

} // namespace media
