#pragma once

// Keeps a panel where the operator left it, from one run to the next: the panel's
// position is stored in the user-defaults store under its autosave name ("Outputs Window
// Position") as a dictionary {"X", "Y"} of screen coordinates. A drag moves the panel
// many times a second, so the position is written once the panel has been still for
// half a second (and at once by save() or when this object goes away with a write
// pending). Main thread only.

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <optional>

class QWidget;

class WindowFrameAutosave : public QObject {
    Q_OBJECT
public:
    static constexpr int kSettleMilliseconds = 500;

    // Watches `window` (not owned) and stores its position under `autosaveName`.
    WindowFrameAutosave(QWidget* window, const QString& autosaveName, QObject* parent = nullptr);
    ~WindowFrameAutosave() override;

    QString autosaveName() const { return _autosaveName; }

    // The stored position, when there is one and it lies on a screen that is connected
    // now (a panel saved on a screen since unplugged would open out of reach).
    std::optional<QPoint> savedPosition() const;
    // Moves the window to the stored position; false (and no move) without a usable one.
    bool restore();
    // Shows the window without activating it: a hidden window first goes to the stored
    // position, or without one into `usualCorner` of the main screen's free area.
    void showWindow(Qt::Corner usualCorner);

    // Call whenever the window moved: the position is written once it stays put.
    void windowMoved();
    // Writes the window's position now.
    void save();
    bool hasPendingSave() const { return _settleTimer.isActive(); }

private:
    QPointer<QWidget> _window;
    QString _autosaveName;
    QTimer _settleTimer;
};
