#include "media/OfflineDriver.h"

#include "media/OfflineStream.h"

#include <algorithm>

namespace media {

namespace {

AudioDeviceInfo offlineDevice(const QString& name, const QString& uid, int channels,
                              bool isDefault) {
    AudioDeviceInfo device;
    device.name = name;
    device.uid = uid;
    device.outputChannels = channels;
    device.preferredSampleRate = 48000;
    device.isDefault = isDefault;
    return device;
}

} // namespace

OfflineDriver::OfflineDriver()
    : OfflineDriver(standardDevices()) {}

OfflineDriver::OfflineDriver(std::vector<AudioDeviceInfo> devices)
    : _devices(std::move(devices)) {}

OfflineDriver::~OfflineDriver() {
    std::lock_guard lock(_mutex);
    for (OfflineStream* stream : _streams) {
        stream->fail();
    }
}

std::vector<AudioDeviceInfo> OfflineDriver::standardDevices() {
    return {
        offlineDevice(QStringLiteral("Offline Output"), QStringLiteral("offline:0"), 2, true),
        offlineDevice(QStringLiteral("Test Device 4ch"), QStringLiteral("offline:4ch"), 4, false)};
}

QString OfflineDriver::name() const {
    return QStringLiteral("offline");
}

std::vector<AudioDeviceInfo> OfflineDriver::devices() {
    std::lock_guard lock(_mutex);
    std::vector<AudioDeviceInfo> present;
    for (const AudioDeviceInfo& device : _devices) {
        if (!_absent.contains(device.name)) {
            present.push_back(device);
        }
    }
    return present;
}

std::unique_ptr<DeviceStream> OfflineDriver::openStream(const AudioDeviceInfo& device,
                                                        int sampleRate, int periodFrames,
                                                        RenderCallback* callback, QString* error) {
    std::lock_guard lock(_mutex);
    const bool present = !_absent.contains(device.name) &&
                         std::any_of(_devices.begin(), _devices.end(),
                                     [&](const auto& entry) { return entry.uid == device.uid; });
    if (!present || sampleRate <= 0 || periodFrames <= 0 || !callback) {
        if (error) {
            *error = QStringLiteral("The offline device \"%1\" is not present").arg(device.name);
        }
        return nullptr;
    }
    if (_refusing.contains(device.name)) {
        if (error) {
            *error = QStringLiteral("The offline device \"%1\" is busy").arg(device.name);
        }
        return nullptr;
    }
    auto stream = std::make_unique<OfflineStream>(
        this, device.name, std::max(device.outputChannels, 1), sampleRate, periodFrames, callback);
    _streams.push_back(stream.get());
    return stream;
}

OfflineStream* OfflineDriver::stream(const QString& deviceName) const {
    std::lock_guard lock(_mutex);
    for (auto it = _streams.rbegin(); it != _streams.rend(); ++it) {
        if ((*it)->deviceName() == deviceName && !(*it)->hasFailed()) {
            return *it;
        }
    }
    return nullptr;
}

void OfflineDriver::setDevicePresent(const QString& deviceName, bool present) {
    std::lock_guard lock(_mutex);
    if (present) {
        _absent.removeAll(deviceName);
        return;
    }
    if (!_absent.contains(deviceName)) {
        _absent.append(deviceName);
    }
    for (OfflineStream* stream : _streams) {
        if (stream->deviceName() == deviceName) {
            stream->fail();
        }
    }
}

void OfflineDriver::setDeviceRefusesStreams(const QString& deviceName, bool refuses) {
    std::lock_guard lock(_mutex);
    _refusing.removeAll(deviceName);
    if (refuses) {
        _refusing.append(deviceName);
    }
}

void OfflineDriver::forget(const OfflineStream* stream) {
    std::lock_guard lock(_mutex);
    _streams.erase(std::remove(_streams.begin(), _streams.end(), stream), _streams.end());
}

} // namespace media
