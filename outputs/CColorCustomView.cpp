#include "outputs/CColorCustomView.h"

#include <QPainter>

CColorCustomView::CColorCustomView(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

QColor CColorCustomView::fillColor() const {
    QColor color = palette().color(QPalette::Highlight);
    color.setAlphaF(0.7f);
    return color;
}

void CColorCustomView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), fillColor());
}
