#include "outputs/CVuMeterView.h"

#include "foundation/Logging.h"
#include "outputs/SegmentRun.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

CVuMeterView::CVuMeterView(QWidget* parent)
    : QWidget(parent)
    , _myGreenColor(QColor::fromRgbF(0.0f, 0.9f, 0.0f, 1.0f))
    , _myRedColor(QColor::fromRgbF(1.0f, 0.0f, 0.0f, 1.0f))
    , _myOrangeColor(QColor::fromRgbF(1.0f, 0.6f, 0.0f, 1.0f))
    , _myGrayColor(QColor::fromRgbF(0.9f, 0.9f, 0.9f, 1.0f)) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    _myValueStep = valueStep();
}

void CVuMeterView::setDoubleValue(double value) {
    if (std::isnan(value)) {
        qCDebug(lcOutputs) << "level meter ignores a value that is not a number";
        return;
    }
    _myValue = value;
    // Measured now: a hidden meter learns its size only when it is shown.
    _myValueStep = valueStep();
    if (std::abs(_myValue - _myPreviousValue) >= _myValueStep) {
        _myPreviousValue = _myValue;
        update();
    }
}

// Positions count up from the bottom edge, as a level rises.
SegmentRun CVuMeterView::segmentRun() const {
    return SegmentRun(0, _myBarHeight, _mySpaceHeight);
}

int CVuMeterView::segmentCount() const {
    return segmentRun().countEndingBy(height());
}

int CVuMeterView::litSegmentCount() const {
    if (!(_myValue > 0.0)) {
        return 0;
    }
    return std::min(segmentCount(), segmentRun().countEndingBy(height() * _myValue));
}

const QColor& CVuMeterView::zoneColor(int position) const {
    if (position > 0.9 * height()) {
        return _myRedColor;
    }
    if (position > 0.8 * height()) {
        return _myOrangeColor;
    }
    return _myGreenColor;
}

double CVuMeterView::valueStep() const {
    return double(_myBarHeight + _mySpaceHeight) / std::max(1, height());
}

QSize CVuMeterView::sizeHint() const {
    return QSize(8, 120);
}

QSize CVuMeterView::minimumSizeHint() const {
    return QSize(2, _myBarHeight);
}

void CVuMeterView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect bounds = rect();
    const SegmentRun run = segmentRun();
    const int total = segmentCount();
    const int lit = litSegmentCount();
    for (int index = 0; index < total; ++index) {
        const int position = run.position(index);
        const int top = bounds.y() + bounds.height() - position - _myBarHeight;
        painter.fillRect(bounds.x(), top, bounds.width(), _myBarHeight,
                         index < lit ? zoneColor(position) : _myGrayColor);
    }
}
