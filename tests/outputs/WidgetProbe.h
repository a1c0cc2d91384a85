#pragma once

// Looking at what a widget drew: its pixels (grabbed on a black background so gaps are
// told apart from grey segments) and how many times it painted.

#include <QColor>
#include <QImage>
#include <QObject>

class QWidget;

namespace widgetprobe {

// The widget rendered to an ARGB32 image on a black background.
QImage grabOnBlack(QWidget& widget);

// Lengths of the runs of `colour` along row `y`, left to right.
QList<int> horizontalRuns(const QImage& image, int y, QColor colour);

// Colour at (x, y) as 8-bit RGB, the precision the screen shows.
QRgb colourAt(const QImage& image, int x, int y);
// A colour as the screen shows it (QColor keeps 16 bits per channel).
inline QRgb rgb(const QColor& colour) {
    return colour.rgb();
}

// Shows `widget` and waits until it is on screen and its first paints are done.
void showAndSettle(QWidget& widget);
// Runs the event loop long enough for a requested repaint to be delivered.
void letPendingPaintsHappen();

// Counts the paint events a widget receives.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget& widget);
    int count() const { return _count; }
    void reset() { _count = 0; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int _count = 0;
};

} // namespace widgetprobe
