#include "media/RtAudioDeviceStream.h"

#include "foundation/Logging.h"
#include "media/JackConnection.h"
#include "media/RenderCallback.h"

#include <QStringList>
#include <algorithm>
#include <chrono>
#include <mutex>
#include <rtaudio/RtAudio.h>
#include <thread>
#include <vector>

namespace media {

namespace {

// The JACK client name, and the stream name the sound servers show.
constexpr const char* kClientName = "Zelvora Studio";
// Priority asked for the device thread of ALSA and PulseAudio streams (JACK sets its own).
constexpr int kRealtimePriority = 70;
// A device that is gone fails every write: this many device-thread warnings, each within
// kWarningGapPeriods periods of the one before, mean the device is lost. A lone underrun
// is only a warning.
constexpr int kWarningRunLimit = 16;
constexpr std::uint64_t kWarningGapPeriods = 2;
// No device callback for this long while running means the device or server hangs.
constexpr std::int64_t kMinimumStallNanoseconds = 1'500'000'000;
constexpr std::int64_t kStallPeriods = 16;
// How long to let RtAudio finish closing a stream after the JACK server went away.
constexpr auto kServerGoneCloseWait = std::chrono::seconds(2);

std::int64_t nowNanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool isFatal(RtAudioError::Type type) {
    return type != RtAudioError::WARNING && type != RtAudioError::DEBUG_WARNING;
}

// Collects what RtAudio reports through the error callback while this thread is in one of
// our calls to it (once a stream is open, RtAudio reports there instead of throwing).
class ErrorCapture;
thread_local ErrorCapture* tCapture = nullptr;

// The stream a device thread last rendered for. RtAudio's error callback carries no user
// pointer; this is how an error met on a device thread finds its stream. RtAudio joins or
// ends a stream's device thread before closeStream() returns, so it never dangles there.
thread_local RtAudioDeviceStream* tDeviceThreadStream = nullptr;

class ErrorCapture {
public:
    ErrorCapture()
        : _outer(tCapture) {
        tCapture = this;
    }
    ~ErrorCapture() { tCapture = _outer; }
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    void add(bool fatal, const QString& text) {
        if (fatal) {
            _errors << text;
        } else {
            qCDebug(lcDevice).noquote() << "RtAudio:" << text;
        }
    }
    bool hasErrors() const { return !_errors.isEmpty(); }
    QString text() const {
        return _errors.isEmpty() ? QStringLiteral("the device refused") : _errors.join(u"; ");
    }

private:
    ErrorCapture* _outer;
    QStringList _errors;
};

// Keeps an RtAudio object that must never be closed or destroyed (its JACK client died
// with the server and belongs to libjack now) for the rest of the process, reachable so
// that leak checkers see it is kept on purpose.
void keepForever(std::unique_ptr<RtAudio> rtAudio) {
    static std::mutex mutex;
    static auto* kept = new std::vector<RtAudio*>;
    std::lock_guard lock(mutex);
    kept->push_back(rtAudio.release());
}

void setError(QString* error, const QString& text) {
    if (error) {
        *error = text;
    }
}

} // namespace

std::unique_ptr<RtAudioDeviceStream>
RtAudioDeviceStream::open(std::unique_ptr<RtAudio> rtAudio, const Request& request,
                          RenderCallback* callback, std::shared_ptr<JackConnection> jackServer,
                          QString* error) {
    if (!rtAudio || !callback || request.channels <= 0 || request.sampleRate <= 0 ||
        request.periodFrames <= 0) {
        setError(error, QStringLiteral("Could not open \"%1\": invalid stream parameters.")
                            .arg(request.deviceName));
        return nullptr;
    }
    std::unique_ptr<RtAudioDeviceStream> stream(
        new RtAudioDeviceStream(std::move(rtAudio), request, callback, std::move(jackServer)));
    if (!stream->openOnDevice(error)) {
        return nullptr;
    }
    return stream;
}

RtAudioDeviceStream::RtAudioDeviceStream(std::unique_ptr<RtAudio> rtAudio, const Request& request,
                                         RenderCallback* callback,
                                         std::shared_ptr<JackConnection> jackServer)
    : _rtAudio(std::move(rtAudio))
    , _jackServer(std::move(jackServer))
    , _callback(callback)
    , _deviceName(request.deviceName)
    , _deviceIndex(request.deviceIndex)
    , _channels(request.channels)
    , _sampleRate(request.sampleRate)
    , _periodFrames(request.periodFrames) {}

RtAudioDeviceStream::~RtAudioDeviceStream() {
    close();
}

bool RtAudioDeviceStream::openOnDevice(QString* error) {
    RtAudio::StreamParameters parameters;
    parameters.deviceId = _deviceIndex;
    parameters.nChannels = static_cast<unsigned>(_channels);
    parameters.firstChannel = 0;
    RtAudio::StreamOptions options;
    options.flags = RTAUDIO_SCHEDULE_REALTIME;
    options.priority = kRealtimePriority;
    options.streamName = kClientName;
    unsigned int frames = static_cast<unsigned>(_periodFrames);
    RtAudioErrorCallback onError = [](RtAudioError::Type type, const std::string& text) {
        errorTrampoline(static_cast<int>(type), text);
    };

    ErrorCapture capture;
    bool opened = false;
    try {
        _rtAudio->showWarnings(false);
        _rtAudio->openStream(&parameters, nullptr, RTAUDIO_FLOAT32,
                             static_cast<unsigned>(_sampleRate), &frames, &renderTrampoline, this,
                             &options, onError);
        opened = _rtAudio->isStreamOpen();
    } catch (const RtAudioError& e) {
        capture.add(true, QString::fromStdString(e.getMessage()));
    }
    if (!opened || capture.hasErrors()) {
        setError(error,
                 QStringLiteral("Could not open \"%1\": %2").arg(_deviceName, capture.text()));
        return false;
    }
    _periodFrames = static_cast<int>(frames);
    qCInfo(lcDevice).noquote() << QStringLiteral("Opened \"%1\": %2 channels at %3 Hz, %4 frames "
                                                 "per period")
                                      .arg(_deviceName)
                                      .arg(_channels)
                                      .arg(_sampleRate)
                                      .arg(_periodFrames);
    return true;
}

bool RtAudioDeviceStream::start() {
    if (_started) {
        return !hasFailed();
    }
    if (hasFailed()) {
        qCWarning(lcDevice).noquote()
            << QStringLiteral("Not starting \"%1\": the device has failed.").arg(_deviceName);
        return false;
    }
    ErrorCapture capture;
    bool running = false;
    _lastRenderNanoseconds.store(nowNanoseconds(), std::memory_order_relaxed);
    try {
        _rtAudio->startStream();
        running = _rtAudio->isStreamRunning();
    } catch (const RtAudioError& e) {
        capture.add(true, QString::fromStdString(e.getMessage()));
    }
    if (!running || capture.hasErrors()) {
        qCWarning(lcDevice).noquote()
            << QStringLiteral("Could not start \"%1\": %2").arg(_deviceName, capture.text());
        _failed.store(true, std::memory_order_release);
        return false;
    }
    _started = true;
    _running.store(true, std::memory_order_release);
    return true;
}

bool RtAudioDeviceStream::hasFailed() const {
    if (_failed.load(std::memory_order_acquire)) {
        return true;
    }
    bool failed = false;
    if (_jackServer && !_jackServer->isAlive()) {
        failed = true;
    } else if (_running.load(std::memory_order_acquire)) {
        const std::int64_t silentFor =
            nowNanoseconds() - _lastRenderNanoseconds.load(std::memory_order_relaxed);
        failed = silentFor > stallLimitNanoseconds();
    }
    if (failed) {
        _failed.store(true, std::memory_order_release);
    }
    return failed;
}

std::int64_t RtAudioDeviceStream::stallLimitNanoseconds() const {
    const std::int64_t periods =
        kStallPeriods * 1'000'000'000LL * _periodFrames / std::max(1, _sampleRate);
    return std::max(kMinimumStallNanoseconds, periods);
}

void RtAudioDeviceStream::close() {
    _running.store(false, std::memory_order_release);
    if (!_rtAudio) {
        return;
    }
    if (_jackServer && !_jackServer->isAlive()) {
        if (!_started) {
            // The client belongs to libjack now (it frees the clients of a dead server
            // when the next one opens); closing it could close freed memory.
            keepForever(std::move(_rtAudio));
            return;
        }
        // RtAudio closes a running JACK stream by itself, on a thread of its own, when the
        // server shuts the client down; closing it here as well would free it twice.
        if (!waitForRtAudioToClose()) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("\"%1\" did not finish closing after the JACK server went "
                                  "away; leaving it behind.")
                       .arg(_deviceName);
            keepForever(std::move(_rtAudio));
            return;
        }
    } else {
        ErrorCapture capture;
        try {
            // Abort rather than stop: stopping waits for the device to drain, which never
            // happens on a device that is gone.
            if (_rtAudio->isStreamRunning()) {
                _rtAudio->abortStream();
            }
            if (_rtAudio->isStreamOpen()) {
                _rtAudio->closeStream();
            }
        } catch (const RtAudioError& e) {
            capture.add(true, QString::fromStdString(e.getMessage()));
        }
        if (capture.hasErrors()) {
            qCWarning(lcDevice).noquote()
                << QStringLiteral("Closing \"%1\": %2").arg(_deviceName, capture.text());
        }
    }
    _rtAudio.reset();
}

bool RtAudioDeviceStream::waitForRtAudioToClose() {
    const auto deadline = std::chrono::steady_clock::now() + kServerGoneCloseWait;
    while (std::chrono::steady_clock::now() < deadline) {
        bool open = true;
        try {
            open = _rtAudio->isStreamOpen();
        } catch (const RtAudioError&) {
            open = false;
        }
        if (!open) {
            // The closing thread marks the stream closed as its last step; give it the
            // moment to return from that call before the object goes.
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

int RtAudioDeviceStream::renderTrampoline(void* output, void*, unsigned int frames, double,
                                          unsigned int, void* self) {
    auto* stream = static_cast<RtAudioDeviceStream*>(self);
    tDeviceThreadStream = stream;
    stream->renderPeriod(static_cast<float*>(output), static_cast<int>(frames));
    return 0;
}

void RtAudioDeviceStream::renderPeriod(float* interleaved, int frames) {
    ++_periodsRendered;
    _lastRenderNanoseconds.store(nowNanoseconds(), std::memory_order_relaxed);
    if (!interleaved || frames <= 0) {
        return;
    }
    if (_failed.load(std::memory_order_acquire)) {
        std::fill_n(interleaved, static_cast<size_t>(frames) * static_cast<size_t>(_channels),
                    0.0f);
        return;
    }
    _callback->render(interleaved, _channels, frames);
}

void RtAudioDeviceStream::errorTrampoline(int type, const std::string& text) {
    const bool fatal = isFatal(static_cast<RtAudioError::Type>(type));
    if (tCapture) {
        tCapture->add(fatal, QString::fromStdString(text));
    } else if (tDeviceThreadStream) {
        tDeviceThreadStream->noteDeviceThreadError(fatal);
    }
    // Otherwise it is one of RtAudio's own helper threads (closing a stream after a JACK
    // shutdown), which concerns no stream of ours any more.
}

void RtAudioDeviceStream::noteDeviceThreadError(bool fatal) {
    if (fatal) {
        _failed.store(true, std::memory_order_release);
        return;
    }
    const bool continuesRun =
        _warningRun > 0 && _periodsRendered - _periodOfLastWarning <= kWarningGapPeriods;
    _warningRun = continuesRun ? _warningRun + 1 : 1;
    _periodOfLastWarning = _periodsRendered;
    if (_warningRun >= kWarningRunLimit) {
        _failed.store(true, std::memory_order_release);
    }
}

} // namespace media
