#pragma once

// A vertical level meter of thin segments (2 high, 1 apart) lit from the bottom up to the
// value: green, orange in the band above 80 % of the height, red above 90 %; unlit
// segments are grey. Setting the value repaints only when it moved by at least one
// segment, which keeps the panel's 50 ms level updates cheap. Main thread only.

#include <QColor>
#include <QWidget>

class SegmentRun;

class CVuMeterView : public QWidget {
    Q_OBJECT
public:
    explicit CVuMeterView(QWidget* parent = nullptr);

    // The level shown, 0.0 to 1.0 (beyond 1 lights every segment). A value that is not a
    // number is ignored.
    void setDoubleValue(double value);
    double doubleValue() const { return _myValue; }
    // Smallest change of value that repaints: one segment's share of the height.
    double valueStep() const;

    QColor greenColor() const { return _myGreenColor; }
    QColor orangeColor() const { return _myOrangeColor; }
    QColor redColor() const { return _myRedColor; }
    QColor grayColor() const { return _myGrayColor; }

    // Segments up the current height, and how many of them the value lights.
    int segmentCount() const;
    int litSegmentCount() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    SegmentRun segmentRun() const;
    // Colour of a lit segment starting `position` above the bottom.
    const QColor& zoneColor(int position) const;

    QColor _myGreenColor;
    QColor _myRedColor;
    QColor _myOrangeColor;
    QColor _myGrayColor;
    double _myValue = 0.0;
    double _myPreviousValue = 0.0;
    double _myValueStep = 0.0;
    int _myBarHeight = 2;
    int _mySpaceHeight = 1;
};
