// The preset document's rules: stopping other documents, the missing-clip check, the
// close warning, locked windows, MIDI learning and firing through the note ring (with how
// a button learns), and what a closing document lets go of. What counts as playing is the
// slot documents' shared rule, tested in tests/document.

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDINoteRing.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "document/DocumentController.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetDocument.h"
#include "tests/preset/PresetTestSupport.h"

#include <QFile>
#include <QLabel>
#include <QWidget>

namespace {
// A document of another kind that records the stop requests it gets.
class StoppableDocument : public Document {
public:
    QString typeName() const override { return QStringLiteral("StoppableDocument"); }
    QByteArray dataRepresentation(QString*) const override { return "x"; }
    bool loadDataRepresentation(const QByteArray&, QString*) override { return true; }
    QWidget* window() const override { return nullptr; }
    void stopDocument(Document* sender) override { stoppedBy << sender; }
    QList<Document*> stoppedBy;
};

void tickMIDI() {
    MIDIController::defaultMIDIController().MIDITimer();
}
} // namespace

class PresetRulesTest : public PresetTest {
protected:
    void SetUp() override {
        PresetTest::SetUp();
        sources.names = {QStringLiteral("Keys"), QStringLiteral("Pads"), std::nullopt};
    }
};

TEST_F(PresetRulesTest, StoppingOtherDocumentsLeavesOtherPresetsPlaying) {
    DocumentController controller;
    controller.registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                     PresetDocument::kExtension, "Preset", [] {
                                         return std::make_unique<PresetDocument>();
                                     }});
    controller.registerDocumentType(
        {"StoppableDocument", "application/x-test", "ztest", "Test", [] {
             return std::make_unique<StoppableDocument>();
         }});
    auto* firing = static_cast<PresetDocument*>(controller.newDocument());
    auto* other = static_cast<PresetDocument*>(controller.newDocument());
    auto* stoppable = static_cast<StoppableDocument*>(controller.newDocument("StoppableDocument"));
    SoundClip& playing = putClip(*other, 0, tone);
    playing.startPlaying(false);

    firing->stopOtherDocuments();
    EXPECT_TRUE(playing.isPlaying());
    EXPECT_EQ(stoppable->stoppedBy, QList<Document*>{firing});
    playing.stopPlaying();
}

TEST_F(PresetRulesTest, TheMissingClipCheckSaysWhatItFound) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    putClip(document, 0, tone);
    document.checkForMissingClips();
    ASSERT_EQ(alerts.shown.size(), 1);
    EXPECT_EQ(alerts.shown[0].title, QStringLiteral("Everything is OK!"));
    EXPECT_EQ(alerts.shown[0].message,
              QStringLiteral("No missing or invalid clips were found in this document."));
    EXPECT_EQ(alerts.shown[0].style, Alert::Style::Informational);
    EXPECT_TRUE(journal.contains("updatePreset"));

    const QString second = constantWav(QStringLiteral("second.wav"), 1.0, 0.1f, 0.1f);
    putClip(document, 8, second);
    ASSERT_TRUE(QFile::remove(second));
    document.checkForMissingClips();
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_EQ(alerts.shown[1].title, QStringLiteral("Invalid/missing Clips Found!"));
    EXPECT_EQ(alerts.shown[1].message,
              QStringLiteral("Some clips are missing or invalid in this document."));
    EXPECT_EQ(alerts.shown[1].style, Alert::Style::Critical);
    EXPECT_EQ(alerts.shown[1].buttons, QStringList{"OK"});
    EXPECT_TRUE(document.clipAtIndex(8)->isOffline());
}

TEST_F(PresetRulesTest, ClosingWhilePausedAsksAndStopsOnlyOnStopPlayback) {
    PresetDocument document;
    EXPECT_TRUE(document.windowShouldClose());
    EXPECT_TRUE(alerts.shown.isEmpty()) << "nothing plays: no question";

    SoundClip& clip = putClip(document, 1, tone);
    clip.startPlaying(false);
    clip.pausePlaying(false);
    alerts.answers = {"No"};
    EXPECT_FALSE(document.windowShouldClose());
    ASSERT_EQ(alerts.shown.size(), 1);
    const Alert& warning = alerts.shown[0];
    EXPECT_EQ(warning.title, QStringLiteral("Warning!"));
    EXPECT_EQ(warning.message, QStringLiteral("If you close this window, playback will stop!\n"
                                              "Are you sure you want to do this?"));
    EXPECT_EQ(warning.buttons, (QStringList{"No", "Stop Playback"})) << "\"No\" is the default";
    EXPECT_EQ(warning.style, Alert::Style::Critical);

    alerts.answers = {"Stop Playback"};
    EXPECT_TRUE(document.windowShouldClose());
}

TEST_F(PresetRulesTest, ALockedWindowGoesBackToTheTopLeft) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    QWidget* window = document.window();
    window->move(300, 200);
    document.windowDidMove();
    EXPECT_EQ(window->pos(), QPoint(300, 200)) << "unlocked windows stay where they are put";

    defaults().setObject(true, QStringLiteral("Lock Window Positions"));
    window->move(300, 200);
    document.windowDidMove();
    EXPECT_EQ(window->pos(), QPoint(0, 0));
}

TEST_F(PresetRulesTest, SettersMarkTheDocumentEditedAndTitleTheWindow) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    EXPECT_FALSE(document.isDocumentEdited());
    EXPECT_TRUE(document.window()->windowTitle().endsWith(QStringLiteral("[*]")));
    EXPECT_FALSE(document.window()->isWindowModified());
    document.setCueMode(false);
    EXPECT_TRUE(document.isDocumentEdited());
    EXPECT_TRUE(document.window()->isWindowModified());
    document.updateChangeCount(Document::ChangeKind::Cleared);
    EXPECT_FALSE(document.window()->isWindowModified());

    // Buttons outside 0..23 do not exist.
    document.setClip(std::make_unique<SoundClip>(std::make_shared<QVariantMap>()), 24);
    document.setClip(std::make_unique<SoundClip>(std::make_shared<QVariantMap>()), -1);
    EXPECT_FALSE(document.isDocumentEdited());
    EXPECT_EQ(document.clipAtIndex(24), nullptr);
    EXPECT_EQ(document.clipAtIndex(-1), nullptr);
}

// ---- MIDI ----

TEST_F(PresetRulesTest, ALearntNoteFiresEveryButtonThatWantsIt) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    putClip(document, 2, tone);
    putClip(document, 7, tone);
    putClip(document, 9, tone);
    journal.clear();

    for (int button : {7, 2}) {
        document.assignMIDINoteToButton(button);
        ASSERT_TRUE(document.assignMIDINotePanel());
        EXPECT_TRUE(document.assignMIDINotePanel()->isVisible());
        WriteMIDINote(3, 64, 1); // channel 3, note 64 from "Pads"
        tickMIDI();
        EXPECT_EQ(document.assigningButtonIndex(), -1);
        EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
    }
    EXPECT_TRUE(journal.isEmpty()) << "a learnt note plays nothing";
    const QVariantMap learnt = *document.clipAtIndex(2)->settings();
    EXPECT_EQ(learnt[settingsKey_MIDINote], QVariant(64));
    EXPECT_EQ(learnt[settingsKey_MIDIChannel], QVariant(3));
    EXPECT_EQ(learnt[settingsKey_MIDISourceName], QVariant(QStringLiteral("Pads")));

    WriteMIDINote(3, 64, 1);
    tickMIDI();
    EXPECT_EQ(journal, (QStringList{"start 2", "start 7"})) << "in index order";

    // Another channel, note or source fires nothing; neither does "Keys" with the same
    // channel and note.
    journal.clear();
    WriteMIDINote(4, 64, 1);
    WriteMIDINote(3, 65, 1);
    WriteMIDINote(3, 64, 0);
    for (int i = 0; i < 3; ++i) {
        tickMIDI();
    }
    EXPECT_TRUE(journal.isEmpty());
}

TEST_F(PresetRulesTest, ASourceWithoutANameNeitherLearnsNorFires) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    putClip(document, 0, tone,
            {{settingsKey_MIDINote, 10},
             {settingsKey_MIDIChannel, 0},
             {settingsKey_MIDISourceName, QString()}});
    putClip(document, 1, tone);
    journal.clear();

    document.assignMIDINoteToButton(1);
    WriteMIDINote(0, 10, 2); // source 2 has no readable name
    tickMIDI();
    EXPECT_EQ(document.assigningButtonIndex(), -1) << "learning ends anyway";
    EXPECT_FALSE(document.clipAtIndex(1)->settings()->contains(settingsKey_MIDISourceName));

    WriteMIDINote(0, 10, 2);
    tickMIDI();
    EXPECT_TRUE(journal.isEmpty()) << "an empty stored name never matches a nameless source";
}

TEST_F(PresetRulesTest, NotesOfOneTickArriveOnSuccessiveTicks) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    for (int button = 0; button < 3; ++button) {
        putClip(document, button, tone,
                {{settingsKey_MIDINote, 60 + button},
                 {settingsKey_MIDIChannel, 0},
                 {settingsKey_MIDISourceName, QStringLiteral("Keys")}});
    }
    journal.clear();
    WriteMIDINote(0, 62, 0);
    WriteMIDINote(0, 60, 0);
    WriteMIDINote(0, 61, 0);
    tickMIDI();
    EXPECT_EQ(journal, QStringList{"start 2"});
    tickMIDI();
    tickMIDI();
    EXPECT_EQ(journal, (QStringList{"start 2", "start 0", "start 1"}));
}

TEST_F(PresetRulesTest, ALappingBurstLosesTheNotesItOverwrote) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    putClip(document, 5, tone,
            {{settingsKey_MIDINote, 99},
             {settingsKey_MIDIChannel, 1},
             {settingsKey_MIDISourceName, QStringLiteral("Keys")}});
    journal.clear();
    // 257 notes between two ticks: only the last is still there, the rest of the lap
    // reads as empty.
    WriteMIDINote(1, 99, 0);
    for (int i = 0; i < MIDINoteRing::kSize - 1; ++i) {
        WriteMIDINote(1, 12, 0);
    }
    WriteMIDINote(1, 99, 0);
    for (int i = 0; i < 5; ++i) {
        tickMIDI();
    }
    EXPECT_EQ(journal, QStringList{"start 5"});
}

TEST_F(PresetRulesTest, AButtonWithoutASettingsRecordLearnsIntoANewOne) {
    QStringList journal; // outlives the document, which reports to it as it closes
    PresetDocument document;
    attachController(document, &journal);
    SoundClip& bare = putClip(document, 6, tone);
    bare.setSettings(nullptr);
    document.assignMIDINoteToButton(6);
    const auto* text = document.assignMIDINotePanel()->findChild<QLabel*>();
    ASSERT_TRUE(text);
    EXPECT_EQ(text->text(),
              QStringLiteral("Play a note on your MIDI device to assign it to button G."));
    EXPECT_EQ(document.assignMIDINotePanel()->windowModality(), Qt::ApplicationModal);

    WriteMIDINote(3, 64, 1); // channel 3, note 64 from "Pads"
    tickMIDI();
    ASSERT_NE(bare.settings(), nullptr);
    EXPECT_EQ(*bare.settings(),
              (QVariantMap{{settingsKey_MIDINote, 64},
                           {settingsKey_MIDIChannel, 3},
                           {settingsKey_MIDISourceName, QStringLiteral("Pads")}}));
    journal.clear();
    WriteMIDINote(3, 64, 1);
    tickMIDI();
    EXPECT_EQ(journal, QStringList{"start 6"});
}

TEST_F(PresetRulesTest, ClearingAndCancellingEndLearning) {
    PresetDocument document;
    putClip(document, 4, tone,
            {{settingsKey_MIDINote, 40},
             {settingsKey_MIDIChannel, 2},
             {settingsKey_MIDISourceName, QStringLiteral("Keys")}});
    document.assignMIDINoteToButton(4);
    const auto* text = document.assignMIDINotePanel()->findChild<QLabel*>();
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->text().contains(QStringLiteral("button E")));
    document.cancelAssignMIDINote();
    EXPECT_EQ(document.assigningButtonIndex(), -1);
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
    EXPECT_EQ(document.clipAtIndex(4)->settings()->value(settingsKey_MIDINote), QVariant(40));

    static QStringList logged;
    logged.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& message) { logged << message; });
    document.assignMIDINoteToButton(4);
    document.clearMIDINote();
    qInstallMessageHandler(previous);
    EXPECT_TRUE(logged.contains(QStringLiteral("Clearing MIDI button 4")))
        << logged.join('|').toStdString();
    const QVariantMap cleared = *document.clipAtIndex(4)->settings();
    EXPECT_EQ(cleared[settingsKey_MIDINote], QVariant(0));
    EXPECT_EQ(cleared[settingsKey_MIDIChannel], QVariant(0));
    EXPECT_EQ(cleared[settingsKey_MIDISourceName], QVariant(QString()));
    EXPECT_EQ(document.assigningButtonIndex(), -1);
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
}

TEST_F(PresetRulesTest, AClosingDocumentStopsItsClipsAndLetsGo) {
    QStringList journal;
    MIDIController& midi = MIDIController::defaultMIDIController();
    const int clientsBefore = midi.clientsCount();
    SoundClip* clip = nullptr;
    {
        PresetDocument document;
        EXPECT_EQ(midi.clientsCount(), clientsBefore + 1);
        attachController(document, &journal);
        clip = &putClip(document, 0, tone);
        clip->startPlaying(false);
        document.close();
        EXPECT_FALSE(clip->isPlaying());
        EXPECT_EQ(midi.clientsCount(), clientsBefore);
        EXPECT_EQ(journal.count("stopBlinking"), 1);
    }
    EXPECT_EQ(journal.count("stopBlinking"), 1) << "once, however it goes";
}
