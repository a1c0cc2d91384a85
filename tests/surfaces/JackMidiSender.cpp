#include "tests/surfaces/JackMidiSender.h"

#include "tests/support/PollUntil.h"

#include <jack/jack.h>
#include <jack/midiport.h>

namespace {
constexpr int kDeadlineMs = 5000;
}

std::unique_ptr<JackMidiSender> JackMidiSender::open(int ports, QString* error) {
    if (ports < 1 || ports > kMaxPorts) {
        *error = QStringLiteral("a sender has 1 to %1 ports").arg(kMaxPorts);
        return nullptr;
    }
    jack_status_t status{};
    jack_client_t* client = jack_client_open(kClientName, JackNoStartServer, &status);
    if (!client) {
        *error = QStringLiteral("cannot open a JACK client (status 0x%1)").arg(status, 0, 16);
        return nullptr;
    }
    std::unique_ptr<JackMidiSender> sender(new JackMidiSender(client));
    for (int i = 0; i < ports; ++i) {
        const QByteArray name = QStringLiteral("out%1").arg(i + 1).toUtf8();
        jack_port_t* port = jack_port_register(client, name.constData(), JACK_DEFAULT_MIDI_TYPE,
                                               JackPortIsOutput, 0);
        if (!port) {
            *error = QStringLiteral("cannot register MIDI port %1").arg(QString::fromUtf8(name));
            return nullptr;
        }
        sender->_ports.push_back(port);
    }
    jack_set_process_callback(client, &JackMidiSender::process, sender.get());
    if (jack_activate(client) != 0) {
        *error = QStringLiteral("cannot activate the JACK MIDI sender");
        return nullptr;
    }
    return sender;
}

JackMidiSender::JackMidiSender(_jack_client* client)
    : _client(client) {}

JackMidiSender::~JackMidiSender() {
    jack_deactivate(_client);
    jack_client_close(_client);
}

bool JackMidiSender::send(std::vector<Event> events, int cyclesAfter) {
    _pending = std::move(events);
    _sentInCycle.store(-1);
    _ready.store(true, std::memory_order_release);
    return pollUntil(
        [&] {
            return !_ready.load(std::memory_order_acquire) &&
                   _cycles.load() >= _sentInCycle.load() + 1 + cyclesAfter;
        },
        kDeadlineMs, 1);
}

int JackMidiSender::process(unsigned int frames, void* self) {
    auto* sender = static_cast<JackMidiSender*>(self);
    void* buffers[kMaxPorts] = {};
    for (size_t i = 0; i < sender->_ports.size(); ++i) {
        buffers[i] = jack_port_get_buffer(sender->_ports[i], frames);
        jack_midi_clear_buffer(buffers[i]);
    }
    const long long cycle = sender->_cycles.load();
    if (sender->_ready.load(std::memory_order_acquire)) {
        jack_nframes_t time = 0;
        for (const Event& event : sender->_pending) {
            jack_midi_event_write(buffers[event.port], time++, event.bytes.data(),
                                  event.bytes.size());
        }
        sender->_sentInCycle.store(cycle);
        sender->_ready.store(false, std::memory_order_release);
    }
    sender->_cycles.store(cycle + 1);
    return 0;
}
