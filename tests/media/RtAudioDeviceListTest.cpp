// The device list of the RtAudio back end: identifiers that survive re-plugging, names
// the operator can read, one default chosen by the JACK > PulseAudio > ALSA rule, and
// devices kept while a probe finds them busy.

#include "media/RtAudioDeviceList.h"

#include <QStringList>
#include <gtest/gtest.h>

using media::AudioApi;
using media::AudioDeviceInfo;
using media::ProbedDevice;
using media::RtAudioDeviceList;

namespace {

ProbedDevice device(const QString& apiName, int outputs, bool apiDefault = false) {
    ProbedDevice probed;
    probed.apiName = apiName;
    probed.outputChannels = outputs;
    probed.preferredSampleRate = 48000;
    probed.apiDefault = apiDefault;
    return probed;
}

ProbedDevice busy(const QString& apiName = QString()) {
    ProbedDevice probed;
    probed.apiName = apiName;
    probed.probed = false;
    return probed;
}

const AudioDeviceInfo* find(const std::vector<AudioDeviceInfo>& devices, const QString& uid) {
    for (const AudioDeviceInfo& info : devices) {
        if (info.uid == uid) {
            return &info;
        }
    }
    return nullptr;
}

bool lists(const RtAudioDeviceList& list, const QString& uid) {
    return find(list.devices(), uid) != nullptr;
}

QStringList uidsOf(const std::vector<AudioDeviceInfo>& devices) {
    QStringList uids;
    for (const AudioDeviceInfo& info : devices) {
        uids << info.uid;
    }
    return uids;
}

QString defaultUid(const std::vector<AudioDeviceInfo>& devices) {
    QString uid;
    int defaults = 0;
    for (const AudioDeviceInfo& info : devices) {
        if (info.isDefault) {
            uid = info.uid;
            ++defaults;
        }
    }
    return defaults == 1 ? uid : QStringLiteral("<%1 defaults>").arg(defaults);
}

} // namespace

TEST(RtAudioDeviceIdentifiers, AreFormedFromTheApiAndWhatItCallsTheDevice) {
    EXPECT_EQ(RtAudioDeviceList::identifiers(AudioApi::Jack, {"system"}),
              std::vector<QString>{"jack:system"});
    EXPECT_EQ(RtAudioDeviceList::identifiers(AudioApi::Pulse, {"PulseAudio"}),
              std::vector<QString>{"pulse:PulseAudio"});
    // The card's name, not its index: the identifier holds when the card is re-plugged
    // into another slot.
    EXPECT_EQ(RtAudioDeviceList::identifiers(AudioApi::Alsa, {"hw:USB Audio CODEC,0", "default"}),
              (std::vector<QString>{"alsa:USB Audio CODEC,0", "alsa:default"}));
}

TEST(RtAudioDeviceIdentifiers, NumberRepeatedNamesAndStayPutWhenOtherDevicesAppear) {
    const std::vector<QString> twins = RtAudioDeviceList::identifiers(
        AudioApi::Alsa, {"hw:USB Audio CODEC,0", "hw:HDA Intel PCH,0", "hw:USB Audio CODEC,0",
                         "hw:USB Audio CODEC,0"});
    EXPECT_EQ(twins,
              (std::vector<QString>{"alsa:USB Audio CODEC,0", "alsa:HDA Intel PCH,0",
                                    "alsa:USB Audio CODEC,0#2", "alsa:USB Audio CODEC,0#3"}));

    // Plugging in a new card ahead of the others changes nobody else's identifier.
    const std::vector<QString> before =
        RtAudioDeviceList::identifiers(AudioApi::Alsa, {"hw:HDA Intel PCH,0", "default"});
    const std::vector<QString> after = RtAudioDeviceList::identifiers(
        AudioApi::Alsa, {"hw:Scarlett 2i2,0", "hw:HDA Intel PCH,0", "default"});
    EXPECT_EQ(before[0], after[1]);
    EXPECT_EQ(before[1], after[2]);
}

TEST(RtAudioDeviceIdentifiers, NameTheirApi) {
    AudioApi api = AudioApi::Alsa;
    EXPECT_TRUE(RtAudioDeviceList::apiOfIdentifier("jack:system", &api));
    EXPECT_EQ(api, AudioApi::Jack);
    EXPECT_TRUE(RtAudioDeviceList::apiOfIdentifier("pulse:PulseAudio", &api));
    EXPECT_EQ(api, AudioApi::Pulse);
    EXPECT_TRUE(RtAudioDeviceList::apiOfIdentifier("alsa:default", &api));
    EXPECT_EQ(api, AudioApi::Alsa);

    for (const char* foreign :
         {"", "jack:", "system", "null:0", "Built-in Output", "JACK:system"}) {
        EXPECT_FALSE(RtAudioDeviceList::apiOfIdentifier(foreign, &api)) << foreign;
    }
}

TEST(RtAudioDeviceNames, SayWhichApiTheDeviceComesThrough) {
    EXPECT_EQ(RtAudioDeviceList::readableName(AudioApi::Jack, "system"), "system (JACK)");
    EXPECT_EQ(RtAudioDeviceList::readableName(AudioApi::Alsa, "hw:HDA Intel PCH,0"),
              "HDA Intel PCH,0 (ALSA)");
    EXPECT_EQ(RtAudioDeviceList::readableName(AudioApi::Pulse, "PulseAudio"), "PulseAudio");
    // The system default's own name is reserved; a device never takes it.
    EXPECT_EQ(RtAudioDeviceList::readableName(AudioApi::Pulse, "Built-in Output"),
              "Built-in Output (PulseAudio)");
}

TEST(RtAudioDeviceListing, ListsJackThenPulseThenAlsaAndOnlyDevicesThatCanPlay) {
    RtAudioDeviceList list;
    list.update(AudioApi::Alsa,
                {device("hw:HDA Intel PCH,0", 2), device("hw:Webcam,0", 0), device("default", 2)});
    list.update(AudioApi::Jack, {device("system", 8), device("ardour", 4)});
    list.update(AudioApi::Pulse, {device("PulseAudio", 2, true)});

    const std::vector<AudioDeviceInfo> devices = list.devices();
    EXPECT_EQ(uidsOf(devices), QStringList({"jack:system", "jack:ardour", "pulse:PulseAudio",
                                            "alsa:HDA Intel PCH,0", "alsa:default"}));
    const AudioDeviceInfo* system = find(devices, "jack:system");
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system->name, "system (JACK)");
    EXPECT_EQ(system->outputChannels, 8);
    EXPECT_EQ(system->preferredSampleRate, 48000);
}

TEST(RtAudioDeviceListing, MarksJacksDefaultWhileAServerRunsThenTheSoundServersThenAlsas) {
    RtAudioDeviceList list;
    EXPECT_TRUE(list.devices().empty());

    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2, true), device("default", 2)});
    EXPECT_EQ(defaultUid(list.devices()), "alsa:default");

    list.update(AudioApi::Pulse, {device("Webcam Speakers", 2), device("Speakers", 2, true)});
    EXPECT_EQ(defaultUid(list.devices()), "pulse:Speakers");

    // JACK's system client is the card the server drives, even when another client
    // registered its ports first.
    list.update(AudioApi::Jack, {device("mixer", 2, true), device("system", 8)});
    EXPECT_EQ(defaultUid(list.devices()), "jack:system");

    // The server stops: the default falls back to the sound server again.
    list.update(AudioApi::Jack, {});
    EXPECT_EQ(defaultUid(list.devices()), "pulse:Speakers");

    list.update(AudioApi::Pulse, {});
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), device("hw:USB,0", 2, true)});
    EXPECT_EQ(defaultUid(list.devices()), "alsa:USB,0");
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), device("hw:USB,0", 2)});
    EXPECT_EQ(defaultUid(list.devices()), "alsa:HDA Intel PCH,0");
}

TEST(RtAudioDeviceListing, KeepsNamesDistinctForDevicesThatShareOne) {
    RtAudioDeviceList list;
    list.update(AudioApi::Alsa,
                {device("hw:USB Audio CODEC,0", 2), device("hw:USB Audio CODEC,0", 4)});
    const std::vector<AudioDeviceInfo> devices = list.devices();
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].name, "USB Audio CODEC,0 (ALSA)");
    EXPECT_EQ(devices[1].name, "USB Audio CODEC,0 (ALSA) #2");
    EXPECT_EQ(devices[1].uid, "alsa:USB Audio CODEC,0#2");
    EXPECT_EQ(devices[1].outputChannels, 4);
}

TEST(RtAudioDeviceListing, KeepsADeviceThatIsBusyAtTheNextProbe) {
    RtAudioDeviceList list;
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), device("hw:USB,0", 6)});

    // Our own stream holds the USB card: the API still names it but cannot look inside.
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), busy("hw:USB,0")});
    const std::vector<AudioDeviceInfo> whileBusy = list.devices();
    const AudioDeviceInfo* usb = find(whileBusy, "alsa:USB,0");
    ASSERT_NE(usb, nullptr);
    EXPECT_EQ(usb->outputChannels, 6);

    // Busy without a name: the device at the same position, while the count is the same.
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), busy()});
    ASSERT_TRUE(lists(list, "alsa:USB,0"));
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), busy()});
    ASSERT_TRUE(lists(list, "alsa:USB,0")) << "kept over several probes";

    // Busy and reporting no outputs counts as busy as well.
    ProbedDevice noOutputs = device("hw:USB,0", 0);
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), noOutputs});
    ASSERT_TRUE(lists(list, "alsa:USB,0"));

    // Once the count changes, an unnamed busy device cannot be told apart any more.
    list.update(AudioApi::Alsa, {device("hw:Other,0", 2), device("hw:HDA Intel PCH,0", 2), busy()});
    EXPECT_FALSE(lists(list, "alsa:USB,0"));
}

TEST(RtAudioDeviceListing, DropsDevicesThatLeaveAndNeverInventsBusyOnes) {
    RtAudioDeviceList list;
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), device("hw:USB,0", 6)});
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2)});
    EXPECT_EQ(uidsOf(list.devices()), QStringList({"alsa:HDA Intel PCH,0"}));

    // A device busy since before we first saw it has nothing to show.
    list.update(AudioApi::Alsa, {device("hw:HDA Intel PCH,0", 2), busy("hw:Busy,0")});
    EXPECT_EQ(uidsOf(list.devices()), QStringList({"alsa:HDA Intel PCH,0"}));

    // Each API's list is its own: clearing JACK's keeps ALSA's.
    list.update(AudioApi::Jack, {device("system", 2)});
    list.update(AudioApi::Jack, {});
    EXPECT_EQ(uidsOf(list.devices()), QStringList({"alsa:HDA Intel PCH,0"}));
}
