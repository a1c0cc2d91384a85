#include "editing/ClipWaveformView.h"

#include "editing/WaveformPeaks.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace {

const QColor kBackground(28, 30, 34);
const QColor kDimmed(0, 0, 0, 120);
const QColor kWaveInside(110, 190, 235);
const QColor kWaveOutside(95, 105, 115);
const QColor kCentreLine(70, 75, 82);
const QColor kInColor(60, 200, 90);
const QColor kOutColor(235, 70, 60);
const QColor kPlayheadColor(255, 214, 0);
const QColor kMessageColor(170, 175, 182);

// Room above the wave for the mark flags.
constexpr int kFlagHeight = 12;
constexpr int kMargin = 1;

} // namespace

ClipWaveformView::ClipWaveformView(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(tr("Position"));
    setCursor(Qt::IBeamCursor);
}

ClipWaveformView::~ClipWaveformView() = default;

void ClipWaveformView::setFileDuration(double seconds) {
    _fileDuration = std::isfinite(seconds) && seconds > 0.0 ? seconds : 0.0;
    update();
}

void ClipWaveformView::setPeaks(std::shared_ptr<const WaveformPeaks> peaks) {
    _peaks = std::move(peaks);
    update();
}

void ClipWaveformView::setMessage(const QString& message) {
    _message = message;
    update();
}

void ClipWaveformView::setInPoint(double seconds) {
    _inPoint = seconds;
    update();
}

void ClipWaveformView::setOutPoint(double secondsFromEnd) {
    _outPoint = secondsFromEnd;
    update();
}

void ClipWaveformView::setPlayheadPosition(double seconds) {
    if (seconds == _playhead) {
        return;
    }
    _playhead = seconds;
    update();
}

QRect ClipWaveformView::waveArea() const {
    return rect().adjusted(kMargin, kFlagHeight, -kMargin, -kMargin);
}

int ClipWaveformView::xForSeconds(double seconds) const {
    const QRect area = waveArea();
    if (_fileDuration <= 0.0 || !std::isfinite(seconds)) {
        return area.left();
    }
    const double fraction = std::clamp(seconds / _fileDuration, 0.0, 1.0);
    return area.left() + int(std::lround(fraction * (area.width() - 1)));
}

double ClipWaveformView::secondsForX(int x) const {
    const QRect area = waveArea();
    if (_fileDuration <= 0.0 || area.width() <= 1) {
        return 0.0;
    }
    const double fraction = double(x - area.left()) / double(area.width() - 1);
    return std::clamp(fraction, 0.0, 1.0) * _fileDuration;
}

QSize ClipWaveformView::sizeHint() const {
    return {520, 96};
}

QSize ClipWaveformView::minimumSizeHint() const {
    return {160, 64};
}

void ClipWaveformView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), kBackground);
    const QRect area = waveArea();
    painter.setPen(kCentreLine);
    painter.drawLine(area.left(), area.center().y(), area.right(), area.center().y());
    if (_fileDuration <= 0.0) {
        drawMessage(painter, area);
        return;
    }
    drawWaveform(painter, area);
    // The parts the clip does not play.
    const int inX = xForSeconds(_inPoint);
    const int outX = xForSeconds(_fileDuration - _outPoint);
    painter.fillRect(QRect(QPoint(area.left(), area.top()), QPoint(inX - 1, area.bottom())),
                     kDimmed);
    painter.fillRect(QRect(QPoint(outX + 1, area.top()), QPoint(area.right(), area.bottom())),
                     kDimmed);
    drawMark(painter, area, _inPoint, kInColor, tr("IN"), false);
    drawMark(painter, area, _fileDuration - _outPoint, kOutColor, tr("OUT"), true);
    drawPlayhead(painter, area);
    drawMessage(painter, area);
}

void ClipWaveformView::drawMessage(QPainter& painter, const QRect& area) const {
    if (!_message.isEmpty()) {
        painter.setPen(kMessageColor);
        painter.drawText(area, Qt::AlignCenter, _message);
    }
}

void ClipWaveformView::drawWaveform(QPainter& painter, const QRect& area) const {
    if (!_peaks) {
        return;
    }
    const double halfHeight = (area.height() - 1) / 2.0;
    const double centre = area.top() + halfHeight;
    const double playEnd = _fileDuration - _outPoint;
    for (int x = area.left(); x <= area.right(); ++x) {
        const double start = double(x - area.left()) / area.width() * _fileDuration;
        const double end = double(x - area.left() + 1) / area.width() * _fileDuration;
        float low = 0.0f;
        float high = 0.0f;
        if (!_peaks->rangeBetween(start, end, &low, &high)) {
            continue;
        }
        const double top = centre - std::clamp(double(high), -1.0, 1.0) * halfHeight;
        const double bottom = centre - std::clamp(double(low), -1.0, 1.0) * halfHeight;
        const bool inside = end > _inPoint && start < playEnd;
        painter.setPen(inside ? kWaveInside : kWaveOutside);
        painter.drawLine(QPointF(x + 0.5, top), QPointF(x + 0.5, std::max(bottom, top + 1.0)));
    }
}

void ClipWaveformView::drawMark(QPainter& painter, const QRect& area, double seconds,
                                const QColor& color, const QString& label, bool labelLeft) const {
    const int x = xForSeconds(seconds);
    painter.setPen(QPen(color, 1));
    painter.drawLine(x, area.top(), x, area.bottom());
    QFont font = painter.font();
    font.setPixelSize(kFlagHeight - 3);
    font.setBold(true);
    painter.setFont(font);
    const int width = QFontMetrics(font).horizontalAdvance(label) + 6;
    const QRect flag(labelLeft ? x - width + 1 : x, 0, width, kFlagHeight);
    painter.fillRect(flag, color);
    painter.setPen(Qt::black);
    painter.drawText(flag, Qt::AlignCenter, label);
}

void ClipWaveformView::drawPlayhead(QPainter& painter, const QRect& area) const {
    const int x = xForSeconds(_playhead);
    painter.setPen(QPen(kPlayheadColor, 1));
    painter.drawLine(x, area.top(), x, area.bottom());
    QPainterPath head;
    head.moveTo(x - 4, area.top());
    head.lineTo(x + 5, area.top());
    head.lineTo(x + 0.5, area.top() + 5);
    head.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(head, kPlayheadColor);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void ClipWaveformView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        requestPositionAt(event->position().toPoint().x());
    }
}

void ClipWaveformView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) {
        requestPositionAt(event->position().toPoint().x());
    }
}

void ClipWaveformView::requestPositionAt(int x) {
    if (_fileDuration <= 0.0) {
        return;
    }
    const double seconds = secondsForX(x);
    setPlayheadPosition(seconds);
    emit positionRequested(seconds);
}
