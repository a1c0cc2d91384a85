#include "playlist/PlaylistCell.h"

#include "foundation/Logging.h"
#include "outputs/ResourceImages.h"
#include "playlist/PlaylistDataSource.h"

#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPainter>

PlaylistCell::PlaylistCell()
    : _textColor(QColor::fromRgbF(0.0f, 0.0f, 0.0f, 1.0f)) {
    const QString arial = QStringLiteral("Arial");
    _titleTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, true)};
    _subTitleTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, false)};
    _durationTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, false)};
}

PlaylistCell::~PlaylistCell() {
    if (_dataSource) {
        qCDebug(lcPlaylist) << "DataSource Release";
    }
}

void PlaylistCell::setDataSource(PlaylistDataSource* dataSource) {
    if (dataSource == _dataSource) {
        return;
    }
    if (_dataSource) {
        qCDebug(lcPlaylist) << "DataSource Release";
    }
    _dataSource = dataSource;
    if (_dataSource) {
        qCDebug(lcPlaylist) << "DataSource Retain";
    }
}

const QPixmap* PlaylistCell::ledFor(int status, qreal ratio) const {
    if (_ledRatio != ratio) {
        _ledRatio = ratio;
        _greenLed = ResourceImages::pixmap(QStringLiteral("GreenLED"), ratio);
        _redLed = ResourceImages::pixmap(QStringLiteral("RedLED"), ratio);
        _grayLed = ResourceImages::pixmap(QStringLiteral("GrayLED"), ratio);
    }
    switch (status) {
    case PlaylistDataSource::EmptyStatus:
        return &_grayLed;
    case PlaylistDataSource::LoadedStatus:
        return &_greenLed;
    case PlaylistDataSource::PlayingStatus:
        return &_redLed;
    default:
        return nullptr;
    }
}

void PlaylistCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame) const {
    if (!_dataSource) {
        return;
    }
    const int row = _tag;
    const double x = frame.x();
    const double y = frame.y();
    const double w = frame.width();

    // The whole row takes the clip's label colour.
    const QColor color = _dataSource->cellColor(row);
    TextAttributes title = _titleTextAttributes;
    TextAttributes subTitle = _subTitleTextAttributes;
    TextAttributes duration = _durationTextAttributes;
    title.color = subTitle.color = duration.color = color;

    const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
    if (const QPixmap* led = ledFor(_dataSource->cellStatus(row), ratio)) {
        CellDrawing::drawImage(painter, *led, QPointF(x + kTextLeft, y + 17));
    }

    const double tx = x + kTextLeft;
    const double tw = w - kTextWidthInset;
    CellDrawing::drawText(painter, trimString(_dataSource->cellTitle(row), tw, title),
                          QPointF(tx, y + 17), title);
    CellDrawing::drawText(painter, trimString(_dataSource->cellSubTitle(row), tw, subTitle),
                          QPointF(tx, y + 31), subTitle);
    CellDrawing::drawText(painter, trimString(_dataSource->cellSubSubTitle(row), tw, subTitle),
                          QPointF(tx, y + 45), subTitle);

    const QString durationText = _dataSource->cellDurationString(row);
    const double durationWidth = QFontMetricsF(duration.font).horizontalAdvance(durationText);
    CellDrawing::drawText(painter, durationText,
                          QPointF(x + w - durationWidth - kDurationRightMargin, y + 2), duration);

    // Over the texts, deliberately: a selected row is one solid bar.
    if (_dataSource->cellIsSelected(row)) {
        painter.fillRect(frame, QColor(Qt::blue));
    }
}

QImage PlaylistCell::getImageOfContents(const QSize& size, qreal devicePixelRatio) const {
    QImage image(size * devicePixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    drawInteriorWithFrame(painter, QRectF(QPointF(0, 0), QSizeF(size)));
    painter.end();
    return image;
}

QString PlaylistCell::trimString(const QString& text, double width,
                                 const TextAttributes& attributes) {
    return CellDrawing::trimString(text, width, attributes);
}
