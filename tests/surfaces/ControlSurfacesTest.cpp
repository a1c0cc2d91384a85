// The simulated surfaces as a person drives them with --simulate-surfaces: contacts in the
// window reach the front document, tally lights the window's lamps, keypad buttons reach
// the application's actions.

#include "app/hid/ControlSurfaces.h"
#include "app/hid/GPIController.h"
#include "app/hid/GPIGlobalController.h"
#include "app/hid/GPIInputReceiver.h"
#include "app/hid/GPIInputTargets.h"
#include "app/hid/SimulatedIOWarriorBus.h"
#include "app/hid/SurfacesSimulatorWindow.h"
#include "app/hid/XKeysActions.h"
#include "app/hid/XKeysController.h"

#include "tests/support/QtPrinters.h"
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr int kDeadlineMs = 5000;

class OneDocument : public GPIInputTargets, public GPIInputReceiver {
public:
    int openDocumentsCount() const override { return 1; }
    GPIInputReceiver* documentControllerAt(int) const override {
        return const_cast<OneDocument*>(this);
    }
    GPIInputReceiver* currentDocumentController() const override { return nullptr; }
    void gpiInputHasChanged(int input, int newState) override {
        edges << QStringLiteral("%1:%2").arg(input).arg(newState);
    }
    QStringList edges;
};

// Only what the test presses: the stop-all key and the config latch.
class SomeActions : public XKeysActions {
public:
    bool shiftKeyState() const override { return false; }
    bool commandKeyState() const override { return false; }
    void setShiftKeyState(bool) override {}
    void setControlKeyState(bool) override {}
    void setAltKeyState(bool) override {}
    void setCommandKeyState(bool) override {}
    void setLeftArrowKeyState(bool) override {}
    void setRightArrowKeyState(bool) override {}
    void setConfigKeyState(bool state) override { calls << QStringLiteral("config %1").arg(state); }
    void setEditKeyState(bool) override {}
    void setStopKeyState(bool) override {}
    void setLoopKeyState(bool) override {}
    void handleClipButtonPressed(int index) override {
        calls << QStringLiteral("button %1").arg(index);
    }
    void toggleCueMode() override {}
    bool openFunctionKeyDocumentAtIndex(int) override { return false; }
    void stopOutput(int) override {}
    void pauseOutput(int) override {}
    void stopButtonPushed() override { calls << QStringLiteral("stop all"); }
    void pauseButtonPushed() override {}
    void preListenStopButtonPushed() override {}
    void preListenPlayButtonPushed() override {}
    void preListenJumpBackButtonPushed() override {}
    QStringList calls;
};

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

    OneDocument document;
    SomeActions actions;
    ControlSurfaces surfaces(true, &actions, &document);
    auto* window = qobject_cast<SurfacesSimulatorWindow*>(surfaces.simulatorWindow());
    ASSERT_TRUE(window);
    ASSERT_EQ(surfaces.gpi().devices().size(), 1u);
    EXPECT_TRUE(surfaces.gpi().isPolling());
    EXPECT_TRUE(surfaces.keypad().hasDevice());

    // The polls run on their own timers while events are processed.
    window->contact(4)->setChecked(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !document.edges.isEmpty(); }, kDeadlineMs));
    EXPECT_EQ(document.edges, QStringList{"4:1"});

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
    ASSERT_TRUE(QTest::qWaitFor([&] { return actions.calls.size() == 1; }, kDeadlineMs));
    QTest::mouseRelease(config, Qt::LeftButton);
    QTest::mouseClick(grid, Qt::LeftButton);
    QTest::mouseClick(stopAll, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return actions.calls.size() >= 4; }, kDeadlineMs));
    EXPECT_EQ(actions.calls, (QStringList{"config 1", "config 0", "button 1", "stop all"}));
}
