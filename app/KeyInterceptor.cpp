#include "app/KeyInterceptor.h"

#include <QApplication>
#include <QKeyEvent>

namespace {

constexpr Qt::KeyboardModifiers kPassingModifiers =
    Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

} // namespace

KeyInterceptor::KeyInterceptor(Target& target, QObject* parent)
    : QObject(parent)
    , _target(target) {}

bool KeyInterceptor::routeKeyPress(int key, Qt::KeyboardModifiers modifiers) {
    if (modifiers & kPassingModifiers) {
        return false;
    }
    if (key == Qt::Key_Left || key == Qt::Key_Right) {
        return _target.presetOrPanelInFront();
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12) {
        return _target.openFunctionKeyDocumentAtIndex(key - Qt::Key_F1 + 1);
    }
    if (key == Qt::Key_Tab) {
        return _target.switchToNextOpenDocument();
    }
    if (key == Qt::Key_Space && _target.presetOrPanelInFront()) {
        _target.spaceBarHasBeenDepressed();
        return true;
    }
    return false;
}

void KeyInterceptor::noteKey(int key, bool down) {
    if (key == Qt::Key_Left) {
        _leftArrowDown = down;
    } else if (key == Qt::Key_Right) {
        _rightArrowDown = down;
    }
}

bool KeyInterceptor::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        // A key event reaches its top-level window first and is then passed to the focus
        // widget (and its parents); looking only at the window sees each key once.
        if (!watched->isWindowType()) {
            return false;
        }
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool down = event->type() == QEvent::KeyPress;
        if (!key->isAutoRepeat()) {
            noteKey(key->key(), down);
        }
        return down && routeKeyPress(key->key(), key->modifiers());
    }
    case QEvent::ApplicationStateChange:
        if (static_cast<QApplicationStateChangeEvent*>(event)->applicationState() !=
            Qt::ApplicationActive) {
            // Keys released while another program has the keyboard are never seen.
            _leftArrowDown = false;
            _rightArrowDown = false;
        }
        return false;
    default:
        return false;
    }
}
