#pragma once

// Finds a file by its identity (device and inode) in the folders where a moved or
// renamed file most likely went: the given seed folders and the folders below them, a
// few levels deep. The walk is bounded by the number of directory entries it reads and by
// a time budget, so a lookup never stalls the caller for more than a few hundred
// milliseconds, however large the tree.
//
// A file counts as found when it is a regular file with the same device and inode and,
// because a deleted file's inode can be handed to a new file, it also keeps either the
// file name or the size and modification time it had.
//
// Thread contract: any thread; no shared state.

#include <QString>
#include <QStringList>
#include <QtGlobal>

class FileIdentitySearch {
public:
    struct Identity {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = -1;
        qint64 modifiedNs = 0; // modification time, nanoseconds since the epoch
        QString fileName;
    };

    struct Limits {
        int maxEntries = 20000;
        int maxMilliseconds = 200;
        int maxDepth = 2; // levels of subfolders below each seed
    };

    // The identity of the regular file at `path`; false when there is none.
    static bool identityOf(const QString& path, Identity* identity);

    struct Result {
        QString path;          // "" when not found
        bool cutShort = false; // the walk stopped at a limit before it was complete
        int entriesRead = 0;
    };

    // Looks for the file with `identity` in `seeds`, walked in order, each down to
    // limits.maxDepth (a folder reached twice is read once). Symbolic links to folders
    // are not followed; seeds that are not folders are skipped.
    static Result find(const Identity& identity, const QStringList& seeds, Limits limits);
    static Result find(const Identity& identity, const QStringList& seeds) {
        return find(identity, seeds, Limits());
    }
};
