#pragma once

// A JACK client that plays MIDI into the graph for the tests: `ports` MIDI outputs
// ("<client>:out1", "out2", ...); the events of one send() leave together in one process
// cycle, each as one JACK MIDI event (so a six-byte event is one packet holding two
// messages). Events are prepared on the main thread and handed to the process thread
// through an atomic flag; the process thread only copies them into the port buffers.
//
// Main thread only, except process(), which runs on the JACK process thread.

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

struct _jack_client;
struct _jack_port;

class JackMidiSender {
public:
    static constexpr const char* kClientName = "zelvora-midi-sender";
    static constexpr int kMaxPorts = 8;

    // Opens the client on the process's default JACK server; null and *error on failure.
    static std::unique_ptr<JackMidiSender> open(int ports, QString* error);
    ~JackMidiSender();
    JackMidiSender(const JackMidiSender&) = delete;
    JackMidiSender& operator=(const JackMidiSender&) = delete;

    struct Event {
        int port;
        std::vector<std::uint8_t> bytes;
    };
    // Sends `events` in one process cycle and waits (up to a few seconds) until that cycle
    // and `cyclesAfter` further ones have run, so every client that listens has had its
    // cycle too. False when the server did not run them in time.
    bool send(std::vector<Event> events, int cyclesAfter = 2);

private:
    explicit JackMidiSender(_jack_client* client);
    static int process(unsigned int frames, void* self);

    _jack_client* _client;
    std::vector<_jack_port*> _ports;
    std::vector<Event> _pending;
    std::atomic<bool> _ready{false};
    std::atomic<long long> _cycles{0};
    std::atomic<long long> _sentInCycle{-1};
};
