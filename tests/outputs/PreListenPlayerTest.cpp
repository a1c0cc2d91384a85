// The pre-listen player: auditions play a copy on output 8 from the start or 15 s before
// the end, the transport pauses, resumes, jumps back and seeks, and the document's own
// clip is never touched.

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/UserDefaults.h"
#include "media/Movie.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PreListeningController.h"
#include "tests/outputs/PanelTestSupport.h"
#include "tests/support/Screenshot.h"

#include <QFile>
#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTest>

namespace {

constexpr long long kRate = clipaudio::kRate;

} // namespace

class PreListenTest : public OutputsPanelTest {
protected:
    void SetUp() override {
        OutputsPanelTest::SetUp();
        player = std::make_unique<PreListeningController>();
        player->install();
    }
    void TearDown() override {
        player.reset();
        EXPECT_EQ(StudioServices::preListenPlayer(), nullptr) << "the player uninstalls itself";
        OutputsPanelTest::TearDown();
    }

    // The file frame the default device plays at the end of the next 50 ms.
    long long frameHeardNow() {
        const std::vector<float> block = pull(clipaudio::kTickFrames);
        return clipaudio::frameOfIndexedValue(settled(block, 2, 0));
    }

    double copyPosition() const { return player->currentClip()->movie()->position(); }

    std::unique_ptr<PreListeningController> player;
};

TEST_F(PreListenTest, AnAuditionAtTheEndOfAFortySecondClipStartsAtTwentyFiveSeconds) {
    SoundClip& clip = clipOn(2, indexedWav("forty.wav", 40.0));
    StudioServices::preListenPlayer()->preListenClip(&clip, true);
    ASSERT_NE(player->currentClip(), nullptr);
    EXPECT_DOUBLE_EQ(copyPosition(), 25.0);
    EXPECT_EQ(player->elapsedText(), "00:00:25");
    EXPECT_EQ(player->remainingText(), "00:00:15");
    EXPECT_EQ(player->positionBar().value(), 625);
    EXPECT_EQ(player->filenameText(), "forty.wav");
    player->showWindow();
    saveScreenshot(*player->window(), QStringLiteral("pre-listen-player"));
    const long long heard = frameHeardNow();
    EXPECT_GE(heard, (25 * kRate) % 65536);
    EXPECT_LT(heard, (25 * kRate) % 65536 + clipaudio::kTickFrames);
}

TEST_F(PreListenTest, AShortClipAuditionedAtItsEndStartsAtItsStartAndOthersFromTheInPoint) {
    SoundClip& shortClip = clipOn(0, indexedWav("short.wav", 6.0));
    player->preListenClip(&shortClip, true);
    EXPECT_DOUBLE_EQ(copyPosition(), 0.0);

    SoundClip& trimmed = clipOn(0, indexedWav("trimmed.wav", 6.0), {{settingsKey_InPoint, 1.0}});
    player->preListenClip(&trimmed, false);
    EXPECT_DOUBLE_EQ(copyPosition(), 1.0);
    EXPECT_TRUE(player->currentClip()->isPlaying());
}

TEST_F(PreListenTest, JumpingBackGoesTwoSecondsBackButNeverBeforeTheStart) {
    SoundClip& clip = clipOn(0, indexedWav("forty.wav", 40.0));
    player->preListenClip(&clip, false);
    player->setMoviePosition(10.5 / 40.0);
    EXPECT_DOUBLE_EQ(copyPosition(), 10.5);
    QTest::mouseClick(&player->jumpBackButton(), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(copyPosition(), 8.5);
    const long long heard = frameHeardNow();
    EXPECT_GE(heard, (8 * kRate + kRate / 2) % 65536);
    EXPECT_LT(heard, (8 * kRate + kRate / 2) % 65536 + clipaudio::kTickFrames);

    player->setMoviePosition(1.0 / 40.0);
    player->jumpBackButtonPushed();
    EXPECT_DOUBLE_EQ(copyPosition(), 0.0);
}

TEST_F(PreListenTest, StopPausesInPlaceAndPlayGoesOnFromThere) {
    SoundClip& clip = clipOn(0, indexedWav("clip.wav", 10.0));
    player->preListenClip(&clip, false);
    player->setMoviePosition(0.5);
    QTest::mouseClick(&player->stopButton(), Qt::LeftButton);
    SoundClip& copy = *player->currentClip();
    EXPECT_TRUE(copy.isPaused());
    EXPECT_DOUBLE_EQ(copyPosition(), 5.0);
    EXPECT_FALSE(player->stopButton().isEnabled());
    EXPECT_EQ(settled(pull(clipaudio::kTickFrames), 2, 0), 0.0f) << "paused is quiet";

    QTest::mouseClick(&player->playButton(), Qt::LeftButton);
    EXPECT_FALSE(copy.isPaused());
    const long long heard = frameHeardNow();
    EXPECT_GE(heard, (5 * kRate) % 65536);
    EXPECT_LT(heard, (5 * kRate) % 65536 + clipaudio::kTickFrames);

    // Played to its end, the copy stops; play starts it again from where it rests.
    copy.stopPlaying();
    EXPECT_FALSE(copy.isPlaying());
    player->playButtonPushed();
    EXPECT_TRUE(copy.isPlaying());
}

TEST_F(PreListenTest, DraggingOrClickingThePositionBarMovesTheAudition) {
    SoundClip& clip = clipOn(0, indexedWav("forty.wav", 40.0));
    player->preListenClip(&clip, false);
    QSlider& bar = player->positionBar();
    bar.setSliderDown(true);
    bar.setSliderPosition(250);
    EXPECT_DOUBLE_EQ(copyPosition(), 10.0);
    player->updateCurrentMovieTime();
    EXPECT_EQ(bar.sliderPosition(), 250) << "the refresh does not pull the handle away";
    bar.setSliderDown(false);

    bar.triggerAction(QAbstractSlider::SliderPageStepAdd);
    EXPECT_DOUBLE_EQ(copyPosition(), 12.0);
}

TEST_F(PreListenTest, TheAuditionPlaysOnThePreListenOutputAndTheOutputsPanelNeverHearsOfIt) {
    QVariantMap record = defaultOutputSettings(preListenOutputIndex);
    record.insert(QorvinPrefDeviceName, QStringLiteral("Test Device 4ch"));
    record.insert(QorvinPrefLeftChannelOutputTag, 0x10002);
    record.insert(QorvinPrefRightChannelOutputTag, 0x10003);
    defaults().setObject(record, outputSettingsKey(preListenOutputIndex));

    SoundClip& clip = clipOn(2, indexedWav("clip.wav", 4.0));
    player->preListenClip(&clip, false);
    SoundClip& copy = *player->currentClip();
    EXPECT_EQ(copy.outputIndex(), preListenOutputIndex);
    EXPECT_EQ(copy.outputsController(), nullptr);
    EXPECT_EQ(copy.controller(), player.get());
    for (int index = 0; index < panel().cellCount(); ++index) {
        EXPECT_EQ(panel().cellAtIndex(index)->currentClip(), nullptr) << index;
    }
    const std::vector<float> device =
        pull(clipaudio::kTickFrames, QStringLiteral("Test Device 4ch"));
    EXPECT_TRUE(isSilent(device, 4, 0));
    EXPECT_TRUE(isSilent(device, 4, 1));
    EXPECT_FALSE(isSilent(device, 4, 2));
    EXPECT_FALSE(isSilent(device, 4, 3));
    EXPECT_TRUE(isSilent(pull(clipaudio::kTickFrames), 2, 0)) << "nothing on the program output";
}

TEST_F(PreListenTest, TheDocumentsOwnClipKeepsItsStatePositionAndSettings) {
    SoundClip& clip = clipOn(3, indexedWav("clip.wav", 30.0),
                             {{settingsKey_InPoint, 2.0}, {settingsKey_NormalVolume, 0.5}});
    clip.startPlaying(false);
    tickAll(4);
    const QVariantMap settingsBefore = *clip.settings();
    const double positionBefore = clip.movie()->position();

    player->preListenClip(&clip, true);
    player->jumpBackButtonPushed();
    player->stopButtonPushed();
    player->setMoviePosition(0.1);
    player->playButtonPushed();

    EXPECT_EQ(*clip.settings(), settingsBefore) << "the copy has its own settings";
    EXPECT_EQ(clip.outputIndex(), 3);
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_FALSE(clip.isPaused());
    EXPECT_DOUBLE_EQ(clip.movie()->position(), positionBefore);
    EXPECT_EQ(panel().cellAtIndex(3)->currentClip(), &clip);
    EXPECT_NE(player->currentClip(), &clip);
}

TEST_F(PreListenTest, ANewAuditionReplacesThePreviousOneAndAnUnreadableFileLeavesThePanelEmpty) {
    SoundClip& first = clipOn(0, constantWav("first.wav", 5.0, 0.25f, 0.25f));
    SoundClip& second = clipOn(0, constantWav("second.wav", 5.0, 0.5f, 0.5f));
    player->preListenClip(&first, false);
    pull(clipaudio::kTickFrames);
    player->preListenClip(&second, false);
    EXPECT_EQ(player->filenameText(), "second.wav");
    EXPECT_FLOAT_EQ(settled(pull(clipaudio::kTickFrames), 2, 0), 0.5f) << "only the second sounds";

    // Re-auditioning the copy itself works from its own settings and file.
    player->preListenClip(player->currentClip(), false);
    EXPECT_EQ(player->filenameText(), "second.wav");

    SoundClip& gone = clipOn(0, constantWav("gone.wav", 5.0, 0.5f, 0.5f));
    ASSERT_TRUE(QFile::remove(gone.path()));
    player->preListenClip(&gone, false);
    EXPECT_EQ(player->currentClip(), nullptr);
    EXPECT_EQ(player->filenameText(), "");
    EXPECT_FALSE(player->playButton().isEnabled());
    EXPECT_TRUE(isSilent(pull(clipaudio::kTickFrames), 2, 0)) << "the previous copy is gone";
    player->playButtonPushed();
    player->jumpBackButtonPushed();
    player->updateCurrentMovieTime();
    player->preListenClip(nullptr, true);
}

TEST_F(PreListenTest, ThePlayerFloatsAtTheBottomRightAndComesBackWhereItWasLeft) {
    player->showWindow();
    NonKeyPanel& window = *player->window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    const QRect visible = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(window.frameGeometry().bottomRight(), visible.bottomRight());

    window.move(20, 25);
    QCoreApplication::processEvents();
    player.reset(); // a pending position is written as the player goes
    restart();
    PreListeningController nextRun;
    nextRun.showWindow();
    EXPECT_EQ(nextRun.window()->pos(), QPoint(20, 25));
}
