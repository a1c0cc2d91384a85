#pragma once

// A virtual X server (Xvfb) for one test, and real key presses into its windows through
// the XTest extension: the keys reach the program as a person's typing would, through
// the X server, the window's focus and Qt's xcb platform. Main thread only.

#include <QProcess>
#include <QString>

struct _XDisplay;

class XvfbDisplay {
public:
    XvfbDisplay() = default;
    ~XvfbDisplay(); // closes the connection and stops the server

    XvfbDisplay(const XvfbDisplay&) = delete;
    XvfbDisplay& operator=(const XvfbDisplay&) = delete;

    // Whether Xvfb can be found; tests skip when it cannot.
    static bool isInstalled();

    // Starts a server on a free display number and connects to it. False with *error
    // set when it does not come up within a few seconds.
    bool start(QString* error);
    // ":<number>", for the DISPLAY of the programs started on it.
    QString name() const { return _name; }

    // Raises the top-level window whose title contains `titlePart` and gives it the
    // keyboard focus. False with *error set when no such window is there.
    bool focus(const QString& titlePart, QString* error);
    // Presses and releases the key of the lower-case letter `letter` in the window with
    // the focus.
    void pressKey(char letter);

private:
    unsigned long findWindow(unsigned long parent, const QString& titlePart) const;

    QProcess _server;
    QString _name;
    _XDisplay* _display = nullptr;
};
