// The playlist document: its file (keys, types, partial, malformed and foreign files),
// its settings, the stop rule, and how a row learns its MIDI note.

#include "playlist/PlaylistDocument.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/PropertyList.h"
#include "preset/PresetDocument.h"
#include "tests/document/ClipSlotsTestSupport.h"
#include "tests/playlist/PlaylistTestSupport.h"

#include <QFileInfo>

namespace {

QMetaType::Type typeOf(const QVariant& value) {
    return static_cast<QMetaType::Type>(value.typeId());
}

} // namespace

using PlaylistFileTest = PlaylistTest;

TEST_F(PlaylistFileTest, SlotFiveAloneLoadsAndSavesBackOnlyItsTwoKeys) {
    const QVariantMap settings5{{settingsKey_FadeOutDuration, 3.5},
                                {settingsKey_FadeOutMode, 1},
                                {settingsKey_Loop, true},
                                {settingsKey_MIDISourceName, QStringLiteral("Keys")}};
    PlaylistDocument document;
    ASSERT_TRUE(load(document, {{"Path 5", tone}, {"Settings 5", settings5}}));
    for (int slot = 0; slot < PlaylistDocument::kClipsCount; ++slot) {
        EXPECT_EQ(document.clipAtIndex(slot) != nullptr, slot == 5) << "slot " << slot;
    }
    EXPECT_EQ(*document.clipAtIndex(5)->settings(), settings5);
    EXPECT_FALSE(document.isDocumentEdited()) << "a freshly read playlist is clean";

    const QVariantMap root = saved(document);
    EXPECT_EQ(keysOf(root), (QSet<QString>{"Document Settings", "Default Clip Settings", "Path 5",
                                           "Settings 5"}));
    EXPECT_EQ(root["Path 5"].toString(), QFileInfo(tone).absoluteFilePath());
    const QVariantMap back = root["Settings 5"].toMap();
    EXPECT_EQ(back, settings5);
    EXPECT_EQ(typeOf(back[settingsKey_FadeOutMode]), QMetaType::Int) << "integers stay integers";
    EXPECT_EQ(typeOf(back[settingsKey_Loop]), QMetaType::Bool);
    EXPECT_EQ(typeOf(back[settingsKey_FadeOutDuration]), QMetaType::Double);
}

TEST_F(PlaylistFileTest, AFileWithoutSettingsOpensWithTheInitialValues) {
    PlaylistDocument document;
    ASSERT_TRUE(load(document, {{"Path 0", tone}}));
    EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.4);
    EXPECT_DOUBLE_EQ(document.documentVolume(), 1.0);
    EXPECT_FALSE(document.fadeOtherDocuments());
    EXPECT_FALSE(document.useScrollWheelForVolume());
    // Without "Default Clip Settings" the playlist keeps its own, and the slot without
    // "Settings 0" starts from them.
    EXPECT_EQ(document.defaultClipSettings(), PlaylistDocument::initialClipSettings());
    EXPECT_EQ(*document.clipAtIndex(0)->settings(), PlaylistDocument::initialClipSettings());

    const QVariantMap settings = saved(document)["Document Settings"].toMap();
    EXPECT_EQ(keysOf(settings), (QSet<QString>{"Ducking Volume", "Document Volume",
                                               "Fade Other Documents", "Use ScrollWheel"}));
    EXPECT_EQ(typeOf(settings["Ducking Volume"]), QMetaType::Double);
    EXPECT_EQ(typeOf(settings["Fade Other Documents"]), QMetaType::Int);
    EXPECT_EQ(settings["Use ScrollWheel"], QVariant(0));
}

TEST_F(PlaylistFileTest, TheInitialClipSettingsAreThePlaylistsOwn) {
    const QVariantMap initial = PlaylistDocument::initialClipSettings();
    EXPECT_EQ(keysOf(initial),
              (QSet<QString>{
                  settingsKey_UseDefaultSettings, settingsKey_FadeOutMode, settingsKey_InPoint,
                  settingsKey_OutPoint, settingsKey_FadeInDuration, settingsKey_FadeOutDuration,
                  settingsKey_NormalVolume, settingsKey_DuckingVolume, settingsKey_AutoChainLevel,
                  settingsKey_AutoChainDuration, settingsKey_MIDINote, settingsKey_MIDIChannel}));
    EXPECT_EQ(typeOf(initial[settingsKey_UseDefaultSettings]), QMetaType::Int);
    EXPECT_DOUBLE_EQ(initial[settingsKey_DuckingVolume].toDouble(), 0.6)
        << "the clips' ducking level, not the document's 0.4";
    EXPECT_DOUBLE_EQ(initial[settingsKey_FadeOutDuration].toDouble(), 2.0);
}

TEST_F(PlaylistFileTest, OptionsAreOnOnlyForWholeNumbersAboveZero) {
    struct Case {
        QVariant stored;
        bool on;
    };
    const QList<Case> cases{{0, false},    {-1, false},  {-7, false}, {1, true},
                            {2, true},     {0.5, false}, {1.5, true}, {QVariant(true), true},
                            {false, false}};
    for (const Case& c : cases) {
        PlaylistDocument document;
        ASSERT_TRUE(
            load(document, {{"Document Settings", QVariantMap{{"Fade Other Documents", c.stored},
                                                              {"Use ScrollWheel", c.stored}}}}));
        EXPECT_EQ(document.fadeOtherDocuments(), c.on) << c.stored.toString().toStdString();
        EXPECT_EQ(document.useScrollWheelForVolume(), c.on) << c.stored.toString().toStdString();
    }
}

TEST_F(PlaylistFileTest, MistypedSettingsAreAbsentAndStoredVolumesAreKeptAsGiven) {
    PlaylistDocument document;
    ASSERT_TRUE(load(document, {{"Document Settings",
                                 QVariantMap{{"Ducking Volume", QStringLiteral("loud")},
                                             {"Document Volume", 1.7},
                                             {"Fade Other Documents", QStringLiteral("1")}}},
                                {"Default Clip Settings", QStringLiteral("not a dictionary")}}));
    EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.4);
    EXPECT_DOUBLE_EQ(document.documentVolume(), 1.7) << "no range check on load";
    EXPECT_FALSE(document.fadeOtherDocuments());
    EXPECT_EQ(document.defaultClipSettings(), PlaylistDocument::initialClipSettings());
}

TEST_F(PlaylistFileTest, UnloadableFilesLeaveTheirSlotsEmptyAndDefaultsComeFromTheFile) {
    const QVariantMap fileDefaults{{settingsKey_FadeOutDuration, 7.0}, {settingsKey_Loop, true}};
    PlaylistDocument document;
    ASSERT_TRUE(load(document, {{"Default Clip Settings", fileDefaults},
                                {"Path 1", folder() + "/missing.wav"},
                                {"Settings 1", QVariantMap{{settingsKey_Loop, false}}},
                                {"Path 2", tone},
                                {"Path 3", 42},
                                {"Settings 4", QVariantMap{}},
                                {"Path 30", tone}}));
    EXPECT_EQ(document.clipAtIndex(1), nullptr) << "a missing file is dropped, not offline";
    ASSERT_NE(document.clipAtIndex(2), nullptr);
    EXPECT_EQ(*document.clipAtIndex(2)->settings(), fileDefaults);
    EXPECT_EQ(document.clipAtIndex(3), nullptr) << "a path that is not a string";
    EXPECT_EQ(document.clipAtIndex(4), nullptr) << "settings without a path";
    EXPECT_EQ(keysOf(saved(document)), (QSet<QString>{"Document Settings", "Default Clip Settings",
                                                      "Path 2", "Settings 2"}));
}

TEST_F(PlaylistFileTest, AMalformedFileIsRefusedAndChangesNothing) {
    PlaylistDocument document;
    ASSERT_TRUE(load(document, {{"Path 4", tone},
                                {"Document Settings", QVariantMap{{"Document Volume", 0.5}}}}));
    SoundClip* clip = document.clipAtIndex(4);
    document.setDuckingVolume(0.2);

    for (const QByteArray& bytes :
         {QByteArray("<?xml version=\"1.0\"?><plist><dict><key>Path 4"),
          PropertyList::toXml(QVariantList{1, 2}), QByteArray("\x00\x01garbage", 9)}) {
        QString error;
        EXPECT_FALSE(document.loadDataRepresentation(bytes, &error));
        EXPECT_TRUE(error.startsWith("The file is not a playlist")) << error.toStdString();
        EXPECT_EQ(document.clipAtIndex(4), clip);
        EXPECT_DOUBLE_EQ(document.documentVolume(), 0.5);
        EXPECT_DOUBLE_EQ(document.duckingVolume(), 0.2);
        EXPECT_TRUE(document.isDocumentEdited());
    }
}

TEST_F(PlaylistFileTest, SettersMarkEditedAndStoreWithoutARangeCheck) {
    PlaylistDocument document;
    EXPECT_FALSE(document.isDocumentEdited());
    document.setDocumentVolume(3.0);
    EXPECT_TRUE(document.isDocumentEdited());
    EXPECT_DOUBLE_EQ(document.documentVolume(), 3.0);
    document.setDuckingVolume(-0.5);
    EXPECT_DOUBLE_EQ(document.duckingVolume(), -0.5);
    EXPECT_EQ(document.defaultClipSettings(), PlaylistDocument::initialClipSettings())
        << "unlike a cart wall, the playlist's levels stay out of its clip defaults";
    document.setClip(nullptr, 24); // ignored
    EXPECT_EQ(document.clipAtIndex(24), nullptr);
    EXPECT_EQ(document.clipAtIndex(-1), nullptr);
}

TEST_F(PlaylistFileTest, TheDocumentControllerOpensSavesAndReopensPlaylists) {
    DocumentController controller;
    controller.registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                     PresetDocument::kExtension, "Preset", [] {
                                         return std::make_unique<PresetDocument>();
                                     }});
    controller.registerDocumentType(PlaylistDocument::documentType());
    EXPECT_TRUE(controller.fileDialogFilter().contains("Playlist (*.zplaylist)"));

    auto* playlist = static_cast<PlaylistDocument*>(controller.newDocument("PlaylistDocument"));
    ASSERT_NE(playlist, nullptr);
    ASSERT_NE(playlist->window(), nullptr) << "a new playlist has its window";
    EXPECT_FALSE(playlist->isDocumentEdited());
    playlist->setFadeOtherDocuments(true);
    playlist->setDocumentVolume(0.25);
    const QString path = folder() + "/list.zplaylist";
    ASSERT_TRUE(controller.saveDocumentTo(playlist, path));
    EXPECT_FALSE(playlist->isDocumentEdited());
    ASSERT_TRUE(controller.closeDocument(playlist));

    QString error;
    auto* reopened = dynamic_cast<PlaylistDocument*>(controller.openDocument(path, false, &error));
    ASSERT_NE(reopened, nullptr) << error.toStdString();
    EXPECT_TRUE(reopened->fadeOtherDocuments());
    EXPECT_DOUBLE_EQ(reopened->documentVolume(), 0.25);
    EXPECT_FALSE(reopened->isDocumentEdited()) << "showing the window leaves it clean";
    controller.closeAllDocuments();
}

// ---- Stopping ----

TEST_F(PlaylistFileTest, OtherDocumentsAskingToStopFadeTheCurrentClip) {
    QStringList firstJournal; // outlive the documents, which report to them as they close
    QStringList secondJournal;
    DocumentController controller;
    controller.registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                     PresetDocument::kExtension, "Preset", [] {
                                         return std::make_unique<PresetDocument>();
                                     }});
    controller.registerDocumentType(PlaylistDocument::documentType());
    auto* preset = static_cast<PresetDocument*>(controller.newDocument());
    auto* first = static_cast<PlaylistDocument*>(controller.newDocument("PlaylistDocument"));
    auto* second = static_cast<PlaylistDocument*>(controller.newDocument("PlaylistDocument"));
    attachFake(*first, &firstJournal);
    attachFake(*second, &secondJournal);
    firstJournal.clear();
    secondJournal.clear();

    preset->stopOtherDocuments();
    EXPECT_EQ(firstJournal, QStringList{"fade"});
    EXPECT_EQ(secondJournal, QStringList{"fade"});
    first->stopOtherDocuments();
    EXPECT_EQ(firstJournal, QStringList{"fade"}) << "a playlist does not stop itself";
    EXPECT_EQ(secondJournal, (QStringList{"fade", "fade"}));
    controller.closeAllDocuments();
    EXPECT_EQ(firstJournal.last(), "stop") << "closing stops the current clip";
}

// ---- MIDI ----

using PlaylistMIDITest = PlaylistTest;

// Learning and triggering themselves are the slot documents' shared rules (tests/document);
// here is how a playlist row learns.
TEST_F(PlaylistMIDITest, TheLearningSheetNamesTheRowAndAClipWithoutSettingsLearnsNothing) {
    sources.names = {QStringLiteral("Keys")};
    QStringList journal; // outlives the document, which reports to it as it closes
    PlaylistDocument document;
    attachFake(document, &journal);
    SoundClip& bare = putClip(document, 3, tone);
    bare.setSettings(nullptr);
    document.updateChangeCount(Document::ChangeKind::Cleared);

    document.assignMIDINoteToButton(3);
    const AssignMIDINotePanel* panel = document.assignMIDINotePanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->text(),
              QStringLiteral("Play a note on your MIDI device to assign it to row 4."))
        << "rows count from 1";
    EXPECT_EQ(panel->parentWidget(), document.window()) << "a sheet over the playlist window";
    EXPECT_EQ(panel->windowModality(), Qt::WindowModal);

    document.receiveMIDIEvent(MIDIEvent(50, 0, 1));
    EXPECT_EQ(bare.settings(), nullptr) << "unlike a cart wall button, no record is made";
    EXPECT_FALSE(document.isDocumentEdited());
    EXPECT_EQ(document.assigningButtonIndex(), -1) << "learning ends all the same";
}
