#pragma once

// The text and image placement the painted cells share (cart wall buttons, playlist rows):
// texts are placed by the top-left corner of their line, images by their lower-left
// corner, in a view whose y grows downwards; a text too wide for its place is cut with
// "..."; the album line reads "album, year". Main thread only (fonts and painters).

#include <QColor>
#include <QFont>
#include <QString>

class QPainter;
class QPixmap;
class QPointF;

class CellDrawing {
public:
    // The colour and font of one kind of text.
    struct TextAttributes {
        QColor color;
        QFont font;
    };

    // A font asked for by family name ("Arial"), sized in pixels so the laid-out widths
    // hold on any screen.
    static QFont namedFont(const QString& family, int pixelSize, bool bold);

    // `text` cut to fit `width` with "..." appended: unchanged when strictly narrower,
    // otherwise shortened one character at a time (a text exactly as wide is shortened
    // too) until it and the ellipsis fit, stopping at the empty text, so a width too
    // narrow even for "..." gives "..." alone. Null stays null; a width below 1 gives "".
    static QString trimString(const QString& text, double width, const TextAttributes& attributes);

    // "album, year", the album alone, the year alone, or "" (a year of 0 is none).
    static QString albumLine(const QString& album, int year);

    // Draws `text` with its line's top-left corner at `topLeft`; nothing for "".
    static void drawText(QPainter& painter, const QString& text, const QPointF& topLeft,
                         const TextAttributes& attributes);
    // Draws `image` with its lower-left corner at `lowerLeft`, at `fraction` of the
    // painter's opacity; nothing for a null image.
    static void drawImage(QPainter& painter, const QPixmap& image, const QPointF& lowerLeft,
                          double fraction = 1.0);
};
