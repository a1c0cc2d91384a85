#include "outputs/NonKeyPanel.h"

#include <QGuiApplication>
#include <QMoveEvent>
#include <QWindow>

NonKeyPanel::NonKeyPanel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus) {
    // A tool window without a parent would still be activated when shown.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    _lastKeyWindow = QGuiApplication::focusWindow();
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &NonKeyPanel::focusWindowChanged);
}

void NonKeyPanel::focusWindowChanged(QWindow* focus) {
    if (!focus) {
        return;
    }
    if (focus->flags().testFlag(Qt::WindowDoesNotAcceptFocus)) {
        if (focus == windowHandle() && _lastKeyWindow && _lastKeyWindow->isVisible()) {
            _lastKeyWindow->requestActivate();
        }
        return;
    }
    _lastKeyWindow = focus;
}

void NonKeyPanel::refuseFocusForChildren() {
    const QList<QWidget*> children = findChildren<QWidget*>();
    for (QWidget* child : children) {
        child->setFocusPolicy(Qt::NoFocus);
    }
}

void NonKeyPanel::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    if (event->pos() != event->oldPos()) {
        emit moved();
    }
}
