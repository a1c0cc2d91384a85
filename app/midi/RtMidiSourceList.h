#pragma once

// The system's MIDI sources through RtMidi: the ALSA sequencer's readable ports (hardware
// and software alike) and, where a JACK server runs, JACK's MIDI outputs, in that order,
// each under a readable name ("Launchkey MK3:Launchkey MK3 MIDI 1", "sender:out (JACK)").
//
// Before the connections are made every question enumerates the sources afresh; once
// they are made, count() and name() answer for the sources as they were connected, so an
// event's source index always names the source that sent it. Connecting gives every
// source an input of its own whose receive callback carries the source's index as its
// connection reference and feeds midiInputCallback. A missing MIDI system (no ALSA
// sequencer device, no JACK server) only means no sources from it, with one log line.
//
// Thread contract: main thread only; the inputs' receive callbacks run on the MIDI
// services' threads and touch only the note ring.

#include "clip/MIDISourceList.h"

#include <memory>
#include <string>
#include <vector>

class RtMidiIn;

class RtMidiSourceList : public MIDISourceList {
public:
    enum class Service { AlsaSequencer, Jack };

    // Sources of `services`, in that order.
    explicit RtMidiSourceList(std::vector<Service> services = {Service::AlsaSequencer,
                                                               Service::Jack});
    ~RtMidiSourceList() override; // closes the connections
    RtMidiSourceList(const RtMidiSourceList&) = delete;
    RtMidiSourceList& operator=(const RtMidiSourceList&) = delete;

    int count() const override;
    bool name(int index, QString* name) const override;

    // Connects every source present now, printing one line per source on standard output.
    void openConnections(const QString& clientName) override;
    void closeConnections() override;

    bool isOpen() const { return _open; }
    // How many sources have an open input.
    int connectedCount() const;

private:
    struct Source {
        Service service;
        unsigned port;        // the port's number within its service
        std::string portName; // as the service lists it
        QString name;         // as the program shows and stores it
    };

    std::vector<Source> enumerate() const;
    void enumerateService(Service service, std::vector<Source>* sources) const;
    std::unique_ptr<RtMidiIn> connect(const Source& source, int index,
                                      const std::string& clientName) const;

    std::vector<Service> _services;
    std::vector<Source> _connectedSources;
    std::vector<std::unique_ptr<RtMidiIn>> _inputs; // null where a source failed
    bool _open = false;
    mutable std::vector<Service> _unavailableLogged;
};
