#include "tests/app/AppTestSupport.h"

#include "document/DocumentController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QApplication>
#include <QWidget>

ConfigHome::ConfigHome(const QString& configHome)
    : _saved(qgetenv("XDG_CONFIG_HOME"))
    , _savedData(qgetenv("XDG_DATA_HOME")) {
    qputenv("XDG_CONFIG_HOME", configHome.toUtf8());
    // The demo cart wall a start writes goes to the test's folder too.
    qputenv("XDG_DATA_HOME", (configHome + QStringLiteral("/data")).toUtf8());
}

ConfigHome::~ConfigHome() {
    qputenv("XDG_CONFIG_HOME", _saved);
    qputenv("XDG_DATA_HOME", _savedData);
}

ProgramArguments::ProgramArguments(const QStringList& arguments) {
    _strings.push_back(QByteArrayLiteral("zelvora-studio"));
    for (const QString& argument : arguments) {
        _strings.push_back(argument.toLocal8Bit());
    }
    for (QByteArray& string : _strings) {
        _pointers.push_back(string.data());
    }
    _pointers.push_back(nullptr);
    _argc = int(_strings.size());
}

QList<QWidget*> cartWallWindows() {
    QList<QWidget*> windows;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->findChild<PresetMatrix*>()) {
            windows << widget;
        }
    }
    return windows;
}

QWidget* firstCartWallWindow() {
    const QList<QWidget*> windows = cartWallWindows();
    return windows.isEmpty() ? nullptr : windows.first();
}

PresetMatrix* matrixOf(QWidget* window) {
    return window ? window->findChild<PresetMatrix*>() : nullptr;
}

PresetDocument* documentOf(QWidget* window) {
    const DocumentController* documents = DocumentController::shared();
    if (!documents || !window) {
        return nullptr;
    }
    for (Document* document : documents->documents()) {
        if (document->window() == window) {
            return qobject_cast<PresetDocument*>(document);
        }
    }
    return nullptr;
}
