#pragma once

// The MIDI input manager: drains the process note ring on a 50 ms main-thread tick and
// hands each note-on, as a MIDIEvent, to every registered client (the open documents),
// in registration order. Delivery is paced at one note per tick: a burst reaches the
// clients over the following ticks, in arrival order.
//
// The process instance (defaultMIDIController()) is made when the first document
// registers. When the installed source list has at least one source at that moment,
// it connects the sources and starts the tick; otherwise no tick ever runs and clients
// simply hear nothing. Sources are connected once: one attached later is not heard.
//
// Thread contract: main thread only. The receive thread touches only the note ring.

#include <QString>
#include <QStringList>
#include <array>
#include <memory>
#include <optional>

class MIDIEventReceiver;
class MIDINoteRing;
class MIDISourceList;
class QTimer;

class MIDIController {
public:
    static constexpr int kMaxClients = 100;
    static constexpr int kTickMilliseconds = 50;
    // The client and port name the sources are connected under.
    static const QString kClientName;

    // A controller draining `ring`, its sources listed by `sources` (may be null: no
    // sources). Connects and starts the tick when there is at least one source.
    MIDIController(MIDINoteRing& ring, MIDISourceList* sources);
    // Stops the tick and closes the connections it opened.
    ~MIDIController();
    MIDIController(const MIDIController&) = delete;
    MIDIController& operator=(const MIDIController&) = delete;

    // The process instance over the process ring and the installed source list, made on
    // first use.
    static MIDIController& defaultMIDIController();

    // The source list the process instance and sourceNameForIndex() use (not owned).
    // The application installs the platform's before the first document opens.
    static void setSourceList(MIDISourceList* sources);
    static MIDISourceList* sourceList();

    // Appends `client` (not owned). The table holds kMaxClients entries; one more is
    // refused with a message. A client registers once per document.
    void registerAsClient(MIDIEventReceiver* client);
    // Removes the first entry for `client`, keeping the order of the others; a client
    // that is not registered leaves the table as it is.
    void unRegisterAsClient(MIDIEventReceiver* client);
    int clientsCount() const { return _clientsCount; }
    MIDIEventReceiver* clientAt(int index) const;

    // Sends one event to every registered client in table order. A client unregistered
    // by an earlier client's handling is skipped.
    void processMIDINote(int note, int channel, int sourceIndex);
    // The drain tick: takes at most one entry from the ring and delivers it.
    void MIDITimer();
    // Whether the 50 ms tick runs (only when sources existed at creation).
    bool isPolling() const;

    // The name of source `index`; none when the index is out of range, the name cannot
    // be read or no source list is installed.
    static std::optional<QString> sourceNameForIndex(int index);
    // The items of a source pop-up: "None", then the name of every source whose name can
    // be read, in source order.
    static QStringList popUpItemsForMIDISources();

private:
    bool isRegistered(MIDIEventReceiver* client) const;

    MIDINoteRing& _ring;
    MIDISourceList* _sources = nullptr;
    bool _connectionsOpen = false;
    std::unique_ptr<QTimer> _MIDITimer;
    std::array<MIDIEventReceiver*, kMaxClients> _clients{};
    int _clientsCount = 0;
};
