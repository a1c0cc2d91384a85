// The RtMidi back end against a real JACK server (dummy driver) and a JACK MIDI sender
// client with two outputs, the second source being the sender's second output: notes reach
// the controller's clients with the right channel, note and source, the ignored messages
// stay ignored, bursts are paced one per tick, and a preset document learns and fires a
// note. Without any MIDI system the program carries on without MIDI.

#include "app/midi/MIDIConnections.h"
#include "app/midi/RtMidiSourceList.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/MIDIEventReceiver.h"
#include "clip/MIDINoteRing.h"
#include "clip/SoundClip.h"
#include "preset/PresetDocument.h"
#include "tests/preset/PresetTestSupport.h"
#include "tests/support/JackSuiteTest.h"
#include "tests/support/PollUntil.h"
#include "tests/surfaces/JackMidiSender.h"
#include "tests/surfaces/StdoutCapture.h"

#include "tests/support/QtPrinters.h"
#include <QComboBox>

#include <gtest/gtest.h>

namespace {

constexpr int kDeadlineMs = 5000;
const QString kFirstSource = QStringLiteral("zelvora-midi-sender:out1 (JACK)");
const QString kSecondSource = QStringLiteral("zelvora-midi-sender:out2 (JACK)");

class RecordingReceiver : public MIDIEventReceiver {
public:
    void receiveMIDIEvent(const MIDIEvent& event) override {
        events << QStringLiteral("%1/%2/%3")
                      .arg(event.note())
                      .arg(event.channel())
                      .arg(event.sourceIndex());
    }
    QStringList events;
};

// Ticks until `condition` holds; false when the deadline passed first.
bool tickUntil(const std::function<void()>& tick, const std::function<bool()>& condition) {
    return pollUntil([&] { return condition() || (tick(), false); }, kDeadlineMs, 1);
}

class MIDIOnJack : public JackSuiteTest<PresetTest> {
protected:
    void SetUp() override {
        JackSuiteTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        QString error;
        sender = JackMidiSender::open(2, &error);
        ASSERT_TRUE(sender) << error.toStdString();
        MIDIController::setSourceList(&jack);
    }
    void TearDown() override {
        controller.reset();
        sender.reset();
        PresetTest::TearDown();
    }

    // A controller over the process ring that connects the JACK sources, with `receiver`.
    void connect() {
        StdoutCapture capture;
        controller = std::make_unique<MIDIController>(processMIDINoteRing(), &jack);
        connectLines = capture.text();
        controller->registerAsClient(&receiver);
    }
    bool send(std::vector<JackMidiSender::Event> events) {
        StdoutCapture quiet; // the trace lines
        return sender->send(std::move(events));
    }

    std::unique_ptr<JackMidiSender> sender;
    RtMidiSourceList jack{{RtMidiSourceList::Service::Jack}};
    std::unique_ptr<MIDIController> controller;
    RecordingReceiver receiver;
    QByteArray connectLines;
};

} // namespace

TEST_F(MIDIOnJack, ANoteFromTheSecondSourceArrivesWithItsChannelNoteAndSource) {
    ASSERT_EQ(jack.count(), 2);
    QString name;
    ASSERT_TRUE(jack.name(1, &name));
    EXPECT_EQ(name, kSecondSource);
    connect();
    EXPECT_TRUE(controller->isPolling());
    EXPECT_EQ(jack.connectedCount(), 2);
    EXPECT_EQ(connectLines.count("Successfully connected to source.\n"), 2) << connectLines.data();

    ASSERT_TRUE(send({{1, {0x93, 0x40, 0x7F}}}));
    ASSERT_TRUE(
        tickUntil([&] { controller->MIDITimer(); }, [&] { return !receiver.events.isEmpty(); }));
    EXPECT_EQ(receiver.events, QStringList{"64/3/1"});
    EXPECT_EQ(MIDIController::sourceNameForIndex(1), kSecondSource);

    QComboBox popUp;
    popUp.addItem(QStringLiteral("stale"));
    fillPopUpButtonWithMIDISources(&popUp);
    ASSERT_EQ(popUp.count(), 3);
    EXPECT_EQ(popUp.itemText(0), QStringLiteral("None"));
    EXPECT_EQ(popUp.itemText(1), kFirstSource);
    EXPECT_EQ(popUp.itemText(2), kSecondSource);
}

TEST_F(MIDIOnJack, OnlyAPlainNoteOnIsQueued) {
    connect();
    // Each is one JACK event, so one packet; the marker comes last in the same cycle.
    ASSERT_TRUE(send({{0, {0x90, 0x40, 0x00}},
                      {0, {0x90, 0x3C, 0x7F, 0x90, 0x3E, 0x7F}},
                      {0, {0x80, 0x40, 0x40}},
                      {0, {0x40, 0x7F}},
                      {0, {0xB2, 0x07, 0x64}},
                      {1, {0x91, 0x50, 0x01}}}));
    ASSERT_TRUE(
        tickUntil([&] { controller->MIDITimer(); }, [&] { return !receiver.events.isEmpty(); }));
    for (int i = 0; i < 5; ++i) {
        controller->MIDITimer();
    }
    EXPECT_EQ(receiver.events, QStringList{"80/1/1"});
}

TEST_F(MIDIOnJack, NotesOfOneCycleReachTheClientsOnePerTickInOrder) {
    connect();
    // One source: notes of different sources in one cycle come in the order the server runs
    // their receiving clients.
    ASSERT_TRUE(send({{1, {0x90, 60, 100}}, {1, {0x95, 61, 100}}, {1, {0x9A, 62, 100}}}));
    // The sender's later cycles ran, so the receiving client has queued all three.
    controller->MIDITimer();
    EXPECT_EQ(receiver.events, QStringList{"60/0/1"});
    controller->MIDITimer();
    EXPECT_EQ(receiver.events, (QStringList{"60/0/1", "61/5/1"}));
    controller->MIDITimer();
    controller->MIDITimer();
    EXPECT_EQ(receiver.events, (QStringList{"60/0/1", "61/5/1", "62/10/1"}));
}

TEST_F(MIDIOnJack, APresetButtonLearntToANoteFiresWhenItIsPlayed) {
    connect();
    QStringList journal; // outlives the document
    PresetDocument document;
    attachController(document, &journal);
    putClip(document, 5, tone);
    journal.clear();
    auto tickDocuments = [] {
        MIDIController::defaultMIDIController().MIDITimer();
    };

    document.assignMIDINoteToButton(5);
    ASSERT_TRUE(send({{1, {0x92, 0x30, 0x64}}}));
    ASSERT_TRUE(tickUntil(tickDocuments, [&] { return document.assigningButtonIndex() == -1; }));
    const QVariantMap learnt = *document.clipAtIndex(5)->settings();
    EXPECT_EQ(learnt[settingsKey_MIDINote], QVariant(0x30));
    EXPECT_EQ(learnt[settingsKey_MIDIChannel], QVariant(2));
    EXPECT_EQ(learnt[settingsKey_MIDISourceName], QVariant(kSecondSource));
    EXPECT_TRUE(journal.isEmpty()) << "the learnt note plays nothing";

    // The same note from the other source does nothing; from the learnt one it fires.
    ASSERT_TRUE(send({{0, {0x92, 0x30, 0x64}}, {1, {0x92, 0x30, 0x64}}}));
    ASSERT_TRUE(tickUntil(tickDocuments, [&] { return !journal.isEmpty(); }));
    tickDocuments();
    EXPECT_EQ(journal, QStringList{"start 5"});
}

// No JACK server, so no sources: nothing is connected, no tick runs, and documents still
// register.
TEST(MIDIWithoutAnySystem, TheProgramCarriesOnWithoutMIDI) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "libjack cannot be checked under ThreadSanitizer";
#endif
    const QByteArray savedServer = qgetenv("JACK_DEFAULT_SERVER");
    const QByteArray savedNoStart = qgetenv("JACK_NO_START_SERVER");
    qputenv("JACK_DEFAULT_SERVER", "zelvora-no-such-server");
    qputenv("JACK_NO_START_SERVER", "1");
    {
        RtMidiSourceList none{{RtMidiSourceList::Service::Jack}};
        EXPECT_EQ(none.count(), 0);
        QString name;
        EXPECT_FALSE(none.name(0, &name));

        MIDINoteRing ring;
        MIDIController controller(ring, &none);
        EXPECT_FALSE(controller.isPolling());
        RecordingReceiver receiver;
        controller.registerAsClient(&receiver);
        EXPECT_EQ(controller.clientsCount(), 1);

        StdoutCapture capture;
        none.openConnections(MIDIController::kClientName);
        EXPECT_EQ(capture.text(), QByteArray("Zelvora: No Linux MIDI input devices available.\n"));
        EXPECT_FALSE(none.isOpen());
        EXPECT_EQ(none.connectedCount(), 0);
    }
    qputenv("JACK_DEFAULT_SERVER", savedServer);
    qputenv("JACK_NO_START_SERVER", savedNoStart);
}
