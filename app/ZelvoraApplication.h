#pragma once

// The application object: registers the factory value of every preference, installs the
// user-defaults store and runs the event loop. Main thread only.

#include <QApplication>
#include <QVariantMap>
#include <memory>

class QMainWindow;
class UserDefaults;

class ZelvoraApplication : public QApplication {
    Q_OBJECT
public:
    ZelvoraApplication(int& argc, char** argv);
    ~ZelvoraApplication() override;

    // Every registered key with its factory value.
    static QVariantMap factoryDefaults();
    // Registers factoryDefaults() in `defaults` (registered, never written to disk).
    static void initialize(UserDefaults& defaults);

    // Opens the main window and runs the event loop; returns the exit code.
    int run();

private:
    std::unique_ptr<UserDefaults> _defaults;
    std::unique_ptr<QMainWindow> _mainWindow;
};
