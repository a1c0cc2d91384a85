// Clips through drags and the clipboard: the file URL for every program, plus the
// private "ZelvoraStudio Clip" entry {"Cell Index", "Settings"} between preset windows.

#include "preset/PresetController.h"

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

const QString PresetController::kClipPasteboardType = QStringLiteral("ZelvoraStudio Clip");

namespace {

const QString kCellIndexKey = QStringLiteral("Cell Index");
const QString kSettingsKey = QStringLiteral("Settings");

// What the private entry says: the clip's settings (null when absent) and the button it
// came from (-1 when absent).
struct ClipEntry {
    std::shared_ptr<QVariantMap> settings;
    int sourceIndex = -1;
};

ClipEntry readClipEntry(const QMimeData& data) {
    ClipEntry entry;
    if (!data.hasFormat(PresetController::kClipPasteboardType)) {
        return entry;
    }
    QString error;
    const QVariant root =
        PropertyList::fromData(data.data(PresetController::kClipPasteboardType), &error);
    if (root.typeId() != QMetaType::QVariantMap) {
        qCWarning(lcPreset) << "ignoring an unreadable clip entry:" << error;
        return entry;
    }
    const QVariantMap map = root.toMap();
    const QVariant settings = map.value(kSettingsKey);
    if (settings.typeId() == QMetaType::QVariantMap) {
        entry.settings = std::make_shared<QVariantMap>(settings.toMap());
    }
    const QVariant cell = map.value(kCellIndexKey);
    if (cell.typeId() == QMetaType::Int || cell.typeId() == QMetaType::LongLong) {
        entry.sourceIndex = int(cell.toLongLong());
    }
    return entry;
}

} // namespace

void PresetController::copyClip(int index, QMimeData& mimeData) {
    const SoundClip* clip = clipAt(index);
    if (!clip || clip->url().isEmpty()) {
        return;
    }
    const QVariantMap entry{{kCellIndexKey, index},
                            {kSettingsKey, clip->settings() ? *clip->settings() : QVariantMap()}};
    QString error;
    const QByteArray bytes = PropertyList::toXml(entry, &error);
    if (bytes.isEmpty()) {
        qCWarning(lcPreset) << "cannot copy the clip of button" << index << ":" << error;
        return;
    }
    mimeData.setUrls({clip->url()});
    mimeData.setData(kClipPasteboardType, bytes);
}

bool PresetController::takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                              int target) {
    const QList<QUrl> urls = mimeData.urls();
    const QString path = urls.isEmpty() ? QString() : urls.first().toLocalFile();
    if (path.isEmpty()) {
        qCInfo(lcPreset) << "refusing a drop without a local file";
        return false;
    }
    if (!SoundClip::isValidAudioFile(path)) {
        qCInfo(lcPreset) << "refusing" << path << ": not an audio file";
        return false;
    }
    ClipEntry entry = readClipEntry(mimeData);
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
