#include "tests/support/JackCapture.h"
#include "tests/support/PollUntil.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <jack/jack.h>

std::unique_ptr<JackCapture> JackCapture::open(int inputs, int capacityFrames, QString* error) {
    jack_status_t status{};
    jack_client_t* client = jack_client_open("zelvora-capture", JackNoStartServer, &status);
    if (!client) {
        *error = QStringLiteral("capture client could not connect to JACK (status 0x%1)")
                     .arg(static_cast<int>(status), 0, 16);
        return nullptr;
    }
    std::unique_ptr<JackCapture> capture(new JackCapture(client, capacityFrames));
    for (int i = 0; i < inputs; ++i) {
        const QByteArray name = QStringLiteral("in_%1").arg(i + 1).toUtf8();
        jack_port_t* port = jack_port_register(client, name.constData(), JACK_DEFAULT_AUDIO_TYPE,
                                               JackPortIsInput, 0);
        if (!port) {
            *error = QStringLiteral("capture client could not register port %1").arg(i + 1);
            return nullptr;
        }
        capture->_ports.push_back(port);
        capture->_recordings.emplace_back(static_cast<size_t>(capacityFrames), 0.0f);
    }
    jack_set_process_callback(client, &JackCapture::process, capture.get());
    if (jack_activate(client) != 0) {
        *error = QStringLiteral("capture client could not be activated");
        return nullptr;
    }
    return capture;
}

JackCapture::JackCapture(_jack_client* client, int capacityFrames)
    : _client(client)
    , _capacityFrames(capacityFrames) {}

JackCapture::~JackCapture() {
    jack_deactivate(_client);
    jack_client_close(_client);
}

int JackCapture::process(unsigned int frames, void* self) {
    auto* capture = static_cast<JackCapture*>(self);
    int written = capture->_frames.load(std::memory_order_relaxed);
    if (capture->_restartRequested.load(std::memory_order_acquire)) {
        written = 0;
        capture->_frames.store(0, std::memory_order_release);
        capture->_restartRequested.store(false, std::memory_order_release);
    }
    const int room = capture->_capacityFrames - written;
    const int count = std::min(room, static_cast<int>(frames));
    if (count <= 0) {
        return 0;
    }
    for (size_t i = 0; i < capture->_ports.size(); ++i) {
        const auto* source =
            static_cast<const float*>(jack_port_get_buffer(capture->_ports[i], frames));
        std::memcpy(capture->_recordings[i].data() + written, source,
                    static_cast<size_t>(count) * sizeof(float));
    }
    capture->_frames.store(written + count, std::memory_order_release);
    return 0;
}

std::vector<QString> JackCapture::sourcesOf(const QString& playbackPort) const {
    std::vector<QString> sources;
    const QByteArray name = playbackPort.toUtf8();
    jack_port_t* port = jack_port_by_name(_client, name.constData());
    if (!port) {
        return sources;
    }
    const char** connections = jack_port_get_all_connections(_client, port);
    if (!connections) {
        return sources;
    }
    for (size_t i = 0; connections[i]; ++i) {
        sources.push_back(QString::fromUtf8(connections[i]));
    }
    jack_free(connections);
    return sources;
}

int JackCapture::listenTo(int input, const QString& playbackPort) {
    if (input < 0 || input >= static_cast<int>(_ports.size())) {
        return 0;
    }
    const char* ownPort = jack_port_name(_ports[static_cast<size_t>(input)]);
    int connected = 0;
    for (const QString& source : sourcesOf(playbackPort)) {
        const QByteArray sourceName = source.toUtf8();
        const int result = jack_connect(_client, sourceName.constData(), ownPort);
        if (result == 0 || result == EEXIST) {
            ++connected;
        }
    }
    return connected;
}

void JackCapture::restart() {
    _restartRequested.store(true, std::memory_order_release);
}

bool JackCapture::restartPending() const {
    return _restartRequested.load(std::memory_order_acquire);
}

int JackCapture::recordedFrames() const {
    return restartPending() ? 0 : _frames.load(std::memory_order_acquire);
}

bool JackCapture::waitForFrames(int frames, int timeoutMs) const {
    return pollUntil([&] { return recordedFrames() >= frames; }, timeoutMs);
}

std::span<const float> JackCapture::recorded(int input) const {
    if (input < 0 || input >= static_cast<int>(_recordings.size())) {
        return {};
    }
    return {_recordings[static_cast<size_t>(input)].data(), static_cast<size_t>(recordedFrames())};
}

double JackCapture::rms(int input) const {
    const std::span<const float> samples = recorded(input);
    double sum = 0.0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return samples.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

double JackCapture::peak(int input) const {
    float largest = 0.0f;
    for (const float sample : recorded(input)) {
        largest = std::max(largest, std::fabs(sample));
    }
    return largest;
}

double JackCapture::toneFrequency(int input, int sampleRate) const {
    const std::span<const float> samples = recorded(input);
    int crossings = 0;
    for (size_t i = 1; i < samples.size(); ++i) {
        crossings += (samples[i - 1] < 0.0f) != (samples[i] < 0.0f);
    }
    return samples.size() < 2
               ? 0.0
               : crossings * static_cast<double>(sampleRate) / (2.0 * double(samples.size()));
}
