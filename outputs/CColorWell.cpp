#include "outputs/CColorWell.h"

#include <QColorDialog>
#include <QPainter>
#include <QStyleOptionButton>
#include <utility>

CColorWell::CColorWell(QWidget* parent)
    : QPushButton(parent)
    , _chooser([](const QColor& current, QWidget* owner) {
        return QColorDialog::getColor(current, owner, tr("Output Color"),
                                      QColorDialog::ShowAlphaChannel);
    }) {
    setAccessibleName(tr("Output Color"));
    connect(this, &QPushButton::clicked, this, &CColorWell::chooseColor);
}

void CColorWell::setColor(const QColor& color) {
    if (color == _color) {
        return;
    }
    _color = color;
    update();
}

void CColorWell::setColorChooser(ColorChooser chooser) {
    _chooser = std::move(chooser);
}

QSize CColorWell::sizeHint() const {
    return {44, QPushButton::sizeHint().height()};
}

void CColorWell::chooseColor() {
    if (!_chooser) {
        return;
    }
    const QColor chosen = _chooser(_color, this);
    if (!chosen.isValid()) {
        return;
    }
    setColor(chosen);
    emit colorChosen(chosen);
}

void CColorWell::paintEvent(QPaintEvent* event) {
    QPushButton::paintEvent(event);
    QPainter painter(this);
    const QRect swatch = rect().adjusted(7, 6, -7, -6);
    if (!_color.isValid()) {
        painter.setPen(palette().color(QPalette::Mid));
        painter.drawRect(swatch.adjusted(0, 0, -1, -1));
        return;
    }
    painter.fillRect(swatch, _color);
    painter.setPen(QColor(0, 0, 0, 110));
    painter.drawRect(swatch.adjusted(0, 0, -1, -1));
}
