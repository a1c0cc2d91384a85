// The clip settings editor: points marked by ear from the preview's playhead and stored
// as distances from the end, the duration and decibel fields, the enabling rules, what
// OK, Cancel and Clear leave in the record, the preview on the pre-listen output, and
// an edit without a file.

#include "editing/ClipSettingsController.h"
#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "editing/ClipWaveformView.h"
#include "editing/LevelSlider.h"
#include "media/Movie.h"
#include "tests/editing/EditorTestSupport.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/Screenshot.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr double kTolerance = 1e-3;

class ClipSettingsControllerTest : public ClipEditorTest {
protected:
    QUrl sixtySeconds() {
        if (_sixty.isEmpty()) {
            _sixty = envelopeFile(QStringLiteral("sixty.wav"), 60.0);
        }
        return QUrl::fromLocalFile(_sixty);
    }

private:
    QString _sixty;
};

// ---- In and out points ----

TEST_F(ClipSettingsControllerTest, MarkingOutAtTenSecondsStoresFiftyAndGoToOutReturnsThere) {
    auto settings = record();
    editor().beginEditing(sixtySeconds(), settings);
    ASSERT_NE(editor().previewClip(), nullptr);
    EXPECT_NEAR(editor().fileDuration(), 60.0, kTolerance);
    EXPECT_EQ(editor().fileDurationField()->text(), QStringLiteral("1:00.000"));

    editor().setPreviewPosition(10.0);
    editor().markOut();
    EXPECT_EQ(editor().outPointDurationField()->text(), QStringLiteral("0:50.000"));
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("0:10.000"));

    editor().setPreviewPosition(3.0);
    editor().markIn();
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("0:07.000"));
    editor().setPreviewPosition(42.0);
    editor().gotoOut();
    EXPECT_NEAR(editor().currentPosition(), 10.0, kTolerance);
    editor().gotoIn();
    EXPECT_NEAR(editor().currentPosition(), 3.0, kTolerance);
    EXPECT_EQ(editor().currentPositionField()->text(), QStringLiteral("0:03.000"));

    editor().okButtonClicked();
    EXPECT_TRUE(editor().endEditing());
    EXPECT_NEAR(settings->value(settingsKey_OutPoint).toDouble(), 50.0, kTolerance);
    EXPECT_NEAR(settings->value(settingsKey_InPoint).toDouble(), 3.0, kTolerance);
    EXPECT_EQ(settings->value(settingsKey_OutPoint).typeId(), QMetaType::Double);
}

TEST_F(ClipSettingsControllerTest, AnInPointBeyondTheOutPointShowsANegativeLengthAndIsKept) {
    auto settings = record({{settingsKey_InPoint, 40.0}, {settingsKey_OutPoint, 30.0}});
    editor().beginEditing(sixtySeconds(), settings);
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("-0:10.000"));
    // The preview starts at the in point.
    EXPECT_NEAR(editor().currentPosition(), 40.0, kTolerance);
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_InPoint), QVariant(40.0));
    EXPECT_EQ(settings->value(settingsKey_OutPoint), QVariant(30.0));
}

TEST_F(ClipSettingsControllerTest, TypedPointsAndClearsUpdateTheLengths) {
    auto settings = record();
    editor().beginEditing(sixtySeconds(), settings);
    typeInto(editor().inPointDurationField(), QStringLiteral("1:30"));
    EXPECT_EQ(editor().inPointDurationField()->text(), QStringLiteral("1:30.000"));
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("-0:30.000"));
    typeInto(editor().inPointDurationField(), QStringLiteral("12.25"));
    typeInto(editor().outPointDurationField(), QStringLiteral("7.75"));
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("0:40.000"));
    EXPECT_DOUBLE_EQ(editor().movieView()->inPoint(), 12.25);
    EXPECT_DOUBLE_EQ(editor().movieView()->outPoint(), 7.75);

    // A refused text leaves the point as it was.
    typeInto(editor().outPointDurationField(), QStringLiteral("soon"));
    editor().clearIn();
    EXPECT_EQ(editor().clipDurationField()->text(), QStringLiteral("0:52.250"));
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_InPoint), QVariant(0.0));
    EXPECT_EQ(settings->value(settingsKey_OutPoint), QVariant(7.75));
}

// ---- Levels ----

TEST_F(ClipSettingsControllerTest, LevelsShowWholeDecibelsAndTypedDecibelsMoveTheSlider) {
    auto settings = record({{settingsKey_NormalVolume, 1.0}, {settingsKey_DuckingVolume, 0.0}});
    editor().beginEditing(QUrl(), settings);
    EXPECT_EQ(editor().volumeField()->text(), QStringLiteral("0"));
    EXPECT_EQ(editor().duckingVolumeField()->text(), QStringLiteral("-inf"));

    editor().volumeSlider()->setValue(LevelSlider::kSteps / 2);
    EXPECT_DOUBLE_EQ(editor().volumeSlider()->level(), 0.5);
    EXPECT_EQ(editor().volumeField()->text(), QStringLiteral("-6"));

    typeInto(editor().volumeField(), QStringLiteral("-99"));
    EXPECT_EQ(editor().volumeSlider()->level(), 0.0);
    EXPECT_EQ(editor().volumeSlider()->value(), 0);
    EXPECT_EQ(editor().volumeField()->text(), QStringLiteral("-99"));

    // What the field shows for silence also reads as silence.
    typeInto(editor().duckingVolumeField(), QStringLiteral("-12"));
    typeInto(editor().duckingVolumeField(), QStringLiteral("-inf"));
    EXPECT_EQ(editor().duckingVolumeSlider()->level(), 0.0);

    // A typed level is stored exactly, not at the slider's resolution.
    typeInto(editor().volumeField(), QStringLiteral("-6"));
    EXPECT_EQ(editor().volumeField()->text(), QStringLiteral("-6"));
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_DOUBLE_EQ(settings->value(settingsKey_NormalVolume).toDouble(), std::pow(10.0, -0.3));
    EXPECT_EQ(settings->value(settingsKey_DuckingVolume), QVariant(0.0));
}

TEST_F(ClipSettingsControllerTest, LevelsOnlyShownAreWrittenBackUnchanged) {
    auto settings = record({{settingsKey_NormalVolume, 1.4}, {settingsKey_DuckingVolume, 0.6}});
    editor().beginEditing(QUrl(), settings);
    EXPECT_EQ(editor().volumeField()->text(), QStringLiteral("3"));
    EXPECT_EQ(editor().volumeSlider()->value(), LevelSlider::kSteps);
    EXPECT_EQ(editor().duckingVolumeField()->text(), QStringLiteral("-4"));
    // Leaving a field without typing reads nothing back.
    emit editor().duckingVolumeField()->editingFinished();
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_NormalVolume), QVariant(1.4));
    EXPECT_EQ(settings->value(settingsKey_DuckingVolume), QVariant(0.6));
}

// ---- Enabling ----

TEST_F(ClipSettingsControllerTest, DefaultSettingsAndNeverFadeDisableTheFadeControls) {
    editor().beginEditing(
        QUrl(), record({{settingsKey_UseDefaultSettings, true}, {settingsKey_FadeOutMode, 2}}));
    EXPECT_FALSE(editor().fadeInDurationField()->isEnabled());
    EXPECT_FALSE(editor().fadeOutDurationField()->isEnabled());
    EXPECT_FALSE(editor().fadeOutPopUpButton()->isEnabled());

    QTest::mouseClick(editor().useDefaultValuesCheckBox(), Qt::LeftButton);
    ASSERT_FALSE(editor().useDefaultValuesCheckBox()->isChecked());
    EXPECT_TRUE(editor().fadeInDurationField()->isEnabled());
    EXPECT_TRUE(editor().fadeOutPopUpButton()->isEnabled());
    // The check box does not look at the mode: the fade-out field comes back although
    // "never fade" is chosen.
    EXPECT_TRUE(editor().fadeOutDurationField()->isEnabled());

    // Choosing the mode again applies it.
    editor().fadeOutPopUpButton()->setCurrentIndex(2);
    emit editor().fadeOutPopUpButton()->activated(2);
    EXPECT_FALSE(editor().fadeOutDurationField()->isEnabled());
    editor().fadeOutPopUpButton()->setCurrentIndex(1);
    emit editor().fadeOutPopUpButton()->activated(1);
    EXPECT_TRUE(editor().fadeOutDurationField()->isEnabled());
    editor().cancelButtonClicked();
    EXPECT_FALSE(editor().endEditing());
}

// ---- OK, Cancel, Clear ----

TEST_F(ClipSettingsControllerTest, OkWritesEveryControlWithItsType) {
    auto settings = record({{settingsKey_Loop, false}, {settingsKey_MIDINote, 64}});
    editor().beginEditing(QUrl(), settings);
    QTest::mouseClick(editor().useDefaultValuesCheckBox(), Qt::LeftButton);
    typeInto(editor().fadeInDurationField(), QStringLiteral("0.5"));
    typeInto(editor().fadeOutDurationField(), QStringLiteral("3"));
    editor().fadeOutPopUpButton()->setCurrentIndex(1);
    QTest::mouseClick(editor().loopCheckBox(), Qt::LeftButton);
    editor().outputPopUpButton()->setCurrentIndex(5);
    QTest::mouseClick(editor().okButton(), Qt::LeftButton);
    ASSERT_TRUE(editor().endEditing());

    const QVariantMap& written = *settings;
    EXPECT_EQ(written.value(settingsKey_FadeInDuration), QVariant(0.5));
    EXPECT_EQ(written.value(settingsKey_FadeOutDuration), QVariant(3.0));
    EXPECT_EQ(written.value(settingsKey_UseDefaultSettings), QVariant(0));
    EXPECT_EQ(written.value(settingsKey_FadeOutMode), QVariant(1));
    EXPECT_EQ(written.value(settingsKey_Loop), QVariant(true));
    EXPECT_EQ(written.value(settingsKey_OutputIndex), QVariant(5));
    // Keys the editor does not show are left alone.
    EXPECT_EQ(written.value(settingsKey_MIDINote), QVariant(64));
    EXPECT_EQ(written.value(settingsKey_AutoChainLevel), QVariant(0.4));
}

TEST_F(ClipSettingsControllerTest, ValuesThePopUpsCannotShowAreKept) {
    // Mode 7 never fades, like 2; output 8 is the pre-listen output, never listed.
    auto settings = record({{settingsKey_FadeOutMode, 7}, {settingsKey_OutputIndex, 8}});
    editor().beginEditing(QUrl(), settings);
    EXPECT_EQ(editor().fadeOutPopUpButton()->currentIndex(), -1);
    EXPECT_EQ(editor().outputPopUpButton()->currentIndex(), -1);
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_FadeOutMode), QVariant(7));
    EXPECT_EQ(settings->value(settingsKey_OutputIndex), QVariant(8));
}

TEST_F(ClipSettingsControllerTest, CancelAndClearKeepTheRecordExceptAChosenOutput) {
    for (const bool useClear : {false, true}) {
        auto settings = record({{settingsKey_OutputIndex, 1}});
        const QVariantMap before = *settings;
        editor().beginEditing(sixtySeconds(), settings);
        EXPECT_EQ(editor().outputPopUpButton()->currentIndex(), 1);
        typeInto(editor().inPointDurationField(), QStringLiteral("5"));
        QTest::mouseClick(editor().loopCheckBox(), Qt::LeftButton);
        editor().volumeSlider()->setValue(100);
        editor().outputPopUpButton()->setCurrentIndex(3);
        emit editor().outputPopUpButton()->activated(3);
        EXPECT_EQ(settings->value(settingsKey_OutputIndex), QVariant(3));

        QTest::mouseClick(useClear ? editor().clearButton() : editor().cancelButton(),
                          Qt::LeftButton);
        EXPECT_FALSE(editor().endEditing());
        QVariantMap expected = before;
        expected.insert(settingsKey_OutputIndex, 3);
        EXPECT_EQ(*settings, expected) << (useClear ? "Clear" : "Cancel");
    }
}

TEST_F(ClipSettingsControllerTest, TheModalRunEndsWithOkAndHandsBackTheOldRecord) {
    auto settings = record({{settingsKey_InPoint, 2.0}});
    bool timerRanDuringTheEdit = false;
    QTimer::singleShot(0, &editor(), [&] {
        timerRanDuringTheEdit = editor().isVisible();
        editor().setPreviewPosition(20.0);
        editor().markIn();
        QTest::mouseClick(editor().okButton(), Qt::LeftButton);
    });
    QVariantMap old;
    EXPECT_TRUE(editor().editClipSettings(sixtySeconds(), settings, &old));
    EXPECT_TRUE(timerRanDuringTheEdit);
    EXPECT_EQ(old.value(settingsKey_InPoint), QVariant(2.0));
    EXPECT_NEAR(settings->value(settingsKey_InPoint).toDouble(), 20.0, kTolerance);
    // The preview is gone with the dialog.
    EXPECT_EQ(editor().previewClip(), nullptr);
    EXPECT_FALSE(editor().isVisible());

    // Escape is Cancel; the old record is not handed back then.
    QTimer::singleShot(0, &editor(), [&] { QTest::keyClick(&editor(), Qt::Key_Escape); });
    QVariantMap untouched{{QStringLiteral("marker"), 1}};
    EXPECT_FALSE(editor().editClipSettings(sixtySeconds(), settings, &untouched));
    EXPECT_EQ(untouched.value(QStringLiteral("marker")), QVariant(1));
}

// ---- Preview ----

TEST_F(ClipSettingsControllerTest, ThePreviewPlaysOnThePreListenOutput) {
    QVariantMap preListen = storedOutput(preListenOutputIndex);
    preListen.insert(QorvinPrefDeviceName, kFourChannelDevice);
    preListen.insert(QorvinPrefLeftChannelOutputTag, 65538);
    preListen.insert(QorvinPrefRightChannelOutputTag, 65539);
    storeOutput(preListenOutputIndex, preListen);

    auto settings = record({{settingsKey_OutputIndex, 2}});
    editor().beginEditing(sixtySeconds(), settings);
    SoundClip* preview = editor().previewClip();
    ASSERT_NE(preview, nullptr);
    EXPECT_EQ(preview->outputIndex(), preListenOutputIndex);
    ASSERT_NE(preview->movie(), nullptr);
    EXPECT_EQ(preview->movie()->outputDevice(), kFourChannelDevice);
    EXPECT_EQ(preview->movie()->leftChannelTag(), 65538u);
    // The clip's own record still names its own output.
    EXPECT_EQ(settings->value(settingsKey_OutputIndex), QVariant(2));

    QTest::mouseClick(editor().playPauseButton(), Qt::LeftButton);
    EXPECT_TRUE(editor().showsPlaying());
    EXPECT_EQ(preview->movie()->rate(), 1.0);
    QTest::mouseClick(editor().playPauseButton(), Qt::LeftButton);
    EXPECT_FALSE(editor().showsPlaying());
    EXPECT_EQ(preview->movie()->rate(), 0.0);
    editor().cancelButtonClicked();
    editor().endEditing();
}

TEST_F(ClipSettingsControllerTest, PressingAndDraggingOnThePositionBarMovesThePlayhead) {
    editor().beginEditing(sixtySeconds(), record());
    ClipWaveformView* bar = editor().movieView();
    bar->resize(601, bar->sizeHint().height());
    const int x = bar->xForSeconds(30.0);
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(x, bar->height() / 2));
    const double onePixel = 60.0 / 600.0;
    EXPECT_NEAR(editor().currentPosition(), 30.0, onePixel);
    QMouseEvent drag(QEvent::MouseMove, QPointF(bar->xForSeconds(45.0), 20),
                     QPointF(bar->mapToGlobal(QPoint(bar->xForSeconds(45.0), 20))), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(bar, &drag);
    EXPECT_NEAR(editor().currentPosition(), 45.0, onePixel);
    editor().updateCurrentPositionTimer();
    EXPECT_NEAR(bar->playheadPosition(), 45.0, onePixel);
    QTest::mouseRelease(bar, Qt::LeftButton);
    editor().cancelButtonClicked();
    editor().endEditing();
}

TEST_F(ClipSettingsControllerTest, TheWaveformArrivesWhileTheDialogIsOpen) {
    editor().beginEditing(sixtySeconds(),
                          record({{settingsKey_InPoint, 6.0}, {settingsKey_OutPoint, 12.0}}));
    editor().show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&editor()));
    ClipWaveformView* bar = editor().movieView();
    const QColor wave(110, 190, 235);
    const auto waveHeight = [&](const QImage& image, double seconds) {
        return OutputsFixture::pixelsNear(
            image, QRect(bar->xForSeconds(seconds), 0, 1, bar->height()), wave, 12);
    };
    // The worker reads the file front to back; wait for the last stretch of the clip.
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return waveHeight(bar->grab().toImage(), 45.0) > 10; }, 20000));
    // Louder in the middle of the file than near its in point, as the file is.
    const QImage image = bar->grab().toImage();
    EXPECT_GT(waveHeight(image, 30.0), 2 * waveHeight(image, 8.0));
    EXPECT_GT(waveHeight(image, 8.0), 0);
    editor().setPreviewPosition(21.5);
    saveScreenshot(editor(), QStringLiteral("clip-settings-editor"));
    editor().cancelButtonClicked();
    editor().endEditing();
}

// ---- Without a playable file ----

TEST_F(ClipSettingsControllerTest, WithoutAFileTheValuesShowWithAnEmptyPreview) {
    auto settings = record({{settingsKey_InPoint, 4.5},
                            {settingsKey_OutPoint, 1.0},
                            {settingsKey_FadeOutDuration, 2.0}});
    editor().beginEditing(QUrl(), settings);
    EXPECT_EQ(editor().previewClip(), nullptr);
    EXPECT_EQ(editor().inPointDurationField()->text(), QStringLiteral("0:04.500"));
    EXPECT_EQ(editor().fadeOutDurationField()->text(), QStringLiteral("0:02.000"));
    EXPECT_EQ(editor().fileDurationField()->text(), QStringLiteral("0:00.000"));
    EXPECT_EQ(editor().currentPositionField()->text(), QString());
    EXPECT_FALSE(editor().movieView()->showsPlayhead());
    EXPECT_FALSE(editor().playPauseButton()->isEnabled());

    // Marks and jumps have nothing to work on; the tick shows nothing.
    editor().markIn();
    editor().markOut();
    editor().gotoOut();
    editor().updateCurrentPositionTimer();
    EXPECT_EQ(editor().inPointDurationField()->text(), QStringLiteral("0:04.500"));
    EXPECT_EQ(editor().currentPositionField()->text(), QString());
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_OutPoint), QVariant(1.0));
}

TEST_F(ClipSettingsControllerTest, AFileThatCannotBePlayedOpensAnEmptyPreview) {
    auto settings = record({{settingsKey_InPoint, 1.0}});
    editor().beginEditing(QUrl::fromLocalFile(brokenFile()), settings);
    EXPECT_EQ(editor().previewClip(), nullptr);
    EXPECT_EQ(editor().fileDurationField()->text(), QStringLiteral("0:00.000"));
    editor().markOut();
    EXPECT_EQ(editor().outPointDurationField()->text(), QStringLiteral("0:00.000"));
    editor().okButtonClicked();
    ASSERT_TRUE(editor().endEditing());
    EXPECT_EQ(settings->value(settingsKey_InPoint), QVariant(1.0));
}

} // namespace
