// The status button shows its status, the plain button shows its press, and the empty
// ruler keeps a plain strip beside a scrolled view.

#include "outputs/EmptyRulerView.h"
#include "outputs/LedButton.h"
#include "outputs/PlainButton.h"
#include "tests/outputs/WidgetProbe.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace widgetprobe;

namespace {

// Pixels that are clearly green: a lit lamp, not a grey face or dark text.
int greenPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.green() > 120 && colour.green() > colour.red() + 60 &&
                colour.green() > colour.blue() + 60) {
                ++count;
            }
        }
    }
    return count;
}

QImage grab(QWidget& widget) {
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

// Average lightness of the pixels in `area`.
double averageLightness(const QImage& image, const QRect& area) {
    double sum = 0;
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            sum += image.pixelColor(x, y).lightnessF();
            ++count;
        }
    }
    return count ? sum / count : 0.0;
}

} // namespace

TEST(LedButton, ShowsAGreenLampWhenOnAndNoneWhenOff) {
    LedButton button("Pause");
    button.resize(90, 26);
    EXPECT_FALSE(button.status());
    const QImage off = grab(button);

    button.setStatus(true);
    EXPECT_TRUE(button.status());
    const QImage on = grab(button);

    EXPECT_NE(on, off);
    EXPECT_EQ(greenPixels(off), 0);
    EXPECT_GT(greenPixels(on), 20); // a lamp, not a stray pixel

    button.setStatus(false);
    EXPECT_EQ(grab(button), off);
}

TEST(LedButton, OffShowsAGreyLampBesideTheText) {
    LedButton withLamp("Duck");
    withLamp.resize(90, 26);
    QPushButton plain("Duck");
    plain.setIconSize(withLamp.iconSize());
    plain.resize(90, 26);
    // The unlit lamp is drawn too: the off button is not a plain button.
    EXPECT_NE(grab(withLamp), grab(plain));
}

TEST(LedButton, ClickingLeavesTheStatusToItsOwner) {
    LedButton button("Pause");
    button.resize(90, 26);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++clicks; });
    showAndSettle(button);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
    EXPECT_FALSE(button.status());
}

TEST(PlainButton, DrawsAFlatFaceThatDarkensWhilePressed) {
    PlainButton button("Stop");
    button.resize(80, 24);
    const QImage up = grab(button);
    button.setDown(true);
    const QImage down = grab(button);

    const QRect face(4, 2, 10, 4); // a corner of the face, away from the label
    EXPECT_LT(averageLightness(down, face), averageLightness(up, face) - 0.03);
    // Flat: the face is one colour, no gradient from top to bottom.
    EXPECT_EQ(up.pixelColor(5, 2), up.pixelColor(5, 21));
    // A border sets the button off from what is around it.
    EXPECT_NE(up.pixelColor(0, 12), up.pixelColor(5, 12));
}

TEST(PlainButton, ShowsItsLabelAndClicks) {
    PlainButton blank;
    blank.resize(80, 24);
    PlainButton labelled("Stop");
    labelled.resize(80, 24);
    EXPECT_NE(grab(blank), grab(labelled));

    int clicks = 0;
    QObject::connect(&labelled, &QPushButton::clicked, [&] { ++clicks; });
    showAndSettle(labelled);
    QTest::mouseClick(&labelled, Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
}

TEST(EmptyRulerView, ReservesATenPixelStripAlongTheScrolledView) {
    QWidget window;
    QScrollArea scroll;
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* ruler = new EmptyRulerView(&scroll, Qt::Horizontal);
    layout->addWidget(ruler);
    layout->addWidget(&scroll);
    window.resize(200, 150);
    showAndSettle(window);

    EXPECT_EQ(ruler->scrollView(), &scroll);
    EXPECT_EQ(ruler->orientation(), Qt::Horizontal);
    EXPECT_EQ(ruler->requiredThickness(), 10);
    EXPECT_EQ(ruler->geometry(), QRect(0, 0, 200, 10));
    EXPECT_EQ(scroll.geometry().top(), 10);
    layout->removeWidget(&scroll);
    scroll.setParent(nullptr);
}

TEST(EmptyRulerView, VerticalRulerIsTenWideAndFilledWithTheWindowColour) {
    QWidget window;
    auto* layout = new QHBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* ruler = new EmptyRulerView(nullptr, Qt::Vertical);
    QPalette palette = ruler->palette();
    palette.setColor(QPalette::Window, QColor(200, 180, 40));
    ruler->setPalette(palette);
    layout->addWidget(ruler);
    layout->addWidget(new QWidget);
    window.resize(120, 80);
    showAndSettle(window);

    EXPECT_EQ(ruler->size(), QSize(10, 80));
    const QImage image = grab(*ruler);
    for (const QPoint point : {QPoint(0, 0), QPoint(9, 79), QPoint(5, 40)}) {
        EXPECT_EQ(image.pixelColor(point), QColor(200, 180, 40)) << point.x() << "," << point.y();
    }
}
