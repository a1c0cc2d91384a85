#include "media/JackConnection.h"

#include "foundation/Logging.h"

#include <QHash>
#include <atomic>
#include <mutex>

#ifdef ZELVORA_HAVE_JACK
#include <jack/jack.h>
#endif

namespace media {

struct JackConnection::Link {
    _jack_client* client = nullptr;
    std::atomic<bool> alive{true};
};

JackConnection::JackConnection(std::unique_ptr<Link> link)
    : _link(std::move(link)) {}

bool JackConnection::isAlive() const {
    return _link->alive.load(std::memory_order_acquire);
}

#ifdef ZELVORA_HAVE_JACK

namespace {

void logLibraryMessage(const char* message) {
    qCDebug(lcDevice) << "libjack:" << message;
}

} // namespace

void JackConnection::quietLibraryMessages() {
    jack_set_error_function(&logLibraryMessage);
    jack_set_info_function(&logLibraryMessage);
}

std::unique_ptr<JackConnection> JackConnection::open(const QString& clientName) {
    jack_status_t status{};
    const QByteArray name = clientName.toUtf8();
    jack_client_t* client = jack_client_open(name.constData(), JackNoStartServer, &status);
    if (!client) {
        qCDebug(lcDevice) << "no JACK server to connect to, status" << Qt::hex << int(status);
        return nullptr;
    }
    auto link = std::make_unique<Link>();
    link->client = client;
    // Runs on libjack's notification thread; whoever reads isAlive() reports the loss.
    jack_on_info_shutdown(
        client,
        [](jack_status_t, const char*, void* alive) {
            static_cast<std::atomic<bool>*>(alive)->store(false, std::memory_order_release);
        },
        &link->alive);
    return std::unique_ptr<JackConnection>(new JackConnection(std::move(link)));
}

JackConnection::~JackConnection() {
    if (isAlive()) {
        jack_client_close(_link->client);
    } else {
        // Kept reachable for the rest of the process: libjack may still write to it.
        static std::mutex keptMutex;
        static auto* kept = new std::vector<Link*>;
        std::lock_guard lock(keptMutex);
        kept->push_back(_link.release());
    }
}

int JackConnection::sampleRate() const {
    return isAlive() ? static_cast<int>(jack_get_sample_rate(_link->client)) : 0;
}

std::vector<ProbedDevice> JackConnection::playbackDevices() const {
    std::vector<ProbedDevice> devices;
    if (!isAlive()) {
        return devices;
    }
    // A client's input ports are where we can play to: system:playback_1.. for the card.
    const char** ports =
        jack_get_ports(_link->client, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput);
    if (!ports) {
        return devices;
    }
    QHash<QString, size_t> indexOfClient;
    for (size_t i = 0; ports[i]; ++i) {
        const QString portName = QString::fromUtf8(ports[i]);
        const qsizetype colon = portName.indexOf(QLatin1Char(':'));
        if (colon <= 0) {
            continue;
        }
        const QString owner = portName.left(colon);
        auto found = indexOfClient.constFind(owner);
        if (found == indexOfClient.constEnd()) {
            found = indexOfClient.insert(owner, devices.size());
            ProbedDevice device;
            device.apiName = owner;
            devices.push_back(device);
        }
        ++devices[found.value()].outputChannels;
    }
    jack_free(ports);

    const int rate = sampleRate();
    for (ProbedDevice& device : devices) {
        device.preferredSampleRate = rate;
    }
    if (!devices.empty()) {
        devices.front().apiDefault = true; // the server's first client, as RtAudio counts
    }
    return devices;
}

#else // no JACK at build time: there is never a server to talk to

void JackConnection::quietLibraryMessages() {}

std::unique_ptr<JackConnection> JackConnection::open(const QString&) {
    return nullptr;
}

JackConnection::~JackConnection() = default;

int JackConnection::sampleRate() const {
    return 0;
}

std::vector<ProbedDevice> JackConnection::playbackDevices() const {
    return {};
}

#endif

} // namespace media
