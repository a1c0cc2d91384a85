#include "clip/MIDIController.h"

#include "clip/MIDIEvent.h"
#include "clip/MIDIEventReceiver.h"
#include "clip/MIDINoteRing.h"
#include "clip/MIDISourceList.h"
#include "foundation/Logging.h"

#include <QTimer>
#include <algorithm>

const QString MIDIController::kClientName = QStringLiteral("Zelvora Studio");

namespace {
MIDISourceList* gSourceList = nullptr;
} // namespace

MIDIController::MIDIController(MIDINoteRing& ring, MIDISourceList* sources)
    : _ring(ring)
    , _sources(sources) {
    if (!_sources || _sources->count() <= 0) {
        qCInfo(lcMidi) << "No MIDI input devices available.";
        return;
    }
    _ring.reset();
    _sources->openConnections(kClientName);
    _connectionsOpen = true;
    // A QTimer fires in nested event loops too (modal dialogs, menus, drags), so notes
    // keep arriving while a panel is up.
    _MIDITimer = std::make_unique<QTimer>();
    _MIDITimer->setInterval(kTickMilliseconds);
    QObject::connect(_MIDITimer.get(), &QTimer::timeout, [this] { MIDITimer(); });
    _MIDITimer->start();
}

MIDIController::~MIDIController() {
    if (_MIDITimer) {
        _MIDITimer->stop();
    }
    if (_connectionsOpen && _sources) {
        _sources->closeConnections();
    }
}

MIDIController& MIDIController::defaultMIDIController() {
    // Made on first use and never destroyed: it serves until the process ends, and its
    // timer must not outlive the application object in a static destructor.
    static MIDIController* controller = new MIDIController(processMIDINoteRing(), gSourceList);
    return *controller;
}

void MIDIController::setSourceList(MIDISourceList* sources) {
    gSourceList = sources;
}

MIDISourceList* MIDIController::sourceList() {
    return gSourceList;
}

void MIDIController::registerAsClient(MIDIEventReceiver* client) {
    if (!client) {
        return;
    }
    if (_clientsCount >= kMaxClients) {
        qCWarning(lcMidi) << "MIDI client table is full (" << kMaxClients
                          << "entries); the client will not hear MIDI notes.";
        return;
    }
    _clients[static_cast<size_t>(_clientsCount)] = client;
    ++_clientsCount;
}

void MIDIController::unRegisterAsClient(MIDIEventReceiver* client) {
    const auto end = _clients.begin() + _clientsCount;
    const auto found = std::find(_clients.begin(), end, client);
    if (found == end) {
        return;
    }
    std::copy(found + 1, end, found);
    --_clientsCount;
    _clients[static_cast<size_t>(_clientsCount)] = nullptr;
}

MIDIEventReceiver* MIDIController::clientAt(int index) const {
    if (index < 0 || index >= _clientsCount) {
        return nullptr;
    }
    return _clients[static_cast<size_t>(index)];
}

bool MIDIController::isRegistered(MIDIEventReceiver* client) const {
    const auto end = _clients.begin() + _clientsCount;
    return std::find(_clients.begin(), end, client) != end;
}

void MIDIController::processMIDINote(int note, int channel, int sourceIndex) {
    const MIDIEvent event(note, sourceIndex, channel);
    // A client's handling may close a document, which unregisters it: deliver to the
    // table as it was, skipping whoever has left it meanwhile.
    const auto snapshot = _clients;
    const int count = _clientsCount;
    for (int i = 0; i < count; ++i) {
        MIDIEventReceiver* client = snapshot[static_cast<size_t>(i)];
        if (client && isRegistered(client)) {
            client->receiveMIDIEvent(event);
        }
    }
}

void MIDIController::MIDITimer() {
    int note = 0;
    int channel = 0;
    int sourceIndex = 0;
    if (_ring.next(&note, &channel, &sourceIndex)) {
        processMIDINote(note, channel, sourceIndex);
    }
}

bool MIDIController::isPolling() const {
    return _MIDITimer && _MIDITimer->isActive();
}

std::optional<QString> MIDIController::sourceNameForIndex(int index) {
    if (!gSourceList || index < 0 || index >= gSourceList->count()) {
        return std::nullopt;
    }
    QString name;
    if (!gSourceList->name(index, &name)) {
        return std::nullopt;
    }
    return name;
}

QStringList MIDIController::popUpItemsForMIDISources() {
    QStringList items{QStringLiteral("None")};
    const int count = gSourceList ? gSourceList->count() : 0;
    for (int i = 0; i < count; ++i) {
        QString name;
        if (gSourceList->name(i, &name)) {
            items << name;
        }
    }
    return items;
}
