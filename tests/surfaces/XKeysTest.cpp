// The keypad: the poller over the simulated keypad (order, garbage, a keypad that goes
// away) and the key table of the application object, against a fake that records what
// the application is asked to do.

#include "app/hid/SimulatedXKeysDevice.h"
#include "app/hid/XKeysController.h"
#include "app/hid/XKeysKeyTable.h"
#include "tests/surfaces/SurfacesTestSupport.h"

#include "tests/support/QtPrinters.h"
#include <QStringList>

#include <gtest/gtest.h>
#include <map>

using surfacestest::RecordingActions;

namespace {

class XKeysTest : public ::testing::Test {
protected:
    XKeysTest() {
        auto device = std::make_unique<SimulatedXKeysDevice>();
        keypad = device.get();
        poller = std::make_unique<XKeysController>(&table, std::move(device));
    }

    // A press and release of `key`, handled on one tick; what it did.
    QStringList tap(int key) {
        actions.journal.clear();
        keypad->press(key);
        keypad->release(key);
        poller->updateTimer();
        return actions.journal;
    }

    RecordingActions actions;
    XKeysKeyTable table{&actions};
    SimulatedXKeysDevice* keypad = nullptr;
    std::unique_ptr<XKeysController> poller;
};

} // namespace

TEST_F(XKeysTest, AHeldShiftPicksTheSecondRowOfFunctionKeyDocumentsAndEndsReleased) {
    ASSERT_TRUE(poller->hasDevice());
    EXPECT_TRUE(poller->isPolling());
    // All four changes reach the poller before one tick: they arrive whole and in order.
    keypad->press(10);
    keypad->press(55);
    keypad->release(10);
    keypad->release(55);
    poller->updateTimer();
    EXPECT_EQ(actions.journal, (QStringList{"shift YES", "function 7", "shift NO"}));
    EXPECT_FALSE(actions.shift);

    const std::map<int, std::pair<int, int>> documents{{55, {1, 7}},  {63, {2, 8}},  {56, {3, 9}},
                                                       {64, {4, 10}}, {57, {5, 11}}, {65, {6, 12}}};
    for (const auto& [key, numbers] : documents) {
        EXPECT_EQ(tap(key), QStringList{QStringLiteral("function %1").arg(numbers.first)}) << key;
        actions.shift = true;
        EXPECT_EQ(tap(key), QStringList{QStringLiteral("function %1").arg(numbers.second)}) << key;
        actions.shift = false;
    }
}

TEST_F(XKeysTest, TheCueModeKeyNeedsTheCommandState) {
    EXPECT_TRUE(tap(9).isEmpty());
    keypad->press(19);
    keypad->press(9);
    keypad->release(9);
    keypad->release(19);
    poller->updateTimer();
    EXPECT_EQ(actions.journal, (QStringList{"command YES", "toggleCueMode", "command NO"}));
}

TEST_F(XKeysTest, GridKeysAreButtonsAndTheConfigKeyChangesWhatTheyDo) {
    keypad->press(58);
    keypad->press(23);
    poller->updateTimer();
    EXPECT_EQ(actions.journal, (QStringList{"config YES", "button 0 config=YES"}));
    keypad->release(23);
    keypad->release(58);
    poller->updateTimer();
    EXPECT_FALSE(actions.config);

    // The keypad's columns 2..5 are the grid's columns, their keys 3..7 its rows 1..5.
    const std::map<int, int> buttons{{23, 0}, {24, 4}, {25, 8},  {26, 12}, {27, 16},
                                     {31, 1}, {32, 5}, {33, 9},  {34, 13}, {35, 17},
                                     {39, 2}, {40, 6}, {41, 10}, {42, 14}, {43, 18},
                                     {47, 3}, {48, 7}, {49, 11}, {50, 15}, {51, 19}};
    for (const auto& [key, button] : buttons) {
        EXPECT_EQ(tap(key), QStringList{QStringLiteral("button %1 config=NO").arg(button)}) << key;
    }
}

TEST_F(XKeysTest, HeldKeysLatchTheirStateUntilReleased) {
    const std::map<int, QString> held{
        {7, "left"},     {15, "right"},  {10, "shift"}, {11, "control"}, {18, "alt"},
        {19, "command"}, {58, "config"}, {59, "stop"},  {66, "edit"},    {67, "loop"}};
    for (const auto& [key, name] : held) {
        EXPECT_EQ(tap(key), (QStringList{name + " YES", name + " NO"})) << key;
    }
}

TEST_F(XKeysTest, OutputAndPlayerKeysActOnPressOnly) {
    for (int output = 0; output < 8; ++output) {
        EXPECT_EQ(tap(5 + 8 * output), QStringList{QStringLiteral("stopOutput %1").arg(output)});
        EXPECT_EQ(tap(6 + 8 * output), QStringList{QStringLiteral("pauseOutput %1").arg(output)});
    }
    EXPECT_EQ(tap(69), QStringList{"stop all"});
    EXPECT_EQ(tap(70), QStringList{"pause all"});
    EXPECT_EQ(tap(8), QStringList{"pre-listen stop"});
    EXPECT_EQ(tap(16), QStringList{"pre-listen play"});
    EXPECT_EQ(tap(17), QStringList{"pre-listen jump back"});
}

TEST_F(XKeysTest, KeysWithoutARowDoNothing) {
    for (int key : {12, 20, 28, 36, 44, 52, 60, 68, 71, 72, 76}) {
        EXPECT_TRUE(tap(key).isEmpty()) << key;
    }
    table.handlePressedXKey(4);
    table.handlePressedXKey(0);
    table.handlePressedXKey(-3);
    table.handleReleasedXKey(23);
    table.handlePressedXKey(77);
    EXPECT_TRUE(actions.journal.isEmpty());
}

TEST_F(XKeysTest, AGarbledReportIsDroppedWithoutInventingKeys) {
    keypad->queueRawReport(QByteArray(3, '\xFF'));
    poller->updateTimer();
    EXPECT_TRUE(actions.journal.isEmpty());

    // Two keys changing in one report arrive by key number; the garbage changed nothing,
    // so only the real change is news.
    QByteArray report(SimulatedXKeysDevice::kReportLength, '\0');
    report[2] = 0x05; // keys 21 and 23
    keypad->queueRawReport(report);
    poller->updateTimer();
    EXPECT_EQ(actions.journal, (QStringList{"stopOutput 2", "button 0 config=NO"}));
}

TEST_F(XKeysTest, AKeypadThatGoesAwayOrNoKeypadAtAllLeavesThePollHarmless) {
    keypad->press(69);
    keypad->unplug();
    poller->updateTimer();
    poller->updateTimer();
    EXPECT_TRUE(actions.journal.isEmpty());
    EXPECT_TRUE(poller->isPolling());

    XKeysController none(&table, nullptr);
    EXPECT_FALSE(none.hasDevice());
    EXPECT_TRUE(none.isPolling());
    none.updateTimer();
    EXPECT_TRUE(actions.journal.isEmpty());
}
