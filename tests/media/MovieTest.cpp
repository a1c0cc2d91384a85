// The movie's contract as a clip sees it: opening (and refusing) audio, times and
// clamping, volume, routing by device name, the device listings and the engine instance.

#include "media/Movie.h"
#include "media/AudioEngine.h"
#include "media/GeneratedSource.h"
#include "media/NullDriver.h"
#include "media/OfflineDriver.h"
#include "tests/media/EngineTestSupport.h"

#include <QFile>
#include <QTemporaryDir>

using media::AudioEngine;
using media::Movie;

namespace {
constexpr int kRate = testaudio::kRate;
}

class MovieTest : public OfflineEngineTest {};

TEST_F(MovieTest, OpenedAudioReportsItsDurationAndChannels) {
    auto stereo = openMovie(testaudio::indexed(kRate * 5 / 2));
    EXPECT_TRUE(stereo->isOpen());
    EXPECT_DOUBLE_EQ(stereo->duration(), 2.5);
    EXPECT_EQ(stereo->channelCount(), 2);
    EXPECT_EQ(stereo->position(), 0.0);
    EXPECT_EQ(stereo->rate(), 0.0);
    EXPECT_FALSE(stereo->isDone());

    auto mono = openMovie(testaudio::indexed(kRate, 1), 1);
    EXPECT_EQ(mono->channelCount(), 1);
    EXPECT_DOUBLE_EQ(mono->duration(), 1.0);
}

TEST_F(MovieTest, PositionIsClampedToTheMovieAndTruncatedToWholeFrames) {
    auto movie = openMovie(testaudio::indexed(kRate * 2));
    movie->setPosition(-3.0);
    EXPECT_EQ(movie->position(), 0.0);
    movie->setPosition(7.0);
    EXPECT_DOUBLE_EQ(movie->position(), 2.0);
    EXPECT_TRUE(movie->isDone()) << "a movie set to its end is done";
    movie->setPosition(1.0 + 0.9 / kRate); // 48000.9 frames: truncated to 48000
    EXPECT_DOUBLE_EQ(movie->position(), 1.0);
    EXPECT_FALSE(movie->isDone());
    pull(kPeriod);
    EXPECT_DOUBLE_EQ(movie->position(), 1.0) << "a stopped movie stays where it was set";
}

TEST_F(MovieTest, VolumeIsKeptWithinItsRange) {
    auto movie = openMovie(testaudio::indexed(kRate));
    EXPECT_EQ(movie->volume(), 255);
    movie->setVolume(-4);
    EXPECT_EQ(movie->volume(), 0);
    movie->setVolume(40000);
    EXPECT_EQ(movie->volume(), 32767);
    movie->setVolume(128);
    EXPECT_EQ(movie->volume(), 128);
}

TEST_F(MovieTest, TheSilenceMovieIsOneSecondOfStereoSilence) {
    Movie silence;
    QString error;
    ASSERT_TRUE(silence.openSilence(&error)) << qPrintable(error);
    EXPECT_DOUBLE_EQ(silence.duration(), 1.0);
    EXPECT_EQ(silence.channelCount(), 2);
    silence.start();
    const std::vector<float> out = pull(kRate + kPeriod * 2);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float sample) { return sample == 0.0f; }));
    EXPECT_TRUE(silence.isDone());
}

TEST_F(MovieTest, BadFilesAreRefusedWithAMessageAndLeaveTheMovieClosed) {
    QTemporaryDir folder;
    const QString garbage = folder.filePath(QStringLiteral("noise.mp3"));
    QFile file(garbage);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, '\x5a'));
    file.close();

    for (const QString& path :
         {garbage, folder.filePath(QStringLiteral("missing.wav")), folder.path()}) {
        Movie movie;
        QString error;
        EXPECT_FALSE(movie.open(path, &error)) << qPrintable(path);
        EXPECT_FALSE(error.isEmpty()) << qPrintable(path);
        EXPECT_FALSE(movie.isOpen());
        EXPECT_EQ(movie.duration(), 0.0);
        movie.start(); // harmless on a closed movie
        EXPECT_EQ(movie.rate(), 0.0);
    }
}

TEST_F(MovieTest, OpeningOverAnOpenMovieClosesTheOldOneFirst) {
    auto movie = openMovie(testaudio::indexed(kRate * 3));
    movie->start();
    pull(kPeriod * 2);
    QString error;
    EXPECT_FALSE(movie->open(QStringLiteral("/nonexistent/file.wav"), &error));
    EXPECT_FALSE(movie->isOpen());
    const std::vector<float> out = pull(kPeriod * 2);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float sample) { return sample == 0.0f; }))
        << "the closed movie must not sound";
}

TEST_F(MovieTest, ANewlyOpenedMovieStartsFromTheDefaults) {
    auto movie = openMovie(testaudio::indexed(kRate));
    movie->setVolume(0);
    movie->setLooping(true);
    movie->setMeteringEnabled(true);
    ASSERT_TRUE(movie->setOutputDevice(QStringLiteral("Test Device 4ch")));
    ASSERT_TRUE(movie->setChannelTags(Movie::kChannelTagBase + 2, Movie::kChannelTagBase + 3));

    const Samples audio = testaudio::indexed(kRate * 2);
    ASSERT_TRUE(movie->open(std::make_unique<media::GeneratedSource>(audio, 2, kRate)));
    EXPECT_EQ(movie->volume(), 255);
    EXPECT_FALSE(movie->isLooping());
    EXPECT_FALSE(movie->isMeteringEnabled());
    EXPECT_EQ(movie->outputDevice(), AudioEngine::builtInOutputName());
    EXPECT_EQ(movie->leftChannelTag(), Movie::kChannelTagBase);
    movie->start();
    const std::vector<float> out = pull(1024);
    EXPECT_EQ(out[512 * 2], (*audio)[512 * 2]) << "plays at unity on the default device";
}

TEST_F(MovieTest, AudioAtAnotherRateOrWithoutFramesIsRefused) {
    Movie movie;
    QString error;
    auto samples = testaudio::indexed(44100);
    EXPECT_FALSE(movie.open(std::make_unique<media::GeneratedSource>(samples, 2, 44100), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("44100"))) << qPrintable(error);
    EXPECT_FALSE(movie.open(
        std::make_unique<media::GeneratedSource>(std::make_shared<std::vector<float>>(), 2, kRate),
        &error));
    EXPECT_FALSE(movie.isOpen());
}

TEST_F(MovieTest, ChannelTagsBelowTheBaseAreRefused) {
    auto movie = openMovie(testaudio::indexed(kRate));
    EXPECT_FALSE(movie->setChannelTags(3, 4));
    EXPECT_EQ(movie->leftChannelTag(), Movie::kChannelTagBase);
    EXPECT_EQ(movie->rightChannelTag(), Movie::kChannelTagBase + 1);
}

TEST_F(MovieTest, ARouteToAnUnknownDeviceLeavesTheMovieWhereItPlays) {
    const Samples audio = testaudio::indexed(kRate * 2);
    auto movie = openMovie(audio);
    ASSERT_TRUE(movie->setOutputDevice(QStringLiteral("Test Device 4ch")));
    EXPECT_FALSE(movie->setOutputDevice(QStringLiteral("No Such Device")));
    EXPECT_EQ(movie->outputDevice(), QStringLiteral("Test Device 4ch"));
    movie->start();
    const std::vector<float> out = pull(1024, QStringLiteral("Test Device 4ch"));
    EXPECT_EQ(out[size_t(512) * 4], (*audio)[512 * 2]);

    ASSERT_TRUE(movie->setOutputDevice(AudioEngine::builtInOutputName()));
    pull(kPeriod, QStringLiteral("Test Device 4ch")); // the old device lets go
    const std::vector<float> back = pull(1024);
    EXPECT_NE(back[512 * 2], 0.0f) << "the movie plays on the default device again";
}

TEST_F(MovieTest, DeviceListingsNameTheDefaultFirstAndTellChannelsAndIdentifiers) {
    EXPECT_EQ(engine().deviceNames(),
              (QStringList{QStringLiteral("Built-in Output"), QStringLiteral("Offline Output"),
                           QStringLiteral("Test Device 4ch")}));
    EXPECT_EQ(engine().channelCountForDevice(QStringLiteral("Test Device 4ch")), 4);
    EXPECT_EQ(engine().channelCountForDevice(QStringLiteral("Built-in Output")), 2);
    EXPECT_EQ(engine().channelCountForDevice(QStringLiteral("Unknown")), 2);
    EXPECT_EQ(engine().deviceUid(QStringLiteral("Test Device 4ch")), QStringLiteral("offline:4ch"));
    EXPECT_EQ(engine().deviceUid(QStringLiteral("Built-in Output")), QStringLiteral("offline:0"));
    EXPECT_TRUE(engine().deviceUid(QStringLiteral("Unknown")).isEmpty());
    EXPECT_TRUE(engine().hasDevice(QStringLiteral("Built-in Output")));
    EXPECT_TRUE(engine().hasDevice(QStringLiteral("Offline Output")));
    EXPECT_FALSE(engine().hasDevice(QStringLiteral("Unknown")));

    driver().setDevicePresent(QStringLiteral("Test Device 4ch"), false);
    engine().checkDevices();
    EXPECT_FALSE(engine().hasDevice(QStringLiteral("Test Device 4ch")));
    EXPECT_EQ(engine().deviceNames().size(), 2);
}

TEST(AudioEngineInstance, IsTheEngineThatLivesAndTheRateIsTheDefaultDevicesRate) {
    EXPECT_EQ(AudioEngine::instance(), nullptr);
    media::AudioDeviceInfo mono = media::NullDriver::defaultDevice();
    mono.name = QStringLiteral("Mono Speaker");
    mono.uid = QStringLiteral("null:mono");
    mono.outputChannels = 1;
    mono.preferredSampleRate = 44100;
    {
        AudioEngine::Options options;
        options.driver = std::make_unique<media::NullDriver>(std::vector{mono});
        options.deviceWatchIntervalMs = 0;
        AudioEngine engine(std::move(options));
        EXPECT_EQ(AudioEngine::instance(), &engine);
        EXPECT_EQ(engine.sampleRate(), 44100);
        EXPECT_EQ(engine.driverName(), QStringLiteral("null"));
        EXPECT_EQ(engine.channelCountForDevice(QStringLiteral("Mono Speaker")), 2)
            << "never fewer than two channels to choose from";

        AudioEngine::Options second;
        second.driver = std::make_unique<media::NullDriver>();
        second.deviceWatchIntervalMs = 0;
        AudioEngine other(std::move(second));
        EXPECT_EQ(AudioEngine::instance(), &engine) << "the first engine stays installed";
    }
    EXPECT_EQ(AudioEngine::instance(), nullptr);
    Movie movie;
    QString error;
    EXPECT_FALSE(movie.openSilence(&error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(AudioEngineInstance, TheEnvironmentChoosesTheBackEnd) {
    // The test main runs every test with ZELVORA_AUDIO=null.
    AudioEngine::Options options;
    options.deviceWatchIntervalMs = 0;
    AudioEngine engine(std::move(options));
    EXPECT_EQ(engine.driverName(), QStringLiteral("null"));
    EXPECT_EQ(engine.sampleRate(), 48000);
    EXPECT_EQ(engine.deviceNames().value(1), QStringLiteral("Null Output"));
}
