// The MIDI object layer: the note ring between the receive thread and the drain tick,
// the controller's client table and delivery, and source names.

#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/MIDIEventReceiver.h"
#include "clip/MIDINoteRing.h"
#include "tests/preset/PresetTestSupport.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

struct Note {
    int note;
    int channel;
    int source;
    bool operator==(const Note&) const = default;
};

std::vector<Note> readAll(MIDINoteRing& ring) {
    std::vector<Note> notes;
    Note n{};
    while (ring.next(&n.note, &n.channel, &n.source)) {
        notes.push_back(n);
    }
    return notes;
}

// Records every event as "<name>: note/channel/source".
class RecordingReceiver : public MIDIEventReceiver {
public:
    RecordingReceiver(QStringList* journal, QString name)
        : _journal(journal)
        , _name(std::move(name)) {}
    void receiveMIDIEvent(const MIDIEvent& event) override {
        _journal->append(QStringLiteral("%1: %2/%3/%4")
                             .arg(_name)
                             .arg(event.note())
                             .arg(event.channel())
                             .arg(event.sourceIndex()));
        if (onReceive) {
            onReceive();
        }
    }
    std::function<void()> onReceive;

private:
    QStringList* _journal;
    QString _name;
};

} // namespace

// ---- The note ring ----

TEST(MIDINoteRingTest, DeliversNotesOnceInArrivalOrderAcrossTheWrap) {
    MIDINoteRing ring;
    EXPECT_TRUE(ring.isEmpty());
    // Move both indices near the end so the next writes wrap past 255.
    for (int i = 0; i < 250; ++i) {
        ring.write(0, 0, 0);
    }
    EXPECT_EQ(readAll(ring).size(), 250u);
    std::vector<Note> written;
    for (int i = 0; i < 12; ++i) {
        ring.write(i % 16, 60 + i, i % 3);
        written.push_back({60 + i, i % 16, i % 3});
    }
    EXPECT_EQ(readAll(ring), written);
    EXPECT_TRUE(ring.isEmpty());
}

TEST(MIDINoteRingTest, ALappingWriterOverwritesAndAFullLapReadsEmpty) {
    MIDINoteRing ring;
    for (int i = 0; i < MIDINoteRing::kSize; ++i) {
        ring.write(1, i % 128, i);
    }
    // Exactly one lap ahead: the indices meet and the notes are gone.
    EXPECT_TRUE(ring.isEmpty());
    EXPECT_TRUE(readAll(ring).empty());

    // One note more than a lap: the reader sees only the newest, which overwrote the
    // oldest entry.
    MIDINoteRing lapped;
    for (int i = 0; i <= MIDINoteRing::kSize; ++i) {
        lapped.write(2, i % 128, i);
    }
    EXPECT_EQ(readAll(lapped), (std::vector<Note>{{MIDINoteRing::kSize % 128, 2, 256}}));
}

TEST(MIDINoteRingTest, AReceiveThreadAndTheMainThreadPassEveryNoteWhole) {
    MIDINoteRing ring;
    constexpr int kNotes = 20000;
    constexpr int kBurst = 100; // well under a lap: nothing may be lost
    std::atomic<int> consumed{0};
    std::thread receiver([&] {
        for (int i = 0; i < kNotes; ++i) {
            if (i % kBurst == 0) {
                while (consumed.load() < i) {
                    std::this_thread::yield();
                }
            }
            ring.write(i % 16, i % 128, i);
        }
    });
    int expected = 0;
    bool whole = true;
    while (expected < kNotes) {
        Note n{};
        if (!ring.next(&n.note, &n.channel, &n.source)) {
            std::this_thread::yield();
            continue;
        }
        whole = whole && n == Note{expected % 128, expected % 16, expected};
        consumed.store(++expected);
    }
    receiver.join();
    EXPECT_TRUE(whole) << "an entry arrived torn or out of order";
    EXPECT_TRUE(ring.isEmpty());
}

// ---- The controller ----

class MIDIControllerTest : public ::testing::Test {
protected:
    void TearDown() override { MIDIController::setSourceList(nullptr); }

    MIDINoteRing ring;
    FakeMIDISources sources;
    QStringList journal;
};

TEST_F(MIDIControllerTest, UnregisteringKeepsTheOrderOfTheOthers) {
    MIDIController controller(ring, &sources);
    RecordingReceiver a(&journal, "a"), b(&journal, "b"), c(&journal, "c");
    controller.registerAsClient(&a);
    controller.registerAsClient(&b);
    controller.registerAsClient(&c);
    controller.unRegisterAsClient(&b);
    RecordingReceiver stranger(&journal, "x");
    controller.unRegisterAsClient(&stranger);
    ASSERT_EQ(controller.clientsCount(), 2);
    controller.processMIDINote(64, 3, 1);
    EXPECT_EQ(journal, (QStringList{"a: 64/3/1", "c: 64/3/1"}));

    // Only the first of two entries of one client goes.
    journal.clear();
    controller.registerAsClient(&a);
    controller.unRegisterAsClient(&a);
    controller.processMIDINote(1, 0, 0);
    EXPECT_EQ(journal, (QStringList{"c: 1/0/0", "a: 1/0/0"}));
}

TEST_F(MIDIControllerTest, TheTableRefusesTheHundredAndFirstClient) {
    MIDIController controller(ring, &sources);
    std::vector<std::unique_ptr<RecordingReceiver>> receivers;
    for (int i = 0; i <= MIDIController::kMaxClients; ++i) {
        receivers.push_back(std::make_unique<RecordingReceiver>(&journal, QString::number(i)));
        controller.registerAsClient(receivers.back().get());
    }
    EXPECT_EQ(controller.clientsCount(), MIDIController::kMaxClients);
    controller.processMIDINote(5, 0, 0);
    EXPECT_EQ(journal.size(), MIDIController::kMaxClients);
    EXPECT_FALSE(journal.contains("100: 5/0/0"));
}

TEST_F(MIDIControllerTest, EachTickDeliversAtMostOneNoteInArrivalOrder) {
    sources.names = {QStringLiteral("Keys")};
    MIDIController controller(ring, &sources);
    EXPECT_TRUE(controller.isPolling());
    RecordingReceiver a(&journal, "a");
    controller.registerAsClient(&a);
    ring.write(0, 60, 0);
    ring.write(1, 61, 0);
    ring.write(2, 62, 0);
    controller.MIDITimer();
    EXPECT_EQ(journal, (QStringList{"a: 60/0/0"}));
    controller.MIDITimer();
    controller.MIDITimer();
    controller.MIDITimer(); // empty: nothing more
    EXPECT_EQ(journal, (QStringList{"a: 60/0/0", "a: 61/1/0", "a: 62/2/0"}));
}

TEST_F(MIDIControllerTest, WithoutSourcesNoTickRunsButClientsMayRegister) {
    MIDIController controller(ring, &sources);
    EXPECT_FALSE(controller.isPolling());
    RecordingReceiver a(&journal, "a");
    controller.registerAsClient(&a);
    EXPECT_EQ(controller.clientsCount(), 1);
}

TEST_F(MIDIControllerTest, AClientRemovedDuringDeliveryHearsNothingMore) {
    MIDIController controller(ring, &sources);
    RecordingReceiver a(&journal, "a"), b(&journal, "b");
    a.onReceive = [&] {
        controller.unRegisterAsClient(&b);
    };
    controller.registerAsClient(&a);
    controller.registerAsClient(&b);
    controller.processMIDINote(70, 9, 2);
    EXPECT_EQ(journal, (QStringList{"a: 70/9/2"}));
}

TEST_F(MIDIControllerTest, SourceNamesComeFromTheInstalledListWhenReadable) {
    EXPECT_FALSE(MIDIController::sourceNameForIndex(0)) << "no list installed";
    sources.names = {QStringLiteral("Keys"), std::nullopt, QStringLiteral("Pads")};
    MIDIController::setSourceList(&sources);
    EXPECT_EQ(MIDIController::sourceNameForIndex(0), QStringLiteral("Keys"));
    EXPECT_EQ(MIDIController::sourceNameForIndex(2), QStringLiteral("Pads"));
    EXPECT_FALSE(MIDIController::sourceNameForIndex(1)) << "unreadable name";
    EXPECT_FALSE(MIDIController::sourceNameForIndex(-1));
    EXPECT_FALSE(MIDIController::sourceNameForIndex(3));
    EXPECT_EQ(MIDIController::popUpItemsForMIDISources(), (QStringList{"None", "Keys", "Pads"}));
}
