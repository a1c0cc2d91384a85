// The segmented progress bar and level meter: which segments light for a value, in which
// colours, when a new value repaints, and Command-click seeking on the progress bar.

#include "outputs/CProgressView.h"
#include "outputs/CVuMeterView.h"
#include "outputs/ProgressSeekReceiver.h"
#include "tests/outputs/WidgetProbe.h"

#include <QMouseEvent>
#include <QTest>
#include <gtest/gtest.h>
#include <vector>

using namespace widgetprobe;

namespace {

const QColor kBlue(20, 60, 230);
const QRgb kBlack = qRgb(0, 0, 0);

struct SeekRecorder : ProgressSeekReceiver {
    void setMoviePosition(double fraction) override { positions.push_back(fraction); }
    std::vector<double> positions;
};

// Colour of each segment of a vertical meter from the bottom up, read from a grabbed column
// (a segment is a run of equal non-black rows).
struct MeterSegment {
    int bottom; // rows from the bottom edge to the segment's lower edge
    int height;
    QRgb colour;
};

std::vector<MeterSegment> segmentsFromBottom(const QImage& image, int x) {
    std::vector<MeterSegment> segments;
    for (int y = image.height() - 1; y >= 0; --y) {
        const QRgb colour = colourAt(image, x, y);
        if (colour == kBlack) {
            continue;
        }
        const int bottom = image.height() - 1 - y;
        if (!segments.empty() && segments.back().colour == colour &&
            segments.back().bottom + segments.back().height == bottom) {
            ++segments.back().height;
        } else {
            segments.push_back({bottom, 1, colour});
        }
    }
    return segments;
}

// Sets each value in turn and checks how many paints `paints` has counted after it.
template <class View>
void expectPaintsAfter(View& view, PaintCounter& paints,
                       std::initializer_list<std::pair<double, int>> steps) {
    for (const auto& [value, expected] : steps) {
        view.setDoubleValue(value);
        letPendingPaintsHappen();
        EXPECT_EQ(paints.count(), expected) << "after " << value;
    }
}

} // namespace

// --- progress bar ---------------------------------------------------------------------------

TEST(ProgressView, StartsEmptyWithGreySegmentsTwoWideOneApart) {
    CProgressView view;
    view.resize(30, 8);
    const QImage image = grabOnBlack(view);
    EXPECT_EQ(view.doubleValue(), 0.0);
    EXPECT_EQ(horizontalRuns(image, 4, view.grayColor()), QList<int>(10, 2));
    EXPECT_EQ(colourAt(image, 2, 4), kBlack); // the gap
    EXPECT_EQ(view.grayColor(), QColor::fromRgbF(0.9f, 0.9f, 0.9f));
}

TEST(ProgressView, HalfOfThreeHundredLightsFiftySegmentsFromTheLeft) {
    CProgressView view;
    view.resize(300, 10);
    view.setColor(kBlue);
    view.setDoubleValue(0.5);
    const QImage image = grabOnBlack(view);

    EXPECT_EQ(horizontalRuns(image, 5, kBlue), QList<int>(50, 2));
    EXPECT_EQ(horizontalRuns(image, 5, view.grayColor()), QList<int>(50, 2));
    EXPECT_EQ(colourAt(image, 148, 5), rgb(kBlue));            // last lit segment ends at 150
    EXPECT_EQ(colourAt(image, 150, 5), rgb(view.grayColor())); // the next one would end at 152
    EXPECT_EQ(colourAt(image, 298, 0), rgb(view.grayColor())); // segments fill the full height
    EXPECT_EQ(colourAt(image, 298, 9), rgb(view.grayColor()));
    EXPECT_EQ(view.litSegmentCount(), 50);
    EXPECT_EQ(view.segmentCount(), 100);
}

TEST(ProgressView, OnlyWholeSegmentsLightAndFullLightsEverySegment) {
    CProgressView view;
    view.resize(100, 6); // 33 segments; the last ends at 98
    view.setColor(kBlue);

    view.setDoubleValue(0.04); // 4 pixels: one segment ends at 2, the next at 5
    EXPECT_EQ(horizontalRuns(grabOnBlack(view), 3, kBlue), QList<int>{2});
    view.setDoubleValue(0.05); // 5 pixels: a segment ending exactly there is lit
    EXPECT_EQ(horizontalRuns(grabOnBlack(view), 3, kBlue), (QList<int>{2, 2}));

    view.setDoubleValue(1.0);
    QImage image = grabOnBlack(view);
    EXPECT_EQ(horizontalRuns(image, 3, kBlue), QList<int>(33, 2));
    EXPECT_TRUE(horizontalRuns(image, 3, view.grayColor()).isEmpty());

    view.setDoubleValue(7.5); // out of range: no segment beyond the bar
    image = grabOnBlack(view);
    EXPECT_EQ(horizontalRuns(image, 3, kBlue), QList<int>(33, 2));
    EXPECT_EQ(colourAt(image, 99, 3), kBlack);
}

TEST(ProgressView, NegativeOrUnusableValuesLightNothing) {
    CProgressView view;
    view.resize(60, 6);
    view.setColor(kBlue);
    view.setDoubleValue(-0.5);
    EXPECT_TRUE(horizontalRuns(grabOnBlack(view), 3, kBlue).isEmpty());

    view.setDoubleValue(0.5);
    view.setDoubleValue(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(view.doubleValue(), 0.5); // ignored, the bar keeps what it showed
    EXPECT_EQ(horizontalRuns(grabOnBlack(view), 3, kBlue).size(), 10);
}

TEST(ProgressView, WithoutAColourLitSegmentsStayGrey) {
    CProgressView view;
    view.resize(60, 6);
    view.setDoubleValue(0.5);
    EXPECT_EQ(horizontalRuns(grabOnBlack(view), 3, view.grayColor()), QList<int>(20, 2));
}

TEST(ProgressView, ChangingTheColourRepaintsInTheNewColour) {
    CProgressView view;
    view.resize(60, 6);
    view.setColor(kBlue);
    view.setDoubleValue(0.5);
    showAndSettle(view);
    PaintCounter paints(view);

    view.setColor(Qt::red);
    letPendingPaintsHappen();
    EXPECT_GE(paints.count(), 1);
    const QImage image = grabOnBlack(view);
    EXPECT_EQ(horizontalRuns(image, 3, Qt::red).size(), 10);
    EXPECT_TRUE(horizontalRuns(image, 3, kBlue).isEmpty());
}

TEST(ProgressView, RepaintsOnlyWhenTheValueMovedByAtLeastOneSegment) {
    CProgressView view;
    view.resize(300, 10);
    view.setColor(kBlue);
    showAndSettle(view);
    EXPECT_DOUBLE_EQ(view.valueStep(), 0.01);
    PaintCounter paints(view);
    // Half a segment (0.505) is not worth a repaint; small steps add up, measured from the
    // last repaint (0.51), not the last value; going down counts the same.
    expectPaintsAfter(
        view, paints,
        {{0.50, 1}, {0.505, 1}, {0.51, 2}, {0.515, 2}, {0.519, 2}, {0.52, 3}, {0.40, 4}});
}

TEST(ProgressView, TheRepaintStepFollowsTheWidth) {
    CProgressView view;
    view.resize(150, 10);
    EXPECT_DOUBLE_EQ(view.valueStep(), 0.02);
    showAndSettle(view);
    PaintCounter paints(view);
    expectPaintsAfter(view, paints, {{0.015, 0}, {0.02, 1}});
}

TEST(ProgressView, CommandClickSeeksToTheClickedFraction) {
    CProgressView view;
    view.resize(300, 10);
    SeekRecorder receiver;
    view.setWindowController(&receiver);
    showAndSettle(view);

    QTest::mouseClick(&view, Qt::LeftButton, Qt::ControlModifier, QPoint(150, 5));
    QTest::mouseClick(&view, Qt::LeftButton, Qt::ControlModifier, QPoint(75, 5));
    QTest::mouseClick(&view, Qt::LeftButton, Qt::ControlModifier, QPoint(0, 5));
    EXPECT_EQ(receiver.positions, (std::vector<double>{0.5, 0.25, 0.0}));
}

TEST(ProgressView, ClicksWithoutCommandOrWithoutAReceiverDoNotSeek) {
    QWidget window;
    window.resize(320, 30);
    CProgressView view(&window);
    view.setGeometry(10, 10, 300, 10);
    SeekRecorder receiver;
    view.setWindowController(&receiver);
    showAndSettle(window);
    for (auto modifier : {Qt::NoModifier, Qt::ShiftModifier, Qt::AltModifier, Qt::MetaModifier}) {
        QTest::mouseClick(&view, Qt::LeftButton, modifier, QPoint(150, 5));
    }
    view.setWindowController(nullptr);
    QTest::mouseClick(&view, Qt::LeftButton, Qt::ControlModifier, QPoint(150, 5));
    EXPECT_TRUE(receiver.positions.empty());
}

// --- level meter ----------------------------------------------------------------------------

TEST(VuMeterView, AtZeroDrawsOnlyGreySegments) {
    CVuMeterView meter;
    meter.resize(8, 100);
    const auto atRest = segmentsFromBottom(grabOnBlack(meter), 4);
    ASSERT_EQ(atRest.size(), 33u);
    for (const MeterSegment& segment : atRest) {
        EXPECT_EQ(segment.colour, rgb(meter.grayColor())) << "at " << segment.bottom;
        EXPECT_EQ(segment.height, 2);
    }

    // Falling back to 0 after a loud passage clears every lit segment.
    meter.setDoubleValue(0.95);
    meter.setDoubleValue(0.0);
    for (const MeterSegment& segment : segmentsFromBottom(grabOnBlack(meter), 4)) {
        EXPECT_EQ(segment.colour, rgb(meter.grayColor())) << "at " << segment.bottom;
    }
}

TEST(VuMeterView, FullScaleShowsGreenThenOrangeAboveEightyThenRedAboveNinetyPercent) {
    CVuMeterView meter;
    meter.resize(8, 100);
    meter.setDoubleValue(1.0);
    const auto segments = segmentsFromBottom(grabOnBlack(meter), 4);
    ASSERT_EQ(segments.size(), 33u);
    int green = 0, orange = 0, red = 0;
    for (const MeterSegment& segment : segments) {
        // A segment's zone is decided by where it starts, counted from the bottom.
        if (segment.bottom > 90) {
            EXPECT_EQ(segment.colour, rgb(meter.redColor())) << "at " << segment.bottom;
            ++red;
        } else if (segment.bottom > 80) {
            EXPECT_EQ(segment.colour, rgb(meter.orangeColor())) << "at " << segment.bottom;
            ++orange;
        } else {
            EXPECT_EQ(segment.colour, rgb(meter.greenColor())) << "at " << segment.bottom;
            ++green;
        }
    }
    EXPECT_EQ(red, 2);    // starting at 93 and 96
    EXPECT_EQ(orange, 4); // 81, 84, 87, 90
    EXPECT_EQ(green, 27);
    EXPECT_EQ(meter.redColor(), QColor::fromRgbF(1.0f, 0.0f, 0.0f));
    EXPECT_EQ(meter.orangeColor(), QColor::fromRgbF(1.0f, 0.6f, 0.0f));
    EXPECT_EQ(meter.greenColor(), QColor::fromRgbF(0.0f, 0.9f, 0.0f));
}

TEST(VuMeterView, LightsFromTheBottomUpToTheValue) {
    CVuMeterView meter;
    meter.resize(6, 100);
    meter.setDoubleValue(0.5);
    const QImage image = grabOnBlack(meter);
    const auto segments = segmentsFromBottom(image, 3);
    ASSERT_EQ(segments.size(), 33u);
    for (const MeterSegment& segment : segments) {
        // Lit while the segment's top is at most half the height.
        const bool lit = segment.bottom + segment.height <= 50;
        EXPECT_EQ(segment.colour, rgb(lit ? meter.greenColor() : meter.grayColor()))
            << "at " << segment.bottom;
    }
    EXPECT_EQ(colourAt(image, 0, 99), rgb(meter.greenColor())); // across the whole width
    EXPECT_EQ(colourAt(image, 5, 99), rgb(meter.greenColor()));
    EXPECT_EQ(meter.litSegmentCount(), 17);
}

TEST(VuMeterView, RepaintsOnlyWhenTheLevelMovedByAtLeastOneSegment) {
    CVuMeterView meter;
    meter.resize(8, 150);
    showAndSettle(meter);
    EXPECT_DOUBLE_EQ(meter.valueStep(), 0.02);
    PaintCounter paints(meter);
    expectPaintsAfter(meter, paints, {{0.3, 1}, {0.31, 1}, {0.27, 2}});
}
