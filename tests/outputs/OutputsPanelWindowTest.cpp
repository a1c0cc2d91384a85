// The outputs panel as a window: it never takes the keyboard, shows the output records'
// names and colours, keeps its position between runs and stays put when locked.

#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "outputs/CProgressView.h"
#include "outputs/LedButton.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PlainButton.h"
#include "outputs/WindowFrameAutosave.h"
#include "tests/outputs/PanelTestSupport.h"
#include "tests/support/Screenshot.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QScreen>
#include <QTest>

namespace {

// What `widget` shows, also saved for a person to look at (see saveScreenshot).
QImage screenshot(QWidget& widget, const QString& name) {
    saveScreenshot(widget, name);
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

TEST_F(OutputsPanelTest, ThePanelFloatsWithoutEverTakingTheKeyboard) {
    QLineEdit document;
    document.show();
    document.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&document));
    panel().showWindow();
    NonKeyPanel& window = *panel().window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));

    window.activateWindow();
    QTest::mouseClick(&panel().pauseAllButton(), Qt::LeftButton);
    QTest::mouseClick(&panel().cellAtIndex(0)->stopButton(), Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activeWindow(), &document)
        << "the document keeps the keyboard, not "
        << (QApplication::activeWindow() ? QApplication::activeWindow()->metaObject()->className()
                                         : "none");
    EXPECT_TRUE(document.hasFocus());
    for (QWidget* child : window.findChildren<QWidget*>()) {
        EXPECT_EQ(child->focusPolicy(), Qt::NoFocus) << child->metaObject()->className();
    }
}

TEST_F(OutputsPanelTest, StripsShowTheOutputRecordsNamesAndColoursAndFollowTheirChanges) {
    EXPECT_EQ(panel().cellAtIndex(0)->title(), "Output 1");
    EXPECT_EQ(panel().cellAtIndex(8)->title(), "Pre-listen");
    EXPECT_EQ(panel().cellAtIndex(1)->outputColor(), defaultOutputColor(1));

    QVariantMap record = defaultOutputSettings(3);
    record.insert(QorvinPrefOutputName, QStringLiteral("Studio B"));
    record.insert(QorvinPrefOutputColor, archiveColor(QColor(200, 0, 200)));
    defaults().setObject(record, outputSettingsKey(3));
    EXPECT_EQ(panel().cellAtIndex(3)->title(), "Studio B");
    EXPECT_EQ(panel().cellAtIndex(3)->outputColor(), QColor(200, 0, 200));

    // A record without a name or with a broken colour keeps what the strip shows.
    record.remove(QorvinPrefOutputName);
    record.insert(QorvinPrefOutputColor, QByteArray("not a colour"));
    defaults().setObject(record, outputSettingsKey(3));
    EXPECT_EQ(panel().cellAtIndex(3)->title(), "Studio B");
    EXPECT_EQ(panel().cellAtIndex(3)->outputColor(), QColor(200, 0, 200));

    // The colour bar runs down the strip's left side, 5 wide from x = 10.
    OutputMonitoringCell& strip = *panel().cellAtIndex(3);
    const QImage image = screenshot(strip, QStringLiteral("outputs-strip-idle"));
    EXPECT_EQ(image.pixelColor(12, 40), QColor(200, 0, 200));
    EXPECT_EQ(image.pixelColor(10, 22), QColor(200, 0, 200));
    EXPECT_NE(image.pixelColor(15, 40), QColor(200, 0, 200));
    EXPECT_NE(image.pixelColor(12, strip.height() - 9), QColor(200, 0, 200));
}

TEST_F(OutputsPanelTest, ThePanelShowsWhatPlaysOnEveryOutput) {
    std::vector<SoundClip*> clips;
    const double lengths[] = {45.0, 20.0, 8.0};
    const double positions[] = {10.0, 8.0, 3.0};
    for (int output = 0; output < 3; ++output) {
        const QString name = QStringLiteral("Output %1 jingle with a long title.wav").arg(output);
        SoundClip& clip = clipOn(output, constantWav(name, lengths[output], 0.7f, 0.4f));
        clip.startPlaying(false);
        clip.setPosition(positions[output]);
        clips.push_back(&clip);
    }
    tickAll(10);
    panel().cellAtIndex(1)->pauseButtonPushed();
    panel().showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel().window()));
    const QImage image = screenshot(*panel().window(), QStringLiteral("outputs-panel"));
    // Each progress bar is drawn lit in its warning colour: green, orange, red.
    const QColor colours[] = {QColor::fromRgbF(0.0f, 0.9f, 0.0f), QColor(255, 128, 0),
                              QColor(255, 0, 0)};
    for (int output = 0; output < 3; ++output) {
        const CProgressView& bar = panel().cellAtIndex(output)->progressBar();
        const QRect area(bar.mapTo(panel().window(), QPoint(0, 0)), bar.size());
        int lit = 0;
        for (int x = area.left(); x <= area.right(); ++x) {
            lit += image.pixel(x, area.center().y()) == colours[output].rgb() ? 1 : 0;
        }
        EXPECT_GT(lit, 20) << "output " << output;
    }
    // The whole panel fits the space a locked panel has on a 1024-wide screen.
    EXPECT_LE(panel().window()->frameGeometry().width(), 1024 - 802);
}

TEST(OutputsPanelPlacement, ALockedPanelGoesToX802OnWideScreensAndFlushRightOnNarrowOnes) {
    const QRect wide(0, 0, 1024, 768);
    const QRect wideVisible(0, 25, 1024, 743);
    EXPECT_EQ(OutputsMonitoringPanelController::lockedWindowPosition(wide, wideVisible, 222),
              QPoint(802, 25));
    const QRect narrow(0, 0, 866, 600);
    EXPECT_EQ(OutputsMonitoringPanelController::lockedWindowPosition(narrow, narrow, 222),
              QPoint(644, 0));
    const QRect secondScreen(1920, 0, 1280, 1024);
    EXPECT_EQ(
        OutputsMonitoringPanelController::lockedWindowPosition(secondScreen, secondScreen, 222),
        QPoint(1920 + 802, 0));
}

TEST_F(OutputsPanelTest, MovingALockedPanelPutsItBackAndAnUnlockedOneStaysWhereItWasPut) {
    panel().showWindow();
    NonKeyPanel& window = *panel().window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.move(30, 40);
    QCoreApplication::processEvents();
    EXPECT_EQ(window.pos(), QPoint(30, 40));

    defaults().setObject(true, QStringLiteral("Lock Window Positions"));
    window.move(50, 60);
    QCoreApplication::processEvents();
    const QScreen* screen = QGuiApplication::primaryScreen();
    EXPECT_EQ(window.pos(),
              OutputsMonitoringPanelController::lockedWindowPosition(
                  screen->geometry(), screen->availableGeometry(), window.frameGeometry().width()));
}

TEST_F(OutputsPanelTest, ThePanelComesBackWhereItWasLeftOnTheNextRun) {
    panel().showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel().window()));
    // Never saved: at the top right of the main screen's free area.
    const QRect visible = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(panel().window()->frameGeometry().topRight(), visible.topRight());
    panel().window()->move(40, 30);
    QCoreApplication::processEvents();
    EXPECT_TRUE(panel().frameAutosave().hasPendingSave()) << "a drag is written once it settles";
    panel().frameAutosave().save();
    restart();

    OutputsMonitoringPanelController nextRun;
    nextRun.showWindow();
    EXPECT_EQ(nextRun.window()->pos(), QPoint(40, 30));

    // A position on no connected screen is not used.
    defaults().setObject(QVariantMap{{"X", 90000}, {"Y", 30}}, "Outputs Window Position");
    EXPECT_FALSE(nextRun.frameAutosave().savedPosition().has_value());
    defaults().setObject(QVariantMap{{"X", "40"}, {"Y", 30}}, "Outputs Window Position");
    EXPECT_FALSE(nextRun.frameAutosave().savedPosition().has_value());
}
