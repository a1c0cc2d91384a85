// The document controller with preset documents: opening (once per file, malformed files
// refused), saving atomically, reverting, closing with its questions, the recent-files
// list and the order of the documents.

#include "document/DocumentController.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetDocument.h"
#include "tests/foundation/DiskFullScope.h"
#include "tests/preset/PresetTestSupport.h"

#include <QFile>
#include <QFileInfo>
#include <QWidget>

class DocumentControllerTest : public PresetTest {
protected:
    void SetUp() override {
        PresetTest::SetUp();
        controller = std::make_unique<DocumentController>();
        controller->registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                          PresetDocument::kExtension, QStringLiteral("Preset"), [] {
                                              return std::make_unique<PresetDocument>();
                                          }});
        controller->setSavePanel([this](const QString& filter, const QString& suggested) {
            savePanelFilters << filter;
            savePanelSuggestions << suggested;
            return savePanelAnswer;
        });
        PresetDocument::setControllerFactory(
            [this](PresetDocument*) { return std::make_unique<FakePresetController>(&journal); });
    }
    void TearDown() override {
        controller.reset();
        PresetDocument::setControllerFactory(nullptr);
        PresetTest::TearDown();
    }

    // A saved preset with a clip on button 0, its path.
    QString savedPreset(const QString& name) {
        PresetDocument document;
        putClip(document, 0, tone);
        const QString path = folder() + QLatin1Char('/') + name;
        EXPECT_TRUE(controller->saveDocumentTo(&document, path));
        return path;
    }
    PresetDocument* preset(Document* document) { return static_cast<PresetDocument*>(document); }

    std::unique_ptr<DocumentController> controller;
    QStringList journal;
    QStringList savePanelFilters;
    QStringList savePanelSuggestions;
    QString savePanelAnswer;
};

TEST_F(DocumentControllerTest, NewDocumentsAreUntitledAndKeptInOrder) {
    Document* first = controller->newDocument();
    Document* second = controller->newDocument();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(controller->documents(), (QList<Document*>{first, second}));
    EXPECT_EQ(first->displayName(), QStringLiteral("Untitled"));
    EXPECT_EQ(second->displayName(), QStringLiteral("Untitled 2"));
    EXPECT_EQ(first->window()->windowTitle(), QStringLiteral("Untitled[*]"));
    EXPECT_TRUE(first->window()->isVisible());
    EXPECT_FALSE(first->isDocumentEdited());
    // Without a stored frame the second window cascades from the first.
    EXPECT_NE(second->window()->pos(), first->window()->pos());
    EXPECT_EQ(controller->newDocument(QStringLiteral("NoSuchType")), nullptr);
}

TEST_F(DocumentControllerTest, OpeningAFileTwiceGivesTheOpenDocument) {
    const QString path = savedPreset(QStringLiteral("morning.zpreset"));
    Document* opened = controller->openDocument(path);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(preset(opened)->clipAtIndex(0));
    EXPECT_EQ(opened->window()->windowTitle(), QStringLiteral("morning.zpreset[*]"));
    const QString otherSpelling = folder() + QStringLiteral("/./morning.zpreset");
    EXPECT_EQ(controller->openDocument(otherSpelling), opened);
    EXPECT_EQ(controller->documents().size(), 1);
    EXPECT_TRUE(alerts.shown.isEmpty());
}

TEST_F(DocumentControllerTest, AMalformedFileIsRefusedWithAMessageAndOpensNothing) {
    const QString bad = folder() + QStringLiteral("/broken.zpreset");
    QFile file(bad);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Path 0</key>");
    file.close();
    QString error;
    EXPECT_EQ(controller->openDocument(bad, true, &error), nullptr);
    EXPECT_TRUE(controller->documents().isEmpty());
    ASSERT_EQ(alerts.shown.size(), 1);
    EXPECT_TRUE(alerts.shown[0].title.contains(QStringLiteral("broken.zpreset")));
    EXPECT_FALSE(alerts.shown[0].message.isEmpty());
    EXPECT_EQ(alerts.shown[0].message, error);
    EXPECT_TRUE(controller->recentDocuments().isEmpty());

    // Neither a missing file nor one of an unknown type opens.
    EXPECT_EQ(controller->openDocument(folder() + QStringLiteral("/gone.zpreset")), nullptr);
    EXPECT_EQ(controller->openDocument(tone), nullptr);
    EXPECT_EQ(alerts.shown.size(), 3);
    EXPECT_TRUE(controller->documents().isEmpty());
}

TEST_F(DocumentControllerTest, OpenTakesSeveralFilesFromThePanel) {
    const QString a = savedPreset(QStringLiteral("a.zpreset"));
    const QString b = savedPreset(QStringLiteral("b.zpreset"));
    QString filterSeen;
    controller->setOpenPanel([&](const QString& filter) {
        filterSeen = filter;
        return QStringList{a, b};
    });
    EXPECT_EQ(controller->openDocuments(), 2);
    EXPECT_EQ(filterSeen, QStringLiteral("Preset (*.zpreset)"));
    ASSERT_EQ(controller->documents().size(), 2);
    EXPECT_EQ(controller->documents()[0]->filePath(), a);
    EXPECT_EQ(controller->recentDocuments(), (QStringList{b, a}));
}

TEST_F(DocumentControllerTest, SaveAsAddsTheExtensionAndClearsTheMarker) {
    auto* document = preset(controller->newDocument());
    document->setCueMode(true);
    ASSERT_TRUE(document->window()->isWindowModified());
    savePanelAnswer = folder() + QStringLiteral("/evening");
    ASSERT_TRUE(controller->saveDocument(document)) << "untitled: asks where";
    EXPECT_EQ(savePanelSuggestions, QStringList{"Untitled.zpreset"});
    EXPECT_EQ(document->filePath(), folder() + QStringLiteral("/evening.zpreset"));
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_FALSE(document->window()->isWindowModified());
    EXPECT_EQ(document->window()->windowTitle(), QStringLiteral("evening.zpreset[*]"));
    EXPECT_TRUE(readPlist(document->filePath())["Document Settings"].toMap()["Cue Mode"].toBool());

    // A cancelled panel saves nothing and keeps the document where it was.
    savePanelAnswer.clear();
    document->setCueMode(false);
    EXPECT_FALSE(controller->saveDocumentAs(document));
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_EQ(document->filePath(), folder() + QStringLiteral("/evening.zpreset"));
}

TEST_F(DocumentControllerTest, AFailedSaveLeavesTheOldFileAndSaysWhy) {
    const QString path = savedPreset(QStringLiteral("keep.zpreset"));
    const QByteArray before = fileBytes(path);
    auto* document = preset(controller->openDocument(path));
    ASSERT_TRUE(document);
    document->setDocumentVolume(0.5);
    {
        DiskFullScope full;
        ASSERT_TRUE(full.isActive());
        EXPECT_FALSE(controller->saveDocument(document));
    }
    EXPECT_EQ(fileBytes(path), before);
    EXPECT_TRUE(document->isDocumentEdited());
    ASSERT_EQ(alerts.shown.size(), 1);
    EXPECT_EQ(alerts.shown[0].title,
              QStringLiteral("The document \u201Ckeep.zpreset\u201D could not be saved."));
    EXPECT_FALSE(alerts.shown[0].message.isEmpty());
    QDir dir(folder());
    EXPECT_EQ(dir.entryList({QStringLiteral("keep*")}, QDir::Files | QDir::Hidden),
              QStringList{"keep.zpreset"})
        << "no temporary file left behind";

    // A document that cannot be written at all (a settings value no property list holds)
    // does not touch the file either.
    document->clipAtIndex(0)->settings()->insert(QStringLiteral("Colour"), QColor(Qt::red));
    EXPECT_FALSE(controller->saveDocument(document));
    EXPECT_EQ(fileBytes(path), before);
    EXPECT_EQ(alerts.shown.size(), 2);
}

TEST_F(DocumentControllerTest, ClosingAnEditedDocumentAsksToSave) {
    const QString path = savedPreset(QStringLiteral("show.zpreset"));
    auto* document = preset(controller->openDocument(path));
    document->setOutputIndex(6);

    alerts.answers = {"Cancel"};
    EXPECT_FALSE(controller->closeDocument(document));
    ASSERT_EQ(alerts.shown.size(), 1);
    EXPECT_EQ(alerts.shown[0].title,
              QStringLiteral("Do you want to save the changes you made in the document "
                             "\u201Cshow.zpreset\u201D?"));
    EXPECT_EQ(alerts.shown[0].buttons, (QStringList{"Save", "Cancel", "Don't Save"}));
    EXPECT_EQ(controller->documents().size(), 1);

    alerts.answers = {"Save"};
    EXPECT_TRUE(controller->closeDocument(document));
    EXPECT_TRUE(controller->documents().isEmpty());
    EXPECT_EQ(readPlist(path)["Document Settings"].toMap()["Output Index"], QVariant(6));
    EXPECT_EQ(journal.count("stopBlinking"), 1);

    // "Don't Save" closes and keeps the file as it was.
    document = preset(controller->openDocument(path));
    document->setOutputIndex(1);
    alerts.answers = {"Don't Save"};
    EXPECT_TRUE(controller->closeDocument(document));
    EXPECT_EQ(readPlist(path)["Document Settings"].toMap()["Output Index"], QVariant(6));

    // An unedited document closes without a word.
    alerts.shown.clear();
    EXPECT_TRUE(controller->closeDocument(controller->newDocument()));
    EXPECT_TRUE(alerts.shown.isEmpty());
}

TEST_F(DocumentControllerTest, PlayingClipsAreWarnedAboutBeforeTheSaveQuestion) {
    auto* document = preset(controller->newDocument());
    SoundClip& clip = putClip(*document, 0, tone); // also edits the document
    clip.startPlaying(false);

    alerts.answers = {"No"};
    EXPECT_FALSE(controller->closeDocument(document));
    EXPECT_EQ(alerts.titles(), QStringList{"Warning!"}) << "no save question after \"No\"";
    EXPECT_TRUE(clip.isPlaying());

    alerts.shown.clear();
    alerts.answers = {"Stop Playback", "Don't Save"};
    EXPECT_TRUE(controller->closeDocument(document));
    ASSERT_EQ(alerts.shown.size(), 2);
    EXPECT_EQ(alerts.shown[0].title, QStringLiteral("Warning!"));
    EXPECT_TRUE(alerts.shown[1].title.startsWith(QStringLiteral("Do you want to save")));
    EXPECT_FALSE(clip.isPlaying());
}

TEST_F(DocumentControllerTest, TheWindowCloseBoxGoesThroughTheSameQuestions) {
    auto* document = preset(controller->newDocument());
    document->setCueMode(true);
    alerts.answers = {"Cancel"};
    EXPECT_FALSE(document->window()->close());
    EXPECT_EQ(controller->documents().size(), 1);
    alerts.answers = {"Don't Save"};
    EXPECT_TRUE(document->window()->close());
    EXPECT_TRUE(controller->documents().isEmpty());
}

TEST_F(DocumentControllerTest, RevertReadsTheFileAgain) {
    const QString path = savedPreset(QStringLiteral("revert.zpreset"));
    auto* document = preset(controller->openDocument(path));
    document->setClip(nullptr, 0);
    document->setDuckingVolume(0.9);

    alerts.answers = {"Cancel"};
    EXPECT_FALSE(controller->revertDocument(document));
    EXPECT_EQ(document->clipAtIndex(0), nullptr);

    journal.clear();
    alerts.answers = {"Revert"};
    EXPECT_TRUE(controller->revertDocument(document));
    EXPECT_TRUE(document->clipAtIndex(0));
    EXPECT_DOUBLE_EQ(document->duckingVolume(), 0.4);
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_TRUE(journal.contains("setCellClips")) << "the window shows the file's clips";

    // A file that went bad meanwhile leaves the document as it is.
    document->setDuckingVolume(0.7);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("garbage");
    file.close();
    alerts.answers = {"Revert"};
    EXPECT_FALSE(controller->revertDocument(document));
    EXPECT_DOUBLE_EQ(document->duckingVolume(), 0.7);
    EXPECT_TRUE(document->clipAtIndex(0));
    EXPECT_TRUE(alerts.titles().last().contains(QStringLiteral("could not be reverted")));
}

TEST_F(DocumentControllerTest, TheRecentListKeepsTheTenLatestWithoutRepeats) {
    for (int i = 0; i < 12; ++i) {
        controller->noteNewRecentDocument(QStringLiteral("/shows/%1.zpreset").arg(i));
    }
    controller->noteNewRecentDocument(QStringLiteral("/shows/5.zpreset"));
    const QStringList recent = controller->recentDocuments();
    ASSERT_EQ(recent.size(), DocumentController::kMaxRecentDocuments);
    EXPECT_EQ(recent.first(), QStringLiteral("/shows/5.zpreset"));
    EXPECT_EQ(recent.count(QStringLiteral("/shows/5.zpreset")), 1);
    EXPECT_EQ(recent[1], QStringLiteral("/shows/11.zpreset"));
    EXPECT_FALSE(recent.contains(QStringLiteral("/shows/1.zpreset")));

    // Kept in the user defaults, across a restart.
    restart();
    EXPECT_EQ(controller->recentDocuments(), recent);
    controller->clearRecentDocuments();
    EXPECT_TRUE(controller->recentDocuments().isEmpty());
}
