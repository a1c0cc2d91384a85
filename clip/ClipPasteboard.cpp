#include "clip/ClipPasteboard.h"

#include "foundation/Logging.h"
#include "foundation/PropertyList.h"

#include <QList>
#include <QMimeData>

const QString ClipPasteboard::kClipType = QStringLiteral("ZelvoraStudio Clip");

namespace {
const QString kCellIndexKey = QStringLiteral("Cell Index");
const QString kSettingsKey = QStringLiteral("Settings");
} // namespace

bool ClipPasteboard::write(QMimeData& mimeData, const QUrl& url, int cellIndex,
                           const QVariantMap& settings) {
    QString error;
    const QByteArray bytes = PropertyList::toXml(
        QVariantMap{{kCellIndexKey, cellIndex}, {kSettingsKey, settings}}, &error);
    if (bytes.isEmpty()) {
        qCWarning(lcClip) << "cannot put the clip of" << cellIndex << "on the clipboard:" << error;
        return false;
    }
    mimeData.setUrls({url});
    mimeData.setData(kClipType, bytes);
    return true;
}

ClipPasteboard::Entry ClipPasteboard::read(const QMimeData& mimeData) {
    Entry entry;
    if (!mimeData.hasFormat(kClipType)) {
        return entry;
    }
    QString error;
    const QVariant root = PropertyList::fromData(mimeData.data(kClipType), &error);
    if (root.typeId() != QMetaType::QVariantMap) {
        qCWarning(lcClip) << "ignoring an unreadable clip entry:" << error;
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

QString ClipPasteboard::firstPath(const QMimeData& mimeData) {
    const QList<QUrl> urls = mimeData.urls();
    return urls.isEmpty() ? QString() : urls.first().toLocalFile();
}
