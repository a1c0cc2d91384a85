// The receive callback on hand-made packet lists: which packets become ring entries, the
// trace lines, and receive threads of several sources writing at once.

#include "app/midi/MIDIInputCallback.h"
#include "clip/MIDINoteRing.h"
#include "tests/surfaces/StdoutCapture.h"

#include "tests/support/QtPrinters.h"
#include <QStringList>
#include <atomic>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

struct Bytes {
    std::vector<std::uint8_t> data;
    std::uint64_t stamp = 0;
};

// Runs the callback over `packets` from source `source`; the entries it queued as
// "note/channel/source".
QStringList receive(const std::vector<Bytes>& packets, int source = 0) {
    std::vector<MIDIPacket> list;
    for (const Bytes& bytes : packets) {
        list.push_back({bytes.stamp, static_cast<int>(bytes.data.size()), bytes.data.data()});
    }
    midiInputCallback(list.data(), static_cast<int>(list.size()), source);
    QStringList entries;
    int note = 0, channel = 0, index = 0;
    while (NextMIDINote(&note, &channel, &index)) {
        entries << QStringLiteral("%1/%2/%3").arg(note).arg(channel).arg(index);
    }
    return entries;
}

void drainRing() {
    int note = 0, channel = 0, index = 0;
    while (NextMIDINote(&note, &channel, &index)) {
    }
}

class MIDIInputCallbackTest : public ::testing::Test {
protected:
    void SetUp() override { drainRing(); }
    void TearDown() override { drainRing(); }
};

} // namespace

TEST_F(MIDIInputCallbackTest, OnlyACompleteNoteOnWithVelocityBecomesAnEntry) {
    StdoutCapture quiet;
    EXPECT_EQ(receive({{{0x93, 0x40, 0x7F}}}, 1), QStringList{"64/3/1"});
    EXPECT_EQ(receive({{{0x9F, 0xC5, 0x01}}}, 7), QStringList{"69/15/7"}) << "note byte masked";
    EXPECT_TRUE(receive({{{0x90, 0x40, 0x00}}}).isEmpty()) << "velocity 0 is a note-off";
    EXPECT_TRUE(receive({{{0x80, 0x40, 0x40}}}).isEmpty());
    EXPECT_TRUE(receive({{{0xB0, 0x07, 0x64}}}).isEmpty());
    EXPECT_TRUE(receive({{{0xA0, 0x40, 0x20}}}).isEmpty()) << "aftertouch";
    EXPECT_TRUE(receive({{{0x40, 0x7F}}}).isEmpty()) << "running status";
    EXPECT_TRUE(receive({{{0x90, 0x40}}}).isEmpty()) << "cut short";
    EXPECT_TRUE(receive({{{0x90, 0x3C, 0x7F, 0x90, 0x3E, 0x7F}}}).isEmpty())
        << "two note-ons in one packet";
    EXPECT_TRUE(receive({{{}}}).isEmpty());
}

TEST_F(MIDIInputCallbackTest, NothingAfterAPacketThatWasNotStoredIsLookedAt) {
    StdoutCapture quiet;
    EXPECT_EQ(receive({{{0x90, 60, 100}}, {{0x91, 62, 100}}}), (QStringList{"60/0/0", "62/1/0"}));
    EXPECT_EQ(receive({{{0x90, 60, 100}}, {{0x80, 60, 0}}, {{0x90, 64, 100}}}),
              QStringList{"60/0/0"});
}

TEST_F(MIDIInputCallbackTest, EveryPacketButActiveSensingLeavesATraceLine) {
    StdoutCapture capture;
    receive({{{0x93, 0x40, 0x7F}, 0x1234}});
    receive({{{0xFE}, 0x99}});
    receive({{{0xB0, 0x07, 0x64}, 0xABCDEF0123456789ULL}, {{0x90, 0x40, 0x7F}, 0x2}});
    const QByteArray expected =
        "--> Received MIDI Event at 0000000000001234: length = 3 -  93 40 7f \n"
        "--> Received MIDI Event at abcdef0123456789: length = 3 -  b0 07 64 \n"
        "--> Received MIDI Event at abcdef0123456789: length = 3 -  b0 07 64 \n";
    EXPECT_EQ(capture.text(), expected) << "the list stays on the packet it did not store";

    // A long system exclusive message is traced whole.
    StdoutCapture sysex;
    std::vector<std::uint8_t> message(600, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    receive({{message, 1}});
    const QByteArray text = sysex.text();
    EXPECT_TRUE(
        text.startsWith("--> Received MIDI Event at 0000000000000001: length = 258 -  f0 11 "));
    EXPECT_TRUE(text.endsWith("11 f7 \n"));
    EXPECT_EQ(text.count('\n'), 1);
    EXPECT_EQ(text.count(' '), 600 + 11);
}

TEST_F(MIDIInputCallbackTest, ReceiveThreadsOfTwoSourcesNeverLoseOrTearEachOthersNotes) {
    StdoutCapture quiet;
    constexpr int kNotesPerSource = 100; // two sources together stay within one lap
    std::atomic<bool> go{false};
    auto source = [&](int index) {
        while (!go.load()) {
        }
        for (int i = 0; i < kNotesPerSource; ++i) {
            const std::uint8_t bytes[3] = {static_cast<std::uint8_t>(0x90 | index),
                                           static_cast<std::uint8_t>(i), 100};
            const MIDIPacket packet{0, 3, bytes};
            midiInputCallback(&packet, 1, index);
        }
    };
    std::thread first(source, 1);
    std::thread second(source, 2);
    go.store(true);
    first.join();
    second.join();

    std::vector<int> next(3, 0);
    int note = 0, channel = 0, index = 0, total = 0;
    bool whole = true;
    while (NextMIDINote(&note, &channel, &index)) {
        ++total;
        whole = whole && (index == 1 || index == 2) && channel == index && note == next[index];
        if (index == 1 || index == 2) {
            ++next[index];
        }
    }
    EXPECT_EQ(total, 2 * kNotesPerSource);
    EXPECT_TRUE(whole) << "an entry arrived torn or out of its source's order";
}
