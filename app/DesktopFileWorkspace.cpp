#include "app/DesktopFileWorkspace.h"

#include "clip/StudioServices.h"
#include "document/AlertPresenter.h"
#include "foundation/Logging.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>

namespace {

const QString kFileManagerService = QStringLiteral("org.freedesktop.FileManager1");
const QString kFileManagerPath = QStringLiteral("/org/freedesktop/FileManager1");

} // namespace

DesktopFileWorkspace::DesktopFileWorkspace(QObject* parent)
    : QObject(parent)
    , _startProcess([](const QString& program, const QStringList& arguments) {
        return QProcess::startDetached(program, arguments);
    })
    , _openFolder([](const QUrl& folder) { QDesktopServices::openUrl(folder); }) {}

DesktopFileWorkspace::~DesktopFileWorkspace() {
    if (StudioServices::fileWorkspace() == this) {
        StudioServices::setFileWorkspace(nullptr);
    }
}

void DesktopFileWorkspace::install() {
    StudioServices::setFileWorkspace(this);
}

void DesktopFileWorkspace::revealInFileManager(const QString& path) {
    if (path.isEmpty()) {
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!_useBus || !bus.isConnected()) {
        openFolderOf(path);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        kFileManagerService, kFileManagerPath, kFileManagerService, QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    // Asynchronous: a file manager that is slow to start never holds up the window.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, path](QDBusPendingCallWatcher* done) {
                if (done->isError()) {
                    qCInfo(lcApp) << "no file manager answers ShowItems ("
                                  << done->error().message() << "); opening the folder of" << path;
                    openFolderOf(path);
                }
                done->deleteLater();
            });
}

void DesktopFileWorkspace::openFolderOf(const QString& path) {
    _openFolder(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

void DesktopFileWorkspace::openWithEditor(const QString& path, const QString& editorCommand) {
    QStringList arguments = QProcess::splitCommand(editorCommand);
    const QString program = arguments.isEmpty() ? QString() : arguments.takeFirst();
    arguments << path;
    if (!program.isEmpty() && _startProcess(program, arguments)) {
        return;
    }
    qCWarning(lcApp) << "the editor command" << editorCommand << "did not start for" << path;
    Alert alert;
    alert.style = Alert::Style::Warning;
    alert.title = QStringLiteral("The editor could not be started.");
    alert.message =
        QStringLiteral("\"%1\" did not start. Choose another editor in the preferences.")
            .arg(editorCommand);
    alert.buttons = {QStringLiteral("OK")};
    AlertPresenter::current().runAlert(alert);
}
