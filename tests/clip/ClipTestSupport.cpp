#include "tests/clip/ClipTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/AudioFileWriter.h"
#include "media/OfflineDriver.h"
#include "media/OfflineStream.h"

#include <QUrl>
#include <algorithm>
#include <cmath>

namespace clipaudio {

float indexedValue(long long frame) {
    return float(double(frame % 65536) / 65536.0 + 1.0 / 131072.0);
}

long long frameOfIndexedValue(float left) {
    return std::llround((double(left) - 1.0 / 131072.0) * 65536.0);
}

} // namespace clipaudio

ClipEngineTest::ClipEngineTest() = default;
ClipEngineTest::~ClipEngineTest() = default;

void ClipEngineTest::SetUp() {
    ScratchHome::SetUp();
    ASSERT_TRUE(_files.isValid());
    QVariantMap registered{{defaultsKey_ReadID3Tags, true},
                           {defaultsKey_DefaultClipSettings, defaultClipSettings()}};
    for (int index = 0; index < outputSettingsCount; ++index) {
        registered.insert(outputSettingsKey(index), defaultOutputSettings(index));
    }
    defaults().registerDefaults(registered);

    auto driver = std::make_unique<media::OfflineDriver>();
    _driver = driver.get();
    media::AudioEngine::Options options;
    options.driver = std::move(driver);
    options.periodFrames = clipaudio::kPeriod;
    options.deviceWatchIntervalMs = 0;
    _engine = std::make_unique<media::AudioEngine>(std::move(options));
    ASSERT_EQ(media::AudioEngine::instance(), _engine.get());
}

void ClipEngineTest::TearDown() {
    _clips.clear();
    _engine.reset();
    ScratchHome::TearDown();
}

QString ClipEngineTest::writeWav(const QString& name, long long frames, int channels,
                                 const std::function<float(long long, int)>& sample) {
    const QString path = _files.filePath(name);
    media::AudioFileWriter writer;
    media::AudioFileWriter::Options options;
    options.sampleRate = clipaudio::kRate;
    options.channels = channels;
    options.floatSamples = true;
    QString error;
    if (!writer.open(path, options, &error)) {
        ADD_FAILURE() << qPrintable(error);
        return QString();
    }
    std::vector<float> block;
    constexpr long long kBlock = 4096;
    for (long long start = 0; start < frames; start += kBlock) {
        const long long count = std::min(kBlock, frames - start);
        block.assign(size_t(count) * size_t(channels), 0.0f);
        for (long long frame = 0; frame < count; ++frame) {
            for (int channel = 0; channel < channels; ++channel) {
                block[size_t(frame) * size_t(channels) + size_t(channel)] =
                    sample(start + frame, channel);
            }
        }
        if (!writer.write(block.data(), int(count), &error)) {
            ADD_FAILURE() << qPrintable(error);
            return QString();
        }
    }
    if (!writer.finish(&error)) {
        ADD_FAILURE() << qPrintable(error);
        return QString();
    }
    return path;
}

QString ClipEngineTest::constantWav(const QString& name, double seconds, float left, float right,
                                    int channels) {
    return writeWav(name, std::llround(seconds * clipaudio::kRate), channels,
                    [=](long long, int channel) { return channel == 0 ? left : right; });
}

QString ClipEngineTest::indexedWav(const QString& name, double seconds) {
    return writeWav(name, std::llround(seconds * clipaudio::kRate), 2,
                    [](long long frame, int channel) {
                        const float value = clipaudio::indexedValue(frame);
                        return channel == 0 ? value : -value;
                    });
}

SoundClip& ClipEngineTest::makeClip(const QString& path, const QVariantMap& overrides) {
    auto record = std::make_shared<QVariantMap>(defaultClipSettings());
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        record->insert(it.key(), it.value());
    }
    auto clip = std::make_unique<SoundClip>(record);
    EXPECT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path))) << qPrintable(path);
    _engine->waitUntilIdle(); // the preroll of the in point is ready before a start
    _clips.push_back(std::move(clip));
    return *_clips.back();
}

std::vector<float> ClipEngineTest::pull(int frames, const QString& device) {
    media::OfflineStream* stream = _driver->stream(device);
    EXPECT_NE(stream, nullptr) << qPrintable(device);
    if (!stream) {
        return {};
    }
    std::vector<float> out;
    out.reserve(size_t(frames) * size_t(stream->channelCount()));
    for (int done = 0; done < frames;) {
        EXPECT_TRUE(_engine->waitUntilIdle());
        const int piece = std::min(4096, frames - done);
        const std::vector<float> part = stream->pull(piece);
        out.insert(out.end(), part.begin(), part.end());
        done += piece;
    }
    return out;
}

std::vector<float> ClipEngineTest::tick(SoundClip& clip, const QString& device) {
    std::vector<float> rendered = pull(clipaudio::kTickFrames, device);
    clip.spendTime();
    return rendered;
}

float ClipEngineTest::at(const std::vector<float>& buffer, int channels, long long frame,
                         int channel) {
    return buffer[size_t(frame) * size_t(channels) + size_t(channel)];
}

float ClipEngineTest::settled(const std::vector<float>& buffer, int channels, int channel) {
    return at(buffer, channels, (long long)(buffer.size() / size_t(channels)) - 1, channel);
}

bool ClipEngineTest::isSilent(const std::vector<float>& buffer, int channels, int channel) {
    for (size_t i = size_t(channel); i < buffer.size(); i += size_t(channels)) {
        if (buffer[i] != 0.0f) {
            return false;
        }
    }
    return true;
}

bool FakeMIDISources::name(int index, QString* name) const {
    if (index < 0 || index >= names.size() || !names[index]) {
        return false;
    }
    *name = *names[index];
    return true;
}
