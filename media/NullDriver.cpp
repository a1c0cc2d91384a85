#include "media/NullDriver.h"

#include "media/NullStream.h"

#include <algorithm>

namespace media {

NullDriver::NullDriver()
    : NullDriver(std::vector<AudioDeviceInfo>{defaultDevice()}) {}

NullDriver::NullDriver(std::vector<AudioDeviceInfo> devices)
    : _devices(std::move(devices)) {}

AudioDeviceInfo NullDriver::defaultDevice() {
    AudioDeviceInfo device;
    device.name = QStringLiteral("Null Output");
    device.uid = QStringLiteral("null:0");
    device.outputChannels = 2;
    device.preferredSampleRate = 48000;
    device.isDefault = true;
    return device;
}

QString NullDriver::name() const {
    return QStringLiteral("null");
}

std::vector<AudioDeviceInfo> NullDriver::devices() {
    return _devices;
}

std::unique_ptr<DeviceStream> NullDriver::openStream(const AudioDeviceInfo& device, int sampleRate,
                                                     int periodFrames, RenderCallback* callback,
                                                     QString* error) {
    const bool known = std::any_of(_devices.begin(), _devices.end(),
                                   [&](const auto& entry) { return entry.uid == device.uid; });
    if (!known || sampleRate <= 0 || periodFrames <= 0 || !callback) {
        if (error) {
            *error = QStringLiteral("The null device \"%1\" cannot be opened").arg(device.name);
        }
        return nullptr;
    }
    return std::make_unique<NullStream>(std::max(device.outputChannels, 1), sampleRate,
                                        periodFrames, callback);
}

} // namespace media
