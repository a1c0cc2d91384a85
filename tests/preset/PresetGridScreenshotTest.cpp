// Screenshots of filled cart walls, tall and short: the grid is grabbed offscreen, saved
// beside the test (preset-grid-tall.png, preset-grid-short.png) for a person to look at,
// and checked where it matters: the LED of every state, the output colour bars, the
// offline mark and the drop-target look.

#include "tests/preset/PresetWindowTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetButtonCell.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QDir>

namespace {

// Buttons of the filled grid and what they show.
constexpr int kPlaying = 1; // B: red LED
constexpr int kPaused = 2;  // C: yellow LED
constexpr int kBlinked = 3; // D: paused, on the grey phase of its blink
constexpr int kLooping = 4; // E: loop mark, in and out points
constexpr int kOffline = 6; // G: its file is gone
constexpr int kEmpty = 23;  // X: nothing on it
constexpr int kTarget = 22; // W: highlighted as a drop target

class GridScreenshotTest : public PresetWindowTest {
protected:
    // A document with every button but the last filled, clips spread over the eight
    // outputs, and the states above.
    PresetMatrix& fillGrid(bool tall) {
        defaults().setObject(tall, defaultsKey_ReadID3Tags);
        PresetDocument& document = makeDocument();
        PresetController& controller = controllerOf(document);
        for (int index = 0; index < kEmpty; ++index) {
            if (index == kOffline) {
                const QString gone = folder() + QStringLiteral("/gone.wav");
                EXPECT_TRUE(controller.setFile(gone, index, nullptr));
                continue;
            }
            QVariantMap overrides{{settingsKey_OutputIndex, index % 8}};
            if (index == kLooping) {
                overrides.insert(settingsKey_Loop, true);
                overrides.insert(settingsKey_InPoint, 0.5);
                overrides.insert(settingsKey_OutPoint, 0.5);
            }
            SoundClip* clip = place(document, index, tone, overrides);
            clip->setTitle(index % 3 == 0 ? QStringLiteral("Station ident %1, the long version "
                                                           "with strings")
                                                .arg(index)
                                          : QStringLiteral("Jingle %1").arg(index));
            clip->setArtist(QStringLiteral("The Zelvora Singers"));
            clip->setAlbum(QStringLiteral("Idents"));
            clip->setYear(index % 2 ? 2024 : 0);
            if (index % 5 == 0) {
                clip->setColor(QColor(30, 90, 200)); // a blue file label
            }
        }
        document.clipAtIndex(kPlaying)->startPlaying(false);
        document.clipAtIndex(kPaused)->startPlaying(true);
        document.clipAtIndex(kBlinked)->startPlaying(true);
        PresetMatrix& matrix = *controller.matrix();
        matrix.cellAtIndex(kBlinked)->setBlinkedState(true);
        matrix.setButtonHighlighted(kTarget, true);
        _document = &document;
        return matrix;
    }

    QImage shoot(PresetMatrix& matrix, const QString& name) {
        const QImage shot = matrix.grab().toImage();
        const QString path = QDir::current().filePath(name);
        EXPECT_TRUE(shot.save(path)) << qPrintable(path);
        return shot;
    }

    void stopAll() {
        for (int index = 0; index < PresetDocument::kClipsCount; ++index) {
            if (SoundClip* clip = _document->clipAtIndex(index)) {
                clip->stopPlaying();
            }
        }
    }

    const char* ledAt(const PresetMatrix& matrix, const QImage& shot, int index) {
        const QRect frame = matrix.cellFrame(index);
        return ledColourName(ledColourAt(shot, QPoint(frame.right() - 10, frame.top() + 13)));
    }

    // The colour in the middle of a button's output bar (x + 6..10, y + 20..h − 7).
    static QColor barColourAt(const PresetMatrix& matrix, const QImage& shot, int index) {
        const QRect frame = matrix.cellFrame(index);
        return shot.pixelColor(frame.left() + 8, frame.top() + 20 + (frame.height() - 27) / 2);
    }

    PresetDocument* _document = nullptr;
};

} // namespace

TEST_F(GridScreenshotTest, TallGridShowsEveryStateAndTheOutputColours) {
    PresetMatrix& matrix = fillGrid(true);
    const QImage shot = shoot(matrix, QStringLiteral("preset-grid-tall.png"));
    ASSERT_EQ(shot.size(), matrix.size());

    EXPECT_STREQ(ledAt(matrix, shot, 0), "green");
    EXPECT_STREQ(ledAt(matrix, shot, kPlaying), "red");
    EXPECT_STREQ(ledAt(matrix, shot, kPaused), "yellow");
    EXPECT_STREQ(ledAt(matrix, shot, kBlinked), "grey");
    EXPECT_STREQ(ledAt(matrix, shot, kEmpty), "grey");

    // Each output's bar in its own colour; output 0 has no marking colour of its own.
    for (int index = 1; index < 8; ++index) {
        if (index == kOffline) {
            continue;
        }
        EXPECT_EQ(barColourAt(matrix, shot, index).rgb(), defaultOutputColor(index).rgb())
            << "button " << index;
    }
    const QColor emptyBar = barColourAt(matrix, shot, kEmpty);
    const QColor idleBar = barColourAt(matrix, shot, 9); // output 1: red
    EXPECT_NE(emptyBar.rgb(), idleBar.rgb()) << "an empty button has no bar";
    stopAll();
}

TEST_F(GridScreenshotTest, ShortGridHangsTheOfflineMarkBelowItsButton) {
    PresetMatrix& matrix = fillGrid(false);
    const QImage shot = shoot(matrix, QStringLiteral("preset-grid-short.png"));
    ASSERT_EQ(shot.size(), QSize(4 * 190 + 3 * 7, 320));
    EXPECT_STREQ(ledAt(matrix, shot, kPlaying), "red");
    EXPECT_STREQ(ledAt(matrix, shot, kPaused), "yellow");

    // Below button G the mark reaches into the gap; below its neighbour F the gap shows
    // the bare background.
    const QRect offline = matrix.cellFrame(kOffline);
    const QRect online = matrix.cellFrame(kOffline - 1);
    const int gapRow = offline.bottom() + 1;
    const auto differs = [&](int x) {
        const QColor a = shot.pixelColor(x, gapRow);
        const QColor b = shot.pixelColor(online.left() + (x - offline.left()), gapRow);
        return a != b;
    };
    bool markInGap = false;
    for (int x = offline.center().x() - 8; x <= offline.center().x() + 8 && !markInGap; ++x) {
        markInGap = differs(x);
    }
    EXPECT_TRUE(markInGap);
    stopAll();
}
