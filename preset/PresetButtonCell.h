#pragma once

// One button of the cart wall: a plain object (not a widget) that the grid view asks to
// draw itself. Inside the native push-button bezel it paints the clip's output colour
// bar, the status LED (grey empty, green ready, red playing, yellow paused, grey again on
// the off phase of a paused button's blink), the big letter, the output name, the title
// in the clip's label colour (with artist and album in the tall layout), the in point,
// out point and loop marks, the duration and the offline mark.
//
// Geometry is in the grid's coordinates, y growing downwards. Texts are placed by the
// top-left corner of their line; images by their lower-left corner, so the 16-unit LED at
// (x + w - 19, y + 19) fills the top-right corner above the big letter. Sizes are pixels:
// "Arial Bold" 12 is a 12-pixel font, whatever the screen's dots per inch, so the texts
// fit the 190-wide button as laid out.
//
// The cell keeps a non-owning pointer to the clip on its button; the document owns the
// clip, and whoever replaces or removes it gives the cell the new clip (or null) at once.
//
// Thread contract: main thread only.

#include "outputs/CellDrawing.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QRectF>
#include <QString>
#include <array>

class PresetMatrix;
class QPainter;
class QWidget;
class SoundClip;

class PresetButtonCell {
public:
    // The colour and font of one kind of text.
    using TextAttributes = CellDrawing::TextAttributes;

    // What the LED shows. A clip without a file shows no LED at all.
    enum LedStatus { NoLed = -1, GreyLed = 0, GreenLed = 1, RedLed = 2, YellowLed = 3 };

    // Offsets of the tall layout and the fixed text widths.
    static constexpr double kTallLayoutMinimumHeight = 60.0;
    static constexpr double kOutputNameWidth = 65.0;
    static constexpr double kTitleMargin = 32.0;

    PresetButtonCell();
    ~PresetButtonCell();
    PresetButtonCell(const PresetButtonCell&) = delete;
    PresetButtonCell& operator=(const PresetButtonCell&) = delete;

    SoundClip* clip() const { return _clip; }
    void setClip(SoundClip* clip);
    QString letter() const { return _letter; }
    void setLetter(const QString& letter) { _letter = letter; }
    // The button index 0..23.
    int tag() const { return _tag; }
    void setTag(int tag) { _tag = tag; }
    // The grid that shows this cell (not owned); asked to redraw the cell when its look
    // changes.
    void setControlView(PresetMatrix* view) { _controlView = view; }
    PresetMatrix* controlView() const { return _controlView; }

    bool blinkedState() const { return _blinkedState; }
    // The blink phase: true draws the grey LED whatever the clip's state. The cell is
    // redrawn only when the phase changes.
    void setBlinkedState(bool blinked);
    // Pressed, or the target of a drag: the bezel is drawn sunken. No tint is added.
    bool isHighlighted() const { return _highlighted; }
    void setHighlighted(bool highlighted);
    bool isEnabled() const { return _enabled; }
    void setEnabled(bool enabled) { _enabled = enabled; }

    // The LED for the clip's state: grey without a clip, yellow paused, red playing, green
    // idle with a file, none idle without a file.
    LedStatus ledStatus() const;

    // The whole button: the bezel through the view's style, then the interior. `view` may
    // be null (drawing into an image).
    void drawWithFrame(QPainter& painter, const QRectF& frame, const QWidget* view) const;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame) const;
    // Composites the LED of `status` at the top-right corner (grey on the blink phase).
    void drawLED(QPainter& painter, const QRectF& frame, int status) const;

    // `string` cut to fit `width` with "..." appended: unchanged when strictly narrower,
    // otherwise shortened (a string exactly as wide is shortened too) until it and the
    // ellipsis fit, stopping at the empty string. Null stays null; a width below 1 gives "".
    static QString trimString(const QString& string, double width,
                              const TextAttributes& attributes) {
        return CellDrawing::trimString(string, width, attributes);
    }
    // The album line of the tall layout: "album, year", the album, the year, or "".
    static QString albumLine(const QString& album, int year) {
        return CellDrawing::albumLine(album, year);
    }

    // The whole cell drawn at (0, 0) in `size` on a clear background, for dragging.
    QImage getImageOfContents(const QSize& size, const QWidget* view = nullptr) const;

    const TextAttributes& titleTextAttributes() const { return _titleTextAttributes; }
    const TextAttributes& subTitleTextAttributes() const { return _subTitleTextAttributes; }
    const TextAttributes& outputNameTextAttributes() const { return _outputNameTextAttributes; }
    const TextAttributes& durationTextAttributes() const { return _durationTextAttributes; }
    const TextAttributes& bigLetterTextAttributes() const { return _bigLetterTextAttributes; }

private:
    // The compiled images at one device pixel ratio.
    struct Images {
        qreal ratio = 0.0;
        QPixmap greenLed, redLed, yellowLed, grayLed;
        QPixmap inPoint, outPoint, loop, offline, offlineSmall;
    };
    // A trimmed text, kept until the text or the width changes (repaints of an unchanged
    // button then measure nothing).
    struct TrimmedText {
        QString source;
        double width = -1.0;
        QString trimmed;
    };
    enum TrimmedLine { OutputNameLine, TitleLine, ArtistLine, AlbumLine, TrimmedLineCount };

    const Images& imagesFor(const QPainter& painter) const;
    QString trimmedLine(TrimmedLine line, const QString& text, double width,
                        const TextAttributes& attributes) const;
    void drawOutputColorBar(QPainter& painter, const QRectF& frame) const;
    void drawBigLetter(QPainter& painter, const QRectF& frame) const;
    void drawClipTexts(QPainter& painter, const QRectF& frame) const;
    void drawMarks(QPainter& painter, const QRectF& frame, const Images& images) const;
    void drawDuration(QPainter& painter, const QRectF& frame) const;
    void drawOfflineMark(QPainter& painter, const QRectF& frame, const Images& images) const;
    void redraw();

    QString _letter;
    QColor _textColor;
    QColor _bigLetterColor;
    TextAttributes _titleTextAttributes;
    TextAttributes _subTitleTextAttributes;
    TextAttributes _durationTextAttributes;
    TextAttributes _bigLetterTextAttributes;
    TextAttributes _outputNameTextAttributes;
    SoundClip* _clip = nullptr;
    bool _blinkedState = false;
    bool _highlighted = false;
    bool _enabled = true;
    int _tag = -1;
    PresetMatrix* _controlView = nullptr;
    mutable Images _images;
    mutable std::array<TrimmedText, TrimmedLineCount> _trimmed;
};
