#include "app/midi/RtMidiSourceList.h"

#include "app/midi/MIDIInputCallback.h"
#include "foundation/Logging.h"

#include <QRegularExpression>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <rtmidi/RtMidi.h>

namespace {

const std::string kProbeClientName = "Zelvora Studio";

RtMidi::Api apiOf(RtMidiSourceList::Service service) {
    return service == RtMidiSourceList::Service::Jack ? RtMidi::UNIX_JACK : RtMidi::LINUX_ALSA;
}

const char* serviceName(RtMidiSourceList::Service service) {
    return service == RtMidiSourceList::Service::Jack ? "JACK" : "the ALSA sequencer";
}

// The last error an input reported on the main thread (RtMidi reports through the
// callback instead of throwing once one is installed).
RtMidiError::Type gLastError = RtMidiError::UNSPECIFIED;
bool gErrorSeen = false;

void logRtMidiError(RtMidiError::Type type, const std::string& text, void*) {
    gLastError = type;
    gErrorSeen = type != RtMidiError::WARNING && type != RtMidiError::DEBUG_WARNING;
    qCDebug(lcMidi).noquote() << QString::fromStdString(text);
}

// RtMidi's receive callback, on the service's thread: one message is one packet.
void receiveFromRtMidi(double, std::vector<unsigned char>* message, void* reference) {
    if (!message) {
        return;
    }
    const MIDIPacket packet{midiHostTimeNow(), static_cast<int>(message->size()), message->data()};
    midiInputCallback(&packet, 1, static_cast<int>(reinterpret_cast<std::intptr_t>(reference)));
}

// ALSA lists "client:port 20:0"; the client and port numbers change from one plug to the
// next, so the stored name leaves them out.
QString readableName(RtMidiSourceList::Service service, const std::string& portName) {
    QString name = QString::fromStdString(portName);
    if (service == RtMidiSourceList::Service::Jack) {
        return name + QStringLiteral(" (JACK)");
    }
    static const QRegularExpression addressSuffix(QStringLiteral("\\s+\\d+:\\d+$"));
    return name.remove(addressSuffix);
}

void printLine(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

} // namespace

RtMidiSourceList::RtMidiSourceList(std::vector<Service> services)
    : _services(std::move(services)) {}

RtMidiSourceList::~RtMidiSourceList() {
    closeConnections();
}

int RtMidiSourceList::count() const {
    if (_open) {
        return static_cast<int>(_connectedSources.size());
    }
    return static_cast<int>(enumerate().size());
}

bool RtMidiSourceList::name(int index, QString* name) const {
    const std::vector<Source> sources = _open ? _connectedSources : enumerate();
    if (index < 0 || index >= static_cast<int>(sources.size()) ||
        sources[static_cast<size_t>(index)].name.isEmpty()) {
        return false;
    }
    *name = sources[static_cast<size_t>(index)].name;
    return true;
}

int RtMidiSourceList::connectedCount() const {
    return static_cast<int>(
        std::count_if(_inputs.begin(), _inputs.end(), [](const auto& input) { return !!input; }));
}

std::vector<RtMidiSourceList::Source> RtMidiSourceList::enumerate() const {
    std::vector<Source> sources;
    for (Service service : _services) {
        enumerateService(service, &sources);
    }
    return sources;
}

void RtMidiSourceList::enumerateService(Service service, std::vector<Source>* sources) const {
    try {
        RtMidiIn probe(apiOf(service), kProbeClientName);
        probe.setErrorCallback(&logRtMidiError, nullptr);
        const unsigned count = probe.getPortCount();
        for (unsigned port = 0; port < count; ++port) {
            const std::string portName = probe.getPortName(port);
            sources->push_back({service, port, portName, readableName(service, portName)});
        }
    } catch (const RtMidiError& error) {
        if (std::find(_unavailableLogged.begin(), _unavailableLogged.end(), service) ==
            _unavailableLogged.end()) {
            _unavailableLogged.push_back(service);
            qCWarning(lcMidi).noquote()
                << QStringLiteral("MIDI from %1 is not available (%2); its devices are not heard.")
                       .arg(QLatin1String(serviceName(service)),
                            QString::fromStdString(error.getMessage()));
        }
    }
}

void RtMidiSourceList::openConnections(const QString& clientName) {
    closeConnections();
    std::vector<Source> sources = enumerate();
    if (sources.empty()) {
        printLine("Zelvora: No Linux MIDI input devices available.\n");
        qCWarning(lcMidi) << "No MIDI input devices (ALSA sequencer or JACK): MIDI notes will not "
                             "fire buttons.";
        return;
    }
    const std::string name = clientName.toStdString();
    for (size_t i = 0; i < sources.size(); ++i) {
        _inputs.push_back(connect(sources[i], static_cast<int>(i), name));
    }
    _connectedSources = std::move(sources);
    _open = true;
}

std::unique_ptr<RtMidiIn> RtMidiSourceList::connect(const Source& source, int index,
                                                    const std::string& clientName) const {
    std::unique_ptr<RtMidiIn> input;
    try {
        input = std::make_unique<RtMidiIn>(apiOf(source.service), clientName);
    } catch (const RtMidiError& error) {
        printLine("Zelvora: Error creating MIDI client object.\n");
        qCWarning(lcMidi).noquote() << QString::fromStdString(error.getMessage());
        return nullptr;
    }
    input->setErrorCallback(&logRtMidiError, nullptr);
    // The list may have moved since it was read: the port is found again by its name.
    unsigned port = source.port;
    if (input->getPortName(port) != source.portName) {
        const unsigned count = input->getPortCount();
        port = count;
        for (unsigned candidate = 0; candidate < count; ++candidate) {
            if (input->getPortName(candidate) == source.portName) {
                port = candidate;
                break;
            }
        }
        if (port == count) {
            std::printf("MIDIPortConnectSource error: %i\n",
                        static_cast<int>(RtMidiError::INVALID_PARAMETER));
            std::fflush(stdout);
            return nullptr;
        }
    }
    // System exclusive, clock and active sensing never fire a button.
    input->ignoreTypes(true, true, true);
    input->setCallback(&receiveFromRtMidi,
                       reinterpret_cast<void*>(static_cast<std::intptr_t>(index)));
    gErrorSeen = false;
    try {
        input->openPort(port, clientName);
    } catch (const RtMidiError& error) {
        gLastError = error.getType();
        gErrorSeen = true;
    }
    if (gErrorSeen || !input->isPortOpen()) {
        std::printf("MIDIPortConnectSource error: %i\n", static_cast<int>(gLastError));
        std::fflush(stdout);
        return nullptr;
    }
    printLine("Successfully connected to source.\n");
    return input;
}

void RtMidiSourceList::closeConnections() {
    for (auto& input : _inputs) {
        if (input) {
            input->cancelCallback();
            input->closePort();
        }
    }
    _inputs.clear();
    _connectedSources.clear();
    _open = false;
}
