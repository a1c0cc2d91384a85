#include "preset/PresetButtonCell.h"

#include "clip/SoundClip.h"
#include "editing/CTimeFormatter.h"
#include "outputs/ResourceImages.h"
#include "preset/PresetMatrix.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace {

const QString kNoDuration = QStringLiteral("00:00:00");

QPixmap image(const char* name, qreal ratio) {
    return ResourceImages::pixmap(QString::fromLatin1(name), ratio);
}

} // namespace

PresetButtonCell::PresetButtonCell()
    : _textColor(QColor::fromRgbF(0.0f, 0.0f, 0.0f, 1.0f))
    , _bigLetterColor(QColor::fromRgbF(0.0f, 0.0f, 0.0f, 0.4f)) {
    const QString arial = QStringLiteral("Arial");
    _titleTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, true)};
    _subTitleTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, false)};
    _durationTextAttributes = {_textColor, CellDrawing::namedFont(arial, 12, false)};
    _bigLetterTextAttributes = {_bigLetterColor, CellDrawing::namedFont(arial, 16, true)};
    _outputNameTextAttributes = {_textColor, CellDrawing::namedFont(arial, 10, false)};
}

PresetButtonCell::~PresetButtonCell() = default;

void PresetButtonCell::setClip(SoundClip* clip) {
    _clip = clip;
}

void PresetButtonCell::setBlinkedState(bool blinked) {
    if (_blinkedState == blinked) {
        return;
    }
    _blinkedState = blinked;
    redraw();
}

void PresetButtonCell::setHighlighted(bool highlighted) {
    if (_highlighted == highlighted) {
        return;
    }
    _highlighted = highlighted;
    redraw();
}

void PresetButtonCell::redraw() {
    if (_controlView) {
        _controlView->updateCellAtIndex(_tag);
    }
}

PresetButtonCell::LedStatus PresetButtonCell::ledStatus() const {
    if (!_clip) {
        return GreyLed;
    }
    if (_clip->isPaused()) {
        return YellowLed;
    }
    if (_clip->isPlaying()) {
        return RedLed;
    }
    if (!_clip->url().isEmpty()) {
        return GreenLed;
    }
    return NoLed;
}

const PresetButtonCell::Images& PresetButtonCell::imagesFor(const QPainter& painter) const {
    const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
    if (_images.ratio != ratio) {
        _images.ratio = ratio;
        _images.greenLed = image("GreenLED", ratio);
        _images.redLed = image("RedLED", ratio);
        _images.yellowLed = image("YellowLED", ratio);
        _images.grayLed = image("GrayLED", ratio);
        _images.inPoint = image("In Point", ratio);
        _images.outPoint = image("Out Point", ratio);
        _images.loop = image("LoopSmall", ratio);
        _images.offline = image("Offline", ratio);
        _images.offlineSmall = image("OfflineSmall", ratio);
    }
    return _images;
}

void PresetButtonCell::drawWithFrame(QPainter& painter, const QRectF& frame,
                                     const QWidget* view) const {
    QStyleOptionButton option;
    if (view) {
        option.initFrom(view);
    } else {
        option.palette = QApplication::palette();
        option.state = QStyle::State_Enabled | QStyle::State_Active;
    }
    option.rect = frame.toAlignedRect();
    option.state &= ~(QStyle::State_HasFocus | QStyle::State_MouseOver);
    if (!_enabled) {
        option.state &= ~QStyle::State_Enabled;
    }
    option.state |= _highlighted ? QStyle::State_Sunken : QStyle::State_Raised;
    QStyle* style = view ? view->style() : QApplication::style();
    style->drawControl(QStyle::CE_PushButtonBevel, &option, &painter, view);
    drawInteriorWithFrame(painter, frame);
}

void PresetButtonCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame) const {
    const Images& images = imagesFor(painter);
    drawOutputColorBar(painter, frame);
    const LedStatus status = ledStatus();
    if (status != NoLed) {
        drawLED(painter, frame, status);
    }
    drawBigLetter(painter, frame);
    drawClipTexts(painter, frame);
    drawMarks(painter, frame, images);
    drawDuration(painter, frame);
    drawOfflineMark(painter, frame, images);
}

void PresetButtonCell::drawOutputColorBar(QPainter& painter, const QRectF& frame) const {
    if (!_clip || !_clip->outputColor().isValid()) {
        return;
    }
    painter.fillRect(QRectF(frame.x() + 6, frame.y() + 20, 5, frame.height() - 27),
                     _clip->outputColor());
}

void PresetButtonCell::drawLED(QPainter& painter, const QRectF& frame, int status) const {
    const Images& images = imagesFor(painter);
    const QPixmap* led = nullptr;
    if (_blinkedState) {
        led = &images.grayLed;
    } else {
        switch (status) {
        case GreenLed:
            led = &images.greenLed;
            break;
        case RedLed:
            led = &images.redLed;
            break;
        case YellowLed:
            led = &images.yellowLed;
            break;
        case GreyLed:
            led = &images.grayLed;
            break;
        default:
            return;
        }
    }
    CellDrawing::drawImage(painter, *led, QPointF(frame.x() + frame.width() - 19, frame.y() + 19));
}

void PresetButtonCell::drawBigLetter(QPainter& painter, const QRectF& frame) const {
    if (_letter.isEmpty()) {
        return;
    }
    const double width = QFontMetricsF(_bigLetterTextAttributes.font).horizontalAdvance(_letter);
    CellDrawing::drawText(painter, _letter,
                          QPointF(frame.x() + frame.width() - 11 - width / 2, frame.y() + 19),
                          _bigLetterTextAttributes);
}

void PresetButtonCell::drawClipTexts(QPainter& painter, const QRectF& frame) const {
    if (!_clip) {
        return;
    }
    // Title, artist and album take the clip's label colour.
    TextAttributes title = _titleTextAttributes;
    TextAttributes subTitle = _subTitleTextAttributes;
    title.color = _clip->color().isValid() ? _clip->color() : _textColor;
    subTitle.color = title.color;

    const double x = frame.x();
    const double y = frame.y();
    const double textWidth = frame.width() - kTitleMargin;
    CellDrawing::drawText(painter,
                          trimmedLine(OutputNameLine, _clip->outputName(), kOutputNameWidth,
                                      _outputNameTextAttributes),
                          QPointF(x + 5, y + 4), _outputNameTextAttributes);
    CellDrawing::drawText(painter, trimmedLine(TitleLine, _clip->title(), textWidth, title),
                          QPointF(x + 14, y + 17), title);
    if (frame.height() > kTallLayoutMinimumHeight) {
        CellDrawing::drawText(painter,
                              trimmedLine(ArtistLine, _clip->artist(), textWidth, subTitle),
                              QPointF(x + 14, y + 31), subTitle);
        CellDrawing::drawText(
            painter,
            trimmedLine(AlbumLine, albumLine(_clip->album(), _clip->year()), textWidth, subTitle),
            QPointF(x + 14, y + 45), subTitle);
    }
}

void PresetButtonCell::drawMarks(QPainter& painter, const QRectF& frame,
                                 const Images& images) const {
    if (!_clip) {
        return;
    }
    const double x = frame.x();
    const double y = frame.y();
    if (_clip->hasInPoint()) {
        CellDrawing::drawImage(painter, images.inPoint, QPointF(x + 85, y + 18));
    }
    if (_clip->hasOutPoint()) {
        CellDrawing::drawImage(painter, images.outPoint, QPointF(x + 95, y + 18));
    }
    if (_clip->isLooping()) {
        CellDrawing::drawImage(painter, images.loop, QPointF(x + 65, y + 19));
    }
}

void PresetButtonCell::drawDuration(QPainter& painter, const QRectF& frame) const {
    const QString text =
        _clip ? CTimeFormatter().stringForObjectValue(_clip->duration()) : kNoDuration;
    CellDrawing::drawText(painter, text, QPointF(frame.x() + frame.width() - 67, frame.y() + 1),
                          _durationTextAttributes);
}

void PresetButtonCell::drawOfflineMark(QPainter& painter, const QRectF& frame,
                                       const Images& images) const {
    if (!_clip || !_clip->isOffline() || images.offline.isNull()) {
        return;
    }
    const double imageWidth = images.offline.deviceIndependentSize().width();
    const double bottom = frame.height() > kTallLayoutMinimumHeight
                              ? frame.y() + frame.height() - 5
                              : frame.y() + frame.height() + 2;
    CellDrawing::drawImage(painter, images.offline,
                           QPointF(frame.x() + frame.width() / 2 - imageWidth / 2, bottom), 0.9);
}

QString PresetButtonCell::trimmedLine(TrimmedLine line, const QString& text, double width,
                                      const TextAttributes& attributes) const {
    TrimmedText& kept = _trimmed[size_t(line)];
    if (kept.width != width || kept.source != text || kept.source.isNull() != text.isNull()) {
        kept.source = text;
        kept.width = width;
        kept.trimmed = trimString(text, width, attributes);
    }
    return kept.trimmed;
}

QImage PresetButtonCell::getImageOfContents(const QSize& size, const QWidget* view) const {
    const qreal ratio = view ? view->devicePixelRatioF() : 1.0;
    QImage image(size * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    drawWithFrame(painter, QRectF(QPointF(0, 0), QSizeF(size)), view);
    painter.end();
    return image;
}
