#include "outputs/WindowFrameAutosave.h"

#include "clip/ValueConversion.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVariantMap>
#include <QWidget>

namespace {

const QString kX = QStringLiteral("X");
const QString kY = QStringLiteral("Y");

bool isOnAScreen(const QPoint& point) {
    const QList<QScreen*> screens = QGuiApplication::screens();
    for (const QScreen* screen : screens) {
        if (screen->geometry().contains(point)) {
            return true;
        }
    }
    return false;
}

} // namespace

WindowFrameAutosave::WindowFrameAutosave(QWidget* window, const QString& autosaveName,
                                         QObject* parent)
    : QObject(parent)
    , _window(window)
    , _autosaveName(autosaveName) {
    _settleTimer.setSingleShot(true);
    _settleTimer.setInterval(kSettleMilliseconds);
    connect(&_settleTimer, &QTimer::timeout, this, &WindowFrameAutosave::save);
}

WindowFrameAutosave::~WindowFrameAutosave() {
    if (_settleTimer.isActive()) {
        save();
    }
}

std::optional<QPoint> WindowFrameAutosave::savedPosition() const {
    const UserDefaults* defaults = UserDefaults::standard();
    if (!defaults) {
        return std::nullopt;
    }
    const QVariantMap stored = defaults->dictionaryForKey(_autosaveName);
    const QVariant x = stored.value(kX);
    const QVariant y = stored.value(kY);
    if (!isNumberValue(x) || !isNumberValue(y)) {
        return std::nullopt;
    }
    const QPoint position(intFromValue(x), intFromValue(y));
    if (!isOnAScreen(position)) {
        qCInfo(lcOutputs).noquote()
            << QStringLiteral("\"%1\" was saved off every screen; the panel opens in its "
                              "usual place")
                   .arg(_autosaveName);
        return std::nullopt;
    }
    return position;
}

bool WindowFrameAutosave::restore() {
    const std::optional<QPoint> position = savedPosition();
    if (!position || !_window) {
        return false;
    }
    _window->move(*position);
    return true;
}

void WindowFrameAutosave::showWindow(Qt::Corner usualCorner) {
    if (!_window) {
        return;
    }
    const bool placing = !_window->isVisible();
    bool restored = false;
    if (placing) {
        _window->adjustSize();
        restored = restore();
    }
    _window->show();
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (placing && !restored && screen) {
        // Placed once shown, when the window frame's size is known where the platform
        // knows it.
        const QRect visible = screen->availableGeometry();
        const QSize frame = _window->frameGeometry().size();
        const bool right =
            usualCorner == Qt::TopRightCorner || usualCorner == Qt::BottomRightCorner;
        const bool bottom =
            usualCorner == Qt::BottomLeftCorner || usualCorner == Qt::BottomRightCorner;
        _window->move(right ? visible.right() + 1 - frame.width() : visible.left(),
                      bottom ? visible.bottom() + 1 - frame.height() : visible.top());
    }
}

void WindowFrameAutosave::windowMoved() {
    _settleTimer.start();
}

void WindowFrameAutosave::save() {
    _settleTimer.stop();
    UserDefaults* defaults = UserDefaults::standard();
    if (!defaults || !_window) {
        return;
    }
    const QPoint position = _window->pos();
    defaults->setObject(QVariantMap{{kX, position.x()}, {kY, position.y()}}, _autosaveName);
}
