// The program with its cart walls: a document named on the command line opens in a window
// whose buttons fire from the mouse, the letter keys and MIDI notes fed into the note
// ring; the File menu works on the window's document; quitting asks about playback and
// unsaved changes.

#include "app/DocumentMenuBar.h"
#include "app/DocumentSession.h"
#include "app/ZelvoraApplication.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDINoteRing.h"
#include "clip/MIDISourceList.h"
#include "clip/SoundClip.h"
#include "document/AlertPresenter.h"
#include "document/DocumentController.h"
#include "foundation/PropertyList.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"
#include "tests/app/AppTestSupport.h"

#include <QAction>
#include <QFile>
#include <QMenu>
#include <QTest>
#include <gtest/gtest.h>

namespace {

const QString kKeyboard = QStringLiteral("Test Keyboard");

// One MIDI source with a name.
class OneMIDISource : public MIDISourceList {
public:
    int count() const override { return 1; }
    bool name(int index, QString* name) const override {
        if (index != 0) {
            return false;
        }
        *name = kKeyboard;
        return true;
    }
};

class CartWallWindowTest : public ProgramTest {
protected:
    // A cart wall whose button A plays `tonePath` and listens to note 60 on channel 0 of
    // the test keyboard.
    QString writeCartWall(const QString& name, const QString& tonePath) {
        QVariantMap settings = defaultClipSettings();
        settings.insert(QStringLiteral("MIDI Note"), 60);
        settings.insert(QStringLiteral("MIDI Channel"), 0);
        settings.insert(QStringLiteral("MIDI Source Name"), kKeyboard);
        const QVariantMap root{{QStringLiteral("Path 0"), tonePath},
                               {QStringLiteral("Settings 0"), settings}};
        const QString path = home.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(PropertyList::toXml(root));
        return path;
    }
};

} // namespace

TEST_F(CartWallWindowTest, DocumentOnTheCommandLineOpensAndItsButtonFires) {
    const QString cartWall =
        writeCartWall(QStringLiteral("morning.zpreset"), writeTone(QStringLiteral("jingle.wav")));
    runProgram({cartWall}, [&](ZelvoraApplication&) {
        ASSERT_EQ(cartWallWindows().size(), 1) << "no untitled window beside the named one";
        QWidget* window = firstCartWallWindow();
        EXPECT_EQ(window->windowTitle(), QStringLiteral("morning.zpreset[*]"));
        PresetDocument* document = documentOf(window);
        ASSERT_NE(document, nullptr);
        SoundClip* clip = document->clipAtIndex(0);
        ASSERT_NE(clip, nullptr);

        PresetMatrix* matrix = matrixOf(window);
        QTest::mouseClick(matrix, Qt::LeftButton, {}, matrix->cellFrame(0).center());
        EXPECT_TRUE(clip->isPlaying()) << "a click fires the button";
        clip->stopPlaying();

        QTest::keyClick(window, Qt::Key_A);
        EXPECT_TRUE(clip->isPlaying()) << "the letter key fires the button";
        clip->stopPlaying();
    });
}

TEST_F(CartWallWindowTest, NoteInTheRingFiresTheButtonThatLearntIt) {
    OneMIDISource keyboard;
    MIDIController::setSourceList(&keyboard);
    const QString cartWall =
        writeCartWall(QStringLiteral("notes.zpreset"), writeTone(QStringLiteral("jingle.wav")));
    runProgram({cartWall}, [&](ZelvoraApplication&) {
        PresetDocument* document = documentOf(firstCartWallWindow());
        ASSERT_NE(document, nullptr);
        SoundClip* clip = document->clipAtIndex(0);
        ASSERT_NE(clip, nullptr);
        int note = 0, channel = 0, source = 0;
        while (NextMIDINote(&note, &channel, &source)) {
        }
        // What the receive callback writes; the drain tick is driven by hand.
        WriteMIDINote(0, 61, 0);
        WriteMIDINote(0, 60, 0);
        MIDIController::defaultMIDIController().MIDITimer();
        EXPECT_FALSE(clip->isPlaying()) << "another note";
        MIDIController::defaultMIDIController().MIDITimer();
        EXPECT_TRUE(clip->isPlaying());
        clip->stopPlaying();
    });
    MIDIController::setSourceList(nullptr);
}

TEST_F(CartWallWindowTest, BrokenDocumentOnTheCommandLineIsRefusedAndAnUntitledOneOpens) {
    const QString broken = home.filePath(QStringLiteral("broken.zpreset"));
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<plist><dict><key>Path 0");
    file.close();
    runProgram({broken}, [&](ZelvoraApplication&) {
        EXPECT_EQ(alerts.shown,
                  QStringList{QStringLiteral("The document \u201cbroken.zpreset\u201d could not be "
                                             "opened.")});
        ASSERT_EQ(cartWallWindows().size(), 1);
        EXPECT_EQ(firstCartWallWindow()->windowTitle(), QStringLiteral("Untitled[*]"));
    });
}

TEST_F(CartWallWindowTest, FileMenuWorksOnItsWindowsDocument) {
    const QString tone = writeTone(QStringLiteral("jingle.wav"));
    runProgram({}, [&](ZelvoraApplication&) {
        QWidget* window = firstCartWallWindow();
        ASSERT_NE(window, nullptr);
        auto* menus = window->findChild<DocumentMenuBar*>();
        ASSERT_NE(menus, nullptr);
        for (const char* item : {"New", "Open...", "Close", "Save", "Save As...", "Revert to Saved",
                                 "Check for Missing Clips", "Lock Window Positions", "Quit"}) {
            EXPECT_NE(menus->fileAction(QString::fromLatin1(item)), nullptr) << item;
        }
        PresetDocument* document = documentOf(window);
        DocumentController& documents = *DocumentController::shared();
        const QString saved = home.filePath(QStringLiteral("saved.zpreset"));
        documents.setSavePanel([&](const QString&, const QString&) { return saved; });

        document->setCueMode(true);
        EXPECT_TRUE(window->isWindowModified());
        menus->fileAction(QStringLiteral("Save As..."))->trigger();
        EXPECT_TRUE(QFile::exists(saved));
        EXPECT_EQ(window->windowTitle(), QStringLiteral("saved.zpreset[*]"));
        EXPECT_FALSE(window->isWindowModified());
        emit menus->fileMenu()->aboutToShow();
        EXPECT_FALSE(menus->fileAction(QStringLiteral("Revert to Saved"))->isEnabled());
        emit menus->recentMenu()->aboutToShow();
        ASSERT_FALSE(menus->recentMenu()->actions().isEmpty());
        EXPECT_EQ(menus->recentMenu()->actions().first()->data().toString(), saved);

        document->setCueMode(false);
        emit menus->fileMenu()->aboutToShow();
        ASSERT_TRUE(menus->fileAction(QStringLiteral("Revert to Saved"))->isEnabled());
        alerts.answers = {QStringLiteral("Revert")};
        menus->fileAction(QStringLiteral("Revert to Saved"))->trigger();
        EXPECT_TRUE(document->cueMode()) << "the saved file had cue mode on";

        menus->fileAction(QStringLiteral("New"))->trigger();
        EXPECT_EQ(documents.documents().size(), 2);
        EXPECT_EQ(cartWallWindows().size(), 2);

        // Check for Missing Clips reports on this window's document.
        ASSERT_TRUE(static_cast<PresetController*>(document->controller())->setFile(tone, 0, {}));
        alerts.shown.clear();
        menus->fileAction(QStringLiteral("Check for Missing Clips"))->trigger();
        EXPECT_EQ(alerts.shown, QStringList{QStringLiteral("Everything is OK!")});

        alerts.answers = {QStringLiteral("Don't Save")};
        menus->fileAction(QStringLiteral("Close"))->trigger();
        EXPECT_EQ(documents.documents().size(), 1);
    });
}

TEST_F(CartWallWindowTest, QuitAsksAboutPlaybackThenAboutUnsavedChanges) {
    const QString cartWall =
        writeCartWall(QStringLiteral("quit.zpreset"), writeTone(QStringLiteral("jingle.wav")));
    runProgram({cartWall}, [&](ZelvoraApplication&) {
        ZelvoraApplication* app = static_cast<ZelvoraApplication*>(QApplication::instance());
        DocumentSession& session = *app->documentSession();
        PresetDocument* document = documentOf(firstCartWallWindow());
        ASSERT_NE(document, nullptr);
        document->setCueMode(false); // an unsaved change
        SoundClip* clip = document->clipAtIndex(0);
        ASSERT_NE(clip, nullptr);
        clip->startPlaying(false);

        alerts.answers = {QStringLiteral("No")};
        EXPECT_FALSE(session.shouldTerminate());
        EXPECT_TRUE(clip->isPlaying()) << "playback goes on";
        EXPECT_EQ(alerts.shown, QStringList{QStringLiteral("Warning!")});

        alerts.shown.clear();
        alerts.answers = {QStringLiteral("Stop Playback"), QStringLiteral("Cancel")};
        EXPECT_FALSE(session.shouldTerminate());
        ASSERT_EQ(alerts.shown.size(), 2) << "the playback warning is asked once only";
        EXPECT_TRUE(alerts.shown[1].startsWith(QStringLiteral("Do you want to save")));
        EXPECT_EQ(session.documentController().documents().size(), 1);

        alerts.answers = {QStringLiteral("Stop Playback"), QStringLiteral("Don't Save")};
        EXPECT_TRUE(session.shouldTerminate());
        EXPECT_TRUE(session.documentController().documents().isEmpty());
    });
}
