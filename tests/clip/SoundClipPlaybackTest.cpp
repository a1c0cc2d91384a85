// SoundClip playback through the offline back end: each tick renders 50 ms of the device
// and then runs the clip's tick, so fades, loops, the out point, pause and ducking are
// checked on the samples the device played.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "media/Movie.h"
#include "tests/clip/ClipTestSupport.h"

#include <QTest>
#include <cmath>

using clipaudio::kTickFrames;

namespace {

// The gain a level is played at: trunc(level × 255) / 255.
double playedGain(double level) {
    return std::trunc(level * 255.0) / 255.0;
}

} // namespace

// A fixture that can also let several ticks pass at once.
class SoundClipTest : public ClipEngineTest {
protected:
    void ticks(SoundClip& clip, int count) {
        for (int t = 0; t < count; ++t) {
            tick(clip);
        }
    }
};

class SoundClipFadeTest : public SoundClipTest {};

TEST_F(SoundClipFadeTest, WithoutAFadeInTheClipStartsAtFullLevel) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 2.0, 0.5f, -0.5f), {{settingsKey_NormalVolume, 0.8}});
    clip.startPlaying(false);
    const std::vector<float> first = tick(clip);
    EXPECT_NEAR(settled(first, 2, 0), 0.5 * playedGain(0.8), 1e-6);
    EXPECT_NEAR(settled(first, 2, 1), -0.5 * playedGain(0.8), 1e-6);
    EXPECT_EQ(clip.fadingDirection(), 0);
}

TEST_F(SoundClipFadeTest, AHalfSecondFadeInRisesLinearlyOverTenTicks) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 2.0, 0.5f, -0.5f), {{settingsKey_FadeInDuration, 0.5}});
    clip.startPlaying(false);
    std::vector<double> levels;
    for (int t = 0; t <= 12; ++t) {
        levels.push_back(settled(tick(clip), 2, 0) / 0.5); // block t plays the level of tick t
    }
    EXPECT_EQ(levels[0], 0.0) << "a fade-in starts from silence";
    for (int t = 1; t <= 10; ++t) {
        SCOPED_TRACE(t);
        EXPECT_NEAR(levels[size_t(t)], t / 10.0, 1.0 / 255.0 + 1e-6);
        EXPECT_NEAR(levels[size_t(t)] - levels[size_t(t) - 1], 0.1, 1.0 / 255.0 + 1e-6);
    }
    EXPECT_NEAR(levels[9], 0.9, 1.0 / 255.0 + 1e-6) << "not yet arrived on tick 9";
    EXPECT_LT(levels[9], 1.0);
    EXPECT_NEAR(levels[10], 1.0, 1e-6) << "the tenth tick reaches the target exactly";
    EXPECT_NEAR(levels[12], 1.0, 1e-6);
    EXPECT_EQ(clip.movie()->volume(), 255);
}

TEST_F(SoundClipFadeTest, AFadeOutToSilenceStopsOnItsArrivalTickWithoutWritingTheLastLevel) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 4.0, 0.5f, -0.5f), {{settingsKey_FadeOutDuration, 0.5}});
    QStringList journal;
    RecordingObservers controller(&journal, QStringLiteral("controller"));
    RecordingObservers outputs(&journal, QStringLiteral("outputs"));
    clip.setController(&controller);
    clip.setOutputsController(&outputs);
    clip.startPlaying(false);
    tick(clip);
    clip.forceFadeOut();
    int volumeBeforeArrival = -1;
    for (int t = 1; t <= 9; ++t) {
        const std::vector<float> block = tick(clip);
        ASSERT_TRUE(clip.isPlaying()) << "tick " << t;
        volumeBeforeArrival = clip.movie()->volume();
        EXPECT_NEAR(volumeBeforeArrival / 255.0, 1.0 - t / 10.0, 1.0 / 255.0 + 1e-9);
    }
    const std::vector<float> last = tick(clip);
    EXPECT_NEAR(settled(last, 2, 0), 0.5 * volumeBeforeArrival / 255.0, 1e-6)
        << "the block before the arrival tick still plays the ninth step";
    EXPECT_FALSE(clip.isPlaying()) << "the tenth tick arrives at 0.0 and stops";
    EXPECT_EQ(clip.movie()->volume(), volumeBeforeArrival) << "0 is never written";
    EXPECT_EQ(journal, QStringList({"outputs started", "outputs stopped", "controller stopped"}));
    EXPECT_FALSE(clip.isTicking());
    EXPECT_EQ(clip.currentPositionSeconds(), 0.0);
    pull(1024);
    EXPECT_TRUE(isSilent(pull(kTickFrames), 2, 0)) << "a stopped clip is silent";
}

TEST_F(SoundClipFadeTest, AZeroLengthFadeCompletesOnItsFirstTick) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 2.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    tick(clip);
    clip.startFader(-1, 0.0, 0.3);
    tick(clip);
    EXPECT_EQ(clip.fadingDirection(), 0);
    EXPECT_EQ(clip.movie()->volume(), int(0.3 * 255.0));
    clip.startFader(1, 0.0, 0.3); // target equals the present level: still one tick
    tick(clip);
    EXPECT_EQ(clip.fadingDirection(), 0);
    clip.fadeOut(0.0);
    tick(clip);
    EXPECT_FALSE(clip.isPlaying());
}

TEST_F(SoundClipFadeTest, AFadeThatCannotRunIsRefusedAndKeepsTheLevel) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 2.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    clip.startFader(-1, std::nan(""), 0.0);
    clip.startFader(-1, 1.0, HUGE_VAL);
    EXPECT_EQ(clip.fadingDirection(), 0);
    tick(clip);
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_EQ(clip.movie()->volume(), 255);
}

class SoundClipDuckingTest : public SoundClipTest {};

TEST_F(SoundClipDuckingTest, ADuckHoldsItsLevelAndKeepsPlaying) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 3.0, 0.5f, -0.5f));
    clip.startPlaying(false);
    tick(clip);
    clip.duckIn(0.5);
    EXPECT_TRUE(clip.isDucked());
    ticks(clip, 10);
    EXPECT_EQ(clip.fadingDirection(), 0);
    for (int t = 0; t < 10; ++t) {
        const std::vector<float> block = tick(clip);
        ASSERT_TRUE(clip.isPlaying());
        EXPECT_NEAR(settled(block, 2, 0), 0.5 * playedGain(0.6), 1e-6);
    }
}

TEST_F(SoundClipDuckingTest, DuckingIgnoresTheVolumeMultiplierButTheNormalLevelDoesNot) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 3.0, 0.5f, 0.5f));
    clip.setVolumeMultiplier(0.5);
    clip.startPlaying(false);
    EXPECT_EQ(clip.movie()->volume(), int(0.5 * 255.0));
    clip.duckIn(0.0);
    tick(clip);
    EXPECT_EQ(clip.movie()->volume(), int(0.6 * 255.0)) << "0.6, not 0.6 × 0.5";
}

TEST_F(SoundClipDuckingTest, DuckOutAlwaysTakesOneSecond) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 4.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    clip.duckIn(0.0);
    tick(clip);
    ASSERT_EQ(clip.movie()->volume(), int(0.6 * 255.0));
    clip.duckOut(5.0);
    EXPECT_FALSE(clip.isDucked());
    for (int t = 1; t < 20; ++t) {
        tick(clip);
        ASSERT_LT(clip.movie()->volume(), 255) << "tick " << t;
    }
    tick(clip);
    EXPECT_EQ(clip.movie()->volume(), 255) << "up on the twentieth tick";
    EXPECT_EQ(clip.fadingDirection(), 0);
    EXPECT_NEAR(settled(pull(kTickFrames), 2, 0), 0.5, 1e-6);
}

TEST_F(SoundClipDuckingTest, ANewDuckingLevelMovesInTheDirectionOfTheNormalLevel) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 4.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    clip.duckIn(0.0);
    tick(clip); // at 0.6, below the normal 1.0
    clip.duckingVolumeHasChanged(0.8);
    EXPECT_EQ(clip.fadingDirection(), 1);
    tick(clip);
    EXPECT_EQ(clip.movie()->volume(), int((0.6 + 0.01) * 255.0)) << "one twentieth of the way";
    clip.duckingVolumeHasChanged(0.3); // still below normal: +1, though 0.3 lies below
    EXPECT_EQ(clip.fadingDirection(), 1);
    tick(clip);
    EXPECT_EQ(clip.movie()->volume(), int(0.3 * 255.0)) << "the other side arrives at once";
    EXPECT_EQ(clip.fadingDirection(), 0);
    EXPECT_TRUE(clip.isPlaying());
}

TEST_F(SoundClipDuckingTest, ANormalLevelChangeFadesOverOneSecondAndKeepsPlaying) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 4.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    clip.setVolumeMultiplier(0.5);
    EXPECT_EQ(clip.movie()->volume(), 255) << "the multiplier alone changes nothing heard";
    clip.normalVolumeHasChanged();
    EXPECT_EQ(clip.fadingDirection(), -1);
    ticks(clip, 20);
    EXPECT_EQ(clip.movie()->volume(), int(0.5 * 255.0));
    EXPECT_TRUE(clip.isPlaying());
    clip.normalVolumeHasChanged(); // 127/255 is below 0.5: a short fade up to it
    ticks(clip, 20);
    EXPECT_EQ(clip.movie()->volume(), int(0.5 * 255.0));
}

class SoundClipOutPointTest : public SoundClipTest {};

TEST_F(SoundClipOutPointTest, ALoopJumpsBackToTheInPointOnTheFirstTickPastTheOutPoint) {
    // 3 s of indexed frames; the clip is 0.5 .. 1.5 s of file time.
    SoundClip& clip = makeClip(
        indexedWav("indexed.wav", 3.0),
        {{settingsKey_InPoint, 0.5}, {settingsKey_OutPoint, 1.5}, {settingsKey_Loop, true}});
    ClipLogCapture log;
    clip.startPlaying(false);
    const long long inFrame = 24000;
    for (int t = 1; t < 20; ++t) {
        tick(clip);
        ASSERT_GT(clip.remaining(), 0.0) << "tick " << t;
    }
    tick(clip); // the position reaches 1.5 s: remaining 0
    EXPECT_EQ(log.count("Looping because we passed the out point."), 1);
    const std::vector<float> after = tick(clip);
    constexpr int kDeclick = 128; // the jump crossfades over the engine's declick length
    for (long long frame = kDeclick; frame < kTickFrames; ++frame) {
        ASSERT_EQ(clipaudio::frameOfIndexedValue(at(after, 2, frame, 0)), (inFrame + frame) % 65536)
            << "block frame " << frame;
    }
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_NEAR(clip.currentPositionSeconds(), 0.55, 1e-9);
    EXPECT_NEAR(clip.elapsed(), 0.05, 1e-9);
}

TEST_F(SoundClipOutPointTest, ALoopWithoutAnOutPointStartsAgainAtTheInPointAtTheFileEnd) {
    // 0.5: the file ends exactly on a tick; 0.52: the movie goes on from the in point
    // within a tick, and the clip's own loop check must not send it anywhere else.
    for (const double inPoint : {0.5, 0.52}) {
        SCOPED_TRACE(inPoint);
        SoundClip& clip = makeClip(indexedWav(QStringLiteral("indexed%1.wav").arg(inPoint), 1.0),
                                   {{settingsKey_InPoint, inPoint}, {settingsKey_Loop, true}});
        const auto inFrame = (long long)std::llround(inPoint * clipaudio::kRate);
        clip.startPlaying(false);
        ticks(clip, 10);
        EXPECT_TRUE(clip.isPlaying());
        for (int round = 0; round < 2; ++round) {
            const std::vector<float> after = tick(clip);
            const long long frame = clipaudio::frameOfIndexedValue(settled(after, 2, 0));
            EXPECT_GE(frame, inFrame) << "never before the in point";
            EXPECT_LT(frame, inFrame + 2 * kTickFrames);
            ticks(clip, 9);
        }
        clip.stopPlaying();
    }
}

TEST_F(SoundClipOutPointTest, ModeZeroIgnoresAFadeRequestWithLessThanTwoSecondsLeft) {
    SoundClip& early = makeClip(constantWav("early.wav", 4.0, 0.5f, 0.5f),
                                {{settingsKey_InPoint, 2.0}, {settingsKey_FadeOutDuration, 1.0}});
    SoundClip& late = makeClip(constantWav("late.wav", 4.0, 0.5f, 0.5f),
                               {{settingsKey_InPoint, 2.1}, {settingsKey_FadeOutDuration, 1.0}});
    early.startPlaying(true);
    late.startPlaying(true);
    early.spendTime();
    late.spendTime();
    ASSERT_DOUBLE_EQ(early.remaining(), 2.0);
    ASSERT_LT(late.remaining(), 2.0);
    ASSERT_GT(late.remaining(), 1.89);

    late.fadeOut();
    EXPECT_EQ(late.fadingDirection(), 0);
    late.spendTime();
    EXPECT_EQ(late.movie()->volume(), 255);

    early.fadeOut();
    EXPECT_EQ(early.fadingDirection(), -1);
    early.spendTime();
    EXPECT_EQ(early.movie()->volume(), int((1.0 - 0.05) * 255.0));
}

TEST_F(SoundClipOutPointTest, ModeTwoNeverFadesOnRequestButForcedFadesAlwaysRun) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 4.0, 0.5f, 0.5f), {{settingsKey_FadeOutMode, 2}});
    ClipLogCapture log;
    clip.startPlaying(false);
    clip.fadeOut();
    EXPECT_EQ(clip.fadingDirection(), 0);
    EXPECT_EQ(log.count("SoundClip::forceFadeOut called"), 1) << "the request is still logged";
    clip.forceFadeOut();
    EXPECT_EQ(clip.fadingDirection(), -1);
    EXPECT_EQ(log.count("SoundClip::forceFadeOut called"), 2);
    clip.fadeOut(3.0);
    EXPECT_EQ(log.count("SoundClip::fadeOut:duration called"), 1);
    EXPECT_EQ(clip.fadingDirection(), -1);
}

TEST_F(SoundClipOutPointTest, ModeOneFadesOutWhileTheMoviePlaysOnPastTheOutPoint) {
    // The clip ends at 2.0 s of file time (out point 2.0 on a 4 s file).
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 4.0, 0.5f, 0.5f), {{settingsKey_InPoint, 1.8},
                                                            {settingsKey_OutPoint, 2.0},
                                                            {settingsKey_FadeOutMode, 1},
                                                            {settingsKey_FadeOutDuration, 0.5}});
    ClipLogCapture log;
    clip.startPlaying(false);
    ticks(clip, 3);
    EXPECT_EQ(clip.fadingDirection(), 0);
    tick(clip); // position 2.0: the out point
    EXPECT_EQ(log.count("Fading out because we passed the out point."), 1);
    EXPECT_EQ(clip.fadingDirection(), -1);
    for (int t = 5; t <= 12; ++t) {
        const std::vector<float> block = tick(clip);
        ASSERT_TRUE(clip.isPlaying()) << "tick " << t;
        EXPECT_GT(settled(block, 2, 0), 0.0f) << "the movie sounds past the out point";
    }
    EXPECT_GT(clip.currentPositionSeconds(), 2.3);
    EXPECT_EQ(log.count("Fading out because we passed the out point."), 1)
        << "a running fade is not asked again";
    tick(clip);
    EXPECT_FALSE(clip.isPlaying()) << "ten steps after the out point the fade arrives";
}

TEST_F(SoundClipOutPointTest, ModeZeroPastTheOutPointPlaysOnToTheEndLoggingEveryTick) {
    // Out point at 1.5 s of a 2.5 s file; nothing left, so the request does nothing.
    SoundClip& clip = makeClip(constantWav("tone.wav", 2.5, 0.5f, 0.5f),
                               {{settingsKey_InPoint, 1.2}, {settingsKey_OutPoint, 1.0}});
    ClipLogCapture log;
    clip.startPlaying(false);
    int ticksPastOutPoint = 0;
    for (int t = 1; t <= 40 && clip.isPlaying(); ++t) {
        const std::vector<float> block = tick(clip);
        if (clip.isPlaying() && clip.remaining() <= 0.0) {
            ++ticksPastOutPoint;
            ASSERT_EQ(log.count("Fading out because we passed the out point."), ticksPastOutPoint)
                << "tick " << t;
            EXPECT_NEAR(settled(block, 2, 0), 0.5f, 1e-6) << "no fade, full level";
        }
    }
    EXPECT_FALSE(clip.isPlaying()) << "the end of the file stops the clip";
    EXPECT_GE(ticksPastOutPoint, 18); // 1.5 .. 2.5 s of file time
    EXPECT_EQ(log.count("SoundClip::forceFadeOut called"), ticksPastOutPoint);
}

class SoundClipTransportTest : public SoundClipTest {};

TEST_F(SoundClipTransportTest, PauseKeepsTheTickAndARunningFade) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 3.0, 0.5f, 0.5f), {{settingsKey_FadeInDuration, 0.5}});
    RecordingObservers controller;
    clip.setController(&controller);
    clip.startPlaying(false);
    ticks(clip, 3);
    clip.pausePlaying(clip.isPaused());
    EXPECT_TRUE(clip.isPaused());
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_TRUE(clip.isTicking());
    EXPECT_EQ(controller.calls, QStringList{"cell"});
    const int volumeAtPause = clip.movie()->volume();
    pull(1024); // the pause declick
    clip.spendTime();
    const double pausedAt = clip.currentPositionSeconds();
    for (int t = 0; t < 6; ++t) {
        const std::vector<float> block = tick(clip);
        ASSERT_TRUE(isSilent(block, 2, 0)) << "tick " << t;
    }
    EXPECT_GT(clip.movie()->volume(), volumeAtPause) << "the fade went on while paused";
    EXPECT_EQ(clip.movie()->volume(), 255);
    EXPECT_DOUBLE_EQ(clip.currentPositionSeconds(), pausedAt);

    clip.pausePlaying(clip.isPaused());
    EXPECT_FALSE(clip.isPaused());
    EXPECT_EQ(controller.calls, QStringList({"cell", "cell"}));
    EXPECT_NEAR(settled(tick(clip), 2, 0), 0.5f, 1e-6);
    EXPECT_GT(clip.currentPositionSeconds(), pausedAt);
}

TEST_F(SoundClipTransportTest, AStartPausedWaitsAtTheInPointAndResumesFromIt) {
    SoundClip& clip = makeClip(indexedWav("indexed.wav", 2.0), {{settingsKey_InPoint, 0.25}});
    RecordingObservers outputs;
    clip.setOutputsController(&outputs);
    clip.setOutputIndex(5);
    clip.startPlaying(true);
    EXPECT_EQ(outputs.calls, QStringList({"started", "paused 5"}));
    EXPECT_TRUE(clip.isPaused());
    EXPECT_TRUE(isSilent(tick(clip), 2, 0));
    clip.pausePlaying(true);
    const std::vector<float> block = pull(kTickFrames);
    EXPECT_EQ(clipaudio::frameOfIndexedValue(at(block, 2, 200, 0)), 12000 + 200);
    clip.stopPlaying();
    EXPECT_EQ(outputs.calls.last(), "stopped");
}

TEST_F(SoundClipTransportTest, ARestartStopsFirstAndPlaysFromTheInPointAgain) {
    SoundClip& clip = makeClip(indexedWav("indexed.wav", 3.0), {{settingsKey_InPoint, 0.5}});
    RecordingObservers outputs;
    clip.setOutputsController(&outputs);
    clip.startPlaying(false);
    ticks(clip, 5);
    clip.startPlaying(false);
    EXPECT_EQ(outputs.calls, QStringList({"started", "stopped", "started"}));
    const std::vector<float> block = pull(kTickFrames);
    EXPECT_EQ(clipaudio::frameOfIndexedValue(settled(block, 2, 0)), 24000 + kTickFrames - 1);
    clip.stopPlaying();
}

TEST_F(SoundClipTransportTest, AnOfflineClipNeitherStartsNorPauses) {
    auto record = std::make_shared<QVariantMap>(defaultClipSettings());
    SoundClip clip(record);
    RecordingObservers observers;
    clip.setController(&observers);
    clip.setOutputsController(&observers);
    EXPECT_TRUE(clip.isOffline());
    clip.startPlaying(false);
    clip.pausePlaying(false);
    clip.stopPlaying();
    EXPECT_FALSE(clip.isPlaying());
    EXPECT_FALSE(clip.isTicking());
    EXPECT_TRUE(observers.calls.isEmpty());
}

TEST_F(SoundClipTransportTest, TheTimerTicksAPlayingClipByItself) {
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 2.0, 0.5f, 0.5f), {{settingsKey_FadeInDuration, 0.2}});
    clip.startPlaying(false);
    EXPECT_TRUE(clip.isTicking());
    EXPECT_TRUE(QTest::qWaitFor([&] { return clip.fadingDirection() == 0; }, 10000));
    EXPECT_EQ(clip.movie()->volume(), 255);
    clip.stopPlaying();
    EXPECT_FALSE(clip.isTicking());
}

TEST_F(SoundClipTransportTest, AClipDestroyedWhilePlayingTellsOnlyItsOutputsObserver) {
    QStringList journal;
    RecordingObservers controller(&journal, QStringLiteral("controller"));
    RecordingObservers outputs(&journal, QStringLiteral("outputs"));
    SoundClip& clip = makeClip(constantWav("tone.wav", 2.0, 0.5f, 0.5f));
    clip.setController(&controller);
    clip.setOutputsController(&outputs);
    clip.startPlaying(false);
    _clips.clear();
    EXPECT_EQ(journal, QStringList({"outputs started", "outputs stopped"}));
}

TEST_F(SoundClipTransportTest, DerivedTimesFollowTheRecord) {
    SoundClip& clip = makeClip(constantWav("tone.wav", 10.0, 0.1f, 0.1f),
                               {{settingsKey_InPoint, 1.0}, {settingsKey_OutPoint, 1.5}});
    EXPECT_DOUBLE_EQ(clip.fileDuration(), 10.0);
    EXPECT_DOUBLE_EQ(clip.duration(), 7.5);
    EXPECT_TRUE(clip.hasInPoint());
    EXPECT_TRUE(clip.hasOutPoint());
    clip.startPlaying(true);
    clip.setClipPosition(0.5);
    clip.spendTime();
    EXPECT_DOUBLE_EQ(clip.currentPositionSeconds(), 4.75);
    EXPECT_DOUBLE_EQ(clip.elapsed(), 3.75);
    EXPECT_DOUBLE_EQ(clip.remaining(), 3.75) << "the clip ends at 8.5 s of file time";
    clip.setIsLooping(true);
    EXPECT_EQ(clip.settings()->value(settingsKey_Loop).typeId(), QMetaType::Bool);
    EXPECT_TRUE(clip.movie()->isLooping());
}
