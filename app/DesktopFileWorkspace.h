#pragma once

// The desktop's file services: "Show in File Manager" asks the user's file manager over
// D-Bus (org.freedesktop.FileManager1.ShowItems) to show the file selected, and opens
// the file's folder when no file manager answers; "Open with Editor" starts the "Default
// Editor" command (a program, possibly with arguments) with the file's path added.
// A command that does not start is reported to the operator and changes nothing.
//
// The process starter and the folder opener are replaceable, so tests see what would
// be started without starting it.
//
// Thread contract: main thread only.

#include "clip/FileWorkspace.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <functional>

class DesktopFileWorkspace : public QObject, public FileWorkspace {
    Q_OBJECT
public:
    // Starts `program` with `arguments`, detached; false when it does not start.
    using ProcessStarter =
        std::function<bool(const QString& program, const QStringList& arguments)>;
    // Opens a folder (a file URL) in whatever the desktop opens folders with.
    using FolderOpener = std::function<void(const QUrl& folder)>;

    explicit DesktopFileWorkspace(QObject* parent = nullptr);

    // Installs this as the program's FileWorkspace (StudioServices); the destructor
    // uninstalls it when it is still installed.
    void install();
    ~DesktopFileWorkspace() override;

    void revealInFileManager(const QString& path) override;
    void openWithEditor(const QString& path, const QString& editorCommand) override;

    void setProcessStarter(ProcessStarter starter) { _startProcess = std::move(starter); }
    void setFolderOpener(FolderOpener opener) { _openFolder = std::move(opener); }
    // Whether ShowItems goes over the session bus; off, the folder opens at once.
    void setUseFileManagerBus(bool use) { _useBus = use; }

private:
    void openFolderOf(const QString& path);

    ProcessStarter _startProcess;
    FolderOpener _openFolder;
    bool _useBus = true;
};
