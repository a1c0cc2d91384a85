// The channel between two starts of the program: files handed to the listening side
// arrive as absolute paths, nobody listening is a clear "no", a socket left behind by a
// crashed start is replaced, garbage and unknown commands are refused without effect,
// and the socket's name separates users' settings folders.

#include "app/InstanceChannel.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <chrono>
#include <future>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

class InstanceChannelTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder.isValid()); }

    QString socketName() const { return folder.filePath(QStringLiteral("instance")); }

    // Runs `work` on another thread (it blocks on the socket) while this thread serves
    // the listening side's events; answers what `work` answered.
    template <typename Work>
    auto served(Work work) {
        auto result = std::async(std::launch::async, work);
        while (result.wait_for(5ms) != std::future_status::ready) {
            QCoreApplication::processEvents();
        }
        return result.get();
    }

    // One raw line to the listening side and the line it answered.
    QByteArray rawExchange(const QByteArray& line) {
        const QString name = socketName();
        return served([name, line] {
            QLocalSocket socket;
            socket.connectToServer(name);
            if (!socket.waitForConnected(3000)) {
                return QByteArray("not connected");
            }
            socket.write(line);
            socket.waitForBytesWritten(3000);
            QByteArray answer;
            while (!answer.contains('\n') && socket.waitForReadyRead(3000)) {
                answer += socket.readAll();
            }
            return answer.trimmed();
        });
    }

    QTemporaryDir folder;
};

TEST_F(InstanceChannelTest, HandsFilesToTheListeningSideAsAbsolutePaths) {
    InstanceChannel running(socketName());
    ASSERT_TRUE(running.listen());
    QSignalSpy opened(&running, &InstanceChannel::openRequested);

    InstanceChannel second(socketName());
    const QString absolute = folder.filePath(QStringLiteral("evening.zpreset"));
    EXPECT_TRUE(served([&] {
        return second.handOver({QStringLiteral("morning.zpreset"), absolute});
    }));
    ASSERT_EQ(opened.size(), 1);
    const QStringList paths = opened.at(0).at(0).toStringList();
    EXPECT_EQ(paths, (QStringList{QDir::current().absoluteFilePath("morning.zpreset"), absolute}));

    // A start without files still reaches the running program (to bring it forward).
    EXPECT_TRUE(served([&] { return second.handOver({}); }));
    ASSERT_EQ(opened.size(), 2);
    EXPECT_TRUE(opened.at(1).at(0).toStringList().isEmpty());
}

TEST_F(InstanceChannelTest, NobodyListeningMeansTheStartRunsItself) {
    InstanceChannel first(socketName());
    EXPECT_FALSE(first.handOver({QStringLiteral("/tmp/a.zpreset")}, 500));
    EXPECT_FALSE(first.isListening());
    EXPECT_FALSE(InstanceChannel::request(socketName(), {{"command", "open"}}, 500).has_value());
}

TEST_F(InstanceChannelTest, ASocketLeftBehindByACrashedStartIsReplaced) {
    QFile leftover(socketName());
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();
    InstanceChannel running(socketName());
    ASSERT_TRUE(running.listen());
    InstanceChannel second(socketName());
    EXPECT_TRUE(served([&] { return second.handOver({}); }));
}

TEST_F(InstanceChannelTest, ALiveProgramThatDoesNotAnswerKeepsItsSocket) {
    QLocalServer hung; // takes connections, never answers
    ASSERT_TRUE(hung.listen(socketName()));
    InstanceChannel second(socketName());
    EXPECT_FALSE(second.handOver({}, 300));
    EXPECT_FALSE(second.listen());
    EXPECT_FALSE(second.isListening());
    EXPECT_TRUE(hung.isListening());
    EXPECT_TRUE(QFileInfo::exists(socketName()));
}

TEST_F(InstanceChannelTest, GarbageAndUnknownCommandsAreRefusedAndChangeNothing) {
    InstanceChannel running(socketName());
    ASSERT_TRUE(running.listen());
    QSignalSpy opened(&running, &InstanceChannel::openRequested);

    for (const QByteArray& line : {QByteArray("not json\n"), QByteArray("[\"open\"]\n"),
                                   QByteArray("{\"command\": \"format-disk\"}\n")}) {
        SCOPED_TRACE(line.toStdString());
        const QByteArray answer = rawExchange(line);
        EXPECT_TRUE(answer.startsWith("{\"error\":") || answer.contains("\"ok\":false"))
            << answer.toStdString();
    }
    EXPECT_EQ(opened.size(), 0);

    // Still answering, and a registered command is heard.
    running.setHandler(QStringLiteral("echo"), [](const QJsonObject& request) {
        return QJsonObject{{"ok", true}, {"said", request.value("text")}};
    });
    const QString name = socketName();
    const auto answer = served([name] {
        return InstanceChannel::request(name, {{"command", "echo"}, {"text", "hello"}}, 3000);
    });
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->value("said").toString(), "hello");
}

TEST_F(InstanceChannelTest, TheNameSeparatesSettingsFoldersAndLivesInTheRuntimeFolder) {
    const QByteArray savedRuntime = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    const QString one =
        InstanceChannel::defaultName(QStringLiteral("/home/a/.config/zelvora-studio"));
    const QString again =
        InstanceChannel::defaultName(QStringLiteral("/home/a/.config/zelvora-studio"));
    const QString other =
        InstanceChannel::defaultName(QStringLiteral("/tmp/scratch/zelvora-studio"));
    qputenv("XDG_RUNTIME_DIR", savedRuntime);
    EXPECT_EQ(one, again);
    EXPECT_NE(one, other);
    EXPECT_TRUE(one.startsWith(folder.path() + QStringLiteral("/zelvora-studio-")));
    // Another program's environment, named without changing our own.
    EXPECT_EQ(InstanceChannel::defaultName(QStringLiteral("/home/a/.config/zelvora-studio"),
                                           folder.path()),
              one);
}

} // namespace
