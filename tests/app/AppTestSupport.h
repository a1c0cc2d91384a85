#pragma once

// Shared pieces of the application tests: a config home of the test's own, the program's
// command line, alerts answered from a queue, a fixture that runs the whole program, and
// the cart wall windows and menus the program shows.

#include "document/AlertPresenter.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

class DocumentController;
class PresetDocument;
class PresetMatrix;
class QAction;
class QWidget;
class ZelvoraApplication;

// Points XDG_CONFIG_HOME at `configHome` and XDG_DATA_HOME at its "data" folder for the
// life of the object.
class ConfigHome {
public:
    explicit ConfigHome(const QString& configHome);
    ~ConfigHome();
    ConfigHome(const ConfigHome&) = delete;
    ConfigHome& operator=(const ConfigHome&) = delete;

private:
    QByteArray _saved;
    QByteArray _savedData;
};

// "zelvora-studio" followed by `arguments`, as main() receives them. The object keeps
// the strings alive for the life of the application made from it.
class ProgramArguments {
public:
    explicit ProgramArguments(const QStringList& arguments = {});
    int& argc() { return _argc; }
    char** argv() { return _pointers.data(); }

private:
    std::vector<QByteArray> _strings;
    std::vector<char*> _pointers;
    int _argc = 0;
};

// The visible top-level windows that hold a cart wall grid, in no particular order.
QList<QWidget*> cartWallWindows();
QWidget* firstCartWallWindow();
PresetMatrix* matrixOf(QWidget* window);
// The preset document of `window` among the program's open documents; null when none.
PresetDocument* documentOf(QWidget* window);

// Answers each alert with the button titled as the next of `answers` (the first button
// when none is queued or the title is not among its buttons) and records the titles.
class AnsweringAlerts : public AlertPresenter {
public:
    int runAlert(const Alert& alert) override;
    QStringList answers;
    QStringList shown;
};

// Runs the whole program in a config home of its own, with alerts answered by `alerts`.
class ProgramTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the program on `arguments` and `body` once its event loop has started;
    // `beforeStart` runs once the application object exists.
    void runProgram(const QStringList& arguments,
                    const std::function<void(ZelvoraApplication&)>& body,
                    const std::function<void()>& beforeStart = {});
    static DocumentController& documents(ZelvoraApplication& app);

    // A one-second stereo tone in the test's folder.
    QString writeTone(const QString& name);

    QTemporaryDir home;
    ConfigHome config{home.path()};
    AnsweringAlerts alerts;
};

// The item titled `text` of the Studio menu in `window`'s menu bar; null when none.
QAction* studioAction(QWidget* window, const QString& text);
