#include "outputs/PlainButton.h"

#include <QPainter>
#include <QStyleOptionButton>
#include <QStylePainter>

PlainButton::PlainButton(QWidget* parent)
    : PlainButton(QString(), parent) {}

PlainButton::PlainButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent) {
    setFlat(true);
}

void PlainButton::drawBezel(QPainter& painter) const {
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    QColor face = palette().color(group, QPalette::Button);
    if (isDown() || isChecked()) {
        face = face.darker(118);
    }
    const QColor border = hasFocus() ? palette().color(group, QPalette::Highlight)
                                     : palette().color(group, QPalette::Mid);
    painter.fillRect(rect(), face);
    painter.setPen(border);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void PlainButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    drawBezel(painter);
    QStyleOptionButton option;
    initStyleOption(&option);
    painter.drawControl(QStyle::CE_PushButtonLabel, option);
}
