#pragma once

// The audio engine: one per program, created by the application at start (and by tests)
// and reached by every Movie through AudioEngine::instance(). It chooses a back end
// (ZELVORA_AUDIO = rtaudio, null or offline; the null back end when RtAudio opens no
// device), keeps one stream per open device with a mixer on it, runs the decoder
// workers, watches the device list off the main thread, moves the mixer of a lost
// device onto a fallback clock and back when the device returns, and frees what the
// device callbacks have let go of.
//
// Thread contract: main thread only, unless a member says otherwise. Nothing here ever
// waits for a device callback.

#include "media/AudioDeviceInfo.h"

#include <QObject>
#include <QStringList>
#include <memory>
#include <mutex>
#include <vector>

class QTimer;

namespace media {

class AudioDriver;
class AudioSource;
class DecoderPool;
class DeviceWatcher;
class EngineDevice;
class Preroll;
class Voice;

class AudioEngine : public QObject {
    Q_OBJECT
public:
    struct Options {
        Options();
        Options(Options&&) noexcept;
        Options& operator=(Options&&) noexcept;
        ~Options();

        // The back end; null: chosen from ZELVORA_AUDIO.
        std::unique_ptr<AudioDriver> driver;
        // Frames per device callback asked of every stream.
        int periodFrames = 256;
        int decoderThreads = 2;
        // How often the device list is polled (off the main thread); 0: never (tests
        // call checkDevices()).
        int deviceWatchIntervalMs = 3000;
        // Movies that can be open at once.
        int maxVoices = 1024;
    };

    // The name of the system's default output device in output settings.
    static QString builtInOutputName();

    explicit AudioEngine(Options options = Options());
    ~AudioEngine() override;

    // The installed engine: the first one constructed and not yet destroyed. Null when
    // the program has none.
    static AudioEngine* instance();

    // Frames per second of every stream and every decoded movie: the default device's
    // preferred rate, else 48000.
    int sampleRate() const { return _sampleRate; }
    int periodFrames() const { return _periodFrames; }
    // "rtaudio", "null" or "offline".
    QString driverName() const;
    AudioDriver& driver() { return *_driver; }

    // --- Device listings, from the last poll (no probing on the main thread) ---
    // "Built-in Output" first, then the name of every device.
    QStringList deviceNames() const;
    // The larger of the device's output channels and 2 (2 for an unknown name).
    int channelCountForDevice(const QString& name) const;
    // The device's stable identifier; empty when no device has the name.
    QString deviceUid(const QString& name) const;
    // Whether the name resolves to a device now ("Built-in Output" always does).
    bool hasDevice(const QString& name) const;

    // --- Device health ---
    // Cheap housekeeping, also run by a 100 ms timer: moves the mixers of failed
    // devices onto the fallback clock and frees retired voices.
    void service();
    // Lists the devices now (blocking) and acts on the list as a poll would. Tests.
    void checkDevices();
    // Whether the named open device runs on its fallback clock.
    bool isOnFallback(const QString& deviceName) const;

    // Waits until the decoder workers have nothing left to do. Tests and benchmarks.
    bool waitUntilIdle(int timeoutMs = 10000);

    // --- Voices: used by Movie ---
    // A voice over `source` on the default device; null with *error set when no more
    // voices can be had.
    std::shared_ptr<Voice> createVoice(std::unique_ptr<AudioSource> source, const QString& name,
                                       QString* error);
    // Takes a voice out of play; it and `keepAlive` are freed once its mixer let go.
    void retireVoice(std::shared_ptr<Voice> voice, std::vector<std::shared_ptr<Preroll>> keepAlive);
    // Moves the voice onto the named device ("Built-in Output": the default device),
    // opening the device when needed. False (the voice stays where it is) when no
    // device has that name.
    bool routeVoice(Voice& voice, const QString& deviceName);
    // Any thread: wakes the decoder workers.
    void wakeDecoders();

signals:
    // The device list changed (a device appeared or went away).
    void devicesChanged();

private:
    struct RetiringVoice {
        std::shared_ptr<Voice> voice;
        std::vector<std::shared_ptr<Preroll>> keepAlive;
    };

    void chooseDriver(std::unique_ptr<AudioDriver> driver);
    void switchToNullDriver(const QString& reason);
    std::vector<AudioDeviceInfo> listDevices();
    AudioDeviceInfo defaultDeviceInfo() const;
    const AudioDeviceInfo* findDevice(const QString& name) const;
    EngineDevice* openDevice(const AudioDeviceInfo& info);
    // Opens a stream for `device`; a failure is logged unless it is a quiet retry.
    enum class Attempt { First, Retry };
    bool reopen(EngineDevice& device, const AudioDeviceInfo& info,
                Attempt attempt = Attempt::First);
    EngineDevice* deviceForName(const QString& name);
    void applyDeviceList(std::vector<AudioDeviceInfo> devices);
    void moveFailedDevicesToFallback();
    void sweepRetiredVoices();

    std::unique_ptr<AudioDriver> _driver;
    std::mutex _driverMutex; // main thread and the device watcher, never a callback
    std::vector<AudioDeviceInfo> _devices;
    int _sampleRate = 48000;
    int _periodFrames = 256;
    int _maxVoices = 1024;
    int _voiceCount = 0;
    std::unique_ptr<DecoderPool> _pool;
    std::vector<std::unique_ptr<EngineDevice>> _openDevices;
    EngineDevice* _defaultDevice = nullptr;
    std::vector<RetiringVoice> _retiring;
    std::unique_ptr<DeviceWatcher> _watcher;
    QTimer* _serviceTimer = nullptr;
};

} // namespace media
