#include "clip/FileLabel.h"

#include <QFile>
#include <QStringList>
#include <sys/xattr.h>

namespace {

// Tag lists longer than this are not labels anybody set by hand; they are ignored.
constexpr ssize_t kMaxTagsBytes = 64 * 1024;

struct ColorName {
    const char* name;
    int label;
};

constexpr ColorName kColorNames[] = {
    {"grey", 1}, {"gray", 1},   {"green", 2}, {"purple", 3},
    {"blue", 4}, {"yellow", 5}, {"red", 6},   {"orange", 7},
};

} // namespace

const char* const FileLabel::kTagsAttribute = "user.xdg.tags";

const std::array<QColor, FileLabel::kLabelColorCount>& FileLabel::labelColors() {
    static const std::array<QColor, kLabelColorCount> colors{
        QColor::fromRgbF(0.0f, 0.0f, 0.0f, 1.0f),
        QColor::fromRgbF(0.4f, 0.4f, 0.4f, 1.0f),
        QColor::fromRgbF(0.0f, 0.7f, 0.0f, 1.0f),
        QColor::fromRgbF(0.7f, 0.0f, 1.0f, 1.0f),
        QColor::fromRgbF(0.0f, 0.4f, 1.0f, 1.0f),
        QColor::fromRgbF(0.9f, 0.7f, 0.0f, 1.0f),
        QColor::fromRgbF(1.0f, 0.0f, 0.0f, 1.0f),
        QColor::fromRgbF(1.0f, 0.4f, 0.0f, 1.0f),
        QColor(),
    };
    return colors;
}

int FileLabel::labelNumberForTags(const QString& tags) {
    const QStringList names = tags.split(QLatin1Char(','));
    for (const QString& tag : names) {
        const QString name = tag.trimmed();
        for (const ColorName& color : kColorNames) {
            if (name.compare(QLatin1String(color.name), Qt::CaseInsensitive) == 0) {
                return color.label;
            }
        }
    }
    return 0;
}

QString FileLabel::tagsForPath(const QString& path) {
    if (path.isEmpty()) {
        return QString();
    }
    const QByteArray encoded = QFile::encodeName(path);
    const ssize_t size = ::getxattr(encoded.constData(), kTagsAttribute, nullptr, 0);
    if (size <= 0 || size > kMaxTagsBytes) {
        return QString();
    }
    QByteArray value(qsizetype(size), '\0');
    const ssize_t read =
        ::getxattr(encoded.constData(), kTagsAttribute, value.data(), size_t(size));
    if (read <= 0) {
        return QString(); // changed or removed between the two calls
    }
    value.truncate(qsizetype(read));
    return QString::fromUtf8(value);
}

int FileLabel::labelNumberForPath(const QString& path) {
    return labelNumberForTags(tagsForPath(path));
}

QColor FileLabel::colorForPath(const QString& path) {
    return labelColors()[size_t(labelNumberForPath(path))];
}
