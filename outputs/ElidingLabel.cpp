#include "outputs/ElidingLabel.h"

#include <QPainter>

ElidingLabel::ElidingLabel(QWidget* parent)
    : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QString ElidingLabel::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ElidingLabel::minimumSizeHint() const {
    // Any width will do; the height is one line.
    return QSize(0, QLabel::minimumSizeHint().height());
}

void ElidingLabel::paintEvent(QPaintEvent* event) {
    (void)event;
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(contentsRect(), int(alignment()) | Qt::TextSingleLine, shownText());
}
