#include "outputs/ResourceIconEngine.h"

#include "outputs/ResourceImages.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>

namespace {

// The image's natural size scaled to fit `size`, keeping its proportions.
QSize fittedSize(const QString& name, const QSize& size) {
    const QSize natural = ResourceImages::naturalSize(name);
    if (natural.isEmpty() || size.isEmpty()) {
        return {};
    }
    return natural.scaled(size, Qt::KeepAspectRatio);
}

} // namespace

ResourceIconEngine::ResourceIconEngine(const QString& name)
    : _name(name) {}

QSize ResourceIconEngine::actualSize(const QSize& size, QIcon::Mode, QIcon::State) {
    return fittedSize(_name, size);
}

QPixmap ResourceIconEngine::drawn(const QSize& size, QIcon::Mode mode, qreal scale) const {
    const QSize fitted = fittedSize(_name, size);
    if (fitted.isEmpty()) {
        return {};
    }
    QPixmap pixmap = ResourceImages::pixmap(_name, fitted, scale);
    if (mode != QIcon::Normal && mode != QIcon::Active && qApp) {
        QStyleOption option;
        option.palette = QApplication::palette();
        QPixmap styled = QApplication::style()->generatedIconPixmap(mode, pixmap, &option);
        styled.setDevicePixelRatio(pixmap.devicePixelRatio());
        return styled;
    }
    return pixmap;
}

void ResourceIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
                               QIcon::State) {
    const qreal scale = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    const QPixmap image = drawn(rect.size(), mode, scale);
    if (image.isNull()) {
        return;
    }
    const QSize shown = image.deviceIndependentSize().toSize();
    const QPoint topLeft(rect.x() + (rect.width() - shown.width()) / 2,
                         rect.y() + (rect.height() - shown.height()) / 2);
    painter->drawPixmap(topLeft, image);
}

QPixmap ResourceIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) {
    return drawn(size, mode, 1.0);
}

QList<QSize> ResourceIconEngine::availableSizes(QIcon::Mode, QIcon::State) {
    const QSize natural = ResourceImages::naturalSize(_name);
    return natural.isValid() ? QList<QSize>{natural} : QList<QSize>{};
}

QString ResourceIconEngine::key() const {
    return QStringLiteral("zelvora-resource");
}

QString ResourceIconEngine::iconName() {
    return _name;
}

bool ResourceIconEngine::isNull() {
    return !ResourceImages::contains(_name);
}

QIconEngine* ResourceIconEngine::clone() const {
    return new ResourceIconEngine(_name);
}
