#pragma once

// Replaces a file's contents all at once: the bytes go to a temporary file beside it,
// which is renamed over the target only when every byte reached the disk. A failed save
// (full disk, read-only folder, quota) leaves the old file exactly as it was.
//
// Use this rather than QSaveFile directly: in Qt 6.4 a buffered QSaveFile whose final
// flush fails (a full disk) still commits, replacing the old file with a truncated one.
// Any thread; no shared state.

#include <QByteArray>
#include <QString>

class AtomicFile {
public:
    // Writes `bytes` to `path`. On failure returns false with a one-line reason in
    // *error (naming the path) and leaves any existing file untouched.
    static bool write(const QString& path, const QByteArray& bytes, QString* error = nullptr);
};
