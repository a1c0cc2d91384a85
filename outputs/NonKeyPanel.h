#pragma once

// A floating utility panel that never takes the keyboard: it stays above the document
// windows, shows without being activated, and clicking into it leaves the keyboard with
// the window that had it, so letter keys keep firing the front document's buttons. The
// controls placed in it should not take focus either (they are given Qt::NoFocus).
// Where the window system activates it anyway (some compositors, Qt's offscreen
// platform), the panel hands the activation straight back to the window that had it.
//
// Moves are reported through moved(), after the panel's position changed, so a window
// controller can save the position or put a locked panel back.
//
// Main thread only.

#include <QPointer>
#include <QWidget>

class QWindow;

class NonKeyPanel : public QWidget {
    Q_OBJECT
public:
    explicit NonKeyPanel(QWidget* parent = nullptr);

    // Gives every control inside the panel Qt::NoFocus (call after building the content).
    void refuseFocusForChildren();

signals:
    void moved();

protected:
    void moveEvent(QMoveEvent* event) override;

private:
    void focusWindowChanged(QWindow* focus);

    // The last window other than a panel that had the keyboard.
    QPointer<QWindow> _lastKeyWindow;
};
