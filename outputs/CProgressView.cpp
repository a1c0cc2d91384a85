#include "outputs/CProgressView.h"

#include "foundation/Logging.h"
#include "outputs/ProgressSeekReceiver.h"
#include "outputs/SegmentRun.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

CProgressView::CProgressView(QWidget* parent)
    : QWidget(parent)
    , _myGrayColor(QColor::fromRgbF(0.9f, 0.9f, 0.9f, 1.0f)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    _myValueStep = valueStep();
}

void CProgressView::setColor(const QColor& color) {
    _myColor = color;
    update();
}

void CProgressView::setDoubleValue(double value) {
    if (std::isnan(value)) {
        qCDebug(lcOutputs) << "progress bar ignores a value that is not a number";
        return;
    }
    _myValue = value;
    // Measured now: a hidden bar learns its size only when it is shown.
    _myValueStep = valueStep();
    if (std::abs(_myValue - _myPreviousValue) >= _myValueStep) {
        _myPreviousValue = _myValue;
        update();
    }
}

SegmentRun CProgressView::segmentRun() const {
    return SegmentRun(rect().x(), _myBarWidth, _mySpaceWidth);
}

int CProgressView::segmentCount() const {
    return segmentRun().countEndingBy(rect().x() + rect().width());
}

int CProgressView::litSegmentCount() const {
    if (!(_myValue > 0.0)) {
        return 0;
    }
    const double litEnd = rect().x() + rect().width() * _myValue;
    return std::min(segmentCount(), segmentRun().countEndingBy(litEnd));
}

double CProgressView::valueStep() const {
    return double(_myBarWidth + _mySpaceWidth) / std::max(1, width());
}

QSize CProgressView::sizeHint() const {
    return QSize(150, 10);
}

QSize CProgressView::minimumSizeHint() const {
    return QSize(_myBarWidth, 2);
}

void CProgressView::paintEvent(QPaintEvent*) {
    // Laid out against the whole bounds; a partial expose is clipped by the painter.
    QPainter painter(this);
    const QRect bounds = rect();
    const SegmentRun run = segmentRun();
    const int total = segmentCount();
    const int lit = litSegmentCount();
    const QColor& litColor = _myColor.isValid() ? _myColor : _myGrayColor;
    for (int index = 0; index < total; ++index) {
        painter.fillRect(run.position(index), bounds.y(), _myBarWidth, bounds.height(),
                         index < lit ? litColor : _myGrayColor);
    }
}

void CProgressView::mousePressEvent(QMouseEvent* event) {
    const bool seeking = event->modifiers().testFlag(Qt::ControlModifier);
    if (!seeking || !_windowController || width() <= 0) {
        event->ignore(); // a plain click is not ours; let the window have it
        return;
    }
    const double fraction = std::clamp(event->position().x() / width(), 0.0, 1.0);
    _windowController->setMoviePosition(fraction);
    event->accept();
}
