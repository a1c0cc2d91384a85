#include "media/AudioEngine.h"

#include "foundation/Logging.h"
#include "media/AudioDriver.h"
#include "media/AudioSource.h"
#include "media/DecoderPool.h"
#include "media/DeviceStream.h"
#include "media/DeviceWatcher.h"
#include "media/EngineDevice.h"
#include "media/Mixer.h"
#include "media/NullDriver.h"
#include "media/OfflineDriver.h"
#include "media/Preroll.h"
#include "media/Voice.h"

#if __has_include("media/RtAudioDriver.h")
#include "media/RtAudioDriver.h"
#define ZELVORA_HAVE_RTAUDIO_DRIVER 1
#endif

#include <QTimer>
#include <algorithm>

namespace media {

namespace {

AudioEngine* installedEngine = nullptr;

constexpr int kFallbackSampleRate = 48000;
constexpr int kServiceIntervalMs = 100;

std::unique_ptr<AudioDriver> driverFromEnvironment() {
    const QString choice = qEnvironmentVariable("ZELVORA_AUDIO").trimmed().toLower();
    if (choice == QLatin1String("null")) {
        return std::make_unique<NullDriver>();
    }
    if (choice == QLatin1String("offline")) {
        return std::make_unique<OfflineDriver>();
    }
    if (!choice.isEmpty() && choice != QLatin1String("rtaudio")) {
        qCWarning(lcDevice) << "ZELVORA_AUDIO must be rtaudio, null or offline, not" << choice
                            << "; using rtaudio";
    }
#ifdef ZELVORA_HAVE_RTAUDIO_DRIVER
    return std::make_unique<RtAudioDriver>();
#else
    qCWarning(lcDevice) << "This build has no RtAudio back end; playing on the null back end";
    return std::make_unique<NullDriver>();
#endif
}

bool sameDeviceList(const std::vector<AudioDeviceInfo>& a, const std::vector<AudioDeviceInfo>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.name == y.name && x.uid == y.uid && x.outputChannels == y.outputChannels &&
               x.isDefault == y.isDefault;
    });
}

} // namespace

AudioEngine::Options::Options() = default;
AudioEngine::Options::Options(Options&&) noexcept = default;
AudioEngine::Options& AudioEngine::Options::operator=(Options&&) noexcept = default;
AudioEngine::Options::~Options() = default;

QString AudioEngine::builtInOutputName() {
    return QStringLiteral("Built-in Output");
}

AudioEngine::AudioEngine(Options options)
    : _periodFrames(std::max(options.periodFrames, 16))
    , _maxVoices(std::max(options.maxVoices, 1))
    , _pool(std::make_unique<DecoderPool>(options.decoderThreads)) {
    chooseDriver(options.driver ? std::move(options.driver) : driverFromEnvironment());

    if (!installedEngine) {
        installedEngine = this;
    } else {
        qCWarning(lcMedia) << "An audio engine is already installed; this one is not reachable"
                              " through AudioEngine::instance()";
    }
    if (options.deviceWatchIntervalMs > 0) {
        _watcher = std::make_unique<DeviceWatcher>(
            options.deviceWatchIntervalMs, [this] { return listDevices(); },
            [this](std::vector<AudioDeviceInfo> devices) {
                // Acted on by the main thread; dropped if the engine is gone by then.
                QMetaObject::invokeMethod(
                    this,
                    [this, devices = std::move(devices)]() mutable {
                        applyDeviceList(std::move(devices));
                    },
                    Qt::QueuedConnection);
            });
    }
    _serviceTimer = new QTimer(this);
    connect(_serviceTimer, &QTimer::timeout, this, &AudioEngine::service);
    _serviceTimer->start(kServiceIntervalMs);
}

AudioEngine::~AudioEngine() {
    _watcher.reset();
    if (installedEngine == this) {
        installedEngine = nullptr;
    }
    _openDevices.clear(); // every stream stops (and joins) before its mixer goes
    _defaultDevice = nullptr;
    _pool.reset();
    _retiring.clear();
    _driver.reset();
}

AudioEngine* AudioEngine::instance() {
    return installedEngine;
}

void AudioEngine::chooseDriver(std::unique_ptr<AudioDriver> driver) {
    _driver = std::move(driver);
    _devices = listDevices();
    if (_driver->name() == QLatin1String("rtaudio") && _devices.empty()) {
        switchToNullDriver(QStringLiteral("RtAudio found no output device"));
    }
    const AudioDeviceInfo info = defaultDeviceInfo();
    _sampleRate = info.preferredSampleRate > 0 ? info.preferredSampleRate : kFallbackSampleRate;
    _defaultDevice = openDevice(info);
    // A listed device that does not open yet (its sound server still starting, another
    // program holding it) keeps the back end: its outputs run on the fallback clock and
    // the device watch opens it as soon as it can, so the studio is not silent until the
    // program is restarted.
    if (_defaultDevice->isOnFallback()) {
        qCWarning(lcDevice).noquote()
            << QStringLiteral("The default device \"%1\" is not open yet; its outputs keep time "
                              "on the fallback clock until it opens")
                   .arg(info.name);
    }
    qCInfo(lcDevice).noquote() << QStringLiteral("Audio engine on the %1 back end, %2 Hz, \"%3\"")
                                      .arg(_driver->name())
                                      .arg(_sampleRate)
                                      .arg(_defaultDevice->info().name);
}

void AudioEngine::switchToNullDriver(const QString& reason) {
    qCWarning(lcDevice).noquote()
        << QStringLiteral("%1; playing on the null back end (no sound)").arg(reason);
    _driver = std::make_unique<NullDriver>();
    _devices = listDevices();
}

std::vector<AudioDeviceInfo> AudioEngine::listDevices() {
    std::lock_guard lock(_driverMutex);
    return _driver->devices();
}

AudioDeviceInfo AudioEngine::defaultDeviceInfo() const {
    const auto found = std::find_if(_devices.begin(), _devices.end(),
                                    [](const AudioDeviceInfo& device) { return device.isDefault; });
    if (found != _devices.end()) {
        return *found;
    }
    if (!_devices.empty()) {
        return _devices.front();
    }
    return NullDriver::defaultDevice(); // runs on its fallback clock
}

const AudioDeviceInfo* AudioEngine::findDevice(const QString& name) const {
    const auto found =
        std::find_if(_devices.begin(), _devices.end(),
                     [&](const AudioDeviceInfo& device) { return device.name == name; });
    return found == _devices.end() ? nullptr : &*found;
}

QString AudioEngine::driverName() const {
    return _driver->name();
}

QStringList AudioEngine::deviceNames() const {
    QStringList names{builtInOutputName()};
    for (const AudioDeviceInfo& device : _devices) {
        names.append(device.name);
    }
    return names;
}

int AudioEngine::channelCountForDevice(const QString& name) const {
    const AudioDeviceInfo* device =
        name == builtInOutputName() ? &_defaultDevice->info() : findDevice(name);
    return std::max(device ? device->outputChannels : 0, 2);
}

QString AudioEngine::deviceUid(const QString& name) const {
    if (name == builtInOutputName()) {
        return _defaultDevice->info().uid;
    }
    const AudioDeviceInfo* device = findDevice(name);
    return device ? device->uid : QString();
}

bool AudioEngine::hasDevice(const QString& name) const {
    return name == builtInOutputName() || findDevice(name) != nullptr;
}

EngineDevice* AudioEngine::openDevice(const AudioDeviceInfo& info) {
    _openDevices.push_back(
        std::make_unique<EngineDevice>(info, _sampleRate, _periodFrames, _maxVoices));
    EngineDevice* device = _openDevices.back().get();
    if (!reopen(*device, info)) {
        device->useFallback();
    }
    return device;
}

bool AudioEngine::reopen(EngineDevice& device, const AudioDeviceInfo& info, Attempt attempt) {
    // The device watch retries a device on the fallback clock every few seconds; its
    // first failure was reported, the retries are not.
    const bool report = attempt == Attempt::First;
    QString error;
    std::unique_ptr<DeviceStream> stream;
    {
        std::lock_guard lock(_driverMutex);
        stream = _driver->openStream(info, _sampleRate, _periodFrames, &device.mixer(), &error);
    }
    if (!stream) {
        if (report) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("Audio device \"%1\" did not open: %2").arg(info.name, error);
        }
        return false;
    }
    if (!device.useStream(std::move(stream))) {
        if (report) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("Audio device \"%1\" did not start").arg(info.name);
        }
        return false;
    }
    return true;
}

EngineDevice* AudioEngine::deviceForName(const QString& name) {
    if (name.isEmpty() || name == builtInOutputName()) {
        return _defaultDevice;
    }
    for (const auto& device : _openDevices) {
        if (device->info().name == name) {
            return device.get();
        }
    }
    const AudioDeviceInfo* info = findDevice(name);
    return info ? openDevice(*info) : nullptr;
}

void AudioEngine::service() {
    moveFailedDevicesToFallback();
    sweepRetiredVoices();
}

void AudioEngine::checkDevices() {
    service();
    applyDeviceList(listDevices());
}

bool AudioEngine::isOnFallback(const QString& deviceName) const {
    for (const auto& device : _openDevices) {
        if (device->info().name == deviceName ||
            (deviceName == builtInOutputName() && device.get() == _defaultDevice)) {
            return device->isOnFallback();
        }
    }
    return false;
}

void AudioEngine::moveFailedDevicesToFallback() {
    for (const auto& device : _openDevices) {
        if (device->hasFailed()) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("Audio device \"%1\" was lost; its outputs keep time on the "
                                  "fallback clock until it returns")
                       .arg(device->info().name);
            device->useFallback();
        }
    }
}

void AudioEngine::applyDeviceList(std::vector<AudioDeviceInfo> devices) {
    moveFailedDevicesToFallback();
    const bool changed = !sameDeviceList(_devices, devices);
    _devices = std::move(devices);
    for (const auto& device : _openDevices) {
        if (!device->isOnFallback()) {
            continue;
        }
        const AudioDeviceInfo* info = findDevice(device->info().name);
        if (info && reopen(*device, *info, Attempt::Retry)) {
            qCInfo(lcDevice).noquote()
                << QStringLiteral("Audio device \"%1\" is back").arg(info->name);
        }
    }
    if (changed) {
        emit devicesChanged();
    }
}

bool AudioEngine::waitUntilIdle(int timeoutMs) {
    return _pool->waitUntilIdle(timeoutMs);
}

std::shared_ptr<Voice> AudioEngine::createVoice(std::unique_ptr<AudioSource> source,
                                                const QString& name, QString* error) {
    sweepRetiredVoices();
    if (_voiceCount >= _maxVoices) {
        if (error) {
            *error = QStringLiteral("Too many open movies (at most %1)").arg(_maxVoices);
        }
        return nullptr;
    }
    auto voice = std::make_shared<Voice>(std::move(source), _pool.get(), name);
    if (!_defaultDevice->mixer().attach(voice.get())) {
        if (error) {
            *error = QStringLiteral("The audio device does not take new movies now");
        }
        return nullptr;
    }
    voice->assignedMixer = &_defaultDevice->mixer();
    _pool->add(voice);
    ++_voiceCount;
    return voice;
}

void AudioEngine::retireVoice(std::shared_ptr<Voice> voice,
                              std::vector<std::shared_ptr<Preroll>> keepAlive) {
    if (!voice) {
        return;
    }
    if (!voice->assignedMixer || !voice->assignedMixer->retire(voice.get())) {
        qCWarning(lcMedia) << "A closed movie's voice could not be handed back; it is kept"
                              " until the engine stops";
    }
    voice->assignedMixer = nullptr;
    _retiring.push_back({std::move(voice), std::move(keepAlive)});
}

void AudioEngine::sweepRetiredVoices() {
    for (auto it = _retiring.begin(); it != _retiring.end();) {
        Voice& voice = *it->voice;
        if (voice.retired.load(std::memory_order_acquire) &&
            voice.owner.load(std::memory_order_acquire) == nullptr) {
            _pool->remove(&voice);
            it = _retiring.erase(it);
            --_voiceCount;
        } else {
            ++it;
        }
    }
}

bool AudioEngine::routeVoice(Voice& voice, const QString& deviceName) {
    EngineDevice* device = deviceForName(deviceName);
    if (!device) {
        qCInfo(lcDevice).noquote()
            << QStringLiteral("No audio device is named \"%1\"; the movie stays where it plays")
                   .arg(deviceName);
        return false;
    }
    Mixer* target = &device->mixer();
    if (voice.assignedMixer == target) {
        return true;
    }
    if (voice.assignedMixer && !voice.assignedMixer->detach(&voice)) {
        qCWarning(lcDevice) << "The movie could not leave its device now; it stays there";
        return false;
    }
    if (!target->attach(&voice)) {
        qCWarning(lcDevice) << "The device does not take the movie now";
        if (voice.assignedMixer) {
            voice.assignedMixer->attach(&voice);
        }
        return false;
    }
    voice.assignedMixer = target;
    return true;
}

void AudioEngine::wakeDecoders() {
    _pool->wake();
}

} // namespace media
