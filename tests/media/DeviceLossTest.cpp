// A device that disappears: its stream is closed without disturbing the other devices,
// its movies keep advancing on the fallback clock, and it comes back by itself.

#include "foundation/Logging.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "media/OfflineDriver.h"
#include "media/OfflineStream.h"
#include "tests/media/EngineTestSupport.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PollUntil.h"

using media::Movie;

namespace {

constexpr int kRate = testaudio::kRate;
const QString kFourChannels = QStringLiteral("Test Device 4ch");

// The fallback clock runs in real time, so a test waits for it (polling, bounded).
bool eventually(const std::function<bool()>& condition) {
    return pollUntil(condition, 10000, 5);
}

} // namespace

class DeviceLossTest : public OfflineEngineTest {
protected:
    LogCapture log{"zelvora.device"};
};

TEST_F(DeviceLossTest, ALostDeviceKeepsItsMoviesAdvancingAndComesBack) {
    const Samples audio = testaudio::indexed(kRate * 60);
    auto lost = openMovie(audio);
    ASSERT_TRUE(lost->setOutputDevice(kFourChannels));
    ASSERT_TRUE(lost->setChannelTags(Movie::kChannelTagBase + 2, Movie::kChannelTagBase + 3));
    auto other = openMovie(testaudio::constant(kRate * 60, 0.25f, 0.25f));
    lost->start();
    other->start();
    pull(4096, kFourChannels);
    pull(4096);

    driver().setDevicePresent(kFourChannels, false);
    engine().service();
    EXPECT_TRUE(engine().isOnFallback(kFourChannels));
    EXPECT_FALSE(engine().isOnFallback(QStringLiteral("Offline Output")));
    EXPECT_EQ(log.countContaining(QStringLiteral("was lost")), 1) << log.text();

    // The other device is not disturbed.
    const std::vector<float> unaffected = pull(4096);
    EXPECT_EQ(unaffected[2048 * 2], 0.25f);

    // The lost device's movie keeps time on the fallback clock.
    const double before = lost->position();
    EXPECT_TRUE(eventually([&] { return lost->position() > before + 0.05; }));
    EXPECT_EQ(lost->rate(), 1.0);

    // A poll that still does not list the device changes nothing.
    engine().checkDevices();
    EXPECT_TRUE(engine().isOnFallback(kFourChannels));

    driver().setDevicePresent(kFourChannels, true);
    engine().checkDevices();
    EXPECT_FALSE(engine().isOnFallback(kFourChannels));
    EXPECT_EQ(log.countContaining(QStringLiteral("is back")), 1) << log.text();

    const double resumedAt = lost->position();
    const std::vector<float> back = pull(4096, kFourChannels);
    const auto frame = (long long)std::llround(resumedAt * kRate);
    EXPECT_EQ(back[0 * 4 + 0], 0.0f);
    EXPECT_EQ(back[100 * 4 + 2], (*audio)[size_t(frame + 100) * 2]) << "audio on channel 3 again";
    EXPECT_EQ(back[100 * 4 + 3], (*audio)[size_t(frame + 100) * 2 + 1]) << "and on channel 4";
}

TEST_F(DeviceLossTest, ALostDefaultDeviceComesBackToo) {
    auto movie = openMovie(testaudio::constant(kRate * 60, 0.5f, 0.5f));
    movie->start();
    pull(1024);
    driver().setDevicePresent(QStringLiteral("Offline Output"), false);
    engine().checkDevices();
    EXPECT_TRUE(engine().isOnFallback(media::AudioEngine::builtInOutputName()));
    driver().setDevicePresent(QStringLiteral("Offline Output"), true);
    engine().checkDevices();
    EXPECT_FALSE(engine().isOnFallback(QStringLiteral("Offline Output")));
    const std::vector<float> out = pull(1024);
    EXPECT_EQ(out[512 * 2], 0.5f);
}

TEST_F(DeviceLossTest, ARouteToAListedDeviceThatDoesNotOpenRunsOnTheFallbackClock) {
    driver().setDevicePresent(kFourChannels, false);
    // The engine's list still shows the device (no poll yet), but it cannot be opened.
    auto movie = openMovie(testaudio::indexed(kRate * 60));
    ASSERT_TRUE(movie->setOutputDevice(kFourChannels));
    EXPECT_TRUE(engine().isOnFallback(kFourChannels));
    movie->start();
    EXPECT_TRUE(eventually([&] { return movie->position() > 0.05; }));

    driver().setDevicePresent(kFourChannels, true);
    engine().checkDevices();
    EXPECT_FALSE(engine().isOnFallback(kFourChannels));
    ASSERT_NE(driver().stream(kFourChannels), nullptr);
}

TEST(DeviceAtStart, ADefaultDeviceThatDoesNotOpenYetIsOpenedByTheDeviceWatch) {
    // A sound server still starting when the program starts: the device is listed but
    // refuses streams. The engine keeps its back end and opens the device once it can.
    LogCapture log{"zelvora.device"};
    auto driver = std::make_unique<media::OfflineDriver>();
    media::OfflineDriver* devices = driver.get();
    devices->setDeviceRefusesStreams(QStringLiteral("Offline Output"), true);
    media::AudioEngine::Options options;
    options.driver = std::move(driver);
    options.deviceWatchIntervalMs = 0;
    media::AudioEngine engine(std::move(options));
    EXPECT_EQ(engine.driverName(), QStringLiteral("offline")) << "not the silent null back end";
    EXPECT_TRUE(engine.isOnFallback(media::AudioEngine::builtInOutputName()));
    EXPECT_EQ(log.countContaining(QStringLiteral("did not open")), 1) << log.text();
    EXPECT_EQ(log.countContaining(QStringLiteral("fallback clock until it opens")), 1);

    engine.checkDevices();
    engine.checkDevices();
    EXPECT_TRUE(engine.isOnFallback(media::AudioEngine::builtInOutputName()));
    EXPECT_EQ(log.countContaining(QStringLiteral("did not open")), 1)
        << "a retry that fails again is not logged again: " << log.text();

    devices->setDeviceRefusesStreams(QStringLiteral("Offline Output"), false);
    engine.checkDevices();
    EXPECT_FALSE(engine.isOnFallback(media::AudioEngine::builtInOutputName()));
    EXPECT_NE(devices->stream(QStringLiteral("Offline Output")), nullptr);
    EXPECT_EQ(log.countContaining(QStringLiteral("is back")), 1) << log.text();
}
