// The real program from the outside: zelvora-studio started on the offscreen platform
// with its RtAudio back end against a JACK server (dummy driver), a cart wall whose
// button A holds a tone on an output that uses device channels 3 and 4, the letter "a"
// typed into the front window through the program's diagnostic socket, and a JACK
// capture client that hears what reaches the server's playback ports. A second start
// with another cart wall hands it to the running program and ends; a start with --demo
// writes the demo cart wall, opens it, and its button A sounds.

#include "app/DemoCartWall.h"
#include "app/InstanceChannel.h"
#include "clip/OutputSettings.h"
#include "foundation/UserDefaults.h"
#include "media/AudioFileWriter.h"
#include "media/ToneGenerator.h"
#include "tests/support/JackCapture.h"
#include "tests/support/JackServer.h"
#include "tests/support/PollUntil.h"
#ifdef ZELVORA_E2E_XTEST
#include "tests/e2e/XvfbDisplay.h"
#endif

#include <QDir>
#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <optional>

namespace {

constexpr int kDeadlineMs = 20000;
// A whole number of cycles in every 256-frame period at 48 kHz.
constexpr double kToneFrequency = 750.0;
constexpr double kToneAmplitude = 0.4;

// The program and the server answer within seconds; a busy machine gets generous time.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs = kDeadlineMs) {
    return pollUntil(condition, timeoutMs, 20);
}

class ProgramOnJack : public ::testing::Test {
protected:
    void SetUp() override {
        if (!JackServer::reasonToSkip().empty()) {
            GTEST_SKIP() << JackServer::reasonToSkip();
        }
        ASSERT_TRUE(home.isValid());
        for (const char* sub : {"config", "data", "runtime"}) {
            ASSERT_TRUE(QDir(home.path()).mkpath(QString::fromLatin1(sub)));
        }
        // A runtime folder is its owner's alone.
        QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                  QFileDevice::ExeOwner);
        QString error;
        ASSERT_TRUE(server.start(&error)) << error.toStdString();
        configureOutputOneOnChannelsThreeAndFour();
    }

    void TearDown() override {
        for (QProcess* process : {&program, &secondStart}) {
            if (process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished(5000);
            }
        }
    }

    QString configHome() const { return home.filePath(QStringLiteral("config")); }

    // Output 1 on the JACK sound card's channels 3 and 4.
    void configureOutputOneOnChannelsThreeAndFour() {
        UserDefaults store(configHome() + QStringLiteral("/zelvora-studio"));
        QVariantMap settings = defaultOutputSettings(0);
        settings.insert(QorvinPrefDeviceName, QStringLiteral("system (JACK)"));
        settings.insert(QorvinPrefLeftChannelOutputTag, firstChannelOutputTag + 2);
        settings.insert(QorvinPrefRightChannelOutputTag, firstChannelOutputTag + 3);
        ASSERT_TRUE(store.setObject(settings, outputSettingsKey(0)))
            << store.lastError().toStdString();
    }

    // A cart wall named `name` whose button A plays a 30-second tone on output 1.
    QString writeCartWall(const QString& name) {
        const QString tone = home.filePath(QStringLiteral("tone.flac"));
        if (!QFileInfo::exists(tone)) {
            media::ToneGenerator generator =
                media::ToneGenerator::sine(kToneFrequency, kToneAmplitude, 48000, 2);
            media::AudioFileWriter::Options options;
            options.sampleRate = 48000;
            options.tags.title = QStringLiteral("Station Tone");
            QString error;
            EXPECT_TRUE(
                media::AudioFileWriter::writeFile(tone, options, generator, 30 * 48000, &error))
                << error.toStdString();
        }
        const QString path = home.filePath(name);
        QString error;
        EXPECT_TRUE(DemoCartWall::writeCartWall(
            path, {{0, QStringLiteral("tone.flac"), QStringLiteral("Station Tone"), 30.0, {}}},
            {tone}, &error))
            << error.toStdString();
        return path;
    }

    // Starts the program on the offscreen platform, or with `display` on that X server.
    void startProgram(QProcess& process, const QStringList& arguments,
                      const QString& display = QString()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
                           display.isEmpty() ? QStringLiteral("offscreen") : QStringLiteral("xcb"));
        if (!display.isEmpty()) {
            environment.insert(QStringLiteral("DISPLAY"), display);
        }
        environment.insert(QStringLiteral("ZELVORA_AUDIO"), QStringLiteral("rtaudio"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"),
                           home.filePath(QStringLiteral("runtime")));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QStringLiteral(ZELVORA_STUDIO_BINARY), arguments);
        ASSERT_TRUE(process.waitForStarted(5000)) << process.errorString().toStdString();
    }

    // The program's socket, named as the program names it from its environment.
    QString socketName() const {
        return InstanceChannel::defaultName(configHome() + QStringLiteral("/zelvora-studio"),
                                            home.filePath(QStringLiteral("runtime")));
    }

    std::optional<QJsonObject> ask(const QJsonObject& request) const {
        return InstanceChannel::request(socketName(), request, 5000);
    }

    QStringList windowTitles() const {
        QStringList titles;
        if (const std::optional<QJsonObject> state = ask({{"command", "state"}})) {
            for (const QJsonValue& window : state->value("windows").toArray()) {
                titles << window.toObject().value("title").toString();
            }
        }
        return titles;
    }

    bool isActiveWindow(const QString& part) const {
        if (const std::optional<QJsonObject> state = ask({{"command", "state"}})) {
            for (const QJsonValue& window : state->value("windows").toArray()) {
                if (window.toObject().value("title").toString().contains(part) &&
                    window.toObject().value("active").toBool()) {
                    return true;
                }
            }
        }
        return false;
    }

    bool hasWindowNamed(const QString& part) const {
        for (const QString& title : windowTitles()) {
            if (title.contains(part)) {
                return true;
            }
        }
        return false;
    }

    // A capture of system:playback_1 to _4 once the program feeds them and channel 3
    // carries a sound, holding a quarter second recorded from then; null (with the
    // failure reported) when that never happens.
    std::unique_ptr<JackCapture> recordOnceChannelThreeSounds() {
        QString error;
        std::unique_ptr<JackCapture> capture =
            JackCapture::open(4, JackServer::kSampleRate, &error);
        if (!capture) {
            ADD_FAILURE() << error.toStdString();
            return nullptr;
        }
        if (!waitUntil([&] { return !capture->sourcesOf("system:playback_3").empty(); })) {
            ADD_FAILURE() << "the program never connected to the sound card";
            return nullptr;
        }
        for (int port = 1; port <= 4; ++port) {
            capture->listenTo(port - 1, QStringLiteral("system:playback_%1").arg(port));
        }
        const bool sounded = waitUntil([&] {
            capture->restart();
            return capture->waitForFrames(2048, 2000) && capture->peak(2) > 0.1;
        });
        if (!sounded) {
            ADD_FAILURE() << "nothing sounded on channel 3";
            return nullptr;
        }
        capture->restart();
        if (!capture->waitForFrames(JackServer::kSampleRate / 4, 5000)) {
            ADD_FAILURE() << "the capture stopped recording";
            return nullptr;
        }
        return capture;
    }

    QTemporaryDir home;
    JackServer server;
    QProcess program;
    QProcess secondStart;
};

} // namespace

TEST_F(ProgramOnJack, TheLetterKeyPlaysButtonAOnItsOutputsChannelsOnly) {
    startProgram(program, {writeCartWall(QStringLiteral("Morning Show.zpreset")),
                           QStringLiteral("--test-hooks")});
    ASSERT_TRUE(waitUntil([&] { return hasWindowNamed(QStringLiteral("Morning Show")); }))
        << "the program never showed its cart wall";

    const std::optional<QJsonObject> typed = ask({{"command", "key"}, {"text", "a"}});
    ASSERT_TRUE(typed.has_value());
    ASSERT_TRUE(typed->value("ok").toBool()) << typed->value("error").toString().toStdString();

    const std::unique_ptr<JackCapture> capture = recordOnceChannelThreeSounds();
    ASSERT_NE(capture, nullptr) << "button A never sounded on channel 3";
    const double expectedRms = kToneAmplitude / std::sqrt(2.0);
    EXPECT_NEAR(capture->rms(2), expectedRms, 0.05);
    EXPECT_NEAR(capture->rms(3), expectedRms, 0.05);
    EXPECT_NEAR(capture->toneFrequency(2, JackServer::kSampleRate), kToneFrequency, 5.0);
    EXPECT_LT(capture->peak(0), 1e-4) << "channel 1 is not silent";
    EXPECT_LT(capture->peak(1), 1e-4) << "channel 2 is not silent";

    const std::optional<QJsonObject> state = ask({{"command", "state"}});
    ASSERT_TRUE(state.has_value());
    const QJsonArray documents = state->value("documents").toArray();
    ASSERT_EQ(documents.size(), 1);
    EXPECT_EQ(documents.at(0).toObject().value("name").toString(),
              QStringLiteral("Morning Show.zpreset"));
    EXPECT_TRUE(documents.at(0).toObject().value("shown").toBool());
    if (state->contains("outputs")) {
        const QJsonObject strip = state->value("outputs").toArray().at(0).toObject();
        EXPECT_EQ(strip.value("title").toString(), QStringLiteral("Station Tone"));
    } else {
        RecordProperty("outputs_panel", "not shown by this build of the program");
    }
}

TEST_F(ProgramOnJack, ASecondStartHandsItsCartWallToTheRunningProgram) {
    startProgram(program, {writeCartWall(QStringLiteral("Morning Show.zpreset")),
                           QStringLiteral("--test-hooks")});
    ASSERT_TRUE(waitUntil([&] { return hasWindowNamed(QStringLiteral("Morning Show")); }));

    startProgram(secondStart, {writeCartWall(QStringLiteral("Evening Show.zpreset"))});
    ASSERT_TRUE(secondStart.waitForFinished(kDeadlineMs)) << "the second start kept running";
    EXPECT_EQ(secondStart.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(secondStart.exitCode(), 0);
    EXPECT_TRUE(waitUntil([&] { return hasWindowNamed(QStringLiteral("Evening Show")); }))
        << "the running program did not open the handed-over cart wall";
    EXPECT_TRUE(hasWindowNamed(QStringLiteral("Morning Show")));
    EXPECT_EQ(program.state(), QProcess::Running);
}

TEST_F(ProgramOnJack, TheDemoCartWallIsWrittenOnTheFirstStartAndItsToneSounds) {
    startProgram(program, {QStringLiteral("--demo"), QStringLiteral("--test-hooks")});
    ASSERT_TRUE(waitUntil([&] { return hasWindowNamed(QStringLiteral("Demo Cart Wall")); }))
        << "the program did not open its demo";
    EXPECT_TRUE(QFileInfo::exists(home.filePath(QStringLiteral("data/zelvora-studio/Demo/") +
                                                DemoCartWall::kPresetFileName)));

    // Button A of the demo is a 440 Hz tone on output 1, here channels 3 and 4.
    ASSERT_TRUE(ask({{"command", "key"}, {"text", "a"}}).has_value());
    const std::unique_ptr<JackCapture> capture = recordOnceChannelThreeSounds();
    ASSERT_NE(capture, nullptr) << "the demo's button A never sounded";
    EXPECT_NEAR(capture->toneFrequency(2, JackServer::kSampleRate), 440.0, 5.0);
    EXPECT_NEAR(capture->toneFrequency(3, JackServer::kSampleRate), 440.0, 5.0);

    // Pictures of the playing demo for review, where the developer asked for them.
    const QString folder = qEnvironmentVariable("ZELVORA_SCREENSHOT_DIR", home.path());
    QDir().mkpath(folder);
    const std::optional<QJsonObject> grabbed = ask({{"command", "grab"}, {"folder", folder}});
    ASSERT_TRUE(grabbed.has_value());
    EXPECT_FALSE(grabbed->value("files").toArray().isEmpty());
}

#ifdef ZELVORA_E2E_XTEST
TEST_F(ProgramOnJack, ARealKeyPressOnAnXServerPlaysButtonA) {
    if (!XvfbDisplay::isInstalled()) {
        GTEST_SKIP() << "Xvfb is not installed (Debian package xvfb)";
    }
    XvfbDisplay display;
    QString error;
    ASSERT_TRUE(display.start(&error)) << error.toStdString();
    startProgram(
        program,
        {writeCartWall(QStringLiteral("Morning Show.zpreset")), QStringLiteral("--test-hooks")},
        display.name());
    ASSERT_TRUE(waitUntil([&] { return hasWindowNamed(QStringLiteral("Morning Show")); }));
    // The keyboard goes to the cart wall, as a click on its title bar would send it.
    ASSERT_TRUE(waitUntil([&] {
        return display.focus(QStringLiteral("Morning Show"), &error) &&
               isActiveWindow(QStringLiteral("Morning Show"));
    })) << error.toStdString();

    display.pressKey('a');
    const std::unique_ptr<JackCapture> capture = recordOnceChannelThreeSounds();
    ASSERT_NE(capture, nullptr) << "the key press never fired button A";
    EXPECT_NEAR(capture->toneFrequency(2, JackServer::kSampleRate), kToneFrequency, 5.0);
    EXPECT_LT(capture->peak(0), 1e-4) << "channel 1 is not silent";
    // The program goes before its X server does.
    program.kill();
    program.waitForFinished(5000);
}
#endif
