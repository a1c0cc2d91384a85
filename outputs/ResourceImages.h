#pragma once

// The program's compiled images by base name ("GreenLED", "In Point", "LoopSmall",
// "Offline", "zelvora-studio", ...), drawn from their SVG at exactly the size and device
// pixel ratio asked for, so they stay crisp on any screen. Drawn pixmaps are kept in Qt's
// pixmap cache, so asking again for the same image costs a lookup. An unknown name or an
// empty size is logged and answers a null pixmap. Main thread only (QPixmap).

#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QString>
#include <QStringList>

class ResourceImages {
public:
    // Base names of every compiled image, sorted.
    static QStringList names();
    static bool contains(const QString& name);

    // The size the image was drawn for, in device-independent pixels (16 × 16 for the LEDs);
    // an invalid size for an unknown name.
    static QSize naturalSize(const QString& name);

    // The image scaled to `size` (device-independent pixels) for a screen of
    // `devicePixelRatio`: the pixmap holds size × ratio pixels and carries the ratio.
    static QPixmap pixmap(const QString& name, const QSize& size, qreal devicePixelRatio);
    // The image at its natural size.
    static QPixmap pixmap(const QString& name, qreal devicePixelRatio = 1.0);

    // An icon that draws the image at whatever size and ratio it is shown; null for an
    // unknown name.
    static QIcon icon(const QString& name);

    // Resource path of an image (":/images/<name>.svg").
    static QString path(const QString& name);
};
