#pragma once

// Commands for driving and inspecting the running program from outside, used by the
// end-to-end tests where no X server is there to type into it, and by the start-up
// benchmark. They are registered on the instance channel only when the program is
// started with --test-hooks:
//   {"command": "key", "text": "a"}   a key press and release of that letter (or "space",
//                                     "tab", "f1".."f12") sent to the window in front,
//                                     through the application's normal event delivery
//   {"command": "state"}              the open windows (title, whether active), the open
//                                     documents (name, whether their window shows) and
//                                     what each strip of the outputs panel shows
//   {"command": "grab", "folder": f}  a PNG picture of every visible window in folder f,
//                                     named after the window's title
//
// Main thread only.

#include <QJsonObject>
#include <QStringList>

class InstanceChannel;

class DiagnosticCommands {
public:
    static const QString kOption; // "--test-hooks"

    static bool wanted(const QStringList& arguments) { return arguments.contains(kOption); }
    static void install(InstanceChannel& channel);

    static QJsonObject pressKey(const QJsonObject& request);
    static QJsonObject state();
    static QJsonObject grabWindows(const QJsonObject& request);
};
