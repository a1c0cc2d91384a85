#pragma once

// One row of the playlist table: a plain object (not a widget) that the table asks to
// draw itself for row `tag`. It draws the status LED (grey empty, green loaded, red
// playing), the title, the artist, the album and year, and the duration at the top
// right, all in the clip's label colour (black for an empty row), each text cut with
// "..." to the width of the row. A selected row is covered by a solid blue bar.
//
// Geometry is in the table's coordinates, y growing downwards, texts placed by the
// top-left corner of their line and the LED by its lower-left corner: in a row at
// (x, y) of width w the LED stands on (x + 8, y + 17), title, artist and album start at
// x + 8 on y + 17, y + 31 and y + 45, and the duration ends 7 units from the right edge
// on y + 2. Rows need a height of about 60.
//
// The cell asks its data source (not owned) for every text by row.
//
// Thread contract: main thread only.

#include "outputs/CellDrawing.h"

#include <QImage>
#include <QPixmap>
#include <QRectF>
#include <QString>

class PlaylistDataSource;
class QPainter;

class PlaylistCell {
public:
    using TextAttributes = CellDrawing::TextAttributes;

    // Left margin of the LED and the texts, and what the text width leaves on the right.
    static constexpr double kTextLeft = 8.0;
    static constexpr double kTextWidthInset = 11.0;
    static constexpr double kDurationRightMargin = 7.0;

    PlaylistCell();
    ~PlaylistCell();
    PlaylistCell(const PlaylistCell&) = delete;
    PlaylistCell& operator=(const PlaylistCell&) = delete;

    // The source of the row texts; the same source again changes nothing.
    void setDataSource(PlaylistDataSource* dataSource);
    PlaylistDataSource* dataSource() const { return _dataSource; }
    // The row being drawn.
    int tag() const { return _tag; }
    void setTag(int tag) { _tag = tag; }

    // Draws row tag() into `frame`.
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame) const;
    // Row tag() drawn at (0, 0) in `size` on a clear background (a drag image).
    QImage getImageOfContents(const QSize& size, qreal devicePixelRatio = 1.0) const;

    // `text` cut to fit `width` (see CellDrawing::trimString).
    static QString trimString(const QString& text, double width, const TextAttributes& attributes);

    const TextAttributes& titleTextAttributes() const { return _titleTextAttributes; }
    const TextAttributes& subTitleTextAttributes() const { return _subTitleTextAttributes; }
    const TextAttributes& durationTextAttributes() const { return _durationTextAttributes; }

private:
    const QPixmap* ledFor(int status, qreal ratio) const;

    QColor _textColor;
    TextAttributes _titleTextAttributes;
    TextAttributes _subTitleTextAttributes;
    TextAttributes _durationTextAttributes;
    // The LEDs drawn for one device pixel ratio.
    mutable qreal _ledRatio = 0.0;
    mutable QPixmap _greenLed, _redLed, _grayLed;
    PlaylistDataSource* _dataSource = nullptr;
    int _tag = -1;
};
