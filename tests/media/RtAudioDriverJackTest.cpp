// The RtAudio driver against a real JACK server (dummy driver, 8 playback channels): the
// device it lists, what a stream plays where, how a stream notices that the server died,
// hung or changed under it, and the engine playing a Movie through it. A capture client
// records what reaches the server's playback ports.

#include "media/AudioEngine.h"
#include "media/DeviceStream.h"
#include "media/Movie.h"
#include "media/RenderCallback.h"
#include "media/RtAudioDriver.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/JackCapture.h"
#include "tests/support/JackServer.h"
#include "tests/support/JackSuiteTest.h"
#include "tests/support/PollUntil.h"

#include <atomic>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <optional>

using media::AudioDeviceInfo;
using media::DeviceStream;
using media::RtAudioDriver;

namespace {

constexpr int kDeadlineMs = 5000;
// Tone frequencies that fit a whole number of cycles into every 256-frame period at
// 48 kHz, so a level measured over whole periods is exact.
constexpr double kToneA = 750.0;
constexpr double kToneB = 375.0;

// Writes sine tones onto chosen device channels and silence everywhere else.
class ToneCallback : public media::RenderCallback {
public:
    struct Tone {
        int channel;
        double amplitude;
        double frequency;
    };
    explicit ToneCallback(std::vector<Tone> tones)
        : _tones(std::move(tones)) {}

    void render(float* interleaved, int channels, int frames) override {
        std::fill_n(interleaved, channels * frames, 0.0f);
        for (int frame = 0; frame < frames; ++frame) {
            const double t = static_cast<double>(_position + frame) / JackServer::kSampleRate;
            for (const Tone& tone : _tones) {
                if (tone.channel < channels) {
                    interleaved[frame * channels + tone.channel] = static_cast<float>(
                        tone.amplitude * std::sin(2.0 * M_PI * tone.frequency * t));
                }
            }
        }
        _position += frames;
        lastChannels.store(channels);
        lastFrames.store(frames);
        calls.fetch_add(1);
    }

    std::atomic<int> calls{0};
    std::atomic<int> lastChannels{0};
    std::atomic<int> lastFrames{0};

private:
    const std::vector<Tone> _tones;
    long long _position = 0;
};

bool waitUntil(const std::function<bool()>& condition, int timeoutMs = kDeadlineMs) {
    return pollUntil(condition, timeoutMs);
}

std::optional<AudioDeviceInfo> findDevice(const std::vector<AudioDeviceInfo>& devices,
                                          const QString& uid) {
    for (const AudioDeviceInfo& info : devices) {
        if (info.uid == uid) {
            return info;
        }
    }
    return std::nullopt;
}

QString playbackPort(int number) {
    return QStringLiteral("system:playback_%1").arg(number);
}

AudioDeviceInfo systemDevice(RtAudioDriver& driver) {
    const std::optional<AudioDeviceInfo> system = findDevice(driver.devices(), "jack:system");
    EXPECT_TRUE(system.has_value());
    return system.value_or(AudioDeviceInfo{});
}

std::unique_ptr<DeviceStream> startedStream(RtAudioDriver& driver, ToneCallback& callback) {
    QString error;
    std::unique_ptr<DeviceStream> stream =
        driver.openStream(systemDevice(driver), JackServer::kSampleRate, 128, &callback, &error);
    EXPECT_NE(stream, nullptr) << error.toStdString();
    if (!stream) {
        return nullptr;
    }
    EXPECT_TRUE(stream->start());
    EXPECT_TRUE(waitUntil([&] { return callback.calls.load() > 4; }))
        << "the server never called the stream";
    return stream;
}

// A capture client listening to system:playback_<firstPort> and the `ports - 1` after it.
std::unique_ptr<JackCapture> captureOfPlayback(int firstPort, int ports) {
    QString error;
    std::unique_ptr<JackCapture> capture =
        JackCapture::open(ports, JackServer::kSampleRate, &error);
    EXPECT_NE(capture, nullptr) << error.toStdString();
    if (!capture) {
        return nullptr;
    }
    for (int i = 0; i < ports; ++i) {
        EXPECT_GE(capture->listenTo(i, playbackPort(firstPort + i)), 1)
            << "nothing feeds " << playbackPort(firstPort + i).toStdString();
    }
    return capture;
}

// One server for the suite.
using RtAudioDriverOnJack = JackSuiteTest<>;

// A server of its own for each test, which the test kills, stops, hangs or reconfigures.
class RtAudioDriverOnOwnJack : public ::testing::Test {
protected:
    void SetUp() override {
        if (!JackServer::reasonToSkip().empty()) {
            GTEST_SKIP() << JackServer::reasonToSkip();
        }
        _server = std::make_unique<JackServer>();
        QString error;
        ASSERT_TRUE(_server->start(&error)) << error.toStdString();
        // A figure for the XML report (--gtest_output=xml), not a condition.
        RecordProperty("jack_server_start_ms",
                       QString::number(_server->lastStartMilliseconds(), 'f', 1).toStdString());
    }
    void TearDown() override { _server.reset(); }

    std::unique_ptr<JackServer> _server;
};

} // namespace

TEST_F(RtAudioDriverOnJack, ListsTheServersPlaybackPortsAsTheDefaultDevice) {
    RtAudioDriver driver;
    const std::vector<AudioDeviceInfo> devices = driver.devices();
    const std::optional<AudioDeviceInfo> system = findDevice(devices, "jack:system");
    ASSERT_TRUE(system.has_value());
    EXPECT_EQ(system->name, "system (JACK)");
    EXPECT_EQ(system->outputChannels, JackServer::kPlaybackChannels);
    EXPECT_EQ(system->preferredSampleRate, JackServer::kSampleRate);
    EXPECT_TRUE(system->isDefault);
    EXPECT_EQ(std::count_if(devices.begin(), devices.end(),
                            [](const AudioDeviceInfo& info) { return info.isDefault; }),
              1);
}

TEST_F(RtAudioDriverOnJack, ListsOtherClientsThatTakeAudioButNotItsOwn) {
    RtAudioDriver driver;
    ToneCallback callback({});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);
    QString error;
    std::unique_ptr<JackCapture> capture = JackCapture::open(3, 1024, &error);
    ASSERT_NE(capture, nullptr) << error.toStdString();

    const std::vector<AudioDeviceInfo> devices = driver.devices();
    const std::optional<AudioDeviceInfo> other = findDevice(devices, "jack:zelvora-capture");
    ASSERT_TRUE(other.has_value());
    EXPECT_EQ(other->outputChannels, 3);
    EXPECT_FALSE(other->isDefault);
    for (const AudioDeviceInfo& info : devices) {
        EXPECT_FALSE(info.uid.startsWith("jack:Zelvora Studio")) << info.uid.toStdString();
    }
}

TEST_F(RtAudioDriverOnJack, StreamPlaysOnlyOnTheChannelsItsCallbackWrites) {
    RtAudioDriver driver;
    // Tags 0x10002 and 0x10003: the third and fourth device channels, told apart by level.
    ToneCallback callback({{2, 0.5, kToneA}, {3, 0.25, kToneB}});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->channelCount(), JackServer::kPlaybackChannels);
    EXPECT_EQ(stream->sampleRate(), JackServer::kSampleRate);
    EXPECT_EQ(stream->periodFrames(), JackServer::kPeriodFrames) << "JACK sets the period";
    EXPECT_EQ(callback.lastChannels.load(), JackServer::kPlaybackChannels);
    EXPECT_EQ(callback.lastFrames.load(), JackServer::kPeriodFrames);

    std::unique_ptr<JackCapture> capture = captureOfPlayback(1, 4);
    ASSERT_NE(capture, nullptr);
    for (int port = 1; port <= 4; ++port) {
        for (const QString& source : capture->sourcesOf(playbackPort(port))) {
            if (!source.startsWith("zelvora-capture:")) {
                EXPECT_TRUE(source.startsWith("Zelvora Studio:")) << source.toStdString();
            }
        }
    }
    capture->restart();
    ASSERT_TRUE(capture->waitForFrames(48 * JackServer::kPeriodFrames, kDeadlineMs));

    EXPECT_EQ(capture->peak(0), 0.0) << "playback_1 must stay silent";
    EXPECT_EQ(capture->peak(1), 0.0) << "playback_2 must stay silent";
    EXPECT_NEAR(capture->rms(2), 0.5 / std::sqrt(2.0), 0.01) << "playback_3";
    EXPECT_NEAR(capture->rms(3), 0.25 / std::sqrt(2.0), 0.01) << "playback_4";
    EXPECT_FALSE(stream->hasFailed());
}

TEST_F(RtAudioDriverOnJack, RefusesARateTheServerDoesNotRun) {
    RtAudioDriver driver;
    ToneCallback callback({});
    QString error;
    EXPECT_EQ(driver.openStream(systemDevice(driver), 44100, 256, &callback, &error), nullptr);
    EXPECT_TRUE(error.contains("44100")) << error.toStdString();
    EXPECT_TRUE(error.contains("system (JACK)")) << error.toStdString();
}

class RtAudioDriverLosingJack : public RtAudioDriverOnOwnJack,
                                public ::testing::WithParamInterface<bool> {
protected:
    bool killed() const { return GetParam(); }
    void endServer() {
        if (killed()) {
            _server->kill();
        } else {
            _server->stop();
        }
    }
};

TEST_P(RtAudioDriverLosingJack, RunningStreamFailsAndClosesWithoutHanging) {
    RtAudioDriver driver;
    ToneCallback callback({{0, 0.5, kToneA}});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);
    ASSERT_FALSE(stream->hasFailed());

    endServer();
    EXPECT_TRUE(waitUntil([&] { return stream->hasFailed(); }));
    EXPECT_FALSE(stream->start()) << "a failed stream cannot be restarted";
    stream.reset(); // returns: closing after the server's end does not wait for it

    EXPECT_TRUE(waitUntil([&] { return !findDevice(driver.devices(), "jack:system"); }));
}

TEST_P(RtAudioDriverLosingJack, StreamOpenedButNotStartedFailsAndRefusesToStart) {
    RtAudioDriver driver;
    ToneCallback callback({});
    QString error;
    std::unique_ptr<DeviceStream> stream =
        driver.openStream(systemDevice(driver), JackServer::kSampleRate, 256, &callback, &error);
    ASSERT_NE(stream, nullptr) << error.toStdString();

    endServer();
    EXPECT_TRUE(waitUntil([&] { return stream->hasFailed(); }));
    EXPECT_FALSE(stream->start());
    EXPECT_EQ(callback.calls.load(), 0);
    stream.reset();
}

INSTANTIATE_TEST_SUITE_P(KilledOrStopped, RtAudioDriverLosingJack, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& param) {
                             return param.param ? std::string("Killed") : std::string("Stopped");
                         });

TEST_F(RtAudioDriverOnOwnJack, HungServerFailsTheStream) {
    RtAudioDriver driver;
    ToneCallback callback({});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);

    _server->pause();
    EXPECT_TRUE(waitUntil([&] { return stream->hasFailed(); }));
    _server->resume();
    EXPECT_TRUE(stream->hasFailed()) << "a failure stays reported";
    stream.reset();
}

TEST_F(RtAudioDriverOnOwnJack, ServerPeriodChangeFailsTheStream) {
    RtAudioDriver driver;
    ToneCallback callback({});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);

    jack_status_t status{};
    jack_client_t* control = jack_client_open("zelvora-test-control", JackNoStartServer, &status);
    ASSERT_NE(control, nullptr);
    const int changed = jack_set_buffer_size(control, 2 * JackServer::kPeriodFrames);
    jack_client_close(control);
    ASSERT_EQ(changed, 0) << "the dummy driver did not take a new period";

    EXPECT_TRUE(waitUntil([&] { return stream->hasFailed(); }))
        << "a stream that can no longer render must report it";
    stream.reset();
}

TEST_F(RtAudioDriverOnOwnJack, RestartedServerBringsTheDeviceBack) {
    RtAudioDriver driver;
    ASSERT_TRUE(findDevice(driver.devices(), "jack:system").has_value());

    _server->kill();
    EXPECT_TRUE(waitUntil([&] { return !findDevice(driver.devices(), "jack:system"); }));

    QString error;
    ASSERT_TRUE(_server->start(&error)) << error.toStdString();
    std::optional<AudioDeviceInfo> system;
    EXPECT_TRUE(waitUntil([&] {
        system = findDevice(driver.devices(), "jack:system");
        return system.has_value();
    }));
    ASSERT_TRUE(system.has_value());
    EXPECT_TRUE(system->isDefault);
    EXPECT_EQ(system->outputChannels, JackServer::kPlaybackChannels);

    // And it plays again.
    ToneCallback callback({{0, 0.5, kToneA}});
    std::unique_ptr<DeviceStream> stream = startedStream(driver, callback);
    ASSERT_NE(stream, nullptr);
    std::unique_ptr<JackCapture> capture = captureOfPlayback(1, 2);
    ASSERT_NE(capture, nullptr);
    capture->restart();
    ASSERT_TRUE(capture->waitForFrames(16 * JackServer::kPeriodFrames, kDeadlineMs));
    EXPECT_NEAR(capture->rms(0), 0.5 / std::sqrt(2.0), 0.01);
    EXPECT_EQ(capture->peak(1), 0.0);
}

// The whole path: the engine on the RtAudio driver plays a Movie of a file to the third
// and fourth channels of "Built-in Output", keeps time when the server dies, and plays
// there again once a server is back.
TEST_F(RtAudioDriverOnOwnJack, EnginePlaysAMovieOnTheChosenChannelsAcrossAServerRestart) {
    AudioFixtures fixtures;
    const QString path = fixtures.stereoFourSeconds();
    ASSERT_FALSE(path.isEmpty());

    media::AudioEngine::Options options;
    options.driver = std::make_unique<RtAudioDriver>();
    options.deviceWatchIntervalMs = 0; // the test lists devices itself
    media::AudioEngine engine(std::move(options));
    ASSERT_EQ(engine.driverName(), "rtaudio");
    ASSERT_EQ(engine.sampleRate(), JackServer::kSampleRate);
    const QString builtIn = media::AudioEngine::builtInOutputName();

    media::Movie movie;
    QString error;
    ASSERT_TRUE(movie.open(path, &error)) << error.toStdString();
    movie.setLooping(true);
    ASSERT_TRUE(movie.setOutputDevice(builtIn));
    ASSERT_TRUE(
        movie.setChannelTags(media::Movie::kChannelTagBase + 2, media::Movie::kChannelTagBase + 3));
    ASSERT_TRUE(waitUntil([&] { return movie.isPrerollReady(); }));
    movie.start();
    ASSERT_TRUE(waitUntil([&] { return movie.firstFrameRenderedNs() != 0; }));

    const auto expectToneOnThirdAndFourthOnly = [&](const char* when) {
        std::unique_ptr<JackCapture> capture = captureOfPlayback(1, 4);
        ASSERT_NE(capture, nullptr);
        // New connections take effect within a cycle or two: record once sound arrives.
        capture->restart();
        ASSERT_TRUE(waitUntil([&] { return capture->peak(2) > 0.0; })) << when;
        capture->restart();
        ASSERT_TRUE(capture->waitForFrames(48 * JackServer::kPeriodFrames, kDeadlineMs));
        EXPECT_EQ(capture->peak(0), 0.0) << when;
        EXPECT_EQ(capture->peak(1), 0.0) << when;
        EXPECT_NEAR(capture->rms(2), AudioFixtures::kToneAmplitude / std::sqrt(2.0), 0.03) << when;
        EXPECT_NEAR(capture->rms(3), AudioFixtures::kToneAmplitude / std::sqrt(2.0), 0.03) << when;
        // The file's left side on the left tag, its right side on the right tag.
        EXPECT_NEAR(capture->toneFrequency(2, JackServer::kSampleRate),
                    AudioFixtures::kLeftFrequency, 10.0)
            << when;
        EXPECT_NEAR(capture->toneFrequency(3, JackServer::kSampleRate),
                    AudioFixtures::kRightFrequency, 10.0)
            << when;
    };
    expectToneOnThirdAndFourthOnly("on the first server");

    _server->kill();
    EXPECT_TRUE(waitUntil([&] {
        engine.service();
        return engine.isOnFallback(builtIn);
    }));
    EXPECT_EQ(movie.rate(), 1.0) << "the movie plays on through the loss";

    ASSERT_TRUE(_server->start(&error)) << error.toStdString();
    EXPECT_TRUE(waitUntil([&] {
        engine.checkDevices();
        return !engine.isOnFallback(builtIn);
    }));
    expectToneOnThirdAndFourthOnly("after the server came back");
    movie.stop();
}
