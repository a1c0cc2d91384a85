// GPI boxes through the simulated board: contact edges to the target document, tally
// reports, discovery and hot-plug, and boards that stop answering or answer garbage.

#include "app/hid/GPIGlobalController.h"
#include "app/hid/GPIController.h"
#include "app/hid/SimulatedIOWarriorBus.h"
#include "tests/support/PollUntil.h"
#include "tests/surfaces/SurfacesTestSupport.h"

#include "tests/support/QtPrinters.h"
#include <algorithm>

#include <gtest/gtest.h>

using surfacestest::FakeDocuments;
using surfacestest::RecordingReceiver;

namespace {

const QString kBoxA = QStringLiteral("0000A001");
const QString kBoxB = QStringLiteral("0000B002");
const QString kBoxC = QStringLiteral("0000C003");
constexpr int kDeadlineMs = 5000;

QByteArray bytes(std::initializer_list<int> values) {
    QByteArray result;
    for (int value : values) {
        result.append(static_cast<char>(value));
    }
    return result;
}

QByteArray asBytes(const std::array<std::uint8_t, 4>& report) {
    return QByteArray(reinterpret_cast<const char*>(report.data()), 4);
}

class GPITest : public ::testing::Test {
protected:
    void SetUp() override {
        documents.open = {&front};
        documents.current = &front;
    }

    // Waits until no board has a transfer queued or under way, then ticks. Three cycles
    // after a change on the board its effect has been read and handled: the first hands
    // over a read that may have started earlier, the second one that started later.
    void settle(GPIGlobalController& manager) {
        for (int cycle = 0; cycle < 3; ++cycle) {
            waitForBoards(manager);
            manager.updateTimer();
        }
        waitForBoards(manager);
    }
    void settle() { settle(gpi); }

    static void waitForBoards(const GPIGlobalController& manager) {
        ASSERT_TRUE(pollUntil(
            [&] {
                return std::all_of(manager.devices().begin(), manager.devices().end(),
                                   [](const auto& controller) { return controller->isIdle(); });
            },
            kDeadlineMs, 1))
            << "a board transfer never finished";
    }

    std::shared_ptr<SimulatedIOWarriorBus> bus = std::make_shared<SimulatedIOWarriorBus>();
    QStringList journal;
    RecordingReceiver front{&journal, QStringLiteral("front")};
    RecordingReceiver back{&journal, QStringLiteral("back")};
    FakeDocuments documents;
    GPIGlobalController gpi{bus, &documents};
};

} // namespace

TEST_F(GPITest, AContactClosesAndOpensOnceWhateverPortThreeSays) {
    bus->plugBoard(kBoxA);
    gpi.start();
    ASSERT_EQ(gpi.devices().size(), 1u);
    EXPECT_TRUE(gpi.isPolling());
    settle();
    EXPECT_TRUE(journal.isEmpty()) << "an idle board sends nothing";

    bus->setInputReport(kBoxA, {0xFE, 0xFF, 0xFF, 0x00});
    settle();
    EXPECT_EQ(journal, QStringList{"front 0:1"});
    EXPECT_FALSE(gpi.deviceAt(0)->getStateOfInput(0));
    EXPECT_FALSE(gpi.deviceAt(0)->inputs()[0].state());

    // Port 3 is ignored, and a held contact does not fire again.
    bus->setInputReport(kBoxA, {0xFE, 0xFF, 0xFF, 0x5A});
    settle();
    EXPECT_EQ(journal, QStringList{"front 0:1"});

    bus->setInputReport(kBoxA, {0xFF, 0xFF, 0xFF, 0x00});
    settle();
    EXPECT_EQ(journal, (QStringList{"front 0:1", "front 0:0"}));

    // Inputs 8..23 sit on ports 1 and 2, bit i of port p being input 8p + i.
    journal.clear();
    bus->setContact(kBoxA, 9, true);
    bus->setContact(kBoxA, 23, true);
    settle();
    EXPECT_EQ(journal, (QStringList{"front 9:1", "front 23:1"}));
}

TEST_F(GPITest, EdgesGoToTheOnlyDocumentOrElseTheCurrentOne) {
    bus->plugBoard(kBoxA);
    gpi.start();
    settle();

    documents.open = {&front};
    documents.current = nullptr;
    bus->setContact(kBoxA, 1, true);
    settle();
    EXPECT_EQ(journal, QStringList{"front 1:1"}) << "a single open document needs not be current";

    documents.open = {&front, &back};
    documents.current = nullptr;
    journal.clear();
    bus->setContact(kBoxA, 1, false);
    settle();
    EXPECT_TRUE(journal.isEmpty()) << "two documents and no current one: sent nowhere";
    EXPECT_TRUE(gpi.deviceAt(0)->getStateOfInput(1)) << "but the level is recorded";

    documents.current = &back;
    bus->setContact(kBoxA, 1, true);
    settle();
    EXPECT_EQ(journal, QStringList{"back 1:1"});
}

TEST_F(GPITest, TallyReportsLightTheLinesThatAreOn) {
    bus->plugBoard(kBoxA);
    gpi.start();
    settle();
    ASSERT_FALSE(bus->outputReports(kBoxA).isEmpty());
    EXPECT_EQ(bus->outputReports(kBoxA).first(), bytes({0xFF, 0xFF, 0xFF, 0xFF}))
        << "a new controller greets the board with every line high";
    GPIController& box = *gpi.deviceAt(0);
    for (int i = 0; i < GPIController::kOutputs; ++i) {
        EXPECT_TRUE(box.stateOfOutput(i)) << "stored states start off, output " << i;
    }

    box.setState(false, 0);
    box.outputs()[2].setState(false);
    settle();
    EXPECT_EQ(asBytes(bus->lastOutputReport(kBoxA)), bytes({0xFF, 0xFF, 0xFF, 0x05}));

    // The windows reach the box by serial number.
    ASSERT_EQ(gpi.findInterfaceIndexWithSerialNumber(kBoxA), 0);
    EXPECT_EQ(gpi.findInterfaceIndexWithSerialNumber(kBoxB), -1);
    EXPECT_EQ(gpi.connectedSerialNumbers(), QStringList{kBoxA}) << "the preferences' box list";
    gpi.setState(0, true, 0);
    gpi.setState(0, false, 8); // no such line
    gpi.setState(3, false, 1); // no such box
    settle();
    EXPECT_EQ(asBytes(bus->lastOutputReport(kBoxA)), bytes({0xFF, 0xFF, 0xFF, 0x04}));

    // A pulse flashes line 1 and restores the stored states, which it does not change.
    const auto before = bus->outputReports(kBoxA).size();
    box.outputs()[1].handlePulseCommand();
    settle();
    EXPECT_EQ(
        bus->outputReports(kBoxA).mid(before),
        (QList<QByteArray>{bytes({0xFF, 0xFF, 0xFF, 0x06}), bytes({0xFF, 0xFF, 0xFF, 0x04})}));
    EXPECT_TRUE(box.stateOfOutput(1));
}

TEST_F(GPITest, OnlyTheFirstInterfaceOfA32LineBoardBecomesABox) {
    bus->plugBoard(kBoxB, IOWarriorBus::kProduct16Lines);
    gpi.start();
    EXPECT_EQ(gpi.interfaceCount(), 2) << "the 16-line board is found";
    EXPECT_TRUE(gpi.devices().empty()) << "but gets no controller";

    // Listed after the 16-line board, the 32-line board's interfaces still count 0 and 1.
    bus->plugBoard(kBoxA);
    settle();
    ASSERT_EQ(gpi.devices().size(), 1u);
    EXPECT_EQ(gpi.deviceAt(0)->serialNumber(), kBoxA);
    EXPECT_EQ(gpi.deviceAt(0)->listNode()->interfaceType, 0);
    const auto node = gpi.accessLayer().interfaceListNodeAtIndex(-5);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->interfaceType, 2) << "a negative position is the first node";
    EXPECT_EQ(gpi.accessLayer().interfaceListNodeAtIndex(1)->interfaceType, 3);
    EXPECT_FALSE(gpi.accessLayer().interfaceListNodeAtIndex(4));
}

TEST_F(GPITest, ABoardThatComesBackKeepsItsControllerAndState) {
    bus->plugBoard(kBoxA);
    gpi.start();
    GPIController* box = gpi.deviceAt(0);
    box->setState(false, 6);
    bus->setContact(kBoxA, 4, true);
    settle();
    ASSERT_EQ(journal, QStringList{"front 4:1"});

    // Out and in again between two ticks: the rebuild finds the same serial number.
    bus->unplugBoard(kBoxA);
    bus->plugBoard(kBoxA);
    EXPECT_TRUE(gpi.interfaceListHasChanged());
    settle();
    ASSERT_EQ(gpi.devices().size(), 1u);
    EXPECT_EQ(gpi.deviceAt(0), box);
    EXPECT_FALSE(box->getStateOfInput(4));
    EXPECT_FALSE(box->stateOfOutput(6));
    EXPECT_EQ(journal, QStringList{"front 4:1"}) << "the held contact is not news";

    // Its transfers now reach the board's new interface.
    const auto before = bus->outputReports(kBoxA).size();
    box->setState(false, 7);
    settle();
    ASSERT_EQ(bus->outputReports(kBoxA).size(), before + 1);
    EXPECT_EQ(asBytes(bus->lastOutputReport(kBoxA)), bytes({0xFF, 0xFF, 0xFF, 0xC0}));

    // Gone for a tick: the controller goes, and tally for it does nothing.
    bus->unplugBoard(kBoxA);
    settle();
    EXPECT_TRUE(gpi.devices().empty());
    EXPECT_EQ(gpi.findInterfaceIndexWithSerialNumber(kBoxA), -1);
    gpi.setState(0, false, 0);

    // Back after that: a new controller, greeting the board again.
    bus->plugBoard(kBoxA);
    settle();
    ASSERT_EQ(gpi.devices().size(), 1u);
    EXPECT_EQ(asBytes(bus->lastOutputReport(kBoxA)), bytes({0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST_F(GPITest, TheRemovalWalkChecksAMovedControllerOnlyAtTheNextRebuild) {
    bus->plugBoard(kBoxA);
    bus->plugBoard(kBoxB);
    bus->plugBoard(kBoxC);
    gpi.start();
    ASSERT_EQ(gpi.devices().size(), 3u);

    bus->unplugBoard(kBoxA);
    bus->unplugBoard(kBoxB);
    settle();
    ASSERT_EQ(gpi.devices().size(), 2u);
    EXPECT_EQ(gpi.deviceAt(0)->serialNumber(), kBoxB) << "moved into the freed place, unchecked";
    EXPECT_EQ(gpi.deviceAt(1)->serialNumber(), kBoxC);

    bus->plugBoard(kBoxA);
    settle();
    ASSERT_EQ(gpi.devices().size(), 2u);
    EXPECT_EQ(gpi.deviceAt(0)->serialNumber(), kBoxC);
    EXPECT_EQ(gpi.deviceAt(1)->serialNumber(), kBoxA);
}

TEST_F(GPITest, ABoardThatStopsAnsweringHoldsNothingButItsOwnThread) {
    bus->plugBoard(kBoxA);
    bus->plugBoard(kBoxB);
    gpi.start();
    settle();

    const auto written = bus->outputReports(kBoxA).size();
    bus->setAnswering(kBoxA, false);
    bus->setContact(kBoxA, 2, true);
    bus->setContact(kBoxB, 3, true);
    gpi.deviceAt(0)->setState(false, 5);
    // Every tick returns although box A's transfers hang; box B goes on working.
    ASSERT_TRUE(pollUntil(
        [&] { return journal.contains(QStringLiteral("front 3:1")) || (gpi.updateTimer(), false); },
        kDeadlineMs, 1));
    EXPECT_FALSE(journal.contains(QStringLiteral("front 2:1")));
    EXPECT_EQ(bus->outputReports(kBoxA).size(), written);
    gpi.deviceAt(0)->setState(false, 4);
    EXPECT_FALSE(gpi.deviceAt(0)->isIdle());

    // Answering again, it gets the latest output state and its contact is read.
    bus->setAnswering(kBoxA, true);
    settle();
    EXPECT_TRUE(journal.contains(QStringLiteral("front 2:1")));
    EXPECT_EQ(asBytes(bus->lastOutputReport(kBoxA)), bytes({0xFF, 0xFF, 0xFF, 0x30}));

    // A manager whose board hangs is destroyed without waiting for it.
    auto other = std::make_shared<SimulatedIOWarriorBus>();
    other->plugBoard(kBoxC);
    {
        GPIGlobalController manager(other, &documents);
        manager.start();
        other->setAnswering(kBoxC, false);
        manager.updateTimer();
        manager.deviceAt(0)->setState(false, 0);
    }
    other->setAnswering(kBoxC, true);
}

TEST_F(GPITest, AShortOrFailedReadChangesNothing) {
    bus->plugBoard(kBoxA);
    gpi.start();
    settle();
    bus->setShortReads(kBoxA, 2);
    bus->setInputReport(kBoxA, {0x00, 0x00, 0x00, 0x00});
    settle();
    EXPECT_TRUE(journal.isEmpty());
    EXPECT_TRUE(gpi.deviceAt(0)->getStateOfInput(0));

    bus->setShortReads(kBoxA, 0);
    bus->setInputReport(kBoxA, {0xFF, 0xFF, 0x7F, 0x00});
    settle();
    EXPECT_EQ(journal, QStringList{"front 23:1"});
}

TEST_F(GPITest, WithoutAnyBoardNothingIsFoundAndTallyDoesNothing) {
    EXPECT_EQ(gpi.initializeIOWarrior(), -1);
    gpi.start();
    EXPECT_TRUE(gpi.isPolling());
    EXPECT_TRUE(gpi.devices().empty());
    EXPECT_EQ(gpi.findInterfaceIndexWithSerialNumber(QString()), -1);
    gpi.setState(0, false, 0);
    std::uint8_t report[4] = {};
    EXPECT_EQ(gpi.accessLayer().readInterface0(report), -1);
    EXPECT_EQ(gpi.accessLayer().writeInterface1(report), -1);
    settle();
    EXPECT_TRUE(journal.isEmpty());
}
