// Every kind of document window in the running program: a playlist window carries the
// same menu bar as a cart wall (File and Studio), and its File menu acts on the playlist.

#include "app/CAppController.h"
#include "app/DocumentMenuBar.h"
#include "app/StudioLaunch.h"
#include "app/ZelvoraApplication.h"
#include "document/DocumentController.h"
#include "playlist/PlaylistDocument.h"
#include "preset/PresetDocument.h"
#include "tests/app/AppTestSupport.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QMenu>
#include <QMenuBar>

namespace {

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
