// SoundClip routing and metering through the offline back end: the output settings record
// decides the device and its channels, a mono clip sounds on its left channel only, and
// the meter attacks at once and falls linearly per reading.

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "tests/clip/ClipTestSupport.h"
#include "tests/support/QtPrinters.h"

using clipaudio::kTickFrames;

namespace {

const QString kFourChannels = QStringLiteral("Test Device 4ch");

// Loud for the first `loudSeconds`, then silent, on both sides.
std::function<float(long long, int)> burst(double loudSeconds, float level) {
    const auto loudFrames = (long long)(loudSeconds * clipaudio::kRate);
    return [=](long long frame, int) {
        return frame < loudFrames ? level : 0.0f;
    };
}

} // namespace

class SoundClipRoutingTest : public ClipEngineTest {
protected:
    void configureOutput(int index, const QString& device, int left, int right) {
        QVariantMap record = defaultOutputSettings(index);
        record.insert(QorvinPrefDeviceName, device);
        record.insert(QorvinPrefLeftChannelOutputTag, left);
        record.insert(QorvinPrefRightChannelOutputTag, right);
        record.insert(QorvinPrefOutputName, QStringLiteral("Studio B"));
        record.insert(QorvinPrefOutputColor, archiveColor(QColor(10, 20, 30)));
        defaults().setObject(record, outputSettingsKey(index));
    }
};

TEST_F(SoundClipRoutingTest, AClipOnOutputThreeSoundsOnlyOnTheChannelsOfThatOutput) {
    configureOutput(3, kFourChannels, 0x10002, 0x10003);
    SoundClip& clip = makeClip(indexedWav("indexed.wav", 2.0), {{settingsKey_OutputIndex, 3}});
    EXPECT_EQ(clip.outputName(), "Studio B");
    EXPECT_EQ(clip.outputColor(), QColor(10, 20, 30));
    EXPECT_EQ(clip.outputDeviceName(), kFourChannels);
    ASSERT_TRUE(clip.outputComponent().has_value());
    EXPECT_EQ(clip.outputComponent()->uid, "offline:4ch");
    clip.startPlaying(false);
    const std::vector<float> device = pull(kTickFrames, kFourChannels);
    const std::vector<float> defaultDevice = pull(kTickFrames);
    EXPECT_TRUE(isSilent(device, 4, 0));
    EXPECT_TRUE(isSilent(device, 4, 1));
    for (long long frame = 128; frame < kTickFrames; ++frame) {
        ASSERT_EQ(at(device, 4, frame, 2), clipaudio::indexedValue(frame)) << frame;
        ASSERT_EQ(at(device, 4, frame, 3), -clipaudio::indexedValue(frame)) << frame;
    }
    EXPECT_TRUE(isSilent(defaultDevice, 2, 0));
    EXPECT_TRUE(isSilent(defaultDevice, 2, 1));

    clip.stopPlaying();
    clip.resetClipOutputDevice();
    clip.startPlaying(false);
    EXPECT_EQ(clip.outputDeviceName(), kFourChannels) << "a start reads the output again";
    clip.stopPlaying();
}

TEST_F(SoundClipRoutingTest, ResetPutsTheClipBackOnTheFirstTwoChannelsOfTheDefaultDevice) {
    configureOutput(3, kFourChannels, 0x10002, 0x10003);
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 2.0, 0.5f, -0.25f), {{settingsKey_OutputIndex, 3}});
    clip.resetClipOutputDevice();
    EXPECT_EQ(clip.leftChannelOutputTag(), 0x10000u);
    EXPECT_EQ(clip.rightChannelOutputTag(), 0x10001u);
    clip.movie()->start(); // the movie alone: a clip start would read the output again
    const std::vector<float> defaultDevice = pull(kTickFrames);
    EXPECT_EQ(settled(defaultDevice, 2, 0), 0.5f);
    EXPECT_EQ(settled(defaultDevice, 2, 1), -0.25f);
    EXPECT_TRUE(isSilent(pull(kTickFrames, kFourChannels), 4, 2));
}

TEST_F(SoundClipRoutingTest, AMonoClipSoundsOnlyOnItsLeftChannel) {
    configureOutput(0, kFourChannels, 0x10001, 0x10000);
    SoundClip& clip = makeClip(constantWav("mono.wav", 2.0, 0.5f, 0.0f, 1));
    EXPECT_TRUE(clip.isMono());
    clip.startPlaying(false);
    const std::vector<float> device = pull(kTickFrames, kFourChannels);
    EXPECT_TRUE(isSilent(device, 4, 0)) << "the right tag names the first channel";
    EXPECT_EQ(settled(device, 4, 1), 0.5f);
    EXPECT_TRUE(isSilent(device, 4, 2));
    double left = -1.0;
    double right = -1.0;
    clip.getPeakLeftLevel(&left, &right);
    EXPECT_NEAR(left, 128.0 / 255.0, 1e-9);
    EXPECT_EQ(right, 0.0);
    clip.stopPlaying();
}

TEST_F(SoundClipRoutingTest, AnUnknownDeviceOrBadTagsLeaveTheClipWhereItPlays) {
    configureOutput(1, QStringLiteral("Unplugged Interface"), 0x10002, 0x10003);
    SoundClip& clip =
        makeClip(constantWav("tone.wav", 2.0, 0.5f, 0.5f), {{settingsKey_OutputIndex, 1}});
    EXPECT_EQ(clip.outputDeviceName(), "") << "no device was ever found";
    EXPECT_FALSE(clip.outputComponent().has_value());
    clip.startPlaying(false);
    EXPECT_EQ(settled(pull(kTickFrames), 2, 0), 0.0f) << "channels 3/4 of a stereo device";
    clip.stopPlaying();

    clip.setClipOutputForLeftChannel(0x10000, 0x10001);
    clip.setClipOutputForLeftChannel(2, 3);
    EXPECT_EQ(clip.leftChannelOutputTag(), 0x10000u);
    EXPECT_EQ(clip.rightChannelOutputTag(), 0x10001u);
    clip.setOutputIndex(9);
    clip.setOutputIndex(-1);
    EXPECT_EQ(clip.outputIndex(), 1);
    clip.setOutputIndex(8);
    EXPECT_EQ(clip.settings()->value(settingsKey_OutputIndex), QVariant(8));
}

TEST_F(SoundClipRoutingTest, ANewInPointMovesTheIdleMovieWithoutReopeningIt) {
    SoundClip& clip = makeClip(indexedWav("indexed.wav", 3.0));
    media::Movie* movie = clip.movie();
    clip.startPlaying(false);
    tick(clip);
    clip.stopPlaying();
    EXPECT_EQ(clip.movie(), movie) << "a stop rewinds the movie it has";
    EXPECT_EQ(clip.currentPositionSeconds(), 0.0);
    EXPECT_DOUBLE_EQ(movie->position(), 0.0);

    clip.settings()->insert(settingsKey_InPoint, 1.0);
    clip.settingsHaveChanged();
    EXPECT_DOUBLE_EQ(movie->position(), 1.0);
    engine().waitUntilIdle();
    EXPECT_TRUE(movie->isPrerollReady());
    clip.startPlaying(false);
    EXPECT_EQ(clip.movie(), movie);
    const std::vector<float> block = pull(kTickFrames);
    EXPECT_EQ(clipaudio::frameOfIndexedValue(at(block, 2, 500, 0)), 48000 + 500);
    clip.stopPlaying();
    EXPECT_DOUBLE_EQ(movie->position(), 1.0) << "after a stop the movie waits at the in point";
}

class SoundClipMeterTest : public ClipEngineTest {
protected:
    // Reads the meter and returns it on the 0..255 scale, rounded.
    std::pair<int, int> read(SoundClip& clip) {
        double left = -1.0;
        double right = -1.0;
        clip.getPeakLeftLevel(&left, &right);
        return {int(std::lround(left * 255.0)), int(std::lround(right * 255.0))};
    }
};

TEST_F(SoundClipMeterTest, TheMeterAttacksAtOnceAndFallsEightLeftAndTwelveRightPerReading) {
    SoundClip& clip =
        makeClip(writeWav("burst.wav", 3 * clipaudio::kRate, 2, burst(0.05, float(200.0 / 255.0))));
    clip.startPlaying(false);
    pull(clipaudio::kRate / 10);
    EXPECT_EQ(read(clip), std::make_pair(200, 200));
    pull(clipaudio::kRate / 5); // into the silence
    EXPECT_EQ(read(clip), std::make_pair(192, 188));
    EXPECT_EQ(read(clip), std::make_pair(184, 176)) << "per reading, not per unit of time";
    EXPECT_EQ(read(clip), std::make_pair(176, 164));

    clip.pausePlaying(false);
    EXPECT_EQ(read(clip), std::make_pair(0, 0)) << "a paused clip reads silent";
    EXPECT_EQ(read(clip), std::make_pair(0, 0));
    clip.pausePlaying(true);
    pull(kTickFrames);
    EXPECT_EQ(read(clip), std::make_pair(152, 128)) << "the hold fell on during the pause";
    for (int i = 0; i < 30; ++i) {
        read(clip);
    }
    EXPECT_EQ(read(clip), std::make_pair(0, 0)) << "never below 0";
    clip.stopPlaying();
}

TEST_F(SoundClipMeterTest, ALouderReadingReplacesTheHoldAtOnce) {
    const QString path = writeWav("steps.wav", 2 * clipaudio::kRate, 2, [](long long frame, int) {
        return frame < clipaudio::kRate / 5 ? float(100.0 / 255.0) : float(180.0 / 255.0);
    });
    SoundClip& clip = makeClip(path);
    clip.startPlaying(false);
    pull(clipaudio::kRate / 10);
    EXPECT_EQ(read(clip), std::make_pair(100, 100));
    pull(clipaudio::kRate / 5);
    EXPECT_EQ(read(clip), std::make_pair(180, 180));
    pull(kTickFrames);
    EXPECT_EQ(read(clip), std::make_pair(180, 180)) << "an equal reading holds";
    clip.stopPlaying();
    EXPECT_EQ(read(clip), std::make_pair(172, 168)) << "a stopped clip meters nothing new";
}

class SoundClipOutputChoicesTest : public ClipEngineTest {};

TEST_F(SoundClipOutputChoicesTest, DevicesAreListedWithTheDefaultFirst) {
    SoundClip::PopUpChoices choices = SoundClip::componentsPopUpChoices(kFourChannels);
    QStringList titles;
    for (const SoundClip::PopUpItem& item : choices.items) {
        titles << item.title;
    }
    EXPECT_EQ(titles, QStringList({"Built-in Output", "Offline Output", kFourChannels}));
    EXPECT_EQ(choices.selectedIndex, 2);
    EXPECT_EQ(choices.title, kFourChannels);

    choices = SoundClip::componentsPopUpChoices(QStringLiteral("Unplugged Interface"));
    EXPECT_EQ(choices.selectedIndex, -1);
    EXPECT_EQ(choices.title, "Built-in Output");
}

TEST_F(SoundClipOutputChoicesTest, ChannelsAreListedAsOutputsTaggedFromTheFirstChannel) {
    SoundClip::PopUpChoices choices = SoundClip::channelsPopUpChoices(0x10003, kFourChannels);
    ASSERT_EQ(choices.items.size(), 4);
    for (int channel = 0; channel < 4; ++channel) {
        EXPECT_EQ(choices.items[channel].title, QStringLiteral("Output %1").arg(channel + 1));
        EXPECT_EQ(choices.items[channel].tag, 65536 + channel);
    }
    EXPECT_EQ(choices.selectedIndex, 3);
    EXPECT_EQ(choices.title, "Output 4");
    EXPECT_EQ(SoundClip::channelsPopUpChoices(0x10009, kFourChannels).selectedIndex, 0);
    EXPECT_EQ(SoundClip::channelsPopUpChoices(0x10000, "Built-in Output").items.size(), 2);
    EXPECT_EQ(SoundClip::channelsPopUpChoices(0x10000, "Unplugged Interface").items.size(), 2);
}

TEST_F(SoundClipOutputChoicesTest, DevicesAreFoundByNameWithTheirStableIdentifier) {
    const auto component = SoundClip::getSoundOutputComponentByName(kFourChannels);
    ASSERT_TRUE(component.has_value());
    EXPECT_EQ(component->uid, "offline:4ch");
    EXPECT_FALSE(SoundClip::getSoundOutputComponentByName("Unplugged Interface").has_value());
    QString uid;
    EXPECT_TRUE(SoundClip::copyMyAudioDriverUID("Built-in Output", &uid));
    EXPECT_EQ(uid, "offline:0");
    uid = "unchanged";
    EXPECT_FALSE(SoundClip::copyMyAudioDriverUID("Unplugged Interface", &uid));
    EXPECT_EQ(uid, "unchanged");
}
