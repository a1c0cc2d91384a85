// The button cell: which LED it shows for each clip state and blink phase, where the
// offline mark and the tall layout's lines go, and the trimming rule.

#include "tests/preset/PresetWindowTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "preset/PresetButtonCell.h"

#include <QFontMetricsF>
#include <QPainter>

namespace {

constexpr int kWidth = 190;

// The cell drawn at (0, 0) in a `height`-high frame, on an image 20 units taller so what
// hangs below the frame shows too.
QImage render(const PresetButtonCell& cell, int height) {
    QImage image(kWidth, height + 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    cell.drawWithFrame(painter, QRectF(0, 0, kWidth, height), nullptr);
    painter.end();
    return image;
}

LedColour ledOf(const PresetButtonCell& cell) {
    // The LED fills (w − 19 .. w − 3, 3 .. 19); its colour is strongest below the centre.
    return ledColourAt(render(cell, 45), QPoint(kWidth - 11, 13));
}

// Whether any pixel of the rectangle is drawn in a colour close to `colour`.
bool containsColour(const QImage& image, const QRect& area, const QColor& colour) {
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - colour.red()) < 40 &&
                std::abs(pixel.green() - colour.green()) < 40 &&
                std::abs(pixel.blue() - colour.blue()) < 40) {
                return true;
            }
        }
    }
    return false;
}

// Whether anything at all is drawn in the rectangle.
bool anyPixelDrawn(const QImage& image, const QRect& area) {
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (qAlpha(image.pixel(x, y)) != 0) {
                return true;
            }
        }
    }
    return false;
}

using CellTest = PresetWindowTest;

} // namespace

TEST_F(CellTest, LedFollowsTheClipStateAndTheBlinkPhase) {
    PresetButtonCell cell;
    EXPECT_EQ(cell.ledStatus(), PresetButtonCell::GreyLed);
    EXPECT_STREQ(ledColourName(ledOf(cell)), "grey");

    SoundClip& clip = makeClip(tone);
    cell.setClip(&clip);
    EXPECT_STREQ(ledColourName(ledOf(cell)), "green");

    clip.startPlaying(false);
    ASSERT_TRUE(clip.isPlaying());
    EXPECT_STREQ(ledColourName(ledOf(cell)), "red");

    clip.stopPlaying();
    clip.startPlaying(true);
    ASSERT_TRUE(clip.isPaused());
    EXPECT_STREQ(ledColourName(ledOf(cell)), "yellow");
    cell.setBlinkedState(true);
    EXPECT_STREQ(ledColourName(ledOf(cell)), "grey");
    cell.setBlinkedState(false);
    EXPECT_STREQ(ledColourName(ledOf(cell)), "yellow");
    clip.stopPlaying();
}

TEST_F(CellTest, IdleClipWithoutAFileShowsNoLedAtAll) {
    SoundClip clip(std::make_shared<QVariantMap>(defaultClipSettings()));
    PresetButtonCell cell;
    cell.setClip(&clip);
    EXPECT_EQ(cell.ledStatus(), PresetButtonCell::NoLed);

    PresetButtonCell empty;
    const QImage withoutLed = render(cell, 45);
    const QImage greyLed = render(empty, 45);
    // Where the grey LED has its dark rim, the fileless button shows the bare bezel.
    bool differs = false;
    for (int x = kWidth - 19; x < kWidth - 3 && !differs; ++x) {
        differs = withoutLed.pixel(x, 11) != greyLed.pixel(x, 11);
    }
    EXPECT_TRUE(differs);
}

TEST_F(CellTest, OfflineMarkHangsBelowAShortCellAndInsideATallOne) {
    SoundClip& clip = makeClip(tone);
    PresetButtonCell cell;
    cell.setClip(&clip);
    // The mark is centred: it covers the columns 8 either side of the middle.
    const int left = kWidth / 2 - 8;
    // Below a 45-high frame nothing is drawn while the clip is online.
    EXPECT_FALSE(anyPixelDrawn(render(cell, 45), QRect(left, 45, 16, 2)));

    clip.setIsOffline(true);
    const QImage shortCell = render(cell, 45);
    EXPECT_TRUE(anyPixelDrawn(shortCell, QRect(left, 45, 16, 2)))
        << "the mark reaches 2 below the frame";
    EXPECT_FALSE(anyPixelDrawn(shortCell, QRect(left, 47, 16, 10)));

    // Inside a tall cell, over the bezel: it ends 5 above the lower edge.
    const QImage tallCell = render(cell, 70);
    EXPECT_FALSE(anyPixelDrawn(tallCell, QRect(left, 70, 16, 10)));
    clip.setIsOffline(false);
    const QImage tallOnline = render(cell, 70);
    EXPECT_NE(tallCell.copy(left, 49, 16, 16), tallOnline.copy(left, 49, 16, 16));
    EXPECT_EQ(tallCell.copy(left, 65, 16, 5), tallOnline.copy(left, 65, 16, 5));
}

TEST_F(CellTest, TallLayoutDrawsArtistAndAlbumInTheLabelColour) {
    SoundClip& clip = makeClip(tone);
    clip.setColor(QColor(0, 0, 255));
    clip.setTitle(QString());
    clip.setArtist(QStringLiteral("WWWWWWWW"));
    clip.setAlbum(QStringLiteral("WWWWWWWW"));
    PresetButtonCell cell;
    cell.setClip(&clip);
    const QColor blue(0, 0, 255);
    const QRect artistLine(14, 32, 60, 11);
    const QRect albumLine(14, 46, 60, 11);
    const QImage tall = render(cell, 70);
    EXPECT_TRUE(containsColour(tall, artistLine, blue));
    EXPECT_TRUE(containsColour(tall, albumLine, blue));

    clip.setArtist(QString());
    clip.setAlbum(QString());
    EXPECT_FALSE(containsColour(render(cell, 70), artistLine, blue));
}

TEST_F(CellTest, MarksShowTheInPointTheOutPointAndTheLoop) {
    SoundClip& plain = makeClip(tone);
    SoundClip& marked = makeClip(
        tone, {{settingsKey_InPoint, 0.5}, {settingsKey_OutPoint, 0.5}, {settingsKey_Loop, true}});
    ASSERT_TRUE(marked.hasInPoint());
    ASSERT_TRUE(marked.hasOutPoint());
    ASSERT_TRUE(marked.isLooping());
    PresetButtonCell cell;
    cell.setClip(&plain);
    const QImage without = render(cell, 45);
    cell.setClip(&marked);
    const QImage with = render(cell, 45);
    // Each 12-unit mark stands on its line: in at (85, 18), out at (95, 18), loop at (65, 19).
    EXPECT_NE(with.copy(85, 6, 10, 12), without.copy(85, 6, 10, 12)) << "in point";
    EXPECT_NE(with.copy(97, 6, 10, 12), without.copy(97, 6, 10, 12)) << "out point";
    EXPECT_NE(with.copy(65, 7, 12, 12), without.copy(65, 7, 12, 12)) << "loop";
    EXPECT_EQ(with.copy(110, 6, 12, 12), without.copy(110, 6, 12, 12)) << "nothing beyond";
}

TEST_F(CellTest, TextsAreTrimmedWithAnEllipsisAndTheAlbumLineTakesAlbumAndYear) {
    PresetButtonCell cell;
    const PresetButtonCell::TextAttributes& title = cell.titleTextAttributes();
    const QFontMetricsF metrics(title.font);
    const QString longTitle = QStringLiteral("Morning Show Jingle Long Version");
    const QString trimmed = PresetButtonCell::trimString(longTitle, 60.0, title);
    ASSERT_TRUE(trimmed.endsWith(QStringLiteral("...")));
    EXPECT_TRUE(longTitle.startsWith(trimmed.chopped(3)));
    EXPECT_GT(trimmed.size(), 3);
    EXPECT_LE(metrics.horizontalAdvance(trimmed), 60.0);
    // Exactly as wide as the space is shortened, deliberately; narrower than the
    // ellipsis leaves the ellipsis alone, and the loop ends.
    const double exact = metrics.horizontalAdvance(QStringLiteral("Hi"));
    EXPECT_EQ(PresetButtonCell::trimString(QStringLiteral("Hi"), exact + 1.0, title), "Hi");
    EXPECT_TRUE(PresetButtonCell::trimString(QStringLiteral("Hi"), exact, title).endsWith("..."));
    EXPECT_EQ(PresetButtonCell::trimString(QStringLiteral("Title"), 3.0, title), "...");

    EXPECT_EQ(PresetButtonCell::albumLine(QStringLiteral("Hits"), 1999), "Hits, 1999");
    EXPECT_EQ(PresetButtonCell::albumLine(QStringLiteral("Hits"), 0), "Hits");
    EXPECT_EQ(PresetButtonCell::albumLine(QString(), 1999), "1999");
}

TEST_F(CellTest, DragImageIsTheWholeButtonOnAClearBackground) {
    SoundClip& clip = makeClip(tone);
    PresetButtonCell cell;
    cell.setClip(&clip);
    const QImage image = cell.getImageOfContents(QSize(kWidth, 45));
    EXPECT_EQ(image.size(), QSize(kWidth, 45));
    EXPECT_STREQ(ledColourName(ledColourAt(image, QPoint(kWidth - 11, 13))), "green");
}
