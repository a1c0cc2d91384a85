// The compiled images: every base name the windows use is there, draws something at 1x and
// 2x, and looks like what its name says; bad requests answer nothing and do not crash.

#include "outputs/ResourceImages.h"
#include "resources/ZelvoraResources.h"
#include "tests/support/QtPrinters.h"

#include <QFile>
#include <QImage>
#include <gtest/gtest.h>

namespace {

const QStringList kImageNames = {"GreenLED",     "RedLED",        "YellowLED", "GrayLED",
                                 "In Point",     "Out Point",     "LoopSmall", "Offline",
                                 "OfflineSmall", "zelvora-studio"};

struct Coverage {
    int opaque = 0;      // alpha above 200
    int transparent = 0; // alpha 0
};

Coverage coverage(const QPixmap& pixmap) {
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    Coverage result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = qAlpha(image.pixel(x, y));
            result.opaque += alpha > 200;
            result.transparent += alpha == 0;
        }
    }
    return result;
}

QColor centreOf(const QPixmap& pixmap) {
    const QImage image = pixmap.toImage();
    return image.pixelColor(image.width() / 2, image.height() * 5 / 8);
}

} // namespace

TEST(ResourceImages, EveryImageTheWindowsUseIsCompiledIn) {
    const QStringList names = ResourceImages::names();
    for (const QString& name : kImageNames) {
        EXPECT_TRUE(names.contains(name)) << name.toStdString();
        EXPECT_TRUE(ResourceImages::contains(name)) << name.toStdString();
    }
    ZelvoraResources::initialize();
    QFile file(":/images/GreenLED.svg");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains("<svg"));
}

TEST(ResourceImages, EveryImageDrawsAtOneAndTwoTimesScale) {
    for (const QString& name : ResourceImages::names()) {
        SCOPED_TRACE(name.toStdString());
        const QSize natural = ResourceImages::naturalSize(name);
        ASSERT_FALSE(natural.isEmpty());

        const QPixmap single = ResourceImages::pixmap(name, 1.0);
        ASSERT_FALSE(single.isNull());
        EXPECT_EQ(single.size(), natural);
        EXPECT_EQ(single.devicePixelRatio(), 1.0);
        EXPECT_GT(coverage(single).opaque, natural.width() * natural.height() / 10);

        const QPixmap doubled = ResourceImages::pixmap(name, 2.0);
        ASSERT_FALSE(doubled.isNull());
        EXPECT_EQ(doubled.size(), natural * 2);
        EXPECT_EQ(doubled.devicePixelRatio(), 2.0);
        EXPECT_EQ(doubled.deviceIndependentSize().toSize(), natural);
    }
}

TEST(ResourceImages, LampsAndMarksHaveTheirIntendedSizes) {
    for (const char* lamp : {"GreenLED", "RedLED", "YellowLED", "GrayLED"}) {
        EXPECT_EQ(ResourceImages::naturalSize(lamp), QSize(16, 16)) << lamp;
        const Coverage drawn = coverage(ResourceImages::pixmap(lamp));
        EXPECT_GT(drawn.transparent, 0) << lamp << " should be round, corners clear";
    }
    for (const char* mark : {"In Point", "Out Point", "LoopSmall", "OfflineSmall"}) {
        EXPECT_EQ(ResourceImages::naturalSize(mark), QSize(12, 12)) << mark;
    }
    EXPECT_EQ(ResourceImages::naturalSize("Offline"), QSize(16, 16));
}

TEST(ResourceImages, EachLampShowsItsColour) {
    const QColor green = centreOf(ResourceImages::pixmap("GreenLED"));
    EXPECT_GT(green.green(), green.red() + 80);
    EXPECT_GT(green.green(), green.blue() + 80);

    const QColor red = centreOf(ResourceImages::pixmap("RedLED"));
    EXPECT_GT(red.red(), red.green() + 80);
    EXPECT_GT(red.red(), red.blue() + 80);

    const QColor yellow = centreOf(ResourceImages::pixmap("YellowLED"));
    EXPECT_GT(yellow.red(), 180);
    EXPECT_GT(yellow.green(), 150);
    EXPECT_LT(yellow.blue(), yellow.green() - 80);

    const QColor grey = centreOf(ResourceImages::pixmap("GrayLED"));
    EXPECT_LT(grey.hsvSaturation(), 30);
    EXPECT_GT(grey.lightness(), 100);
}

TEST(ResourceImages, ScalesToAnyAskedSize) {
    const QPixmap large = ResourceImages::pixmap("zelvora-studio", QSize(48, 48), 1.5);
    EXPECT_EQ(large.size(), QSize(72, 72));
    EXPECT_EQ(large.devicePixelRatio(), 1.5);
    EXPECT_GT(coverage(large).opaque, 72 * 72 / 2);

    const QPixmap again = ResourceImages::pixmap("zelvora-studio", QSize(48, 48), 1.5);
    EXPECT_EQ(again.cacheKey(), large.cacheKey()); // drawn once, then kept
}

TEST(ResourceImages, IconsDrawAtTheRatioTheyAreShownAt) {
    const QIcon icon = ResourceImages::icon("RedLED");
    ASSERT_FALSE(icon.isNull());
    const QPixmap single = icon.pixmap(QSize(16, 16), 1.0);
    EXPECT_EQ(single.size(), QSize(16, 16));
    const QPixmap doubled = icon.pixmap(QSize(16, 16), 2.0);
    EXPECT_EQ(doubled.size(), QSize(32, 32));
    EXPECT_EQ(doubled.devicePixelRatio(), 2.0);
    // Asked for a wider box than the square lamp, the icon keeps the lamp round.
    EXPECT_EQ(icon.actualSize(QSize(40, 20)), QSize(20, 20));
    const QPixmap disabled = icon.pixmap(QSize(16, 16), 1.0, QIcon::Disabled);
    EXPECT_NE(disabled.toImage(), single.toImage());
}

TEST(ResourceImages, UnknownNamesAndUnusableSizesGiveNothing) {
    EXPECT_FALSE(ResourceImages::contains("BlueLED"));
    EXPECT_FALSE(ResourceImages::contains(""));
    EXPECT_TRUE(ResourceImages::pixmap("BlueLED").isNull());
    EXPECT_FALSE(ResourceImages::naturalSize("BlueLED").isValid());
    EXPECT_TRUE(ResourceImages::icon("BlueLED").isNull());
    EXPECT_TRUE(ResourceImages::pixmap("GreenLED", QSize(0, 16), 1.0).isNull());
    EXPECT_TRUE(ResourceImages::pixmap("GreenLED", QSize(16, 16), 0.0).isNull());
    EXPECT_TRUE(ResourceImages::pixmap("GreenLED", QSize(16, 16), -2.0).isNull());
    EXPECT_TRUE(ResourceImages::pixmap("../GreenLED").isNull());
    EXPECT_FALSE(ResourceImages::pixmap("GreenLED").isNull()); // still fine afterwards
}
