// The application object as the program starts it: identity, the installed defaults
// store with every factory value, the first cart wall window, and a start with a config
// folder that cannot be written. Each test builds its own application, so this
// executable has its own main instead of the shared one.

#include "app/ZelvoraApplication.h"
#include "foundation/UserDefaults.h"
#include "tests/app/AppTestSupport.h"
#include "tests/support/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

struct ShownWindow {
    bool found = false;
    bool visible = false;
    QString title;
};

// Runs the application until its event loop has started, and reports its window.
ShownWindow runUntilShown(ZelvoraApplication& app, int* exitCode) {
    ShownWindow shown;
    QTimer::singleShot(0, &app, [&] {
        if (QWidget* window = firstCartWallWindow()) {
            shown = {true, window->isVisible(), window->windowTitle()};
        }
        QApplication::exit(7);
    });
    *exitCode = app.run();
    return shown;
}

} // namespace

TEST(ZelvoraApplication, NamesItselfForTheDesktop) {
    QTemporaryDir home;
    ConfigHome config(home.path());
    ProgramArguments arguments;
    ZelvoraApplication app(arguments.argc(), arguments.argv());
    EXPECT_EQ(QApplication::applicationName(), "Zelvora Studio");
    EXPECT_EQ(QApplication::organizationName(), "zelvora-studio");
    EXPECT_EQ(QGuiApplication::desktopFileName(), "zelvora-studio");
    EXPECT_EQ(QApplication::applicationVersion(), ZELVORA_TEST_VERSION);
}

TEST(ZelvoraApplication, InstallsTheStoreWithEveryFactoryValue) {
    QTemporaryDir home;
    ConfigHome config(home.path());
    {
        ProgramArguments arguments;
        ZelvoraApplication app(arguments.argc(), arguments.argv());
        UserDefaults* defaults = UserDefaults::standard();
        ASSERT_NE(defaults, nullptr);
        EXPECT_EQ(defaults->filePath().left(home.path().size()), home.path());
        EXPECT_EQ(defaults->registeredDefaults(), ZelvoraApplication::factoryDefaults());
        EXPECT_TRUE(defaults->boolForKey("Should Open Untitled Preset"));
        EXPECT_EQ(defaults->stringForKey("Default Editor"), "audacity");
    }
    EXPECT_EQ(UserDefaults::standard(), nullptr);
    // Registered, never written: the next run reads none of them from disk.
    const UserDefaults nextRun(UserDefaults::defaultDirectory());
    EXPECT_FALSE(nextRun.hasObjectForKey("Default Editor"));
    EXPECT_FALSE(nextRun.hasObjectForKey("Output Settings 0"));
}

TEST(ZelvoraApplication, KeepsWhatTheUserStoredBeforeTheStart) {
    QTemporaryDir home;
    ConfigHome config(home.path());
    {
        UserDefaults previousRun(UserDefaults::defaultDirectory());
        previousRun.setObject(false, "Should Open Untitled Preset");
        previousRun.setObject(QStringLiteral("ardour"), "Default Editor");
    }
    ProgramArguments arguments;
    ZelvoraApplication app(arguments.argc(), arguments.argv());
    ASSERT_NE(UserDefaults::standard(), nullptr);
    EXPECT_FALSE(UserDefaults::standard()->boolForKey("Should Open Untitled Preset"));
    EXPECT_EQ(UserDefaults::standard()->stringForKey("Default Editor"), "ardour");
    EXPECT_TRUE(UserDefaults::standard()->boolForKey("Read ID3 Tags"));
}

TEST(ZelvoraApplication, RunOpensAnUntitledCartWallAndReturnsTheExitCode) {
    QTemporaryDir home;
    ConfigHome config(home.path());
    ProgramArguments arguments;
    ZelvoraApplication app(arguments.argc(), arguments.argv());
    int exitCode = 0;
    const ShownWindow shown = runUntilShown(app, &exitCode);
    EXPECT_TRUE(shown.found);
    EXPECT_TRUE(shown.visible);
    EXPECT_EQ(shown.title, "Untitled[*]");
    EXPECT_EQ(exitCode, 7);
}

TEST(ZelvoraApplication, StartsWhenTheConfigFolderCannotBeWritten) {
    // A plain file where the config folder should be: nothing can be created beneath it,
    // whoever runs the test.
    QTemporaryDir home;
    const QString blocked = home.filePath("not-a-folder");
    {
        QFile file(blocked);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    ConfigHome config(blocked);
    ProgramArguments arguments;
    ZelvoraApplication app(arguments.argc(), arguments.argv());
    UserDefaults* defaults = UserDefaults::standard();
    ASSERT_NE(defaults, nullptr);
    EXPECT_TRUE(defaults->boolForKey("Read ID3 Tags"));
    defaults->setObject(true, "Use GPI");
    EXPECT_FALSE(defaults->lastError().isEmpty());

    int exitCode = 0;
    const ShownWindow shown = runUntilShown(app, &exitCode);
    EXPECT_TRUE(shown.visible);
    EXPECT_EQ(shown.title, "Untitled[*]");
}

// Each test builds its own application object, so this executable brings its own main.
int main(int argc_, char** argv_) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    if (qEnvironmentVariableIsEmpty("ZELVORA_AUDIO")) {
        qputenv("ZELVORA_AUDIO", "null");
    }
    ::testing::InitGoogleTest(&argc_, argv_);
    return RUN_ALL_TESTS();
}
