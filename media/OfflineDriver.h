#pragma once

// The offline back end for tests: configurable devices whose streams render only when a
// test pulls them (OfflineStream::pull), so audio is checked sample by sample and time
// passes exactly as the test says. A device can be unplugged and plugged back in.
//
// Thread contract: as AudioDriver; the test-facing members are any thread.

#include "media/AudioDriver.h"

#include <QStringList>
#include <mutex>

namespace media {

class OfflineStream;

class OfflineDriver final : public AudioDriver {
public:
    // A default stereo "Offline Output" and a four-channel "Test Device 4ch", 48 kHz.
    OfflineDriver();
    explicit OfflineDriver(std::vector<AudioDeviceInfo> devices);
    ~OfflineDriver() override;

    static std::vector<AudioDeviceInfo> standardDevices();

    QString name() const override;
    std::vector<AudioDeviceInfo> devices() override;
    std::unique_ptr<DeviceStream> openStream(const AudioDeviceInfo& device, int sampleRate,
                                             int periodFrames, RenderCallback* callback,
                                             QString* error) override;

    // The open stream of the named device, or null. Valid until the engine closes it.
    OfflineStream* stream(const QString& deviceName) const;
    // Unplugs (the device leaves the list and its open stream fails) or plugs it back.
    void setDevicePresent(const QString& deviceName, bool present);
    // A listed device that refuses every new stream (busy, its server not ready yet), or
    // takes them again.
    void setDeviceRefusesStreams(const QString& deviceName, bool refuses);

    // Called by a stream as it closes. Any thread.
    void forget(const OfflineStream* stream);

private:
    mutable std::mutex _mutex; // test thread, main thread and device-watch thread
    std::vector<AudioDeviceInfo> _devices;
    QStringList _absent;
    QStringList _refusing;
    std::vector<OfflineStream*> _streams;
};

} // namespace media
