#include "tests/support/JackServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QThread>
#include <atomic>
#include <csignal>
#include <jack/jack.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int kReadyTimeoutMs = 5000;
constexpr int kPollIntervalMs = 5;
constexpr int kStopTimeoutMs = 3000;
// A client that connects waits this long for the server's answer. The default (500 ms)
// is missed when the tests share busy cores with a build: the client then fails to open
// and its device looks absent.
constexpr int kClientTimeoutMs = 5000;

std::atomic<int> serverCount{0};

void ignoreJackMessage(const char*) {}

} // namespace

JackServer::JackServer()
    : _name(QStringLiteral("zelvora-test-%1-%2")
                .arg(QCoreApplication::applicationPid())
                .arg(++serverCount)) {
    _hadDefaultServer = qEnvironmentVariableIsSet("JACK_DEFAULT_SERVER");
    _savedDefaultServer = qgetenv("JACK_DEFAULT_SERVER");
    _hadNoStart = qEnvironmentVariableIsSet("JACK_NO_START_SERVER");
    _savedNoStart = qgetenv("JACK_NO_START_SERVER");
    qputenv("JACK_DEFAULT_SERVER", _name.toUtf8());
    qputenv("JACK_NO_START_SERVER", "1");
    // Polling for the server prints a complaint per attempt otherwise.
    jack_set_error_function(&ignoreJackMessage);
    jack_set_info_function(&ignoreJackMessage);
    _process.setProcessChannelMode(QProcess::MergedChannels);
    // A test that crashes must not leave a server running: the server ends with us.
    _process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

JackServer::~JackServer() {
    resume();
    stop();
    // jackd keeps a small table of server names in shared memory and frees the entry of a
    // killed server only when a server of the same name starts again; after a few killed
    // servers of unique names, no server could start any more.
    for (int attempt = 0; attempt < 3 && _registrationLeft; ++attempt) {
        QString ignored;
        if (start(&ignored)) {
            stop();
        }
    }
    removeLeftovers();
    if (_hadDefaultServer) {
        qputenv("JACK_DEFAULT_SERVER", _savedDefaultServer);
    } else {
        qunsetenv("JACK_DEFAULT_SERVER");
    }
    if (_hadNoStart) {
        qputenv("JACK_NO_START_SERVER", _savedNoStart);
    } else {
        qunsetenv("JACK_NO_START_SERVER");
    }
}

std::string JackServer::reasonToSkip() {
#ifdef __SANITIZE_THREAD__
    return "a real JACK server cannot be checked under ThreadSanitizer";
#else
    if (QStandardPaths::findExecutable(QStringLiteral("jackd")).isEmpty()) {
        return "jackd is not installed (Debian package jackd2); these tests need a real server";
    }
    return {};
#endif
}

JackServer* JackServer::startForSuite(QString* error) {
    if (!reasonToSkip().empty()) {
        return nullptr;
    }
    auto* server = new JackServer;
    if (!server->start(error)) {
        *error = QStringLiteral("jackd did not come up: ") + *error;
    }
    return server;
}

bool JackServer::start(QString* error) {
    if (isRunning()) {
        return true;
    }
    removeLeftovers();
    QElapsedTimer timer;
    timer.start();
    _process.start(
        QStandardPaths::findExecutable(QStringLiteral("jackd")),
        {QStringLiteral("--no-realtime"), QStringLiteral("-t"), QString::number(kClientTimeoutMs),
         QStringLiteral("-n"), _name, QStringLiteral("-d"), QStringLiteral("dummy"),
         QStringLiteral("-r"), QString::number(kSampleRate), QStringLiteral("-p"),
         QString::number(kPeriodFrames), QStringLiteral("-P"), QString::number(kPlaybackChannels)});
    if (!_process.waitForStarted(kReadyTimeoutMs)) {
        *error = QStringLiteral("jackd did not start: %1").arg(_process.errorString());
        return false;
    }
    if (!waitUntilClientsCanConnect(error)) {
        stop();
        return false;
    }
    _lastStartMilliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    _registrationLeft = false;
    return true;
}

bool JackServer::waitUntilClientsCanConnect(QString* error) {
    const QByteArray name = _name.toUtf8();
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kReadyTimeoutMs) {
        if (_process.state() != QProcess::Running) {
            *error = QStringLiteral("jackd exited early: %1")
                         .arg(QString::fromLocal8Bit(_process.readAll()));
            return false;
        }
        jack_status_t status{};
        jack_client_t* client = jack_client_open(
            "zelvora-test-probe", static_cast<jack_options_t>(JackNoStartServer | JackServerName),
            &status, name.constData());
        if (client) {
            jack_client_close(client);
            return true;
        }
        QThread::msleep(kPollIntervalMs);
    }
    *error = QStringLiteral("no client could connect to jackd within %1 ms: %2")
                 .arg(kReadyTimeoutMs)
                 .arg(QString::fromLocal8Bit(_process.readAll()));
    return false;
}

void JackServer::stop() {
    if (_process.state() == QProcess::NotRunning) {
        return;
    }
    _process.terminate();
    if (!_process.waitForFinished(kStopTimeoutMs)) {
        _process.kill();
        _process.waitForFinished(kStopTimeoutMs);
    }
    // A client hanging up while the server shuts down can kill it with SIGPIPE before it
    // gave back its entry in the server table.
    if (_process.exitStatus() == QProcess::CrashExit) {
        _registrationLeft = true;
    }
}

void JackServer::kill() {
    if (_process.state() == QProcess::NotRunning) {
        return;
    }
    _process.kill();
    _process.waitForFinished(kStopTimeoutMs);
    _registrationLeft = true;
}

void JackServer::pause() {
    if (isRunning()) {
        ::kill(static_cast<pid_t>(_process.processId()), SIGSTOP);
    }
}

void JackServer::resume() {
    if (isRunning()) {
        ::kill(static_cast<pid_t>(_process.processId()), SIGCONT);
    }
}

bool JackServer::isRunning() const {
    return _process.state() == QProcess::Running;
}

// A killed server leaves its socket and semaphores in /dev/shm; they carry the server's
// name, which no other server uses.
void JackServer::removeLeftovers() const {
    QDir shm(QStringLiteral("/dev/shm"));
    const QString uid = QString::number(getuid());
    const QStringList patterns{QStringLiteral("jack_%1_*").arg(_name),
                               QStringLiteral("jack_sem.%1_%2_*").arg(uid, _name)};
    for (const QString& file : shm.entryList(patterns, QDir::Files | QDir::System)) {
        shm.remove(file);
    }
}
