#pragma once

// A horizontal bar of thin segments (2 wide, 1 apart) showing a fraction: a clip's
// progress, or a level in the playlist window. Segments up to the fraction are lit in the
// bar's colour, the rest grey. Setting the value repaints only when it moved by at least
// one segment, so 50 ms updates cost nothing while the bar stands still. Command-click
// (Ctrl-click) asks the window controller to seek to the clicked fraction.
// Main thread only.

#include <QColor>
#include <QWidget>

class ProgressSeekReceiver;
class SegmentRun;

class CProgressView : public QWidget {
    Q_OBJECT
public:
    explicit CProgressView(QWidget* parent = nullptr);

    // Colour of the lit segments; until one is set, lit segments show grey. Repaints.
    void setColor(const QColor& color);
    QColor color() const { return _myColor; }
    QColor grayColor() const { return _myGrayColor; }

    // The fraction shown, 0.0 to 1.0 (beyond 1 lights every segment). A value that is not a
    // number is ignored.
    void setDoubleValue(double value);
    double doubleValue() const { return _myValue; }
    // Smallest change of value that repaints: one segment's share of the width.
    double valueStep() const;

    // Receives seek requests; not owned, and must be cleared before it goes away.
    void setWindowController(ProgressSeekReceiver* receiver) { _windowController = receiver; }
    ProgressSeekReceiver* windowController() const { return _windowController; }

    // Segments across the current width, and how many of them the value lights.
    int segmentCount() const;
    int litSegmentCount() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    SegmentRun segmentRun() const;

    QColor _myColor;
    QColor _myGrayColor;
    double _myValue = 0.0;
    double _myPreviousValue = 0.0;
    int _myBarWidth = 2;
    int _mySpaceWidth = 1;
    double _myValueStep = 0.0;
    ProgressSeekReceiver* _windowController = nullptr;
};
