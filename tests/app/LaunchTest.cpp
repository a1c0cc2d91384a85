// What the program sets up at launch and how its parts meet: the panels and services it
// installs, the silence cycle, the untitled cart wall preference, the application menu
// in a cart wall's menu bar, keys through a real window, and a keypad driving the
// application's key states.

#include "app/CAppController.h"
#include "app/DocumentSession.h"
#include "app/SilenceCycle.h"
#include "app/StudioLaunch.h"
#include "app/ZelvoraApplication.h"
#include "app/hid/ControlSurfaces.h"
#include "app/hid/GPIGlobalController.h"
#include "app/hid/SimulatedIOWarriorBus.h"
#include "app/hid/SimulatedXKeysDevice.h"
#include "clip/StudioServices.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/UserDefaults.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PreListeningController.h"
#include "playlist/PlaylistDocument.h"
#include "tests/app/AppTestSupport.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>

namespace {

class LaunchTest : public ProgramTest {};

} // namespace

TEST_F(LaunchTest, InstallsThePanelsAndServicesAndStartsTheSilence) {
    runProgram({}, [&](ZelvoraApplication& app) {
        ASSERT_NE(app.launch()->outputsPanel(), nullptr);
        ASSERT_NE(app.launch()->preListener(), nullptr);
        EXPECT_TRUE(app.launch()->outputsPanel()->window()->isVisible());
        EXPECT_TRUE(app.launch()->preListener()->window()->isVisible());
        EXPECT_EQ(StudioServices::outputsMonitor(), app.launch()->outputsPanel());
        EXPECT_EQ(StudioServices::preListenPlayer(), app.launch()->preListener());
        EXPECT_EQ(StudioServices::keyStates(), app.launch()->appController());
        EXPECT_EQ(StudioServices::gpiTallyLines(), &app.launch()->controlSurfaces()->gpi());
        EXPECT_NE(StudioServices::clipSettingsEditor(), nullptr);
        EXPECT_NE(StudioServices::fileWorkspace(), nullptr);
        EXPECT_TRUE(app.launch()->silenceCycle()->isRunning());
        EXPECT_EQ(app.launch()->controlSurfaces()->simulatedKeypad(), nullptr)
            << "real surfaces by default";
        ASSERT_EQ(documents(app).documents().size(), 1) << "an untitled cart wall";
    });
}

TEST_F(LaunchTest, NoUntitledCartWallWhenThePreferenceSaysNo) {
    {
        UserDefaults previousRun(UserDefaults::defaultDirectory());
        previousRun.setObject(false, "Should Open Untitled Preset");
    }
    runProgram({}, [&](ZelvoraApplication& app) {
        EXPECT_TRUE(documents(app).documents().isEmpty());
        EXPECT_TRUE(app.launch()->outputsPanel()->window()->isVisible()) << "the panels still show";
    });
}

TEST_F(LaunchTest, SimulatedKeypadLatchesTheShiftStateAndIsNoDocument) {
    runProgram({ControlSurfaces::kSimulateOption}, [&](ZelvoraApplication& app) {
        EXPECT_EQ(documents(app).documents().size(), 1) << "the option opens no document";
        SimulatedXKeysDevice* keypad = app.launch()->controlSurfaces()->simulatedKeypad();
        ASSERT_NE(keypad, nullptr);
        keypad->press(10);
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return app.launch()->appController()->shiftKeyState(); }, 5000));
        keypad->release(10);
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return !app.launch()->appController()->shiftKeyState(); }, 5000));
    });
}

TEST_F(LaunchTest, CartWallMenuBarCarriesTheApplicationMenu) {
    runProgram({}, [&](ZelvoraApplication& app) {
        QWidget* window = firstCartWallWindow();
        ASSERT_NE(window, nullptr);
        QAction* newPlaylist = studioAction(window, QStringLiteral("New Playlist"));
        ASSERT_NE(newPlaylist, nullptr);
        ASSERT_NE(studioAction(window, QStringLiteral("New Preset")), nullptr);
        ASSERT_NE(studioAction(window, QStringLiteral("About Zelvora Studio")), nullptr);
        QAction* preferences = studioAction(window, QStringLiteral("Preferences…"));
        ASSERT_NE(preferences, nullptr);
        preferences->trigger();
        bool preferencesShown = false;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            preferencesShown |= widget->inherits("PreferencesController") && widget->isVisible();
        }
        EXPECT_TRUE(preferencesShown);
        newPlaylist->trigger();
        ASSERT_EQ(documents(app).documents().size(), 2);
        EXPECT_EQ(documents(app).documents()[1]->typeName(), PlaylistDocument::kTypeName);
    });
}

TEST_F(LaunchTest, KeysThroughACartWallWindow) {
    {
        UserDefaults previousRun(UserDefaults::defaultDirectory());
        previousRun.setObject(ControlSurfaces::kSimulatedBoardSerialNumber,
                              "Kestrel Serial Number");
    }
    runProgram({ControlSurfaces::kSimulateOption}, [&](ZelvoraApplication& app) {
        QWidget* window = firstCartWallWindow();
        ASSERT_NE(window, nullptr);
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        ASSERT_TRUE(app.launch()->appController()->presetOrPanelInFront());

        // F5 is unset: swallowed, nothing opens, nothing complains.
        QTest::keyClick(window->windowHandle(), Qt::Key_F5);
        EXPECT_EQ(documents(app).documents().size(), 1);

        // Space releases every output through the panel, which turns the tally off.
        SimulatedIOWarriorBus& board = *app.launch()->controlSurfaces()->simulatedBus();
        const QString serial = ControlSurfaces::kSimulatedBoardSerialNumber;
        GpiTallyLines& tally = *StudioServices::gpiTallyLines();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return tally.findInterfaceIndexWithSerialNumber(serial) >= 0; }, 5000));
        tally.setState(tally.findInterfaceIndexWithSerialNumber(serial), false, 2);
        ASSERT_TRUE(QTest::qWaitFor([&] { return board.isTallyLit(serial, 2); }, 5000));
        QTest::keyClick(window->windowHandle(), Qt::Key_Space);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !board.isTallyLit(serial, 2); }, 5000));

        // Tab goes to the next document.
        Document* playlist = documents(app).newDocument(PlaylistDocument::kTypeName);
        ASSERT_NE(playlist, nullptr);
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        QTest::keyClick(window->windowHandle(), Qt::Key_Tab);
        EXPECT_TRUE(QTest::qWaitForWindowActive(playlist->window()));
        EXPECT_FALSE(app.launch()->appController()->presetOrPanelInFront())
            << "a playlist is in front";
    });
}
