#pragma once

// Shared pieces of the application tests: a config home of the test's own, the program's
// command line, and the cart wall windows the program shows.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

class PresetDocument;
class PresetMatrix;
class QWidget;

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
