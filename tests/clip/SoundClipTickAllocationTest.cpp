// The clip's 50 ms tick must not allocate: it steps fades, loops back at the out point and
// services the movie for every playing clip, twenty times a second, on the main thread.
// This executable counts every allocation made on the main thread while a tick runs (the
// hooks replace malloc and operator new for the whole process, so it is an executable of
// its own) and expects none. Diagnostic lines are switched off: a line that is actually
// written may format text, one that is not must cost nothing.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "tests/clip/ClipTestSupport.h"

#include <QLoggingCategory>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVORA_COUNTING_HOOKS 0
#else
#define ZELVORA_COUNTING_HOOKS 1
#endif

namespace {
thread_local bool countingThisThread = false;
std::atomic<long long> allocationsInTick{0};

void noteAllocation() {
    if (countingThisThread) {
        allocationsInTick.fetch_add(1, std::memory_order_relaxed);
    }
}

// Counts the allocations of this thread while it lives.
class TickScope {
public:
    TickScope() { countingThisThread = true; }
    ~TickScope() { countingThisThread = false; }
    TickScope(const TickScope&) = delete;
    TickScope& operator=(const TickScope&) = delete;
};
} // namespace

#if ZELVORA_COUNTING_HOOKS

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    noteAllocation();
    return __libc_malloc(size);
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

#endif

class SoundClipTickAllocationTest : public ClipEngineTest {
protected:
    void SetUp() override {
        ClipEngineTest::SetUp();
        QLoggingCategory::setFilterRules(QStringLiteral("zelvora.clip.info=false"));
    }
    void TearDown() override {
        QLoggingCategory::setFilterRules(QString());
        ClipEngineTest::TearDown();
    }
};

TEST_F(SoundClipTickAllocationTest, TicksOfFadingLoopingPausedAndEndingClipsAllocateNothing) {
#if !ZELVORA_COUNTING_HOOKS
    GTEST_SKIP() << "sanitizer builds keep their own allocator";
#endif
    const QString path = constantWav("tone.wav", 3.0, 0.5f, 0.5f);
    std::vector<SoundClip*> clips{
        &makeClip(path, {{settingsKey_FadeInDuration, 1.0}}),
        &makeClip(
            path,
            {{settingsKey_InPoint, 0.5}, {settingsKey_OutPoint, 2.0}, {settingsKey_Loop, true}}),
        &makeClip(path, {{settingsKey_InPoint, 1.0},
                         {settingsKey_FadeOutMode, 1},
                         {settingsKey_FadeOutDuration, 0.5},
                         {settingsKey_OutPoint, 1.5}}),
        &makeClip(path, {{settingsKey_InPoint, 2.0}}), // plays to the end of the file
        &makeClip(path),
    };
    for (SoundClip* clip : clips) {
        clip->startPlaying(false);
    }
    clips.back()->pausePlaying(false);
    clips.back()->duckIn(1.0);

    long long ticks = 0;
    for (int round = 0; round < 30; ++round) {
        pull(clipaudio::kTickFrames);
        for (SoundClip* clip : clips) {
            if (!clip->isPlaying()) {
                continue; // a tick that ends a clip tells its observers and rewinds
            }
            const long long before = allocationsInTick.load();
            {
                TickScope scope;
                clip->spendTime();
            }
            ++ticks;
            EXPECT_EQ(allocationsInTick.load(), before)
                << "round " << round << ", clip at " << clip->currentPositionSeconds() << " s";
        }
    }
    EXPECT_GT(ticks, 100);
    EXPECT_TRUE(clips[1]->isPlaying()) << "the looping clip went round";
    EXPECT_FALSE(clips[3]->isPlaying()) << "the clip at the end of its file stopped";
}
