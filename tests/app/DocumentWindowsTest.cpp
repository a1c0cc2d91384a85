// Every kind of document window in the running program: a playlist window carries the
// same menu bar as a cart wall (File and Studio), its File menu acts on the playlist, and
// every way of quitting (File ▸ Quit, closing the last window) goes through the
// application's quit rule, which stops the silence cycle.

#include "app/CAppController.h"
#include "app/DocumentMenuBar.h"
#include "app/SilenceCycle.h"
#include "app/StudioLaunch.h"
#include "app/ZelvoraApplication.h"
#include "clip/SoundClip.h"
#include "document/DocumentController.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "playlist/PlaylistDocument.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "tests/app/AppTestSupport.h"
#include "tests/support/Screenshot.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QTest>

namespace {

// Counts the quit requests the application receives.
class QuitWatcher : public QObject {
public:
    explicit QuitWatcher(QObject* application) { application->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Quit) {
            ++count;
        }
        return QObject::eventFilter(watched, event);
    }
    int count = 0;
};

QStringList menuTitles(const QWidget* window) {
    QStringList titles;
    const auto* menus = window ? window->findChild<DocumentMenuBar*>() : nullptr;
    if (menus) {
        for (const QAction* action : menus->menuBar()->actions()) {
            titles << QString(action->text()).remove(QLatin1Char('&'));
        }
    }
    return titles;
}

bool preferencesWindowShown() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("PreferencesController") && widget->isVisible()) {
            return true;
        }
    }
    return false;
}

class DocumentWindowsTest : public ProgramTest {};

} // namespace

TEST_F(DocumentWindowsTest, APlaylistWindowHasTheStudioMenuAndAFileMenuForThePlaylist) {
    runProgram({}, [&](ZelvoraApplication& app) {
        QWidget* cartWall = firstCartWallWindow();
        ASSERT_NE(cartWall, nullptr);
        ASSERT_NE(studioAction(cartWall, QStringLiteral("New Playlist")), nullptr);
        studioAction(cartWall, QStringLiteral("New Playlist"))->trigger();
        ASSERT_EQ(documents(app).documents().size(), 2);
        auto* playlist = qobject_cast<PlaylistDocument*>(documents(app).documents().last());
        ASSERT_NE(playlist, nullptr);
        QWidget* window = playlist->window();
        ASSERT_NE(window, nullptr);
        EXPECT_TRUE(window->isVisible());
        const QStringList bar{QStringLiteral("File"), QStringLiteral("Studio")};
        EXPECT_EQ(menuTitles(window), bar);
        EXPECT_EQ(menuTitles(cartWall), bar);
        saveScreenshot(*window, QStringLiteral("playlist-window"));

        // The Studio menu acts from the playlist window as from a cart wall.
        for (const char* item :
             {"New Preset", "New Playlist", "Preferences…", "About Zelvora Studio"}) {
            EXPECT_NE(studioAction(window, QString::fromUtf8(item)), nullptr) << item;
        }
        studioAction(window, QStringLiteral("Preferences…"))->trigger();
        EXPECT_TRUE(preferencesWindowShown());
        studioAction(window, QStringLiteral("About Zelvora Studio"))->trigger();
        ASSERT_NE(app.launch()->appController()->aboutPanel(), nullptr);
        EXPECT_TRUE(app.launch()->appController()->aboutPanel()->isVisible());
        studioAction(window, QStringLiteral("New Preset"))->trigger();
        ASSERT_EQ(documents(app).documents().size(), 3);
        EXPECT_EQ(documents(app).documents().last()->typeName(), PresetDocument::kTypeName);

        // File ▸ Save As, Revert to Saved and Close work on the playlist.
        auto* menus = window->findChild<DocumentMenuBar*>();
        ASSERT_NE(menus, nullptr);
        const QString saved = home.filePath(QStringLiteral("evening.zplaylist"));
        documents(app).setSavePanel([&](const QString&, const QString&) { return saved; });
        playlist->setDocumentVolume(0.5);
        EXPECT_TRUE(window->isWindowModified());
        menus->fileAction(QStringLiteral("Save As..."))->trigger();
        EXPECT_TRUE(QFile::exists(saved));
        EXPECT_EQ(playlist->filePath(), saved);
        EXPECT_EQ(window->windowTitle(), QStringLiteral("evening.zplaylist[*]"));
        EXPECT_FALSE(window->isWindowModified());

        playlist->setDocumentVolume(0.25);
        emit menus->fileMenu()->aboutToShow();
        ASSERT_TRUE(menus->fileAction(QStringLiteral("Revert to Saved"))->isEnabled());
        EXPECT_FALSE(menus->fileAction(QStringLiteral("Check for Missing Clips"))->isEnabled())
            << "a playlist has no missing-clips check";
        auto* cartWallMenus = cartWall->findChild<DocumentMenuBar*>();
        emit cartWallMenus->fileMenu()->aboutToShow();
        EXPECT_TRUE(
            cartWallMenus->fileAction(QStringLiteral("Check for Missing Clips"))->isEnabled());
        alerts.answers = {QStringLiteral("Revert")};
        menus->fileAction(QStringLiteral("Revert to Saved"))->trigger();
        EXPECT_DOUBLE_EQ(playlist->documentVolume(), 0.5) << "as saved";

        menus->fileAction(QStringLiteral("Close"))->trigger();
        const QList<Document*> open = documents(app).documents();
        EXPECT_EQ(open.size(), 2);
        EXPECT_FALSE(open.contains(playlist)) << "the playlist closed, the cart walls stay";
        EXPECT_TRUE(cartWall->isVisible());
    });
}

TEST_F(DocumentWindowsTest, FileQuitAsksWhileAClipPlaysAndOtherwiseStopsTheSilenceAndQuits) {
    const QString tone = writeTone(QStringLiteral("jingle.wav"));
    runProgram({}, [&](ZelvoraApplication& app) {
        QuitWatcher quits(&app);
        SilenceCycle& silence = *app.launch()->silenceCycle();
        ASSERT_TRUE(silence.isRunning());
        QWidget* window = firstCartWallWindow();
        PresetDocument* document = documentOf(window);
        ASSERT_NE(document, nullptr);
        ASSERT_TRUE(static_cast<PresetController*>(document->controller())->setFile(tone, 0, {}));
        SoundClip* clip = document->clipAtIndex(0);
        ASSERT_NE(clip, nullptr);
        clip->startPlaying(false);
        QAction* quit = window->findChild<DocumentMenuBar*>()->fileAction(QStringLiteral("Quit"));
        ASSERT_NE(quit, nullptr);

        alerts.answers = {QStringLiteral("No")};
        quit->trigger();
        EXPECT_EQ(alerts.shown, QStringList{QStringLiteral("Warning!")});
        EXPECT_TRUE(clip->isPlaying()) << "playback goes on";
        EXPECT_TRUE(silence.isRunning());
        EXPECT_EQ(documents(app).documents().size(), 1);
        EXPECT_EQ(quits.count, 0);
        EXPECT_TRUE(app.launch()->outputsPanel()->window()->isVisible());

        clip->stopPlaying();
        alerts.shown.clear();
        alerts.answers = {QStringLiteral("Don't Save")};
        quit->trigger();
        EXPECT_FALSE(alerts.shown.contains(QStringLiteral("Warning!"))) << "nothing plays";
        EXPECT_FALSE(silence.isRunning());
        EXPECT_EQ(silence.silenceMovie(), nullptr);
        EXPECT_TRUE(documents(app).documents().isEmpty());
        EXPECT_EQ(quits.count, 1) << "the program quits";
        EXPECT_FALSE(app.launch()->outputsPanel()->window()->isVisible());
    });
}

TEST_F(DocumentWindowsTest, ClosingTheLastDocumentWindowQuitsThroughTheSameRule) {
    runProgram({}, [&](ZelvoraApplication& app) {
        QuitWatcher quits(&app);
        SilenceCycle& silence = *app.launch()->silenceCycle();
        ASSERT_TRUE(silence.isRunning());
        Document* playlist = documents(app).newDocument(PlaylistDocument::kTypeName);
        ASSERT_NE(playlist, nullptr);
        QWidget* cartWall = firstCartWallWindow();
        ASSERT_NE(cartWall, nullptr);

        cartWall->close();
        QCoreApplication::processEvents();
        EXPECT_EQ(documents(app).documents().size(), 1);
        EXPECT_TRUE(silence.isRunning()) << "a document window is still open";
        EXPECT_EQ(quits.count, 0);

        playlist->window()->close();
        EXPECT_TRUE(QTest::qWaitFor([&] { return quits.count > 0; }, 2000));
        EXPECT_EQ(quits.count, 1);
        EXPECT_FALSE(silence.isRunning());
        EXPECT_TRUE(documents(app).documents().isEmpty());
    });
}
