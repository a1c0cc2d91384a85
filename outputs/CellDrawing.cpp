#include "outputs/CellDrawing.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPixmap>
#include <QPointF>

namespace {
const QString kEllipsis = QStringLiteral("...");
} // namespace

QFont CellDrawing::namedFont(const QString& family, int pixelSize, bool bold) {
    QFont font(family);
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

QString CellDrawing::trimString(const QString& text, double width,
                                const TextAttributes& attributes) {
    if (text.isNull()) {
        return QString();
    }
    if (width < 1.0) {
        return QStringLiteral("");
    }
    const QFontMetricsF metrics(attributes.font);
    double textWidth = metrics.horizontalAdvance(text);
    if (textWidth < width) {
        return text;
    }
    const double ellipsisWidth = metrics.horizontalAdvance(kEllipsis);
    QString shortened = text;
    while (!shortened.isEmpty() && width < ellipsisWidth + textWidth) {
        shortened.chop(1);
        textWidth = metrics.horizontalAdvance(shortened);
    }
    return shortened + kEllipsis;
}

QString CellDrawing::albumLine(const QString& album, int year) {
    const bool hasAlbum = !album.isEmpty();
    if (hasAlbum && year != 0) {
        return QStringLiteral("%1, %2").arg(album).arg(year);
    }
    if (hasAlbum) {
        return album;
    }
    if (year != 0) {
        return QString::number(year);
    }
    return QStringLiteral("");
}

void CellDrawing::drawText(QPainter& painter, const QString& text, const QPointF& topLeft,
                           const TextAttributes& attributes) {
    if (text.isEmpty()) {
        return;
    }
    painter.setFont(attributes.font);
    painter.setPen(attributes.color);
    const double ascent = QFontMetricsF(attributes.font).ascent();
    painter.drawText(QPointF(topLeft.x(), topLeft.y() + ascent), text);
}

void CellDrawing::drawImage(QPainter& painter, const QPixmap& image, const QPointF& lowerLeft,
                            double fraction) {
    if (image.isNull()) {
        return;
    }
    const QSizeF size = image.deviceIndependentSize();
    const double previousOpacity = painter.opacity();
    painter.setOpacity(previousOpacity * fraction);
    painter.drawPixmap(QPointF(lowerLeft.x(), lowerLeft.y() - size.height()), image);
    painter.setOpacity(previousOpacity);
}
