#pragma once

// A client connection to a running JACK server, used by the RtAudio back end to see
// whether a server runs, to list its playback destinations cheaply, and to learn at once
// when the server goes away. It never starts a server. Owns its jack_client_t; move-free
// and copy-free, so one object is the one owner of the handle.
//
// libjack frees every client of a dead server by itself as soon as any client opens
// again in the process (ours, a test's, a MIDI library's), so closing such a client later
// would close freed memory, and libjack may still call its shutdown callback while doing
// so. Once the server is gone, the handle belongs to libjack: the destructor leaves it
// alone and keeps what the callback writes to for the rest of the process.

#include "media/RtAudioDeviceList.h"

#include <QString>
#include <memory>
#include <vector>

struct _jack_client;

namespace media {

class JackConnection {
public:
    // Connects to the server JACK clients reach by default (JACK_DEFAULT_SERVER), or
    // returns null when none runs (quietly, once quietLibraryMessages() was called). One
    // thread at a time, as for the members below that say so.
    static std::unique_ptr<JackConnection> open(const QString& clientName);
    ~JackConnection();

    JackConnection(const JackConnection&) = delete;
    JackConnection& operator=(const JackConnection&) = delete;

    // False once the server shut down or dropped this client. Any thread.
    bool isAlive() const;

    // The server's frames per second. One thread at a time.
    int sampleRate() const;

    // Every client with audio input ports, as a playback device whose output channels
    // are those ports, in the order of the server's port list. One thread at a time.
    std::vector<ProbedDevice> playbackDevices() const;

    // Sends libjack's own messages to the debug log instead of stderr; a missing server
    // is an ordinary state here, not something to print. Process-wide; call it before
    // opening clients.
    static void quietLibraryMessages();

private:
    // The client and the flag its shutdown callback clears (on libjack's thread).
    struct Link;

    explicit JackConnection(std::unique_ptr<Link> link);

    std::unique_ptr<Link> _link;
};

} // namespace media
