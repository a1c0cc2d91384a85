#include "outputs/EmptyRulerView.h"

#include <QPaintEvent>
#include <QPainter>

EmptyRulerView::EmptyRulerView(QAbstractScrollArea* scrollView, Qt::Orientation orientation,
                               QWidget* parent)
    : QWidget(parent)
    , _scrollView(scrollView)
    , _orientation(orientation) {
    if (_orientation == Qt::Horizontal) {
        setFixedHeight(requiredThickness());
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    } else {
        setFixedWidth(requiredThickness());
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    }
}

int EmptyRulerView::requiredThickness() const {
    return reservedThicknessForAccessoryView() + reservedThicknessForMarkers() + ruleThickness();
}

QSize EmptyRulerView::sizeHint() const {
    return _orientation == Qt::Horizontal ? QSize(100, requiredThickness())
                                          : QSize(requiredThickness(), 100);
}

QSize EmptyRulerView::minimumSizeHint() const {
    return _orientation == Qt::Horizontal ? QSize(0, requiredThickness())
                                          : QSize(requiredThickness(), 0);
}

void EmptyRulerView::paintEvent(QPaintEvent* event) {
    // The window's own colour, so the strip reads as part of the window's frame.
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Window));
}
