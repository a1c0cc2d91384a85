#pragma once

// One running program per user and settings store: the first start listens on a local
// socket, and a later start hands its command-line files to it over that socket and ends
// (so a file manager opening a .zpreset adds a window to the running program instead of
// starting a second one that would fight over the same outputs).
//
// The socket lives in $XDG_RUNTIME_DIR (only its owner can reach it; else the temporary
// folder, with user-only access) and is named after the user and the settings folder,
// so two users, and two scratch setups of one user, never meet.
//
// The conversation is one JSON object per line each way: a request
// {"command": "open", "files": [...]} and its answer {"ok": true, ...}. Commands other
// than "open" are registered by whoever needs them (the diagnostics of the end-to-end
// tests); an unknown command or a line that is not a JSON object is answered with
// {"ok": false, "error": ...} and changes nothing.
//
// Thread contract: the listening side lives on the main thread; request() blocks and may
// be called from any thread (it makes its own socket).

#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <optional>

class QLocalServer;
class QLocalSocket;

class InstanceChannel : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<QJsonObject(const QJsonObject& request)>;

    explicit InstanceChannel(const QString& name, QObject* parent = nullptr);
    ~InstanceChannel() override;

    // The socket of this user's program with the settings folder `configFolder` (the
    // current one when empty): a full path in `runtimeFolder` ($XDG_RUNTIME_DIR when
    // empty) when that folder exists. Others name a program started with another
    // environment by passing its folders.
    static QString defaultName(const QString& configFolder = {}, const QString& runtimeFolder = {});
    QString name() const { return _name; }

    // Sends `request` to the program listening on `name` and waits up to `timeoutMs` for
    // its answer; nothing when nobody listens or no answer came.
    static std::optional<QJsonObject> request(const QString& name, const QJsonObject& request,
                                              int timeoutMs);

    // Client side: asks a running program to open `paths` (made absolute here, since the
    // running program has a working folder of its own). True when one took them.
    bool handOver(const QStringList& paths, int timeoutMs = 3000) const;

    // Server side: starts listening, replacing a socket left behind by a program that
    // ended without closing it (never that of a live program that merely did not
    // answer: then false, and this start runs without a channel). Call after handOver()
    // said nobody listens.
    bool listen();
    bool isListening() const;

    // Answers `command` with `handler` from now on ("open" is built in).
    void setHandler(const QString& command, Handler handler);

signals:
    // Another start of the program asked to open these files (absolute paths; empty when
    // it was started without any).
    void openRequested(const QStringList& paths);

private:
    bool someoneListens() const;
    void acceptConnections();
    void readRequests(QLocalSocket* socket);
    QJsonObject answer(const QByteArray& line);

    QString _name;
    std::unique_ptr<QLocalServer> _server;
    std::map<QString, Handler> _handlers;
};
