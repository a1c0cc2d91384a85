#include "app/DiagnosticCommands.h"

#include "app/InstanceChannel.h"
#include "clip/StudioServices.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QKeyEvent>
#include <QWidget>

namespace {

QJsonObject failure(const QString& message) {
    return QJsonObject{{QStringLiteral("ok"), false}, {QStringLiteral("error"), message}};
}

// The key and its text for a request's "text"; Qt::Key_unknown when it names none.
Qt::Key keyFor(const QString& text, QString* typed) {
    const QString name = text.toLower();
    *typed = QString();
    if (name == QLatin1String("space")) {
        *typed = QStringLiteral(" ");
        return Qt::Key_Space;
    }
    if (name == QLatin1String("tab")) {
        *typed = QStringLiteral("\t");
        return Qt::Key_Tab;
    }
    if (name.size() > 1 && name.startsWith(QLatin1Char('f'))) {
        bool ok = false;
        const int number = name.mid(1).toInt(&ok);
        return ok && number >= 1 && number <= 12 ? Qt::Key(Qt::Key_F1 + number - 1)
                                                 : Qt::Key_unknown;
    }
    if (name.size() == 1 && name[0] >= QLatin1Char('a') && name[0] <= QLatin1Char('z')) {
        *typed = name;
        return Qt::Key(Qt::Key_A + (name[0].unicode() - 'a'));
    }
    return Qt::Key_unknown;
}

// The window a typed key goes to: the focus widget, else the active window, else the
// window of the front-most document.
QWidget* keyTarget() {
    if (QWidget* focus = QApplication::focusWidget()) {
        return focus;
    }
    if (QWidget* active = QApplication::activeWindow()) {
        return active;
    }
    const DocumentController* documents = DocumentController::shared();
    if (documents && !documents->documents().isEmpty()) {
        return documents->documents().constLast()->window();
    }
    return nullptr;
}

// The open documents, front-most last, each with whether its window shows.
QJsonArray openDocuments() {
    QJsonArray documents;
    const DocumentController* controller = DocumentController::shared();
    if (!controller) {
        return documents;
    }
    for (const Document* document : controller->documents()) {
        const QWidget* window = document->window();
        documents.append(QJsonObject{{QStringLiteral("name"), document->displayName()},
                                     {QStringLiteral("shown"), window && window->isVisible()}});
    }
    return documents;
}

} // namespace

const QString DiagnosticCommands::kOption = QStringLiteral("--test-hooks");

void DiagnosticCommands::install(InstanceChannel& channel) {
    channel.setHandler(QStringLiteral("key"), &DiagnosticCommands::pressKey);
    channel.setHandler(QStringLiteral("state"), [](const QJsonObject&) { return state(); });
    channel.setHandler(QStringLiteral("grab"), &DiagnosticCommands::grabWindows);
}

QJsonObject DiagnosticCommands::pressKey(const QJsonObject& request) {
    QString typed;
    const Qt::Key key = keyFor(request.value(QStringLiteral("text")).toString(), &typed);
    if (key == Qt::Key_unknown) {
        return failure(QStringLiteral("No such key."));
    }
    QWidget* target = keyTarget();
    if (!target) {
        return failure(QStringLiteral("No window to type into."));
    }
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, typed);
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, typed);
    QApplication::sendEvent(target, &release);
    return QJsonObject{{QStringLiteral("ok"), true},
                       {QStringLiteral("window"), target->window()->windowTitle()}};
}

QJsonObject DiagnosticCommands::state() {
    QJsonArray windows;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible()) {
            windows.append(QJsonObject{{QStringLiteral("title"), widget->windowTitle()},
                                       {QStringLiteral("active"), widget->isActiveWindow()}});
        }
    }
    QJsonObject answer{{QStringLiteral("ok"), true},
                       {QStringLiteral("windows"), windows},
                       {QStringLiteral("documents"), openDocuments()}};
    const auto* panel =
        dynamic_cast<const OutputsMonitoringPanelController*>(StudioServices::outputsMonitor());
    if (panel) {
        QJsonArray strips;
        for (int index = 0; index < panel->cellCount(); ++index) {
            const OutputMonitoringCell* cell = panel->cellAtIndex(index);
            strips.append(QJsonObject{{QStringLiteral("title"), cell->filenameText()},
                                      {QStringLiteral("remaining"), cell->remainingText()}});
        }
        answer.insert(QStringLiteral("outputs"), strips);
    }
    return answer;
}

QJsonObject DiagnosticCommands::grabWindows(const QJsonObject& request) {
    const QDir folder(request.value(QStringLiteral("folder")).toString());
    if (folder.path().isEmpty() || !folder.exists()) {
        return failure(QStringLiteral("No such folder."));
    }
    QJsonArray files;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (!widget->isVisible()) {
            continue;
        }
        QString name = widget->windowTitle().remove(QStringLiteral("[*]"));
        name.replace(QLatin1Char('/'), QLatin1Char('-'));
        const QString path = folder.filePath((name.isEmpty() ? QStringLiteral("window") : name) +
                                             QStringLiteral(".png"));
        if (widget->grab().save(path)) {
            files.append(path);
        }
    }
    return QJsonObject{{QStringLiteral("ok"), true}, {QStringLiteral("files"), files}};
}
