// The device callback must never allocate, free or lock. This executable counts every
// allocation, free and mutex lock made while a thread is inside a render call (the mixer
// marks that with a thread-local flag), then hammers 64 voices from the main thread
// (start, stop, seek, volume, routing) for a few seconds on the null back end and
// expects the counts to stay at zero.
//
// The counting hooks replace malloc/free, operator new/delete and pthread_mutex_lock for
// the whole process. Sanitizer builds keep their own allocator, so there the hooks are
// left out and only the stress itself runs (it still has to pass, race-free).

#include "media/AudioEngine.h"
#include "media/GeneratedSource.h"
#include "media/Movie.h"
#include "media/NullDriver.h"
#include "media/RenderScope.h"

#include <QElapsedTimer>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <random>
#include <thread>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVORA_COUNTING_HOOKS 0
#else
#define ZELVORA_COUNTING_HOOKS 1
#endif

namespace {
std::atomic<long long> allocationsInRender{0};
std::atomic<long long> freesInRender{0};
std::atomic<long long> locksInRender{0};
} // namespace

#if ZELVORA_COUNTING_HOOKS

namespace {

void noteAllocation() {
    if (media::RenderScope::isActive()) {
        allocationsInRender.fetch_add(1, std::memory_order_relaxed);
    }
}

void noteFree(void* pointer) {
    if (pointer && media::RenderScope::isActive()) {
        freesInRender.fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace

extern "C" {
void* __libc_malloc(size_t size);
void __libc_free(void* pointer);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
// glibc's own lock, reached under its versioned name so the hook below can forward.
int zelvoraRealMutexLock(pthread_mutex_t* mutex);
__asm__(".symver zelvoraRealMutexLock,__pthread_mutex_lock@GLIBC_2.2.5");
int zelvoraRealMutexTrylock(pthread_mutex_t* mutex);
__asm__(".symver zelvoraRealMutexTrylock,__pthread_mutex_trylock@GLIBC_2.2.5");

void* malloc(size_t size) {
    noteAllocation();
    return __libc_malloc(size);
}
void free(void* pointer) {
    noteFree(pointer);
    __libc_free(pointer);
}
void* calloc(size_t count, size_t size) {
    noteAllocation();
    return __libc_calloc(count, size);
}
void* realloc(void* pointer, size_t size) {
    noteAllocation();
    return __libc_realloc(pointer, size);
}
void* memalign(size_t alignment, size_t size) {
    noteAllocation();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** result, size_t alignment, size_t size) {
    noteAllocation();
    *result = __libc_memalign(alignment, size);
    return *result ? 0 : ENOMEM;
}
void* aligned_alloc(size_t alignment, size_t size) {
    noteAllocation();
    return __libc_memalign(alignment, size);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (media::RenderScope::isActive()) {
        locksInRender.fetch_add(1, std::memory_order_relaxed);
    }
    return zelvoraRealMutexLock(mutex);
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    if (media::RenderScope::isActive()) {
        locksInRender.fetch_add(1, std::memory_order_relaxed);
    }
    return zelvoraRealMutexTrylock(mutex);
}
}

void* operator new(size_t size) {
    noteAllocation();
    if (void* pointer = __libc_malloc(size ? size : 1)) {
        return pointer;
    }
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void operator delete(void* pointer) noexcept {
    noteFree(pointer);
    __libc_free(pointer);
}
void operator delete[](void* pointer) noexcept {
    operator delete(pointer);
}
void operator delete(void* pointer, size_t) noexcept {
    operator delete(pointer);
}
void operator delete[](void* pointer, size_t) noexcept {
    operator delete(pointer);
}

#endif

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

#if ZELVORA_COUNTING_HOOKS
TEST(RealtimeSafety, TheCountersSeeWhatARenderCallDoes) {
    // The traps themselves must work, or a zero below would prove nothing.
    const long long allocations = allocationsInRender.load();
    const long long frees = freesInRender.load();
    const long long locks = locksInRender.load();
    {
        media::RenderScope scope;
        auto* leaked = new std::vector<int>(16);
        delete leaked;
        std::mutex mutex;
        std::lock_guard lock(mutex);
    }
    EXPECT_GT(allocationsInRender.load(), allocations);
    EXPECT_GT(freesInRender.load(), frees);
    EXPECT_GT(locksInRender.load(), locks);
    allocationsInRender = 0;
    freesInRender = 0;
    locksInRender = 0;
}
#endif

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
    allocationsInRender = 0;
    freesInRender = 0;
    locksInRender = 0;

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
    EXPECT_EQ(allocationsInRender.load(), 0) << "allocations on the device callback";
    EXPECT_EQ(freesInRender.load(), 0) << "frees on the device callback";
    EXPECT_EQ(locksInRender.load(), 0) << "mutex locks on the device callback";
}
