#pragma once

// The applications installed on the desktop, as their .desktop files under the XDG
// application folders describe them ($XDG_DATA_HOME/applications first, then each
// $XDG_DATA_DIRS/applications). The preferences window offers them as the default
// editor, storing the command that starts one: the entry's Exec line without its field
// codes, so that the file to edit can follow it. Main thread only.

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

struct DesktopApplication {
    QString id;              // the desktop file id ("org.audacityteam.Audacity.desktop")
    QString name;            // Name
    QString command;         // Exec without field codes
    QString iconName;        // Icon: a theme name or an absolute path
    bool opensAudio = false; // MimeType names an audio/ type
};

class DesktopApplications {
public:
    // The folders searched, most important first.
    static QStringList applicationDirectories();

    // The applications of every folder, one per desktop file id (the first folder that
    // has the id wins), without hidden or undisplayed entries, sorted by name.
    static QList<DesktopApplication> installedApplications();

    // One desktop file; none when it is not a shown application with a command.
    static std::optional<DesktopApplication> readDesktopFile(const QString& path,
                                                             const QString& id);

    // An Exec value as a command line: field codes (%f, %U, ...) and the "@@" markers
    // of sandboxed launchers dropped, "%%" turned into "%", arguments quoted again where
    // they hold spaces.
    static QString commandFromExec(const QString& exec);
};
