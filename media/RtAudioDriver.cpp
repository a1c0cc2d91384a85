#include "media/RtAudioDriver.h"

#include "foundation/Logging.h"
#include "media/JackConnection.h"
#include "media/RtAudioDeviceStream.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <rtaudio/RtAudio.h>

#ifdef ZELVORA_HAVE_ALSA
#include <alsa/asoundlib.h>
#endif

namespace media {

namespace {

// The driver's own JACK client only watches and lists; the streams are "Zelvora Studio".
constexpr const char* kWatchClientName = "Zelvora Studio devices";

RtAudio::Api rtApiOf(AudioApi api) {
    switch (api) {
    case AudioApi::Jack:
        return RtAudio::UNIX_JACK;
    case AudioApi::Pulse:
        return RtAudio::LINUX_PULSE;
    case AudioApi::Alsa:
        return RtAudio::LINUX_ALSA;
    }
    return RtAudio::RTAUDIO_DUMMY;
}

bool isCompiled(AudioApi api) {
    std::vector<RtAudio::Api> compiled;
    RtAudio::getCompiledApi(compiled);
    return std::find(compiled.begin(), compiled.end(), rtApiOf(api)) != compiled.end();
}

#ifdef ZELVORA_HAVE_ALSA
// alsa-lib prints a paragraph to stderr for every probe on a machine without a card.
void logAlsaMessage(const char*, int, const char* function, int err, const char* format, ...) {
    if (!lcDevice().isDebugEnabled()) {
        return;
    }
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    qCDebug(lcDevice) << "alsa-lib:" << function << text << err;
}
#endif

void quietLibraryMessages() {
    JackConnection::quietLibraryMessages();
#ifdef ZELVORA_HAVE_ALSA
    snd_lib_error_set_handler(&logAlsaMessage);
#endif
}

std::unique_ptr<DeviceStream> refuse(const QString& text, QString* error) {
    qCWarning(lcDevice).noquote() << text;
    if (error) {
        *error = text;
    }
    return nullptr;
}

} // namespace

RtAudioDriver::RtAudioDriver() {
    quietLibraryMessages();
}

RtAudioDriver::~RtAudioDriver() = default;

QString RtAudioDriver::name() const {
    return QStringLiteral("rtaudio");
}

std::vector<AudioDeviceInfo> RtAudioDriver::devices() {
    // JACK is listed from our own client: RtAudio's JACK listing opens two clients per
    // call, which costs tens of milliseconds each time the engine polls.
    const std::shared_ptr<JackConnection> jack = jackServer();
    _list.update(AudioApi::Jack, jack ? jack->playbackDevices() : std::vector<ProbedDevice>());
    _list.update(AudioApi::Pulse, probeWithRtAudio(AudioApi::Pulse));
    _list.update(AudioApi::Alsa, probeWithRtAudio(AudioApi::Alsa));
    return _list.devices();
}

std::shared_ptr<JackConnection> RtAudioDriver::jackServer() {
    if (_jackServer) {
        if (_jackServer->isAlive()) {
            return _jackServer;
        }
        // When a client opens after its server died, libjack frees every client left from
        // that server, while RtAudio may still be closing a stream's client on a thread
        // of its own. Open nothing until every stream of the old server is gone (the
        // engine replaces failed streams).
        if (_jackServer.use_count() > 1) {
            return nullptr;
        }
        _jackServer.reset();
        qCInfo(lcDevice) << "The JACK server has gone away.";
    }
    _jackServer = JackConnection::open(QString::fromLatin1(kWatchClientName));
    if (_jackServer) {
        qCInfo(lcDevice) << "A JACK server is running at" << _jackServer->sampleRate() << "Hz.";
    }
    return _jackServer;
}

std::vector<ProbedDevice> RtAudioDriver::probeWithRtAudio(AudioApi api) const {
    std::vector<ProbedDevice> probe;
    if (!isCompiled(api)) {
        return probe;
    }
    try {
        RtAudio rtAudio(rtApiOf(api));
        rtAudio.showWarnings(false);
        const unsigned int count = rtAudio.getDeviceCount();
        for (unsigned int i = 0; i < count; ++i) {
            ProbedDevice device;
            try {
                const RtAudio::DeviceInfo info = rtAudio.getDeviceInfo(i);
                device.probed = info.probed;
                device.apiName = QString::fromStdString(info.name);
                device.outputChannels = static_cast<int>(info.outputChannels);
                device.preferredSampleRate = static_cast<int>(info.preferredSampleRate);
                device.apiDefault = info.isDefaultOutput;
            } catch (const RtAudioError& e) {
                device.probed = false;
                qCDebug(lcDevice).noquote() << "RtAudio:" << QString::fromStdString(e.getMessage());
            }
            probe.push_back(device);
        }
    } catch (const RtAudioError& e) {
        qCDebug(lcDevice).noquote() << "RtAudio:" << QString::fromStdString(e.getMessage());
        probe.clear();
    }
    return probe;
}

std::unique_ptr<DeviceStream> RtAudioDriver::openStream(const AudioDeviceInfo& device,
                                                        int sampleRate, int periodFrames,
                                                        RenderCallback* callback, QString* error) {
    const auto failure = [&device](const QString& why) {
        return QStringLiteral("Could not open \"%1\": %2").arg(device.name, why);
    };
    if (!callback) {
        return refuse(failure(QStringLiteral("nothing to render the sound.")), error);
    }
    if (sampleRate <= 0 || periodFrames <= 0) {
        return refuse(failure(QStringLiteral("invalid sample rate %1 or period of %2 frames.")
                                  .arg(sampleRate)
                                  .arg(periodFrames)),
                      error);
    }
    AudioApi api{};
    if (!RtAudioDeviceList::apiOfIdentifier(device.uid, &api) || !isCompiled(api)) {
        return refuse(
            failure(
                QStringLiteral("\"%1\" names no JACK, PulseAudio or ALSA device.").arg(device.uid)),
            error);
    }
    std::shared_ptr<JackConnection> jack;
    if (api == AudioApi::Jack) {
        jack = jackServer();
        if (!jack) {
            return refuse(failure(QStringLiteral("no JACK server is running.")), error);
        }
    }

    // RtAudio numbers devices by position, which changes as devices come and go: find the
    // device's position now, on the instance that will own the stream.
    std::unique_ptr<RtAudio> rtAudio;
    RtAudioDeviceStream::Request request;
    request.sampleRate = sampleRate;
    request.periodFrames = periodFrames;
    request.deviceName = device.name;
    bool found = false;
    try {
        rtAudio = std::make_unique<RtAudio>(rtApiOf(api));
        rtAudio->showWarnings(false);
        const unsigned int count = rtAudio->getDeviceCount();
        std::vector<QString> names;
        for (unsigned int i = 0; i < count && !found; ++i) {
            const RtAudio::DeviceInfo info = rtAudio->getDeviceInfo(i);
            names.push_back(QString::fromStdString(info.name));
            if (RtAudioDeviceList::identifiers(api, names).back() == device.uid) {
                found = true;
                request.deviceIndex = i;
                request.channels = static_cast<int>(info.outputChannels);
            }
        }
    } catch (const RtAudioError& e) {
        return refuse(failure(QString::fromStdString(e.getMessage())), error);
    }
    if (!found) {
        return refuse(failure(QStringLiteral("the device is not present.")), error);
    }
    if (request.channels <= 0) {
        return refuse(failure(QStringLiteral("the device offers no output channels now "
                                             "(it may be in use by another program).")),
                      error);
    }

    QString openError;
    std::unique_ptr<RtAudioDeviceStream> stream =
        RtAudioDeviceStream::open(std::move(rtAudio), request, callback, jack, &openError);
    if (!stream) {
        return refuse(openError, error);
    }
    return stream;
}

} // namespace media
