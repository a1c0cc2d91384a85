// Pausing, stopping, ducking and seeking from the outputs panel, and the GPI tally lines
// that stopping and releasing outputs turn off.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "media/Movie.h"
#include "outputs/CProgressView.h"
#include "outputs/CVuMeterView.h"
#include "outputs/LedButton.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PlainButton.h"
#include "tests/outputs/PanelTestSupport.h"

#include <QSlider>
#include <QTest>

namespace {

QStringList tallyOffForEveryOutput(int box) {
    QStringList calls;
    for (int output = 0; output < 9; ++output) {
        calls << QStringLiteral("%1 %2 1").arg(box).arg(output);
    }
    return calls;
}

} // namespace

TEST_F(OutputsPanelTest, PauseAllTwiceReturnsEveryStripToPlayingWithItsLampOff) {
    SoundClip& first = clipOn(0, constantWav("a.wav", 5.0, 0.5f, 0.5f));
    SoundClip& second = clipOn(1, constantWav("b.wav", 5.0, 0.5f, 0.5f));
    first.startPlaying(false);
    second.startPlaying(false);

    QTest::mouseClick(&panel().pauseAllButton(), Qt::LeftButton);
    EXPECT_TRUE(panel().isPaused());
    EXPECT_TRUE(panel().pauseAllButton().status());
    EXPECT_TRUE(first.isPaused());
    EXPECT_TRUE(second.isPaused());
    EXPECT_TRUE(panel().cellAtIndex(0)->pauseButton().status());
    EXPECT_EQ(settled(pull(clipaudio::kTickFrames), 2, 0), 0.0f) << "both outputs are quiet";

    QTest::mouseClick(&panel().pauseAllButton(), Qt::LeftButton);
    EXPECT_FALSE(panel().isPaused());
    EXPECT_FALSE(panel().pauseAllButton().status());
    EXPECT_FALSE(first.isPaused());
    EXPECT_FALSE(second.isPaused());
    EXPECT_FALSE(panel().cellAtIndex(0)->pauseButton().status());
    EXPECT_FALSE(panel().cellAtIndex(1)->pauseButton().status());
    EXPECT_FLOAT_EQ(settled(pull(clipaudio::kTickFrames), 2, 0), 1.0f) << "both sound again";
}

TEST_F(OutputsPanelTest,
       TheSpaceBarResumesPausedOutputsAndTurnsEveryTallyOffEvenWithNothingPaused) {
    connectTallyBox();
    panel().spaceBarHasBeenDepressed();
    EXPECT_EQ(tally->calls, tallyOffForEveryOutput(1));

    SoundClip& cued = clipOn(3, constantWav("a.wav", 5.0, 0.5f, 0.5f));
    cued.startPlaying(true);
    ASSERT_TRUE(cued.isPaused());
    EXPECT_TRUE(panel().cellAtIndex(3)->pauseButton().status()) << "a paused start lights the lamp";
    tally->calls.clear();
    panel().spaceBarHasBeenDepressed();
    EXPECT_FALSE(cued.isPaused());
    EXPECT_TRUE(cued.isPlaying());
    EXPECT_FALSE(panel().cellAtIndex(3)->pauseButton().status());
    EXPECT_EQ(tally->calls, tallyOffForEveryOutput(1));
}

TEST_F(OutputsPanelTest, TallyLinesAreLeftAloneWhenTheStoredBoxIsNotConnected) {
    connectTallyBox();
    defaults().setObject(QStringLiteral("K-8"), QStringLiteral("Kestrel Serial Number"));
    panel().spaceBarHasBeenDepressed();
    panel().stopButtonPushed();
    panel().releasePauseForOutput(2);
    EXPECT_TRUE(tally->calls.isEmpty());
}

TEST_F(OutputsPanelTest, StoppingOutputsStopsTheirClipsAndTurnsTheirTalliesOff) {
    connectTallyBox();
    SoundClip& a = clipOn(2, constantWav("a.wav", 5.0, 0.5f, 0.5f));
    SoundClip& b = clipOn(5, constantWav("b.wav", 5.0, 0.5f, 0.5f));
    a.startPlaying(false);
    b.startPlaying(false);

    panel().stopOutput(2);
    EXPECT_FALSE(a.isPlaying());
    EXPECT_TRUE(b.isPlaying());
    EXPECT_EQ(panel().cellAtIndex(2)->currentClip(), nullptr);
    EXPECT_EQ(tally->calls, QStringList{"1 2 1"});

    tally->calls.clear();
    panel().stopOutput(6); // nothing plays there: the tally still goes off
    EXPECT_EQ(tally->calls, QStringList{"1 6 1"});

    tally->calls.clear();
    a.startPlaying(false);
    QTest::mouseClick(&panel().stopAllButton(), Qt::LeftButton);
    EXPECT_FALSE(a.isPlaying());
    EXPECT_FALSE(b.isPlaying());
    EXPECT_EQ(tally->calls, tallyOffForEveryOutput(1));
}

TEST_F(OutputsPanelTest, AStripsButtonsPauseStopAndDuckItsClipAndDoNothingWhenIdle) {
    connectTallyBox();
    OutputMonitoringCell& strip = *panel().cellAtIndex(4);
    QTest::mouseClick(&strip.pauseButton(), Qt::LeftButton);
    QTest::mouseClick(&strip.stopButton(), Qt::LeftButton);
    QTest::mouseClick(&strip.duckingButton(), Qt::LeftButton);
    EXPECT_FALSE(strip.pauseButton().status());
    EXPECT_FALSE(strip.duckingButton().status());
    EXPECT_TRUE(tally->calls.isEmpty()) << "an idle strip's stop turns no tally off";

    SoundClip& clip = clipOn(4, constantWav("a.wav", 5.0, 0.5f, 0.5f),
                             {{settingsKey_NormalVolume, 1.0}, {settingsKey_DuckingVolume, 0.2}});
    clip.startPlaying(false);
    QTest::mouseClick(&strip.pauseButton(), Qt::LeftButton);
    EXPECT_TRUE(clip.isPaused());
    EXPECT_TRUE(strip.pauseButton().status());
    QTest::mouseClick(&strip.pauseButton(), Qt::LeftButton);
    EXPECT_FALSE(clip.isPaused());
    EXPECT_FALSE(strip.pauseButton().status());

    QTest::mouseClick(&strip.duckingButton(), Qt::LeftButton);
    EXPECT_TRUE(clip.isDucked());
    EXPECT_TRUE(strip.duckingButton().status());
    EXPECT_EQ(clip.fadingDirection(), -1);
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 0.2);
    tickAll(21);
    EXPECT_NEAR(clip.currentLevel(), 0.2, 1.0 / 255.0) << "ducked over one second";
    QTest::mouseClick(&strip.duckingButton(), Qt::LeftButton);
    EXPECT_FALSE(clip.isDucked());
    EXPECT_FALSE(strip.duckingButton().status());
    EXPECT_EQ(clip.fadingDirection(), 1);

    QTest::mouseClick(&strip.stopButton(), Qt::LeftButton);
    EXPECT_FALSE(clip.isPlaying());
    EXPECT_EQ(strip.currentClip(), nullptr);
    EXPECT_EQ(tally->calls, QStringList{"1 4 1"});
}

TEST_F(OutputsPanelTest, CtrlClickIntoTheProgressBarSeeksThePlayingClip) {
    SoundClip& clip =
        clipOn(1, constantWav("a.wav", 10.0, 0.5f, 0.5f), {{settingsKey_InPoint, 2.0}});
    OutputMonitoringCell& strip = *panel().cellAtIndex(1);
    CProgressView& bar = strip.progressBar();
    bar.resize(300, 8);

    const QPoint middle(150, 4);
    strip.setMoviePosition(0.5); // nothing plays yet: ignored
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::ControlModifier, middle);
    EXPECT_DOUBLE_EQ(clip.movie()->position(), 2.0);

    clip.startPlaying(true);
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_DOUBLE_EQ(clip.movie()->position(), 2.0) << "a plain click does not seek";
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::ControlModifier, middle);
    // Half of the 8 s between the in point and the end, counted from the in point.
    EXPECT_NEAR(clip.movie()->position(), 6.0, 1e-3);
}

TEST_F(OutputsPanelTest, AStripsLevelSliderSitsBesideTheMetersAndChangesNothing) {
    OutputMonitoringCell& strip = *panel().cellAtIndex(4);
    panel().showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel().window()));
    QSlider& slider = strip.volumeSlider();
    EXPECT_TRUE(slider.isVisible());
    EXPECT_TRUE(strip.rect().contains(slider.geometry()));
    EXPECT_LE(slider.geometry().right(), strip.leftVuMeter().geometry().left());
    EXPECT_LE(strip.duckingButton().geometry().right(), slider.geometry().left());
    EXPECT_GT(slider.height(), strip.height() / 2);

    // Idle: moving it does nothing either.
    slider.triggerAction(QAbstractSlider::SliderToMinimum);
    EXPECT_EQ(strip.currentClip(), nullptr);
    slider.triggerAction(QAbstractSlider::SliderToMaximum);

    SoundClip& clip = clipOn(4, constantWav("a.wav", 5.0, 0.5f, 0.5f),
                             {{settingsKey_NormalVolume, 0.8}, {settingsKey_DuckingVolume, 0.2}});
    SoundClip& other = clipOn(5, constantWav("b.wav", 5.0, 0.25f, 0.25f));
    clip.startPlaying(false);
    other.startPlaying(false);
    tickAll(3);
    const double level = clip.currentLevel();
    const float heard = settled(pull(clipaudio::kTickFrames), 2, 0);
    ASSERT_GT(heard, 0.0f);

    // Dragged all the way down with the mouse, then stepped by the page keys' actions.
    const QPoint top(slider.width() / 2, 2);
    const QPoint bottom(slider.width() / 2, slider.height() - 2);
    QTest::mousePress(&slider, Qt::LeftButton, {}, top);
    QTest::mouseMove(&slider, bottom);
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, bottom);
    slider.triggerAction(QAbstractSlider::SliderToMinimum);
    slider.triggerAction(QAbstractSlider::SliderPageStepAdd);
    ASSERT_NE(slider.value(), slider.maximum()) << "the slider itself moved";
    tickAll();

    EXPECT_DOUBLE_EQ(clip.currentLevel(), level);
    EXPECT_EQ(clip.fadingDirection(), 0);
    EXPECT_DOUBLE_EQ(clip.volumeMultiplier(), 1.0);
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_FALSE(clip.isPaused());
    EXPECT_FALSE(clip.isDucked());
    EXPECT_TRUE(other.isPlaying());
    EXPECT_EQ(strip.currentClip(), &clip);
    EXPECT_FALSE(strip.pauseButton().status());
    EXPECT_FALSE(strip.duckingButton().status());
    EXPECT_FLOAT_EQ(settled(pull(clipaudio::kTickFrames), 2, 0), heard) << "as loud as before";
}
