// The RtAudio driver where no JACK server runs: probing stays quiet and never starts a
// server, and requests it cannot serve are refused with a message.

#include "media/RtAudioDriver.h"
#include "media/DeviceStream.h"
#include "media/RenderCallback.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <unistd.h>

#ifdef ZELVORA_TEST_ALSA
#include <alsa/asoundlib.h>
#endif

namespace {

class SilentCallback : public media::RenderCallback {
public:
    void render(float* interleaved, int channels, int frames) override {
        std::fill_n(interleaved, channels * frames, 0.0f);
    }
};

// Everything written to file descriptor 2 while it lives.
class StderrCapture {
public:
    explicit StderrCapture(const QString& path)
        : _path(path) {
        std::fflush(stderr);
        _saved = dup(2);
        FILE* file = std::fopen(path.toLocal8Bit().constData(), "w");
        dup2(fileno(file), 2);
        std::fclose(file);
    }
    ~StderrCapture() { restore(); }
    QString text() {
        restore();
        QFile file(_path);
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    }

private:
    void restore() {
        if (_saved >= 0) {
            std::fflush(stderr);
            dup2(_saved, 2);
            close(_saved);
            _saved = -1;
        }
    }
    QString _path;
    int _saved = -1;
};

void printLibraryMessage(const char* message) {
    std::fprintf(stderr, "%s\n", message);
}

// A process environment where no JACK server runs under the default name, and where
// libjack would start one if asked to: a scratch home whose .jackdrc starts a temporary
// dummy server.
class RtAudioDriverWithoutServer : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(_home.isValid());
        _serverName = QStringLiteral("zelvora-absent-%1").arg(QCoreApplication::applicationPid());
        save("JACK_DEFAULT_SERVER", _serverName.toUtf8());
        save("HOME", _home.path().toUtf8());
        save("JACK_NO_START_SERVER", {});
        QFile jackdrc(_home.filePath(".jackdrc"));
        ASSERT_TRUE(jackdrc.open(QIODevice::WriteOnly));
        jackdrc.write("/usr/bin/jackd -T --no-realtime -d dummy -r 48000 -p 256\n");
    }
    void TearDown() override {
        for (const auto& [name, value] : _saved) {
            if (value.second) {
                qputenv(name.constData(), value.first);
            } else {
                qunsetenv(name.constData());
            }
        }
    }
    void save(const QByteArray& name, const QByteArray& value) {
        _saved.emplace_back(name, std::make_pair(qgetenv(name.constData()),
                                                 qEnvironmentVariableIsSet(name.constData())));
        if (value.isNull()) {
            qunsetenv(name.constData());
        } else {
            qputenv(name.constData(), value);
        }
    }
    bool serverReachable() const {
        jack_status_t status{};
        jack_client_t* client = jack_client_open("zelvora-test-check", JackNoStartServer, &status);
        if (!client) {
            return false;
        }
        jack_client_close(client);
        return true;
    }

    QTemporaryDir _home;
    QString _serverName;
    std::vector<std::pair<QByteArray, std::pair<QByteArray, bool>>> _saved;
};

} // namespace

TEST_F(RtAudioDriverWithoutServer, ListsNoJackDeviceQuietlyAndStartsNoServer) {
    // The libraries' stock behaviour: complain on stderr.
    jack_set_error_function(&printLibraryMessage);
    jack_set_info_function(&printLibraryMessage);
#ifdef ZELVORA_TEST_ALSA
    snd_lib_error_set_handler(nullptr);
#endif

    media::RtAudioDriver driver;
    EXPECT_EQ(driver.name(), "rtaudio");
    std::vector<media::AudioDeviceInfo> devices;
    QString printed;
    {
        StderrCapture capture(_home.filePath("stderr.txt"));
        devices = driver.devices();
        devices = driver.devices();
        printed = capture.text();
    }
    EXPECT_EQ(printed, QString()) << "probing printed to stderr";
    for (const media::AudioDeviceInfo& info : devices) {
        EXPECT_FALSE(info.uid.startsWith("jack:")) << info.uid.toStdString();
        EXPECT_NE(info.name, "Built-in Output");
        EXPECT_GT(info.outputChannels, 0);
    }
    EXPECT_FALSE(serverReachable()) << "probing started a JACK server";
}

TEST_F(RtAudioDriverWithoutServer, RefusesStreamsItCannotOpenWithAMessage) {
    media::RtAudioDriver driver;
    SilentCallback callback;
    media::AudioDeviceInfo jack{"system (JACK)", "jack:system", 8, 48000, true};

    const auto refused = [&](const media::AudioDeviceInfo& device, int rate, int period,
                             media::RenderCallback* render) {
        QString error;
        std::unique_ptr<media::DeviceStream> stream =
            driver.openStream(device, rate, period, render, &error);
        EXPECT_EQ(stream, nullptr);
        EXPECT_TRUE(error.contains(device.name)) << error.toStdString();
        return error;
    };

    EXPECT_TRUE(refused(jack, 48000, 256, &callback).contains("no JACK server"));
    EXPECT_FALSE(serverReachable()) << "opening started a JACK server";
    EXPECT_TRUE(refused(jack, 48000, 256, nullptr).contains("nothing to render"));
    EXPECT_TRUE(refused(jack, 0, 256, &callback).contains("invalid sample rate"));
    EXPECT_TRUE(refused(jack, 48000, -1, &callback).contains("invalid sample rate"));

    media::AudioDeviceInfo foreign{"Speakers", "coreaudio:AppleHDA", 2, 44100, false};
    EXPECT_TRUE(refused(foreign, 48000, 256, &callback).contains("coreaudio:AppleHDA"));

    media::AudioDeviceInfo unplugged{"Gone (ALSA)", "alsa:Unplugged Card,0", 2, 48000, false};
    EXPECT_TRUE(refused(unplugged, 48000, 256, &callback).contains("not present"));
}
