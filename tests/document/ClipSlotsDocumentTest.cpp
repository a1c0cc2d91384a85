// What every document of numbered clip slots shares, through a document kind of the
// tests' own that journals the calls the shared code makes of it: the slots, the file
// skeleton (keys, types, gaps, defaults, refusal), closing, and MIDI learning and
// triggering.

#include "document/ClipSlotsDocument.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "document/ClipSlotsController.h"
#include "foundation/PropertyList.h"
#include "media/AudioEngine.h"
#include "tests/clip/ClipTestSupport.h"
#include "tests/document/ClipSlotsTestSupport.h"
#include "tests/support/LogCapture.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QUrl>
#include <QWidget>

namespace {

Q_LOGGING_CATEGORY(lcSlotsTest, "zelvora.test.slots")

// Records "start <i>" into the journal and owns a plain window.
class JournalController : public ClipSlotsController {
public:
    explicit JournalController(QStringList* journal)
        : _journal(journal)
        , _window(std::make_unique<QWidget>()) {}

    void startPlayback(int index) override { *_journal << QStringLiteral("start %1").arg(index); }
    QWidget* window() const override { return _window.get(); }

private:
    QStringList* _journal;
    std::unique_ptr<QWidget> _window;
};

// Journals the calls the shared code makes of its subclass. Options read as C reads a
// number; a clip is found by its path only.
class JournalDocument : public ClipSlotsDocument {
public:
    static QVariantMap initialDefaults() { return {{settingsKey_FadeOutDuration, 1.5}}; }

    explicit JournalDocument(QStringList* journal)
        : ClipSlotsDocument(initialDefaults(), nullptr)
        , _journal(journal) {}
    ~JournalDocument() override { close(); }

    QString typeName() const override { return QStringLiteral("JournalDocument"); }
    void attachController() { _controller = std::make_unique<JournalController>(_journal); }

    void loadSettingsFromDict(const QVariantMap* dict) override {
        *_journal << (dict ? QStringLiteral("settings") : QStringLiteral("no settings"));
        if (dict) {
            loadVolumesAndOptionsFromDict(*dict, [](const QVariant& n) { return n.toBool(); });
        }
    }

protected:
    ClipSlotsController* slotsController() const override { return _controller.get(); }
    QString fileKindName() const override { return QStringLiteral("journal"); }
    std::unique_ptr<SoundClip> loadClip(const QVariantMap& root, int index) const override {
        QString path;
        std::unique_ptr<SoundClip> clip = makeClipForSlot(root, index, &path);
        if (clip && !clip->setFileURL(QUrl::fromLocalFile(path))) {
            return nullptr;
        }
        return clip;
    }
    void defaultClipSettingsMissingFromFile() override { *_journal << "no defaults"; }
    void showLoadedClips() override {
        *_journal << (isDocumentEdited() ? QStringLiteral("show edited") : QStringLiteral("show"));
    }
    QString learningPrompt(int index) const override {
        return QStringLiteral("slot %1").arg(index);
    }
    void placeAssignMIDINotePanel(AssignMIDINotePanel* panel) override {
        *_journal << QStringLiteral("place %1").arg(panel->text());
    }
    const QLoggingCategory& logCategory() const override { return lcSlotsTest(); }

private:
    QStringList* _journal;
    std::unique_ptr<JournalController> _controller;
};

const QVariantMap kPadsTrigger{{settingsKey_MIDINote, 36},
                               {settingsKey_MIDIChannel, 9},
                               {settingsKey_MIDISourceName, QStringLiteral("Pads")}};

} // namespace

class ClipSlotsDocumentTest : public ClipEngineTest {
protected:
    void SetUp() override {
        ClipEngineTest::SetUp();
        // Made before the source list is installed, so its own tick never runs.
        MIDIController::defaultMIDIController();
        MIDIController::setSourceList(&sources);
        sources.names = {QStringLiteral("Keys"), QStringLiteral("Pads"), std::nullopt};
        tone = constantWav(QStringLiteral("tone.wav"), 1.0, 0.25f, 0.25f);
    }
    void TearDown() override {
        MIDIController::setSourceList(nullptr);
        ClipEngineTest::TearDown();
    }

    // A loaded clip on `tone` with `settings`, put into slot `index`.
    SoundClip& put(ClipSlotsDocument& document, int index, const QVariantMap& settings = {}) {
        auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
        EXPECT_TRUE(clip->setFileURL(QUrl::fromLocalFile(tone)));
        SoundClip& placed = *clip;
        engine().waitUntilIdle();
        document.setClip(std::move(clip), index);
        return placed;
    }

    QStringList journal; // outlives the documents, which report to it as they close
    FakeMIDISources sources;
    QString tone;
};

// ---- Slots and file ----

TEST_F(ClipSlotsDocumentTest, SlotsOutside0To23DoNotExistAndAPausedClipCountsAsPlaying) {
    JournalDocument document(&journal);
    document.setClip(std::make_unique<SoundClip>(std::make_shared<QVariantMap>()), 24);
    document.setClip(std::make_unique<SoundClip>(std::make_shared<QVariantMap>()), -1);
    EXPECT_FALSE(document.isDocumentEdited());
    EXPECT_EQ(document.clipAtIndex(24), nullptr);
    EXPECT_EQ(document.clipAtIndex(-1), nullptr);
    EXPECT_FALSE(document.hasPlayingClips());

    SoundClip& clip = put(document, 23);
    EXPECT_TRUE(document.isDocumentEdited());
    EXPECT_EQ(document.clipAtIndex(23), &clip);
    clip.startPlaying(false);
    clip.pausePlaying(false);
    ASSERT_TRUE(clip.isPaused());
    EXPECT_TRUE(document.hasPlayingClips());
    clip.stopPlaying();
    EXPECT_FALSE(document.hasPlayingClips());
}

TEST_F(ClipSlotsDocumentTest, SavingWritesTheSettingsTheDefaultsAndOnlyOccupiedSlots) {
    JournalDocument document(&journal);
    document.setDocumentVolume(0.5);
    document.setUseScrollWheelForVolume(true);
    put(document, 3, {{settingsKey_Loop, true}});
    put(document, 17);
    // A clip that never had a file leaves no trace.
    document.setClip(std::make_unique<SoundClip>(std::make_shared<QVariantMap>()), 20);

    const QVariantMap root = saved(document);
    EXPECT_EQ(keysOf(root), (QSet<QString>{"Document Settings", "Default Clip Settings", "Path 3",
                                           "Settings 3", "Path 17", "Settings 17"}));
    EXPECT_EQ(root["Path 3"].toString(), QFileInfo(tone).absoluteFilePath());
    EXPECT_EQ(root["Settings 3"].toMap(), (QVariantMap{{settingsKey_Loop, true}}));
    EXPECT_EQ(root["Default Clip Settings"].toMap(), JournalDocument::initialDefaults());
    const QVariantMap settings = root["Document Settings"].toMap();
    EXPECT_EQ(settings, (QVariantMap{{"Ducking Volume", 0.4},
                                     {"Document Volume", 0.5},
                                     {"Fade Other Documents", 0},
                                     {"Use ScrollWheel", 1}}));
    EXPECT_EQ(settings["Ducking Volume"].typeId(), QMetaType::Double);
    EXPECT_EQ(settings["Use ScrollWheel"].typeId(), QMetaType::Int) << "options are integers";
}

TEST_F(ClipSlotsDocumentTest, LoadingReplacesEverySlotAndShowsTheCleanDocument) {
    JournalDocument document(&journal);
    SoundClip& old = put(document, 0);
    old.startPlaying(false);
    const QVariantMap fileDefaults{{settingsKey_FadeOutDuration, 7.0}};
    ASSERT_TRUE(load(document, {{"Document Settings", QVariantMap{{"Ducking Volume", 0.2},
                                                                  {"Document Volume", "loud"},
                                                                  {"Fade Other Documents", 3}}},
                                {"Default Clip Settings", fileDefaults},
                                {"Path 2", tone},
                                {"Path 5", tone},
                                {"Settings 5", QVariantMap{{settingsKey_Loop, true}}},
                                {"Path 6", 42},
                                {"Settings 7", QVariantMap{}},
                                {"Path 9", folder() + "/missing.wav"}}));
    EXPECT_EQ(journal, (QStringList{"settings", "show"}));
    EXPECT_FALSE(old.isPlaying()) << "the clip that was there stopped before it went";
    for (int slot = 0; slot < ClipSlotsDocument::kClipsCount; ++slot) {
        EXPECT_EQ(document.clipAtIndex(slot) != nullptr, slot == 2 || slot == 5) << slot;
    }
    EXPECT_EQ(*document.clipAtIndex(2)->settings(), fileDefaults)
        << "a slot without settings starts from the file's defaults";
    EXPECT_EQ(*document.clipAtIndex(5)->settings(), (QVariantMap{{settingsKey_Loop, true}}));
    EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.2);
    EXPECT_DOUBLE_EQ(document.documentVolume(), 1.0) << "a mistyped entry is absent";
    EXPECT_TRUE(document.fadeOtherDocuments()) << "read by the subclass's rule";
    EXPECT_FALSE(document.isDocumentEdited());

    journal.clear();
    ASSERT_TRUE(load(document, {{"Document Settings", QStringLiteral("not a dictionary")}}));
    EXPECT_EQ(journal, (QStringList{"no settings", "no defaults", "show"}));
    EXPECT_EQ(document.defaultClipSettings(), fileDefaults) << "kept unless the subclass acts";
    EXPECT_EQ(document.clipAtIndex(2), nullptr);
}

TEST_F(ClipSlotsDocumentTest, AForeignFileIsRefusedByItsKindAndChangesNothing) {
    JournalDocument document(&journal);
    SoundClip& clip = put(document, 4);
    document.setDuckingVolume(0.3);
    journal.clear();
    for (const QByteArray& bytes :
         {QByteArray("<?xml version=\"1.0\"?><plist><dict><key>Path 4"),
          PropertyList::toXml(QVariantList{1, 2}), QByteArray("\x00\x01garbage", 9)}) {
        QString error;
        EXPECT_FALSE(document.loadDataRepresentation(bytes, &error));
        EXPECT_TRUE(error.startsWith("The file is not a journal: ")) << error.toStdString();
        EXPECT_EQ(document.clipAtIndex(4), &clip);
        EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.3);
        EXPECT_TRUE(document.isDocumentEdited());
    }
    EXPECT_TRUE(journal.isEmpty());
}

TEST_F(ClipSlotsDocumentTest, ClosingStopsTheClipsAndLeavesTheMIDIControllerOnce) {
    MIDIController& midi = MIDIController::defaultMIDIController();
    const int clientsBefore = midi.clientsCount();
    JournalDocument document(&journal);
    EXPECT_EQ(midi.clientsCount(), clientsBefore + 1);
    SoundClip& clip = put(document, 0);
    clip.startPlaying(false);
    put(document, 1);
    document.assignMIDINoteToButton(1);
    ASSERT_TRUE(document.assignMIDINotePanel()->isVisible());

    document.close();
    EXPECT_FALSE(clip.isPlaying());
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
    EXPECT_EQ(midi.clientsCount(), clientsBefore);
    document.close();
    EXPECT_EQ(midi.clientsCount(), clientsBefore) << "a second close changes nothing";
}

// ---- MIDI ----

TEST_F(ClipSlotsDocumentTest, ASourceWithoutANameNeitherLearnsNorStarts) {
    JournalDocument document(&journal);
    document.attachController();
    put(document, 1,
        {{settingsKey_MIDINote, 60},
         {settingsKey_MIDIChannel, 2},
         {settingsKey_MIDISourceName, QStringLiteral("Keys")}});
    SoundClip& learner = put(document, 2);
    journal.clear();

    document.receiveMIDIEvent(MIDIEvent(60, 2, 2));
    EXPECT_TRUE(journal.isEmpty()) << "the nameless source starts nothing";
    document.receiveMIDIEvent(MIDIEvent(60, 0, 2));
    EXPECT_EQ(journal, QStringList{"start 1"});

    const QVariantMap before = *learner.settings();
    document.assignMIDINoteToButton(2);
    EXPECT_EQ(document.assigningButtonIndex(), 2);
    document.updateChangeCount(Document::ChangeKind::Cleared);
    document.receiveMIDIEvent(MIDIEvent(61, 2, 3));
    EXPECT_EQ(*learner.settings(), before);
    EXPECT_FALSE(document.isDocumentEdited());
    EXPECT_EQ(document.assigningButtonIndex(), -1) << "learning ends all the same";
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
}

TEST_F(ClipSlotsDocumentTest, ALearntTriggerStartsEveryMatchingSlotInOrder) {
    JournalDocument document(&journal);
    document.attachController();
    SoundClip& learner = put(document, 3);
    put(document, 9, kPadsTrigger);
    put(document, 12, {{settingsKey_MIDINote, 36}, {settingsKey_MIDIChannel, 9}});
    document.assignMIDINoteToButton(30); // no such slot: nothing to learn for
    EXPECT_EQ(document.assigningButtonIndex(), -1);
    journal.clear();
    document.updateChangeCount(Document::ChangeKind::Cleared);

    document.assignMIDINoteToButton(3);
    EXPECT_EQ(journal, QStringList{"place slot 3"}) << "the subclass words and places the panel";
    EXPECT_TRUE(document.assignMIDINotePanel()->isVisible());
    journal.clear();
    document.receiveMIDIEvent(MIDIEvent(36, 1, 9));
    EXPECT_TRUE(journal.isEmpty()) << "the learnt note plays nothing";
    for (auto it = kPadsTrigger.begin(); it != kPadsTrigger.end(); ++it) {
        EXPECT_EQ(learner.settings()->value(it.key()), it.value()) << it.key().toStdString();
    }
    EXPECT_TRUE(document.isDocumentEdited()) << "the trigger is saved with the document";

    document.receiveMIDIEvent(MIDIEvent(36, 1, 9));
    EXPECT_EQ(journal, (QStringList{"start 3", "start 9"})) << "slot 12 has no source name";
    journal.clear();
    document.receiveMIDIEvent(MIDIEvent(36, 0, 9)); // another source
    document.receiveMIDIEvent(MIDIEvent(36, 1, 8)); // another channel
    document.receiveMIDIEvent(MIDIEvent(37, 1, 9)); // another note
    EXPECT_TRUE(journal.isEmpty());
}

TEST_F(ClipSlotsDocumentTest, ClearingForgetsTheTriggerAndCancellingKeepsIt) {
    JournalDocument document(&journal);
    document.attachController();
    SoundClip& clip = put(document, 4, kPadsTrigger);
    put(document, 5, kPadsTrigger);
    document.updateChangeCount(Document::ChangeKind::Cleared);

    document.assignMIDINoteToButton(4);
    document.assignMIDINotePanel()->cancelled(); // Cancel, Escape or the close box
    EXPECT_EQ(document.assigningButtonIndex(), -1);
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());
    EXPECT_EQ(clip.settings()->value(settingsKey_MIDINote), QVariant(36));
    EXPECT_FALSE(document.isDocumentEdited()) << "cancelling is no edit";

    {
        // Logged in the subclass's category.
        LogCapture log("zelvora.test.slots");
        document.assignMIDINoteToButton(4);
        document.assignMIDINotePanel()->clearRequested();
        EXPECT_EQ(log.count("Clearing MIDI button 4"), 1) << log.text();
    }
    const QVariantMap cleared = *clip.settings();
    EXPECT_EQ(cleared[settingsKey_MIDINote], QVariant(0));
    EXPECT_EQ(cleared[settingsKey_MIDIChannel], QVariant(0));
    EXPECT_EQ(cleared[settingsKey_MIDISourceName], QVariant(QString()));
    EXPECT_TRUE(document.isDocumentEdited());
    EXPECT_EQ(document.assigningButtonIndex(), -1);
    EXPECT_FALSE(document.assignMIDINotePanel()->isVisible());

    journal.clear();
    document.receiveMIDIEvent(MIDIEvent(36, 1, 9));
    EXPECT_EQ(journal, QStringList{"start 5"}) << "a cleared slot never matches";
}
