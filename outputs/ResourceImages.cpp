#include "outputs/ResourceImages.h"

#include "foundation/Logging.h"
#include "outputs/ResourceIconEngine.h"
#include "resources/ZelvoraResources.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <cmath>

namespace {

const QString kImageFolder = QStringLiteral(":/images");
const QString kImageSuffix = QStringLiteral(".svg");

// Pixel size of an image drawn at `size` for a screen of `ratio`.
QSize devicePixels(const QSize& size, qreal ratio) {
    return QSize(qRound(size.width() * ratio), qRound(size.height() * ratio));
}

QString cacheKey(const QString& name, const QSize& pixels, qreal ratio) {
    return QStringLiteral("zelvora-image:%1:%2x%3@%4")
        .arg(name)
        .arg(pixels.width())
        .arg(pixels.height())
        .arg(ratio);
}

QPixmap render(const QString& path, const QSize& pixels, qreal ratio) {
    QSvgRenderer renderer(path);
    if (!renderer.isValid()) {
        qCWarning(lcOutputs) << "image" << path << "is not a readable SVG";
        return {};
    }
    QPixmap pixmap(pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace

QString ResourceImages::path(const QString& name) {
    return kImageFolder + QLatin1Char('/') + name + kImageSuffix;
}

QStringList ResourceImages::names() {
    ZelvoraResources::initialize();
    QStringList result;
    const QStringList files =
        QDir(kImageFolder).entryList({QLatin1Char('*') + kImageSuffix}, QDir::Files, QDir::Name);
    for (const QString& file : files) {
        result << file.chopped(kImageSuffix.size());
    }
    return result;
}

bool ResourceImages::contains(const QString& name) {
    ZelvoraResources::initialize();
    return !name.isEmpty() && QFileInfo::exists(path(name));
}

QSize ResourceImages::naturalSize(const QString& name) {
    static QHash<QString, QSize> known;
    const auto found = known.constFind(name);
    if (found != known.constEnd()) {
        return *found;
    }
    if (!contains(name)) {
        qCWarning(lcOutputs) << "no image named" << name;
        return {};
    }
    const QSize size = QSvgRenderer(path(name)).defaultSize();
    known.insert(name, size);
    return size;
}

QPixmap ResourceImages::pixmap(const QString& name, const QSize& size, qreal devicePixelRatio) {
    if (size.isEmpty() || !(devicePixelRatio > 0.0) || !std::isfinite(devicePixelRatio)) {
        qCWarning(lcOutputs) << "image" << name << "asked for at an unusable size" << size
                             << "ratio" << devicePixelRatio;
        return {};
    }
    const QSize pixels = devicePixels(size, devicePixelRatio);
    const QString key = cacheKey(name, pixels, devicePixelRatio);
    QPixmap cached;
    if (QPixmapCache::find(key, &cached)) {
        return cached;
    }
    if (!contains(name)) {
        qCWarning(lcOutputs) << "no image named" << name;
        return {};
    }
    QPixmap drawn = render(path(name), pixels, devicePixelRatio);
    if (!drawn.isNull()) {
        QPixmapCache::insert(key, drawn);
    }
    return drawn;
}

QPixmap ResourceImages::pixmap(const QString& name, qreal devicePixelRatio) {
    const QSize size = naturalSize(name);
    if (!size.isValid()) {
        return {};
    }
    return pixmap(name, size, devicePixelRatio);
}

QIcon ResourceImages::icon(const QString& name) {
    if (!contains(name)) {
        qCWarning(lcOutputs) << "no icon named" << name;
        return {};
    }
    return QIcon(new ResourceIconEngine(name));
}
