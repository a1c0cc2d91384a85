// The device callback must never allocate, free or lock. This executable counts every
// allocation, free and mutex lock made while a thread is inside a render call (the mixer
// marks that with a thread-local flag), then hammers 64 voices from the main thread
// (start, stop, seek, volume, routing) for a few seconds on the null back end and
// expects the counts to stay at zero.
//
// The counting hooks (tests/support/AllocationHooks) replace the allocator for the whole
// process; sanitizer builds leave them out and only run the stress (it still has to pass,
// race-free).

#include "media/AudioEngine.h"
#include "media/GeneratedSource.h"
#include "media/Movie.h"
#include "media/NullDriver.h"
#include "media/RenderScope.h"
#include "tests/support/AllocationHooks.h"

#include <QElapsedTimer>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <thread>

namespace {

constexpr int kVoices = 64;
constexpr int kRate = 48000;

std::shared_ptr<const std::vector<float>> noise(long long frames) {
    auto samples = std::make_shared<std::vector<float>>(size_t(frames) * 2);
    std::minstd_rand random(7);
    std::uniform_real_distribution<float> value(-0.2f, 0.2f);
    for (float& sample : *samples) {
        sample = value(random);
    }
    return samples;
}

} // namespace

TEST(RealtimeSafety, TheCountersSeeWhatARenderCallDoes) {
    if (!allocationhooks::kActive) {
        GTEST_SKIP() << "sanitizer builds keep their own allocator";
    }
    // The traps themselves must work, or a zero below would prove nothing.
    allocationhooks::countWhile(&media::RenderScope::isActive);
    allocationhooks::resetCounts();
    {
        media::RenderScope scope;
        auto* leaked = new std::vector<int>(16);
        delete leaked;
        std::mutex mutex;
        std::lock_guard lock(mutex);
    }
    EXPECT_GT(allocationhooks::counts().allocations.load(), 0);
    EXPECT_GT(allocationhooks::counts().frees.load(), 0);
    EXPECT_GT(allocationhooks::counts().locks.load(), 0);
}

TEST(RealtimeSafety, SixtyFourVoicesDrivenFromTheMainThreadNeverAllocateOrLockInTheCallback) {
    std::vector<media::AudioDeviceInfo> devices{media::NullDriver::defaultDevice()};
    media::AudioDeviceInfo second = media::NullDriver::defaultDevice();
    second.name = QStringLiteral("Null Output 8ch");
    second.uid = QStringLiteral("null:8");
    second.outputChannels = 8;
    second.isDefault = false;
    devices.push_back(second);
    media::AudioEngine::Options options;
    options.driver = std::make_unique<media::NullDriver>(devices);
    options.periodFrames = 128;
    options.deviceWatchIntervalMs = 0;
    media::AudioEngine engine(std::move(options));

    const auto samples = noise(kRate * 20);
    std::vector<std::unique_ptr<media::Movie>> movies;
    for (int i = 0; i < kVoices; ++i) {
        auto movie = std::make_unique<media::Movie>();
        QString error;
        ASSERT_TRUE(
            movie->open(std::make_unique<media::GeneratedSource>(samples, 2, kRate), &error))
            << qPrintable(error);
        movie->setMeteringEnabled(true);
        movies.push_back(std::move(movie));
    }
    ASSERT_TRUE(engine.waitUntilIdle());
    allocationhooks::countWhile(&media::RenderScope::isActive);
    allocationhooks::resetCounts();

    std::minstd_rand random(42);
    QElapsedTimer clock;
    clock.start();
    long long actions = 0;
    while (clock.elapsed() < 3000) {
        media::Movie& movie = *movies[size_t(random() % kVoices)];
        switch (random() % 8) {
        case 0:
            movie.start();
            break;
        case 1:
            movie.stop();
            break;
        case 2:
            movie.setPosition(double(random() % 15000) / 1000.0);
            break;
        case 3:
            movie.setVolume(int(random() % 400));
            break;
        case 4:
            movie.setLooping(random() % 2 == 0);
            break;
        case 5:
            movie.setOutputDevice(random() % 2 ? QStringLiteral("Null Output 8ch")
                                               : media::AudioEngine::builtInOutputName());
            movie.setChannelTags(media::Movie::kChannelTagBase + quint32(random() % 4) * 2,
                                 media::Movie::kChannelTagBase + quint32(random() % 4) * 2 + 1);
            break;
        case 6: {
            int left = 0;
            int right = 0;
            movie.readPeakLevels(&left, &right);
            (void)movie.position();
            (void)movie.isDone();
            break;
        }
        default:
            movie.service();
            engine.service();
            break;
        }
        ++actions;
        // A clip acts every few milliseconds at most; this is far busier than that.
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    // Close half of them while the callbacks run, so retiring happens under load too.
    movies.resize(kVoices / 2);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    engine.service();

    EXPECT_GT(actions, 1000);
    const allocationhooks::Counts& counted = allocationhooks::counts();
    EXPECT_EQ(counted.allocations.load(), 0) << "allocations on the device callback";
    EXPECT_EQ(counted.frees.load(), 0) << "frees on the device callback";
    EXPECT_EQ(counted.locks.load(), 0) << "mutex locks on the device callback";
}
