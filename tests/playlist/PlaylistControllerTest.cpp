// The playlist window's controller: how it starts from the document, the volume keys and
// wheel, the decibel fields, ducking, the transport of the current clip, the progress
// colour bands, the rows it reports, the clipboard, and a cart wall fired with Shift.

#include "playlist/PlaylistController.h"
#include "clip/ClipPasteboard.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "document/DocumentController.h"
#include "outputs/CProgressView.h"
#include "outputs/LedButton.h"
#include "playlist/CCustomTableView.h"
#include "playlist/PlaylistDocument.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "tests/playlist/PlaylistTestSupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QScrollBar>
#include <QSlider>
#include <QTest>
#include <QWheelEvent>

namespace {

QKeyEvent key(int code, const QString& text = QString(),
              Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    return QKeyEvent(QEvent::KeyPress, code, modifiers, text);
}

// A wheel turned by `notches` (up positive), as a common mouse reports it.
QWheelEvent wheel(double notches, const QPointF& at = QPointF(10, 10)) {
    return QWheelEvent(at, at, QPoint(), QPoint(0, int(notches * 120)), Qt::NoButton,
                       Qt::NoModifier, Qt::NoScrollPhase, false);
}

class ControllerTest : public PlaylistTest {
protected:
    // A playlist with a window, its volume at `volume`.
    PlaylistController& window(double volume = 1.0) {
        PlaylistDocument& document = makeWindowDocument();
        _document = &document;
        PlaylistController& c = controllerOf(document);
        PlaylistController::setSliderValue(c.documentVolumeSlider(), volume);
        c.documentVolumeSliderHasChanged();
        document.updateChangeCount(Document::ChangeKind::Cleared);
        return c;
    }
    PlaylistDocument& document() { return *_document; }

    // Puts `path` in `slot`, starts it and makes it the current clip.
    SoundClip& playCurrent(int slot, const QString& path, const QVariantMap& overrides = {}) {
        SoundClip& clip = putClip(document(), slot, path, overrides);
        clip.startPlaying(false);
        controllerOf(document()).setCurrentClip(slot);
        return clip;
    }

    static void typeInto(QLineEdit* field, const QString& text) {
        field->selectAll();
        QTest::keyClicks(field, text);
        QTest::keyClick(field, Qt::Key_Return);
    }

    PlaylistDocument* _document = nullptr;
};

} // namespace

TEST_F(ControllerTest, TheWindowStartsFromTheDocumentAndLeavesItClean) {
    documents.push_back(std::make_unique<PlaylistDocument>());
    PlaylistDocument& document = *documents.back();
    document.setDuckingVolume(0.5);
    document.setDocumentVolume(0.25);
    document.setFadeOtherDocuments(true);
    document.makeWindowControllers();
    PlaylistController& c = controllerOf(document);

    EXPECT_EQ(c.progressView()->color(), QColor(Qt::red));
    EXPECT_EQ(c.elapsedTimeField()->text(), "00:00:00");
    EXPECT_EQ(c.remainingTimeField()->text(), "00:00:00");
    EXPECT_EQ(c.durationTimeField()->text(), "00:00:00");
    EXPECT_TRUE(c.fadeOtherDocumentsCheckBox()->isChecked());
    EXPECT_FALSE(c.useScrollWheelCheckBox()->isChecked());
    EXPECT_EQ(c.documentVolumeSlider()->value(), 250);
    EXPECT_EQ(c.documentVolumeField()->text(), "-12");
    EXPECT_EQ(c.duckingVolumeSlider()->value(), 500);
    EXPECT_EQ(c.duckingVolumeField()->text(), "-6");
    ASSERT_GT(c.soundOutputButton()->count(), 0);
    EXPECT_EQ(c.soundOutputButton()->itemText(0), "Built-in Output");
    EXPECT_EQ(c.soundOutputButton()->currentText(), "Built-in Output");
    EXPECT_EQ(c.currentClip(), -1);
    EXPECT_FALSE(c.isUpdating()) << "nothing to follow yet";
    EXPECT_FALSE(document.isDocumentEdited());
}

TEST_F(ControllerTest, ShiftUpIsNotHandledAndUpRaisesTheVolumeByATenth) {
    PlaylistController& c = window(0.5);
    SoundClip& clip = putClip(document(), 0, tone);
    document().updateChangeCount(Document::ChangeKind::Cleared);

    EXPECT_FALSE(c.performKey(key(Qt::Key_Up, {}, Qt::ShiftModifier)));
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.5);
    EXPECT_FALSE(document().isDocumentEdited());

    EXPECT_TRUE(c.performKey(key(Qt::Key_Up)));
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.6);
    EXPECT_EQ(c.documentVolumeSlider()->value(), 600);
    EXPECT_EQ(c.documentVolumeField()->text(), "-4") << "20 log10 0.6 = -4.4, rounded";
    EXPECT_DOUBLE_EQ(clip.volumeMultiplier(), 0.6) << "every clip follows the document";
    EXPECT_TRUE(document().isDocumentEdited());

    EXPECT_TRUE(c.performKey(key(Qt::Key_Down)));
    EXPECT_TRUE(c.performKey(key(Qt::Key_Down)));
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.4);
    EXPECT_EQ(c.documentVolumeField()->text(), "-8");

    // The slider's range holds the level within 0..1.
    PlaylistController::setSliderValue(c.documentVolumeSlider(), 0.95);
    c.documentVolumeSliderHasChanged();
    EXPECT_TRUE(c.performKey(key(Qt::Key_Up)));
    EXPECT_DOUBLE_EQ(document().documentVolume(), 1.0);
    EXPECT_EQ(c.documentVolumeField()->text(), "0");
}

TEST_F(ControllerTest, PlainKeysAreSwallowedAndOnlyTheirOwnKeysAct) {
    PlaylistController& c = window(0.5);
    SoundClip& idle = putClip(document(), 0, tone);
    SoundClip& current = playCurrent(3, longTone);
    document().updateChangeCount(Document::ChangeKind::Cleared);

    for (const QKeyEvent& plain :
         {key(Qt::Key_Z, "z"), key(Qt::Key_1, "1"), key(Qt::Key_Space, " "), key(Qt::Key_F5),
          key(Qt::Key_A, "a"), key(Qt::Key_X, "x"), key(Qt::Key_Left)}) {
        EXPECT_TRUE(c.performKey(plain)) << plain.key();
    }
    EXPECT_FALSE(idle.isPlaying()) << "starting a row is not part of the playlist yet";
    EXPECT_TRUE(current.isPlaying());
    EXPECT_EQ(current.fadingDirection(), 0);
    EXPECT_FALSE(document().isDocumentEdited());
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.5);

    EXPECT_FALSE(c.performKey(key(Qt::Key_A, "a", Qt::ControlModifier)));
    EXPECT_FALSE(c.performKey(key(Qt::Key_Z, "z", Qt::AltModifier)));
    EXPECT_FALSE(c.performKey(key(Qt::Key_Escape, "\x1b", Qt::MetaModifier)));
    EXPECT_EQ(current.fadingDirection(), 0);

    EXPECT_TRUE(c.performKey(key(Qt::Key_Escape, "\x1b")));
    EXPECT_EQ(current.fadingDirection(), -1) << "Escape fades the current clip out";
    EXPECT_DOUBLE_EQ(current.fadingTargetVolume(), 0.0);
    current.stopPlaying();
}

TEST_F(ControllerTest, KeysGivenToTheTableReachThePlaylist) {
    PlaylistController& c = window(0.5);
    c.window()->show();
    QTest::keyClick(c.tableView(), Qt::Key_Up);
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.6) << "the table passes its keys on";
    QTest::keyClick(c.tableView(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.6);
}

TEST_F(ControllerTest, TheScrollWheelChangesTheVolumeOnlyWithTheOption) {
    PlaylistController& c = window(0.5);
    c.window()->show();
    QScrollBar* scroll = c.tableView()->verticalScrollBar();
    ASSERT_GT(scroll->maximum(), 0) << "30 rows do not fit";

    EXPECT_FALSE(c.scrollWheelHasMoved(wheel(3)));
    QWheelEvent down = wheel(-3);
    QApplication::sendEvent(c.tableView()->viewport(), &down);
    EXPECT_GT(scroll->value(), 0) << "without the option the wheel scrolls the rows";
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.5);

    c.useScrollWheelCheckBox()->click();
    EXPECT_TRUE(document().useScrollWheelForVolume());
    EXPECT_TRUE(c.scrollWheelHasMoved(wheel(3)));
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.53);
    const int scrolled = scroll->value();
    QWheelEvent downAgain = wheel(-3);
    QApplication::sendEvent(c.tableView()->viewport(), &downAgain);
    EXPECT_EQ(scroll->value(), scrolled) << "the playlist took the wheel";
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.5);
}

TEST_F(ControllerTest, VolumeFieldsReadDecibelsAndMinusNinetyNineIsSilence) {
    PlaylistController& c = window(0.5);
    SoundClip& clip = putClip(document(), 2, tone);

    typeInto(c.documentVolumeField(), "-99");
    EXPECT_EQ(c.documentVolumeSlider()->value(), 0);
    EXPECT_EQ(c.documentVolumeField()->text(), "-99") << "the field keeps what was typed";
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.0);
    EXPECT_DOUBLE_EQ(clip.volumeMultiplier(), 0.0);

    c.documentVolumeSlider()->setValue(400);
    c.documentVolumeSlider()->setValue(0);
    EXPECT_EQ(c.documentVolumeField()->text(), "-inf");
    // Leaving the field without typing does not read "-inf" back as unity.
    emit c.documentVolumeField()->editingFinished();
    EXPECT_DOUBLE_EQ(document().documentVolume(), 0.0);

    typeInto(c.documentVolumeField(), "-6");
    EXPECT_NEAR(document().documentVolume(), 0.501187, 1e-6);
    EXPECT_EQ(c.documentVolumeSlider()->value(), 501);
    EXPECT_NEAR(clip.volumeMultiplier(), 0.501187, 1e-6);

    typeInto(c.documentVolumeField(), "6");
    EXPECT_NEAR(document().documentVolume(), 1.995262, 1e-6) << "the field is not limited";
    EXPECT_EQ(c.documentVolumeSlider()->value(), 1000);
}

TEST_F(ControllerTest, TheDuckingLevelReachesTheCurrentClipOnlyWhileDucked) {
    PlaylistController& c = window(1.0);
    SoundClip& clip = playCurrent(1, longTone);

    PlaylistController::setSliderValue(c.duckingVolumeSlider(), 0.2);
    c.duckingVolumeSliderHasChanged();
    EXPECT_DOUBLE_EQ(document().duckingVolume(), 0.2);
    EXPECT_EQ(c.duckingVolumeField()->text(), "-14");
    EXPECT_EQ(clip.fadingDirection(), 0) << "not ducked: the clip is left alone";

    c.duckingButton()->click();
    EXPECT_TRUE(c.isDucked());
    EXPECT_TRUE(c.duckingButton()->status());
    EXPECT_TRUE(clip.isDucked());
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 0.6) << "down to the clip's own ducking level";
    for (int ticks = 0; ticks < 5; ++ticks) {
        tick(clip); // on the way down
    }

    typeInto(c.duckingVolumeField(), "-20");
    EXPECT_DOUBLE_EQ(document().duckingVolume(), 0.1);
    EXPECT_EQ(c.duckingVolumeSlider()->value(), 100);
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 0.1);

    // While ducked the volume keys work on the ducking level.
    EXPECT_TRUE(c.performKey(key(Qt::Key_Up)));
    EXPECT_DOUBLE_EQ(document().duckingVolume(), 0.2);
    EXPECT_DOUBLE_EQ(document().documentVolume(), 1.0);
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 0.2);

    c.duckingButton()->click();
    EXPECT_FALSE(c.isDucked());
    EXPECT_FALSE(clip.isDucked());
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 1.0) << "back up to the normal level";
    clip.stopPlaying();
}

TEST_F(ControllerTest, TheTransportActsOnlyOnACurrentClip) {
    PlaylistController& c = window();
    SoundClip& clip = putClip(document(), 4, longTone);
    clip.startPlaying(false);

    c.pauseButton()->click();
    c.duckingButton()->click();
    c.stopPlayback();
    c.spendTime();
    EXPECT_FALSE(c.isPaused());
    EXPECT_FALSE(c.pauseButton()->status());
    EXPECT_FALSE(c.isDucked());
    EXPECT_TRUE(clip.isPlaying());
    EXPECT_FALSE(clip.isDucked());

    c.setCurrentClip(4);
    EXPECT_TRUE(c.isUpdating());
    EXPECT_EQ(c.durationTimeField()->text(), "00:00:12");
    c.pauseButton()->click();
    EXPECT_TRUE(clip.isPaused());
    EXPECT_TRUE(c.pauseButton()->status());
    c.pauseButton()->click();
    EXPECT_FALSE(clip.isPaused());
    EXPECT_FALSE(c.pauseButton()->status());
    c.stopPlayback();
    EXPECT_FALSE(clip.isPlaying());

    // A reloaded playlist without a clip in that slot has no current clip any more.
    document().setClip(nullptr, 4);
    c.reloadData();
    EXPECT_EQ(c.currentClip(), -1);
    EXPECT_FALSE(c.isUpdating());
}

TEST_F(ControllerTest, TheProgressBarIsOrangeAtTenSecondsAndRedJustBelow) {
    const QString longer = constantWav(QStringLiteral("longer.wav"), 31.0, 0.1f, 0.1f, 1);
    PlaylistController& c = window();
    SoundClip& clip = playCurrent(0, longTone, {{settingsKey_InPoint, 2.0}});
    ASSERT_DOUBLE_EQ(clip.remaining(), 10.0);
    c.spendTime();
    EXPECT_EQ(c.progressViewColorState(), PlaylistController::OrangeState);
    EXPECT_EQ(c.progressView()->color(), QColor::fromRgbF(1.0f, 0.5f, 0.0f));
    EXPECT_EQ(c.remainingTimeField()->text(), "00:00:10");
    EXPECT_EQ(c.elapsedTimeField()->text(), "00:00:00");
    EXPECT_DOUBLE_EQ(c.progressView()->doubleValue(), 0.0);
    // Within a band the colour is set once, not on every tick.
    c.progressView()->setColor(Qt::blue);
    c.spendTime();
    EXPECT_EQ(c.progressView()->color(), QColor(Qt::blue));
    clip.stopPlaying();

    (*clip.settings())[settingsKey_InPoint] = 2.01;
    clip.startPlaying(false);
    ASSERT_LT(clip.remaining(), 10.0);
    c.spendTime();
    EXPECT_EQ(c.progressViewColorState(), PlaylistController::RedState);
    EXPECT_EQ(c.progressView()->color(), QColor(Qt::red));
    clip.stopPlaying();

    SoundClip& longClip = playCurrent(1, longer);
    c.spendTime();
    EXPECT_EQ(c.progressViewColorState(), PlaylistController::GreenState);
    EXPECT_EQ(c.progressView()->color(), QColor::fromRgbF(0.0f, 0.9f, 0.0f));
    longClip.stopPlaying();

    // A stopped clip leaves the strip as it was.
    c.progressView()->setColor(Qt::blue);
    c.spendTime();
    EXPECT_EQ(c.progressView()->color(), QColor(Qt::blue));
}

TEST_F(ControllerTest, RowsTwentyFourToTwentyNineAreAlwaysEmpty) {
    PlaylistController& c = window();
    SoundClip& clip = putClip(document(), 23, tone);
    clip.setTitle("Morning Show Opener");
    clip.setArtist("The Zelvora Singers");
    clip.setAlbum("Idents");
    clip.setYear(2024);
    clip.setColor(QColor(200, 30, 30));
    putClip(document(), 2, tone).setYear(1999);

    EXPECT_EQ(c.numberOfRowsInTableView(), 30);
    EXPECT_EQ(c.tableView()->numberOfRows(), 30);
    for (int row = 24; row < 30; ++row) {
        EXPECT_EQ(c.cellTitle(row), "") << row;
        EXPECT_EQ(c.cellSubTitle(row), "") << row;
        EXPECT_EQ(c.cellSubSubTitle(row), "") << row;
        EXPECT_EQ(c.cellDurationString(row), "00:00:00") << row;
        EXPECT_EQ(c.cellStatus(row), 0) << row;
        EXPECT_EQ(c.cellColor(row), QColor(Qt::black)) << row;
        EXPECT_TRUE(c.pathForCell(row).isNull()) << row;
    }
    EXPECT_EQ(c.cellTitle(23), "Morning Show Opener");
    EXPECT_EQ(c.cellSubTitle(23), "The Zelvora Singers");
    EXPECT_EQ(c.cellSubSubTitle(23), "Idents, 2024");
    EXPECT_EQ(c.cellSubSubTitle(2), "1999");
    EXPECT_EQ(c.cellDurationString(23), "00:00:01");
    EXPECT_EQ(c.cellColor(23), QColor(200, 30, 30));
    EXPECT_EQ(c.cellStatus(23), 1);
    EXPECT_EQ(c.pathForCell(23), QFileInfo(tone).absoluteFilePath());

    clip.startPlaying(false);
    EXPECT_EQ(c.cellStatus(23), 1) << "playing, but not the current clip";
    c.setCurrentClip(23);
    EXPECT_EQ(c.cellStatus(23), 2);
    clip.stopPlaying();
    EXPECT_EQ(c.cellStatus(23), 1);

    QTest::mouseClick(c.tableView()->viewport(), Qt::LeftButton, {},
                      c.tableView()->rectOfRow(2).center());
    EXPECT_TRUE(c.cellIsSelected(2));
    EXPECT_FALSE(c.cellIsSelected(23));
}

TEST_F(ControllerTest, CopiedRowsCarryTheirClipAndDropsChangeNothingYet) {
    PlaylistController& c = window();
    putClip(document(), 4, tone, {{settingsKey_FadeInDuration, 1.5}});

    QMimeData empty;
    c.copyClip(5, empty);
    EXPECT_TRUE(empty.formats().isEmpty());

    QMimeData copied;
    c.copyClip(4, copied);
    ASSERT_EQ(copied.urls().size(), 1);
    EXPECT_EQ(copied.urls().first().toLocalFile(), QFileInfo(tone).absoluteFilePath());
    const ClipPasteboard::Entry entry = ClipPasteboard::read(copied);
    EXPECT_EQ(entry.sourceIndex, 4);
    ASSERT_TRUE(entry.settings);
    EXPECT_EQ(*entry.settings, *document().clipAtIndex(4)->settings());

    document().updateChangeCount(Document::ChangeKind::Cleared);
    EXPECT_FALSE(c.takeClipFromPasteboard(copied, false, 7));
    EXPECT_FALSE(c.takeClipFromPasteboard(copied, true, 7));
    EXPECT_EQ(document().clipAtIndex(7), nullptr);
    EXPECT_NE(document().clipAtIndex(4), nullptr) << "a move leaves its source while rows hold";
    EXPECT_FALSE(document().isDocumentEdited());
    EXPECT_FALSE(c.setFile(tone, 8, nullptr));
    EXPECT_EQ(document().clipAtIndex(8), nullptr);
}

TEST_F(ControllerTest, ACartWallFiredWithShiftOrFadeOtherDocumentsFadesThePlaylistsClip) {
    DocumentController controllers;
    controllers.setSavePanel([](const QString&, const QString&) { return QString(); });
    controllers.registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                      PresetDocument::kExtension, "Preset", [] {
                                          return std::make_unique<PresetDocument>();
                                      }});
    controllers.registerDocumentType(PlaylistDocument::documentType());
    PresetDocument::setControllerFactory(
        [](PresetDocument* document) { return std::make_unique<PresetController>(document); });
    auto* wall = static_cast<PresetDocument*>(controllers.newDocument());
    auto* playlist =
        static_cast<PlaylistDocument*>(controllers.newDocument(PlaylistDocument::kTypeName));
    auto& wallController = *static_cast<PresetController*>(wall->controller());
    ASSERT_TRUE(wallController.setFile(tone, 0, nullptr));
    _document = playlist;
    SoundClip& clip = playCurrent(6, longTone);

    wallController.startPlayback(0, Qt::NoModifier);
    EXPECT_EQ(clip.fadingDirection(), 0) << "a plain fire leaves the playlist playing";

    wallController.startPlayback(0, Qt::ShiftModifier);
    EXPECT_EQ(clip.fadingDirection(), -1);
    EXPECT_DOUBLE_EQ(clip.fadingTargetVolume(), 0.0);
    for (int ticks = 0; clip.isPlaying() && ticks < 100; ++ticks) {
        tick(clip);
    }
    EXPECT_FALSE(clip.isPlaying()) << "the fade ends in silence and stops the clip";

    clip.startPlaying(false);
    wall->setFadeOtherDocuments(true);
    wallController.startPlayback(0, Qt::NoModifier);
    EXPECT_EQ(clip.fadingDirection(), -1);
    clip.stopPlaying();
    wall->clipAtIndex(0)->stopPlaying();
    PresetDocument::setControllerFactory(nullptr);
    alerts.answers = {"Don't Save", "Don't Save"};
    EXPECT_TRUE(controllers.closeAllDocuments());
}
