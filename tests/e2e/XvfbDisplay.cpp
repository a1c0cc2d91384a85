#include "tests/e2e/XvfbDisplay.h"

#include "tests/support/PollUntil.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <unistd.h>

namespace {

constexpr int kStartMilliseconds = 10000;

// A display number no other server of this machine uses (its lock file is absent).
int freeDisplayNumber() {
    for (int number = 90 + getpid() % 100;; ++number) {
        if (!QFileInfo::exists(QStringLiteral("/tmp/.X%1-lock").arg(number)) &&
            !QFileInfo::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number))) {
            return number;
        }
    }
}

} // namespace

XvfbDisplay::~XvfbDisplay() {
    if (_display) {
        XCloseDisplay(_display);
    }
    if (_server.state() != QProcess::NotRunning) {
        _server.terminate();
        if (!_server.waitForFinished(3000)) {
            _server.kill();
            _server.waitForFinished(3000);
        }
    }
}

bool XvfbDisplay::isInstalled() {
    return !QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty();
}

bool XvfbDisplay::start(QString* error) {
    _name = QStringLiteral(":%1").arg(freeDisplayNumber());
    _server.setProcessChannelMode(QProcess::MergedChannels);
    _server.start(QStringLiteral("Xvfb"), {_name, QStringLiteral("-screen"), QStringLiteral("0"),
                                           QStringLiteral("1280x900x24"),
                                           QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    const QByteArray display = _name.toLatin1();
    const bool connected = pollUntil(
        [&] {
            _display = XOpenDisplay(display.constData());
            return _display != nullptr || _server.state() == QProcess::NotRunning;
        },
        kStartMilliseconds, 50);
    if (!connected || !_display) {
        *error = QStringLiteral("Xvfb did not come up on %1: %2")
                     .arg(_name, QString::fromLocal8Bit(_server.readAll()));
        return false;
    }
    int event = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 0;
    if (!XTestQueryExtension(_display, &event, &errorBase, &major, &minor)) {
        *error = QStringLiteral("the X server has no XTest extension");
        return false;
    }
    return true;
}

unsigned long XvfbDisplay::findWindow(unsigned long parent, const QString& titlePart) const {
    char* title = nullptr;
    if (XFetchName(_display, parent, &title) && title) {
        const bool matches = QString::fromLocal8Bit(title).contains(titlePart);
        XFree(title);
        if (matches) {
            return parent;
        }
    }
    Window root = 0;
    Window up = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    unsigned long found = 0;
    if (XQueryTree(_display, parent, &root, &up, &children, &count)) {
        for (unsigned int i = 0; i < count && !found; ++i) {
            found = findWindow(children[i], titlePart);
        }
        if (children) {
            XFree(children);
        }
    }
    return found;
}

bool XvfbDisplay::focus(const QString& titlePart, QString* error) {
    const unsigned long window = findWindow(DefaultRootWindow(_display), titlePart);
    if (!window) {
        *error = QStringLiteral("no window titled “…%1…” on %2").arg(titlePart, _name);
        return false;
    }
    XRaiseWindow(_display, window);
    XSetInputFocus(_display, window, RevertToParent, CurrentTime);
    XSync(_display, False);
    return true;
}

void XvfbDisplay::pressKey(char letter) {
    const KeyCode code = XKeysymToKeycode(_display, XK_a + (letter - 'a'));
    XTestFakeKeyEvent(_display, code, True, CurrentTime);
    XTestFakeKeyEvent(_display, code, False, CurrentTime);
    XSync(_display, False);
}
