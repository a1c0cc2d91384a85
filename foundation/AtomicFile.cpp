#include "foundation/AtomicFile.h"

#include <QSaveFile>

bool AtomicFile::write(const QString& path, const QByteArray& bytes, QString* error) {
    // Unbuffered, so that a failing write is seen here and not lost in a late flush.
    QSaveFile file(path);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    written = written && file.write(bytes) == bytes.size() && file.flush();
    if (!written) {
        const QString reason = file.errorString();
        file.cancelWriting();
        if (error) {
            *error = QStringLiteral("cannot write %1: %2").arg(path, reason);
        }
        return false;
    }
    if (!file.commit()) {
        if (error) {
            *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        }
        return false;
    }
    if (error) {
        error->clear();
    }
    return true;
}
