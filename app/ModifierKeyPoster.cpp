#include "app/ModifierKeyPoster.h"

#include "foundation/Logging.h"

#include <QGuiApplication>

#ifdef ZELVORA_HAVE_XTEST
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#endif

#ifdef ZELVORA_HAVE_XTEST

struct ModifierKeyPoster::Connection {
    Display* display = nullptr;
    ~Connection() {
        if (display) {
            XCloseDisplay(display);
        }
    }
};

namespace {

KeySym keySymOf(ModifierKeyPoster::Modifier modifier) {
    switch (modifier) {
    case ModifierKeyPoster::Modifier::Shift:
        return XK_Shift_L;
    case ModifierKeyPoster::Modifier::Command:
        return XK_Control_L;
    case ModifierKeyPoster::Modifier::Alt:
        return XK_Alt_L;
    case ModifierKeyPoster::Modifier::Control:
        return XK_Super_L;
    }
    return NoSymbol;
}

} // namespace

ModifierKeyPoster::ModifierKeyPoster() {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        qCInfo(lcApp)
            << "latched modifier keys act inside the program only: the session is not X11";
        return;
    }
    auto connection = std::make_unique<Connection>();
    connection->display = XOpenDisplay(nullptr);
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!connection->display ||
        !XTestQueryExtension(connection->display, &eventBase, &errorBase, &major, &minor)) {
        qCWarning(lcApp) << "latched modifier keys act inside the program only: no XTest extension";
        return;
    }
    _connection = std::move(connection);
}

bool ModifierKeyPoster::canPost() const {
    return _connection != nullptr;
}

void ModifierKeyPoster::post(Modifier modifier, bool down) {
    if (!_connection) {
        return;
    }
    Display* display = _connection->display;
    const KeyCode code = XKeysymToKeycode(display, keySymOf(modifier));
    if (code == 0) {
        return;
    }
    XTestFakeKeyEvent(display, code, down ? True : False, CurrentTime);
    XFlush(display);
}

#else

struct ModifierKeyPoster::Connection {};

ModifierKeyPoster::ModifierKeyPoster() {
    qCInfo(lcApp) << "latched modifier keys act inside the program only: built without XTest";
}

bool ModifierKeyPoster::canPost() const {
    return false;
}

void ModifierKeyPoster::post(Modifier, bool) {}

#endif

ModifierKeyPoster::~ModifierKeyPoster() = default;
