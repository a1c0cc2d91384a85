// The row cell: what an empty, loaded, playing, coloured and selected row looks like, the
// trimming rule, and the data source it is given.

#include "playlist/PlaylistCell.h"
#include "playlist/PlaylistDataSource.h"
#include "tests/preset/PresetWindowTestSupport.h"

#include <QFontMetricsF>
#include <QLoggingCategory>
#include <QPainter>
#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 62;

// One row's answers, the same for every row.
class FakeRows : public PlaylistDataSource {
public:
    int numberOfRowsInTableView() const override { return 30; }
    bool cellIsSelected(int) const override { return selected; }
    QString cellTitle(int) const override { return title; }
    QString cellSubTitle(int) const override { return subTitle; }
    QString cellSubSubTitle(int) const override { return subSubTitle; }
    QString cellDurationString(int) const override { return duration; }
    int cellStatus(int) const override { return status; }
    QColor cellColor(int) const override { return color; }

    bool selected = false;
    QString title = QStringLiteral("");
    QString subTitle = QStringLiteral("");
    QString subSubTitle = QStringLiteral("");
    QString duration = QStringLiteral("00:00:00");
    int status = EmptyStatus;
    QColor color = Qt::black;
};

QImage render(const PlaylistCell& cell) {
    QImage image(kWidth, kHeight, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    cell.drawInteriorWithFrame(painter, QRectF(0, 0, kWidth, kHeight));
    return image;
}

bool isWhite(const QColor& colour) {
    return colour.red() > 250 && colour.green() > 250 && colour.blue() > 250;
}

// The pixels of `area` that are not the white background.
QList<QColor> inkIn(const QImage& image, const QRect& area) {
    QList<QColor> ink;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (!isWhite(image.pixelColor(x, y))) {
                ink << image.pixelColor(x, y);
            }
        }
    }
    return ink;
}

// The right-most column of `area` with ink; -1 when there is none.
int rightmostInk(const QImage& image, const QRect& area) {
    for (int x = area.right(); x >= area.left(); --x) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (!isWhite(image.pixelColor(x, y))) {
                return x;
            }
        }
    }
    return -1;
}

// The LED spans (8, 1)..(24, 17); its colour reads best just below the middle.
const QPoint kLedCentre(17, 11);
// The three text lines below the LED, and the duration's place at the top right.
const QRect kTextLines(8, 18, kWidth - 8, kHeight - 19);
const QRect kDurationPlace(kWidth - 90, 2, 90, 15);

class PlaylistCellTest : public ::testing::Test {
protected:
    PlaylistCellTest() { cell.setDataSource(&rows); }

    FakeRows rows;
    PlaylistCell cell;
};

// Collects the messages of the playlist's logging category while it lives.
class PlaylistLogCapture {
public:
    PlaylistLogCapture() {
        lines().clear();
        QLoggingCategory::setFilterRules(QStringLiteral("zelvora.playlist.debug=true"));
        _previous = qInstallMessageHandler(&PlaylistLogCapture::handle);
    }
    ~PlaylistLogCapture() {
        qInstallMessageHandler(_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    static QStringList& lines() {
        static QStringList captured;
        return captured;
    }

private:
    static void handle(QtMsgType, const QMessageLogContext& context, const QString& message) {
        if (QByteArray(context.category) == "zelvora.playlist") {
            lines() << message;
        }
    }
    QtMessageHandler _previous = nullptr;
};

} // namespace

TEST_F(PlaylistCellTest, AnEmptyRowShowsTheGreyLedAndOnlyItsDurationInBlack) {
    const QImage image = render(cell);
    EXPECT_FALSE(inkIn(image, QRect(12, 5, 9, 9)).isEmpty()) << "an LED is there";
    EXPECT_STREQ(ledColourName(ledColourAt(image, kLedCentre)), "grey");
    EXPECT_TRUE(inkIn(image, kTextLines).isEmpty()) << "no title, artist or album";
    const QList<QColor> duration = inkIn(image, kDurationPlace);
    ASSERT_FALSE(duration.isEmpty()) << "00:00:00 at the top right";
    for (const QColor& ink : duration) {
        ASSERT_LT(std::max({ink.red(), ink.green(), ink.blue()}) -
                      std::min({ink.red(), ink.green(), ink.blue()}),
                  8)
            << "black text, grey only where it is smoothed";
    }
    const int right = rightmostInk(image, kDurationPlace);
    EXPECT_GE(right, kWidth - 10);
    EXPECT_LT(right, kWidth - 6) << "the duration ends 7 from the right edge";
}

TEST_F(PlaylistCellTest, TheLedFollowsTheStatusAndTheTextTakesTheLabelColour) {
    rows.status = PlaylistDataSource::LoadedStatus;
    EXPECT_STREQ(ledColourName(ledColourAt(render(cell), kLedCentre)), "green");
    rows.status = PlaylistDataSource::PlayingStatus;
    EXPECT_STREQ(ledColourName(ledColourAt(render(cell), kLedCentre)), "red");
    rows.status = 7;
    EXPECT_TRUE(inkIn(render(cell), QRect(8, 1, 17, 17)).isEmpty()) << "no LED for 7";

    rows.title = QStringLiteral("Morning Show Opener");
    rows.subTitle = QStringLiteral("The Zelvora Singers");
    rows.subSubTitle = QStringLiteral("Idents, 2024");
    rows.color = QColor(0, 0, 220);
    const QImage image = render(cell);
    for (const QRect& line :
         {QRect(8, 18, 200, 13), QRect(8, 32, 200, 13), QRect(8, 46, 200, 13), kDurationPlace}) {
        const QList<QColor> ink = inkIn(image, line);
        ASSERT_FALSE(ink.isEmpty());
        int bluest = 0;
        for (const QColor& pixel : ink) {
            bluest = std::max(bluest, pixel.blue() - pixel.red());
        }
        EXPECT_GT(bluest, 150) << "every text of the row in the file's label colour";
    }
}

TEST_F(PlaylistCellTest, ASelectedRowIsOneSolidBlueBar) {
    rows.title = QStringLiteral("Station ident");
    rows.status = PlaylistDataSource::LoadedStatus;
    rows.selected = true;
    const QImage image = render(cell);
    for (const QPoint& at : {QPoint(0, 0), kLedCentre, QPoint(20, 24), QPoint(kWidth - 20, 8),
                             QPoint(kWidth - 1, kHeight - 1)}) {
        EXPECT_EQ(image.pixelColor(at), QColor(Qt::blue)) << at.x() << "," << at.y();
    }
}

TEST_F(PlaylistCellTest, TextsAreTrimmedToTheRowAndATextThatJustFitsIsTrimmedToo) {
    const PlaylistCell::TextAttributes& title = cell.titleTextAttributes();
    const QFontMetricsF metrics(title.font);
    const QString text = QStringLiteral("Morning Show Opener");
    const double width = metrics.horizontalAdvance(text);

    EXPECT_EQ(PlaylistCell::trimString(text, width + 1, title), text);
    const QString justFits = PlaylistCell::trimString(text, width, title);
    EXPECT_TRUE(justFits.endsWith("...")) << justFits.toStdString();
    EXPECT_LT(justFits.size(), text.size() + 3);
    EXPECT_LE(metrics.horizontalAdvance(justFits), width);
    EXPECT_TRUE(PlaylistCell::trimString(QString(), 100, title).isNull());
    EXPECT_EQ(PlaylistCell::trimString(text, 0.5, title), "");
    EXPECT_EQ(PlaylistCell::trimString(text, 2.0, title), "...")
        << "narrower than the ellipsis: it alone, never less than nothing";

    // Drawn, a long title stops inside the row's text width (w − 11 from x + 8).
    rows.title = text.repeated(4);
    const QImage image = render(cell);
    EXPECT_LE(rightmostInk(image, QRect(0, 18, kWidth, 14)), kWidth - 3);
    EXPECT_GT(rightmostInk(image, QRect(0, 18, kWidth, 14)), kWidth - 40) << "and uses it";
}

TEST_F(PlaylistCellTest, GivingTheSameDataSourceAgainChangesNothing) {
    FakeRows other;
    PlaylistLogCapture log;
    cell.setDataSource(&rows);
    EXPECT_TRUE(PlaylistLogCapture::lines().isEmpty());
    cell.setDataSource(&other);
    EXPECT_EQ(PlaylistLogCapture::lines(),
              (QStringList{"DataSource Release", "DataSource Retain"}));
    EXPECT_EQ(cell.dataSource(), &other);
    cell.setDataSource(nullptr);
    EXPECT_EQ(PlaylistLogCapture::lines().last(), "DataSource Release");
    EXPECT_TRUE(render(cell) == [] {
        QImage blank(kWidth, kHeight, QImage::Format_ARGB32);
        blank.fill(Qt::white);
        return blank;
    }()) << "without a data source the cell draws nothing";
}

TEST_F(PlaylistCellTest, TheDragImageIsTheRowOnAClearBackground) {
    rows.title = QStringLiteral("Station ident");
    rows.status = PlaylistDataSource::PlayingStatus;
    const QImage image = cell.getImageOfContents(QSize(kWidth, kHeight));
    EXPECT_EQ(image.size(), QSize(kWidth, kHeight));
    EXPECT_EQ(image.pixelColor(kWidth / 2, kHeight - 2).alpha(), 0);
    EXPECT_STREQ(ledColourName(ledColourAt(image, kLedCentre)), "red");
}
