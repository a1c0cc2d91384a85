// The outputs panel's rules: one clip per output, late stop reports, colour thresholds
// of the remaining time, and what a strip shows while a clip plays and after it stops.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "outputs/CProgressView.h"
#include "outputs/CVuMeterView.h"
#include "outputs/LedButton.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "tests/outputs/PanelTestSupport.h"

#include <QFileInfo>

namespace {

const QVariantMap kFadesOnRequest{{settingsKey_FadeOutMode, 1}, {settingsKey_FadeOutDuration, 0.5}};

} // namespace

TEST_F(OutputsPanelTest, ANewClipOnAnOutputFadesTheOldOneAndItsLateStopLeavesTheNewOne) {
    SoundClip& a = clipOn(2, constantWav("a.wav", 5.0, 0.5f, 0.5f), kFadesOnRequest);
    SoundClip& b = clipOn(2, constantWav("b.wav", 5.0, 0.25f, 0.25f), kFadesOnRequest);
    SoundClip& elsewhere = clipOn(3, constantWav("c.wav", 5.0, 0.1f, 0.1f), kFadesOnRequest);
    OutputMonitoringCell& strip = *panel().cellAtIndex(2);

    a.startPlaying(false);
    elsewhere.startPlaying(false);
    tickAll();
    EXPECT_EQ(strip.currentClip(), &a);
    EXPECT_EQ(a.fadingDirection(), 0);

    b.startPlaying(false);
    EXPECT_EQ(a.fadingDirection(), -1) << "the clip shown so far gets its fade-out request";
    EXPECT_EQ(elsewhere.fadingDirection(), 0) << "another output is left alone";
    EXPECT_EQ(strip.currentClip(), &b) << "the new clip shows at once";
    EXPECT_EQ(strip.filenameText(), "b.wav");
    EXPECT_TRUE(b.isPlaying());

    for (int tick = 0; tick < 20 && a.isPlaying(); ++tick) {
        tickAll();
    }
    EXPECT_FALSE(a.isPlaying()) << "the old clip faded out and stopped by itself";
    EXPECT_EQ(strip.currentClip(), &b) << "its stop report did not clear the new clip";
    EXPECT_TRUE(strip.isRefreshing());
    EXPECT_EQ(panel().cellAtIndex(3)->currentClip(), &elsewhere);
}

TEST_F(OutputsPanelTest, AClipReportedStartedAgainWhileShownIsAskedToFadeOutToo) {
    SoundClip& a = clipOn(4, constantWav("a.wav", 5.0, 0.5f, 0.5f), kFadesOnRequest);
    a.startPlaying(false);
    tickAll();
    ASSERT_EQ(a.fadingDirection(), 0);
    panel().clipHasStarted(&a);
    EXPECT_EQ(a.fadingDirection(), -1);
    EXPECT_EQ(panel().cellAtIndex(4)->currentClip(), &a);
}

TEST_F(OutputsPanelTest, ReportsForAnOutputWithoutAStripAreDropped) {
    SoundClip& stray = clipOn(0, constantWav("a.wav", 2.0, 0.5f, 0.5f));
    stray.settings()->insert(settingsKey_OutputIndex, 12);
    stray.startPlaying(false);
    for (int index = 0; index < panel().cellCount(); ++index) {
        EXPECT_EQ(panel().cellAtIndex(index)->currentClip(), nullptr) << index;
    }
    stray.stopPlaying();
    panel().pauseOutput(12);
    panel().stopOutput(-1);
    panel().outputHasStopped(9);
}

TEST_F(OutputsPanelTest, TheProgressColourFollowsTheTimeLeftAtItsThresholds) {
    SoundClip& clip = clipOn(1, constantWav("long.wav", 31.0, 0.0f, 0.0f));
    OutputMonitoringCell& strip = *panel().cellAtIndex(1);
    clip.startPlaying(true);
    EXPECT_EQ(strip.progressViewColorState(), OutputMonitoringCell::kColorStatePlenty);

    const QColor green = QColor::fromRgbF(0.0f, 0.9f, 0.0f);
    const QColor orange = QColor::fromRgbF(1.0f, 0.5f, 0.0f);
    const QColor red = QColor::fromRgbF(1.0f, 0.0f, 0.0f);
    struct Case {
        double position;
        double remaining;
        int state;
        QColor colour;
    };
    const Case cases[] = {{1.0, 30.0, 2, orange},
                          {0.9, 30.1, 1, green},
                          {21.1, 9.9, 3, red},
                          {21.0, 10.0, 2, orange}};
    for (const Case& c : cases) {
        clip.setPosition(c.position);
        clip.spendTime();
        ASSERT_NEAR(clip.remaining(), c.remaining, 1e-9);
        strip.spendTime();
        EXPECT_EQ(strip.progressViewColorState(), c.state) << c.remaining << " s left";
        EXPECT_EQ(strip.progressBar().color(), c.colour) << c.remaining << " s left";
    }

    strip.setProgressViewColorState(7);
    EXPECT_EQ(strip.progressViewColorState(), 7);
    EXPECT_EQ(strip.progressBar().color(), orange) << "an unknown state changes no colour";
}

TEST_F(OutputsPanelTest, AStripShowsTimesProgressAndLevelsAndKeepsTheLevelsWhilePaused) {
    SoundClip& clip = clipOn(5, constantWav("tone.wav", 4.0, 0.5f, 0.25f));
    OutputMonitoringCell& strip = *panel().cellAtIndex(5);
    clip.startPlaying(false);
    EXPECT_EQ(strip.durationText(), "00:00:04");
    tickAll(40);
    EXPECT_EQ(strip.elapsedText(), "00:00:02");
    EXPECT_EQ(strip.remainingText(), "00:00:02");
    EXPECT_NEAR(strip.progressBar().doubleValue(), 0.5, 0.02);
    const double left = strip.leftVuMeter().doubleValue();
    const double right = strip.rightVuMeter().doubleValue();
    EXPECT_NEAR(left, 0.5, 0.01);
    EXPECT_NEAR(right, 0.25, 0.01);

    strip.pauseButtonPushed();
    ASSERT_TRUE(clip.isPaused());
    tickAll(5);
    EXPECT_EQ(strip.leftVuMeter().doubleValue(), left) << "paused meters hold their reading";
    EXPECT_EQ(strip.rightVuMeter().doubleValue(), right);
    EXPECT_TRUE(strip.pauseButton().status());
}

TEST_F(OutputsPanelTest, AStripGoesIdleWhenItsClipStopsEvenWithoutBeingTold) {
    SoundClip& told = clipOn(6, constantWav("a.wav", 3.0, 0.5f, 0.5f));
    SoundClip& silent = clipOn(7, constantWav("b.wav", 3.0, 0.5f, 0.5f));
    told.startPlaying(true);
    silent.startPlaying(false);
    tickAll();
    ASSERT_TRUE(panel().cellAtIndex(6)->pauseButton().status());

    told.stopPlaying();
    OutputMonitoringCell& strip = *panel().cellAtIndex(6);
    EXPECT_EQ(strip.currentClip(), nullptr);
    EXPECT_FALSE(strip.isRefreshing());
    EXPECT_EQ(strip.filenameText(), "<nothing playing>");
    EXPECT_EQ(strip.durationText(), "00:00:00");
    EXPECT_EQ(strip.elapsedText(), "00:00:00");
    EXPECT_EQ(strip.progressBar().doubleValue(), 0.0);
    EXPECT_EQ(strip.leftVuMeter().doubleValue(), 0.0);
    EXPECT_FALSE(strip.pauseButton().status());

    // A clip that stops without reporting is noticed by the next refresh.
    silent.setOutputsController(nullptr);
    silent.stopPlaying();
    ASSERT_EQ(panel().cellAtIndex(7)->currentClip(), &silent);
    panel().cellAtIndex(7)->spendTime();
    EXPECT_EQ(panel().cellAtIndex(7)->currentClip(), nullptr);
}

TEST_F(OutputsPanelTest, OutputHasStoppedClearsTheStripWhateverItShows) {
    SoundClip& clip = clipOn(3, constantWav("a.wav", 3.0, 0.5f, 0.5f));
    clip.startPlaying(false);
    panel().outputHasStopped(3);
    EXPECT_EQ(panel().cellAtIndex(3)->currentClip(), nullptr);
    EXPECT_TRUE(clip.isPlaying()) << "clearing the strip does not stop the clip";
    // The clip's own stop report later finds nothing to clear.
    clip.stopPlaying();
    EXPECT_EQ(panel().cellAtIndex(3)->currentClip(), nullptr);
}
