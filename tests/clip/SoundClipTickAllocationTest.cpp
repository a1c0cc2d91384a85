// The clip's 50 ms tick must not allocate: it steps fades, loops back at the out point and
// services the movie for every playing clip, twenty times a second, on the main thread.
// This executable counts every allocation made on the main thread while a tick runs (the
// hooks replace malloc and operator new for the whole process, so it is an executable of
// its own) and expects none. Diagnostic lines are switched off: a line that is actually
// written may format text, one that is not must cost nothing.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "tests/clip/ClipTestSupport.h"
#include "tests/support/AllocationHooks.h"

#include <QLoggingCategory>

namespace {
thread_local bool countingThisThread = false;

// Counts the allocations of this thread while it lives.
class TickScope {
public:
    TickScope() { countingThisThread = true; }
    ~TickScope() { countingThisThread = false; }
    TickScope(const TickScope&) = delete;
    TickScope& operator=(const TickScope&) = delete;
};
} // namespace

class SoundClipTickAllocationTest : public ClipEngineTest {
protected:
    void SetUp() override {
        ClipEngineTest::SetUp();
        QLoggingCategory::setFilterRules(QStringLiteral("zelvora.clip.info=false"));
        allocationhooks::countWhile([] { return countingThisThread; });
    }
    void TearDown() override {
        QLoggingCategory::setFilterRules(QString());
        ClipEngineTest::TearDown();
    }
};

TEST_F(SoundClipTickAllocationTest, TicksOfFadingLoopingPausedAndEndingClipsAllocateNothing) {
    if (!allocationhooks::kActive) {
        GTEST_SKIP() << "sanitizer builds keep their own allocator";
    }
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
            const long long before = allocationhooks::counts().allocations.load();
            {
                TickScope scope;
                clip->spendTime();
            }
            ++ticks;
            EXPECT_EQ(allocationhooks::counts().allocations.load(), before)
                << "round " << round << ", clip at " << clip->currentPositionSeconds() << " s";
        }
    }
    EXPECT_GT(ticks, 100);
    EXPECT_TRUE(clips[1]->isPlaying()) << "the looping clip went round";
    EXPECT_FALSE(clips[3]->isPlaying()) << "the clip at the end of its file stopped";
}
