// PlaylistController: what each row shows, and clips on the clipboard and in drags.

#include "playlist/PlaylistController.h"

#include "clip/ClipPasteboard.h"
#include "clip/SoundClip.h"
#include "outputs/CellDrawing.h"
#include "playlist/CCustomTableView.h"

#include <QMimeData>

namespace {
const QString kNoDuration = QStringLiteral("00:00:00");
} // namespace

QString PlaylistController::pathForCell(int slot) const {
    const SoundClip* clip = clipAt(slot);
    return clip ? clip->url().toLocalFile() : QString();
}

bool PlaylistController::cellIsSelected(int row) const {
    return _tableView->isRowSelected(row);
}

QString PlaylistController::cellTitle(int row) const {
    const SoundClip* clip = clipAt(row);
    return clip ? clip->title() : QStringLiteral("");
}

QString PlaylistController::cellSubTitle(int row) const {
    const SoundClip* clip = clipAt(row);
    return clip ? clip->artist() : QStringLiteral("");
}

QString PlaylistController::cellSubSubTitle(int row) const {
    const SoundClip* clip = clipAt(row);
    return clip ? CellDrawing::albumLine(clip->album(), clip->year()) : QStringLiteral("");
}

QString PlaylistController::cellDurationString(int row) const {
    const SoundClip* clip = clipAt(row);
    return clip ? _timeFormatter.stringForObjectValue(clip->duration()) : kNoDuration;
}

int PlaylistController::cellStatus(int row) const {
    const SoundClip* clip = clipAt(row);
    if (!clip) {
        return EmptyStatus;
    }
    if (clip->isPlaying() && row == _currentClip) {
        return PlayingStatus;
    }
    return clip->url().isEmpty() ? EmptyStatus : LoadedStatus;
}

QColor PlaylistController::cellColor(int row) const {
    const SoundClip* clip = clipAt(row);
    if (!clip || !clip->color().isValid()) {
        return QColor(Qt::black);
    }
    return clip->color();
}

void PlaylistController::copyClip(int slot, QMimeData& mimeData) {
    const SoundClip* clip = clipAt(slot);
    if (!clip || pathForCell(slot).isEmpty()) {
        return;
    }
    ClipPasteboard::write(mimeData, QUrl::fromLocalFile(pathForCell(slot)), slot,
                          clip->settings() ? *clip->settings() : QVariantMap());
}

bool PlaylistController::takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                                int target) {
    const QString path = ClipPasteboard::firstPath(mimeData);
    if (path.isEmpty()) {
        return false;
    }
    const ClipPasteboard::Entry entry = ClipPasteboard::read(mimeData);
    if (deleteOriginal && entry.sourceIndex >= 0) {
        // A row moved within the table leaves its old place first.
        setFile(QString(), entry.sourceIndex, nullptr);
    }
    return setFile(path, target, entry.settings);
}
