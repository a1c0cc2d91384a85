#pragma once

// The hardware back end: output devices of the JACK, PulseAudio and ALSA APIs through
// RtAudio, one RtAudioDeviceStream per device. Devices are identified as "jack:<client>",
// "pulse:<name>" and "alsa:<card>,<device>"; the default ("Built-in Output") is JACK's when
// a JACK server runs, else the sound server's, else ALSA's. Probing never starts a JACK
// server and keeps libjack's and alsa-lib's complaints about missing servers and cards
// out of stderr (they go to the zelvora.device debug log).
//
// Thread contract: one call at a time, from any thread (the engine serialises its calls
// and lists devices from its device-watch thread). Streams it returned stand alone: they
// may be used and destroyed on another thread while the driver lists devices.

#include "media/AudioDriver.h"
#include "media/RtAudioDeviceList.h"

#include <memory>

namespace media {

class JackConnection;

class RtAudioDriver final : public AudioDriver {
public:
    RtAudioDriver();
    ~RtAudioDriver() override;

    RtAudioDriver(const RtAudioDriver&) = delete;
    RtAudioDriver& operator=(const RtAudioDriver&) = delete;

    QString name() const override;
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<DeviceStream> openStream(const AudioDeviceInfo& device, int sampleRate,
                                             int periodFrames, RenderCallback* callback,
                                             QString* error) override;

private:
    // The connection to the running JACK server, reopened after the server went away;
    // null when none runs. Streams on JACK devices share it to learn of the server's end.
    std::shared_ptr<JackConnection> jackServer();
    std::vector<ProbedDevice> probeWithRtAudio(AudioApi api) const;

    RtAudioDeviceList _list;
    std::shared_ptr<JackConnection> _jackServer;
};

} // namespace media
