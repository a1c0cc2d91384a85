#include "app/InstanceChannel.h"

#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace {

const QString kOpenCommand = QStringLiteral("open");
// A request line longer than this is not a request: the connection is dropped.
constexpr qsizetype kLongestRequest = 1 << 20;
// How long listen() waits for a connection to a socket that is already there.
constexpr int kProbeMilliseconds = 500;

QJsonObject failure(const QString& message) {
    return QJsonObject{{QStringLiteral("ok"), false}, {QStringLiteral("error"), message}};
}

QByteArray lineOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

InstanceChannel::InstanceChannel(const QString& name, QObject* parent)
    : QObject(parent)
    , _name(name) {
    setHandler(kOpenCommand, [this](const QJsonObject& request) {
        QStringList paths;
        for (const QJsonValue& file : request.value(QStringLiteral("files")).toArray()) {
            if (file.isString()) {
                paths << file.toString();
            }
        }
        emit openRequested(paths);
        return QJsonObject{{QStringLiteral("ok"), true}};
    });
}

InstanceChannel::~InstanceChannel() = default;

QString InstanceChannel::defaultName(const QString& configFolder, const QString& runtimeFolder) {
    const QString folder =
        QDir(configFolder.isEmpty() ? UserDefaults::defaultDirectory() : configFolder)
            .absolutePath();
    const QByteArray key = QByteArray::number(uint(getuid())) + '\0' + folder.toUtf8();
    const QString hash = QString::fromLatin1(
        QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex().left(16));
    const QString file = QStringLiteral("zelvora-studio-%1-%2").arg(uint(getuid())).arg(hash);
    const QString runtime =
        runtimeFolder.isEmpty() ? qEnvironmentVariable("XDG_RUNTIME_DIR") : runtimeFolder;
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir()) {
        return QDir(runtime).filePath(file);
    }
    return file;
}

std::optional<QJsonObject> InstanceChannel::request(const QString& name, const QJsonObject& request,
                                                    int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(timeoutMs)) {
        return std::nullopt;
    }
    socket.write(lineOf(request));
    if (!socket.waitForBytesWritten(timeoutMs)) {
        return std::nullopt;
    }
    QByteArray reply;
    while (!reply.contains('\n')) {
        if (!socket.waitForReadyRead(timeoutMs)) {
            return std::nullopt;
        }
        reply += socket.readAll();
    }
    const QJsonDocument document = QJsonDocument::fromJson(reply.left(reply.indexOf('\n')));
    if (!document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

bool InstanceChannel::handOver(const QStringList& paths, int timeoutMs) const {
    QJsonArray files;
    for (const QString& path : paths) {
        files.append(QFileInfo(path).absoluteFilePath());
    }
    const std::optional<QJsonObject> reply = request(
        _name, {{QStringLiteral("command"), kOpenCommand}, {QStringLiteral("files"), files}},
        timeoutMs);
    return reply && reply->value(QStringLiteral("ok")).toBool();
}

bool InstanceChannel::listen() {
    // A socket that takes connections belongs to a program that is alive but did not
    // answer in time (busy, or hung): it keeps its socket, and this start runs alone.
    if (someoneListens()) {
        qCWarning(lcApp) << "another start listens on" << _name << "but does not answer";
        return false;
    }
    // Whatever is left at the name is what a crashed start left behind.
    QLocalServer::removeServer(_name);
    _server = std::make_unique<QLocalServer>();
    _server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!_server->listen(_name)) {
        qCWarning(lcApp) << "cannot listen for later starts on" << _name << ":"
                         << _server->errorString();
        _server.reset();
        return false;
    }
    connect(_server.get(), &QLocalServer::newConnection, this, &InstanceChannel::acceptConnections);
    qCDebug(lcApp) << "listening for later starts on" << _server->fullServerName();
    return true;
}

bool InstanceChannel::someoneListens() const {
    QLocalSocket socket;
    socket.connectToServer(_name);
    return socket.waitForConnected(kProbeMilliseconds);
}

bool InstanceChannel::isListening() const {
    return _server && _server->isListening();
}

void InstanceChannel::setHandler(const QString& command, Handler handler) {
    _handlers[command] = std::move(handler);
}

void InstanceChannel::acceptConnections() {
    while (QLocalSocket* socket = _server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequests(socket); });
        readRequests(socket);
    }
}

void InstanceChannel::readRequests(QLocalSocket* socket) {
    while (socket->canReadLine()) {
        const QByteArray line = socket->readLine().trimmed();
        if (!line.isEmpty()) {
            socket->write(lineOf(answer(line)));
        }
    }
    if (socket->bytesAvailable() > kLongestRequest) {
        qCWarning(lcApp) << "dropped a connection that sent no request line";
        socket->abort();
    }
}

QJsonObject InstanceChannel::answer(const QByteArray& line) {
    const QJsonDocument document = QJsonDocument::fromJson(line);
    if (!document.isObject()) {
        return failure(QStringLiteral("A request is one JSON object on one line."));
    }
    const QString command = document.object().value(QStringLiteral("command")).toString();
    const auto handler = _handlers.find(command);
    if (handler == _handlers.end()) {
        return failure(QStringLiteral("Unknown command “%1”.").arg(command));
    }
    return handler->second(document.object());
}
