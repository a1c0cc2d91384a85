// The simulated surfaces as a person drives them with --simulate-surfaces: contacts in the
// window reach the front document, tally lights the window's lamps, keypad buttons reach
// the application's actions.

#include "app/hid/ControlSurfaces.h"
#include "app/hid/GPIController.h"
#include "app/hid/GPIGlobalController.h"
#include "app/hid/SimulatedIOWarriorBus.h"
#include "app/hid/SurfacesSimulatorWindow.h"
#include "app/hid/XKeysController.h"
#include "tests/surfaces/SurfacesTestSupport.h"

#include "tests/support/QtPrinters.h"
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr int kDeadlineMs = 5000;

QPushButton* keyButton(QWidget* window, int key) {
    for (QPushButton* button : window->findChildren<QPushButton*>()) {
        if (button->text() == QString::number(key)) {
            return button;
        }
    }
    return nullptr;
}

} // namespace

TEST(ControlSurfacesTest, TheSimulatorWindowDrivesTheBoxAndTheKeypad) {
    EXPECT_TRUE(ControlSurfaces::wantsSimulation({"zelvora-studio", "--simulate-surfaces"}));
    EXPECT_FALSE(ControlSurfaces::wantsSimulation({"zelvora-studio"}));

    // The only open document, so it needs not be current.
    QStringList edges;
    surfacestest::RecordingReceiver front(&edges, QStringLiteral("front"));
    surfacestest::FakeDocuments document;
    document.open = {&front};
    surfacestest::RecordingActions actions;
    ControlSurfaces surfaces(true, &actions, &document);
    auto* window = qobject_cast<SurfacesSimulatorWindow*>(surfaces.simulatorWindow());
    ASSERT_TRUE(window);
    ASSERT_EQ(surfaces.gpi().devices().size(), 1u);
    EXPECT_TRUE(surfaces.gpi().isPolling());
    EXPECT_TRUE(surfaces.keypad().hasDevice());

    // The polls run on their own timers while events are processed.
    window->contact(4)->setChecked(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !edges.isEmpty(); }, kDeadlineMs));
    EXPECT_EQ(edges, QStringList{"front 4:1"});

    const int box = surfaces.gpi().findInterfaceIndexWithSerialNumber(
        ControlSurfaces::kSimulatedBoardSerialNumber);
    ASSERT_EQ(box, 0);
    surfaces.gpi().setState(box, false, 2);
    surfaces.gpi().setState(box, true, 3);
    const QColor lit(220, 30, 30);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            window->refreshLamps();
            return window->lamp(3)->palette().color(QPalette::Window) != lit;
        },
        kDeadlineMs));
    EXPECT_EQ(window->lamp(2)->palette().color(QPalette::Window), lit);

    QPushButton* config = keyButton(window, 58);
    QPushButton* grid = keyButton(window, 31);
    QPushButton* stopAll = keyButton(window, 69);
    ASSERT_TRUE(config && grid && stopAll);
    EXPECT_FALSE(keyButton(window, 12)) << "the eighth key of a column does not exist";
    // A key is held as long as the mouse holds its button.
    QTest::mousePress(config, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return actions.journal.size() == 1; }, kDeadlineMs));
    QTest::mouseRelease(config, Qt::LeftButton);
    QTest::mouseClick(grid, Qt::LeftButton);
    QTest::mouseClick(stopAll, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return actions.journal.size() >= 4; }, kDeadlineMs));
    EXPECT_EQ(actions.journal,
              (QStringList{"config YES", "config NO", "button 1 config=NO", "stop all"}));
}
