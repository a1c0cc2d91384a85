#pragma once

// A real JACK server for one test: jackd with its dummy driver (48 kHz, 256-frame periods,
// 8 playback channels, real-time paced without hardware), run as the same user under a
// name of its own, and made the default server of this process (JACK_DEFAULT_SERVER) so
// that RtAudio and test clients reach it. JACK_NO_START_SERVER is set as well: nothing in
// a test may start a server behind its back. Main thread only.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <string>

class JackServer {
public:
    static constexpr int kSampleRate = 48000;
    static constexpr int kPeriodFrames = 256;
    static constexpr int kPlaybackChannels = 8;

    JackServer();
    ~JackServer(); // stops the server and restores the environment

    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;

    // Why tests that need a server cannot run here (no jackd, or ThreadSanitizer, which
    // cannot see libjack's futexes in shared memory); empty when they can.
    static std::string reasonToSkip();
    // The one server of a test suite (from SetUpTestSuite), started; null when the suite
    // skips. When it does not come up, *error says why and the caller's SetUp reports it.
    static JackServer* startForSuite(QString* error);

    // Starts the server and waits (a few seconds at most) until a client can connect.
    // Returns false and sets *error with jackd's output when it does not come up.
    bool start(QString* error);
    // SIGTERM, then SIGKILL when it does not end in time: the server shuts down and tells
    // its clients.
    void stop();
    // SIGKILL: the server dies without a word to its clients.
    void kill();
    // SIGSTOP / SIGCONT: the server hangs and resumes.
    void pause();
    void resume();

    bool isRunning() const;
    QString name() const { return _name; }
    // How long the last start() took until a client could connect.
    double lastStartMilliseconds() const { return _lastStartMilliseconds; }

private:
    bool waitUntilClientsCanConnect(QString* error);
    void removeLeftovers() const;

    QString _name;
    QProcess _process;
    QByteArray _savedDefaultServer;
    bool _hadDefaultServer = false;
    QByteArray _savedNoStart;
    bool _hadNoStart = false;
    double _lastStartMilliseconds = 0.0;
    bool _registrationLeft = false; // killed: its entry in jackd's server table remains
};
