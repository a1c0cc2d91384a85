#pragma once

// Saves what a widget shows as a PNG in $ZELVORA_SCREENSHOT_DIR, when that is set, so a
// developer can look at a window the tests laid out. Does nothing otherwise.

#include <QDir>
#include <QString>
#include <QWidget>

inline void saveScreenshot(QWidget& widget, const QString& name) {
    const QString folder = qEnvironmentVariable("ZELVORA_SCREENSHOT_DIR");
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        return;
    }
    widget.grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
}
