// Clips through drags and the clipboard: the file URL for every program, plus the
// private "ZelvoraStudio Clip" entry {"Cell Index", "Settings"} between preset windows.

#include "preset/PresetController.h"

#include "clip/ClipPasteboard.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "foundation/Logging.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

void PresetController::copyClip(int index, QMimeData& mimeData) {
    const SoundClip* clip = clipAt(index);
    if (!clip || clip->url().isEmpty()) {
        return;
    }
    ClipPasteboard::write(mimeData, clip->url(), index,
                          clip->settings() ? *clip->settings() : QVariantMap());
}

bool PresetController::takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                              int target) {
    const QString path = ClipPasteboard::firstPath(mimeData);
    if (path.isEmpty()) {
        qCInfo(lcPreset) << "refusing a drop without a local file";
        return false;
    }
    if (!SoundClip::isValidAudioFile(path)) {
        qCInfo(lcPreset) << "refusing" << path << ": not an audio file";
        return false;
    }
    ClipPasteboard::Entry entry = ClipPasteboard::read(mimeData);
    if (deleteOriginal && entry.sourceIndex >= 0) {
        setFile(QString(), entry.sourceIndex, nullptr);
    }
    if (!entry.settings) {
        // A file from another program takes the target's settings but not its in and out
        // points; an empty target gives the document's defaults.
        if (const SoundClip* current = clipAt(target); current && current->settings()) {
            entry.settings = std::make_shared<QVariantMap>(*current->settings());
            entry.settings->remove(settingsKey_InPoint);
            entry.settings->remove(settingsKey_OutPoint);
        }
    }
    return setFile(path, target, entry.settings);
}

void PresetController::copyClipToClipboard(int index) {
    auto data = std::make_unique<QMimeData>();
    copyClip(index, *data);
    if (!data->hasUrls()) {
        return;
    }
    QGuiApplication::clipboard()->setMimeData(data.release());
}

bool PresetController::pasteClipFromClipboard(int index) {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data) {
        return false;
    }
    // A paste never clears the button the clip was copied from.
    return takeClipFromPasteboard(*data, false, index);
}
