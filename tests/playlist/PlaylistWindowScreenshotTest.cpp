// A screenshot of a filled playlist window, grabbed offscreen and saved beside the test
// (playlist-window.png) for a person to look at, and checked where it matters: the LED
// of each row's state, the selected row's bar and the rows beyond the slots.

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "outputs/CProgressView.h"
#include "playlist/CCustomTableView.h"
#include "playlist/PlaylistController.h"
#include "playlist/PlaylistDocument.h"
#include "tests/playlist/PlaylistTestSupport.h"
#include "tests/preset/PresetWindowTestSupport.h"

#include <QDir>
#include <QScrollBar>

using PlaylistScreenshotTest = PlaylistTest;

TEST_F(PlaylistScreenshotTest, AFilledPlaylistWindow) {
    PlaylistDocument& document = makeWindowDocument();
    PlaylistController& c = controllerOf(document);
    const QStringList titles{"Morning Show Opener", "Traffic Bed", "News Sting",
                             "Weather: the long version with strings and a choir", "Station ID"};
    for (int slot = 0; slot < titles.size(); ++slot) {
        SoundClip& clip = putClip(document, slot, slot == 1 ? longTone : tone);
        clip.setTitle(titles[slot]);
        clip.setArtist(slot % 2 ? QStringLiteral("The Zelvora Singers") : QString());
        clip.setAlbum(slot == 4 ? QString() : QStringLiteral("Idents"));
        clip.setYear(slot % 3 ? 2024 : 0);
    }
    document.clipAtIndex(2)->setColor(QColor(30, 90, 200)); // a blue file label
    SoundClip& playing = *document.clipAtIndex(1);
    playing.startPlaying(false);
    playing.setPosition(4.0);
    tick(playing);
    c.setCurrentClip(1);
    c.spendTime();
    c.tableView()->selectRow(3);
    c.window()->resize(380, 640);
    c.window()->show();

    const QImage shot = c.window()->grab().toImage();
    const QString path = QDir::current().filePath(QStringLiteral("playlist-window.png"));
    EXPECT_TRUE(shot.save(path)) << qPrintable(path);

    const QImage rows = c.tableView()->viewport()->grab().toImage();
    const auto ledOfRow = [&](int row) {
        const QRect frame = c.tableView()->rectOfRow(row);
        return ledColourName(ledColourAt(rows, frame.topLeft() + QPoint(17, 11)));
    };
    EXPECT_STREQ(ledOfRow(0), "green");
    EXPECT_STREQ(ledOfRow(1), "red");
    EXPECT_STREQ(ledOfRow(5), "grey");
    const QRect selected = c.tableView()->rectOfRow(3);
    EXPECT_EQ(rows.pixelColor(selected.center()), QColor(Qt::blue));
    EXPECT_EQ(c.progressViewColorState(), PlaylistController::RedState) << "under 8 s left";
    EXPECT_GT(c.progressView()->litSegmentCount(), 0);

    // The last rows, past the 24 slots, are there and empty.
    QScrollBar* scroll = c.tableView()->verticalScrollBar();
    scroll->setValue(scroll->maximum());
    const QImage bottom = c.tableView()->viewport()->grab().toImage();
    const QRect last = c.tableView()->rectOfRow(29);
    ASSERT_GE(last.bottom(), 0);
    EXPECT_LE(last.bottom(), bottom.height());
    EXPECT_STREQ(ledColourName(ledColourAt(bottom, last.topLeft() + QPoint(17, 11))), "grey");
    playing.stopPlaying();
}
