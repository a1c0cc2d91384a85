#pragma once

// What the cart wall grid asks of its window's controller: firing and pre-listening
// buttons, letter keys, configuring, and moving clips through drags. PresetController
// implements it; the grid's tests use a recording fake.
//
// Thread contract: main thread only.

#include <QtCore/qnamespace.h>

class QKeyEvent;
class QMimeData;

class PresetMatrixDelegate {
public:
    virtual ~PresetMatrixDelegate() = default;

    // Fires button `index` (0..23) by the firing rules; `modifiers` are the keys held in
    // the event that fired it.
    virtual void startPlayback(int index, Qt::KeyboardModifiers modifiers) = 0;
    // Plays button `index` on the pre-listen output, from its start or (atEnd) near its end.
    virtual void preListenClipAtIndex(int index, bool atEnd) = 0;
    // A key pressed in the grid: answers whether it was a letter key it used.
    virtual bool performKey(const QKeyEvent& event) = 0;
    virtual void configureButtonAtIndex(int index) = 0;
    // Puts the clip of button `index` on `mimeData` (file URL plus the private clip entry).
    virtual void copyClip(int index, QMimeData& mimeData) = 0;
    // Places the clip that `mimeData` carries on button `target`, clearing its source
    // button first when `deleteOriginal`; answers whether a clip was placed.
    virtual bool takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                        int target) = 0;
};
