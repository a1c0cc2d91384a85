// Decoding files: the samples, the resampling to the device rate, sample-accurate seeking,
// and files that are broken or disappear while playing.

#include "media/FfmpegAudioSource.h"
#include "media/ToneGenerator.h"
#include "tests/media/DecodeTestSupport.h"
#include "tests/support/AudioFixtures.h"

#include <QFile>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>

using media::AudioFileWriter;
using media::FfmpegAudioSource;
using media::ToneGenerator;

namespace {

constexpr int kRate = AudioFixtures::kRate;

std::unique_ptr<FfmpegAudioSource> openOrFail(const QString& path, int rate) {
    QString error;
    auto source = FfmpegAudioSource::open(path, rate, &error);
    EXPECT_TRUE(source) << path.toStdString() << ": " << error.toStdString();
    return source;
}

std::vector<float> generated(ToneGenerator generator, long long frames) {
    std::vector<float> samples(static_cast<size_t>(frames) * generator.channels());
    generator.render(samples.data(), static_cast<int>(frames));
    return samples;
}

} // namespace

TEST(FfmpegAudioSource, FloatWavAtItsOwnRateIsBitExact) {
    AudioFixtures fixtures;
    AudioFileWriter::Options options;
    options.floatSamples = true;
    const ToneGenerator tone = ToneGenerator::stereoSine(997.0, 1499.0, 1.0, kRate);
    const QString path = fixtures.write("full-scale.wav", tone, kRate, options);
    auto source = openOrFail(path, kRate);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->channels(), 2);
    EXPECT_EQ(source->sampleRate(), kRate);
    const std::vector<float> decoded = readToEnd(*source);
    const std::vector<float> expected = generated(tone, kRate);
    ASSERT_EQ(decoded.size(), expected.size());
    EXPECT_EQ(std::memcmp(decoded.data(), expected.data(), decoded.size() * sizeof(float)), 0);
}

TEST(FfmpegAudioSource, SixteenBitFormatsDecodeWithinOneStep) {
    AudioFixtures fixtures;
    const std::vector<float> expected = generated(
        ToneGenerator::sine(AudioFixtures::kToneFrequency, AudioFixtures::kToneAmplitude, kRate, 2),
        kRate);
    for (const char* extension : {"wav", "flac", "aiff"}) {
        SCOPED_TRACE(extension);
        auto source = openOrFail(fixtures.toneFile(QString::fromLatin1(extension)), kRate);
        ASSERT_TRUE(source);
        const std::vector<float> decoded = readToEnd(*source);
        ASSERT_EQ(decoded.size(), expected.size());
        EXPECT_LE(maxDifference(decoded, 0, expected, 0, long(decoded.size())), 1.0 / 32768.0);
    }
}

TEST(FfmpegAudioSource, LossyFormatsKeepTheToneInPlace) {
    // No offset at the start (encoder delay trimmed), the same tone after the codec.
    AudioFixtures fixtures;
    const std::vector<float> expected = generated(
        ToneGenerator::sine(AudioFixtures::kToneFrequency, AudioFixtures::kToneAmplitude, kRate, 2),
        kRate);
    for (const char* extension : {"mp3", "ogg", "m4a"}) {
        SCOPED_TRACE(extension);
        auto source = openOrFail(fixtures.toneFile(QString::fromLatin1(extension)), kRate);
        ASSERT_TRUE(source);
        const std::vector<float> decoded = readToEnd(*source);
        ASSERT_GE(decoded.size(), expected.size() - 2048);
        // Away from the very start, where AAC's first frame is still settling.
        EXPECT_LE(maxDifference(decoded, 2 * 4096, expected, 2 * 4096, 2 * 30000), 0.05);
    }
}

TEST(FfmpegAudioSource, ResamplesTo48kWithTheRightLengthAndPitch) {
    AudioFixtures fixtures;
    auto source = openOrFail(fixtures.toneFile("wav", kRate), 48000);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->sampleRate(), 48000);
    EXPECT_EQ(source->durationFrames(), 48000);
    EXPECT_DOUBLE_EQ(source->durationSeconds(), 1.0);
    const std::vector<float> decoded = readToEnd(*source);
    ASSERT_EQ(decoded.size(), 2u * 48000u);
    EXPECT_NEAR(measuredFrequency(decoded, 2, 0, 48000, 4800, 43200), 1000.0, 0.05);
    // Sample by sample it is the same sine on the new grid: no delay, no phase shift.
    double largest = 0.0;
    for (int i = 1000; i < 47000; ++i) {
        const double ideal =
            AudioFixtures::kToneAmplitude *
            std::sin(2.0 * std::numbers::pi * AudioFixtures::kToneFrequency * i / 48000.0);
        largest = std::max(largest, std::fabs(decoded[2 * i] - ideal));
    }
    EXPECT_LT(largest, 1e-3);
}

TEST(FfmpegAudioSource, MonoStaysOneChannel) {
    AudioFixtures fixtures;
    for (const char* extension : {"wav", "mp3"}) {
        SCOPED_TRACE(extension);
        auto source = openOrFail(fixtures.monoFile(QString::fromLatin1(extension)), 48000);
        ASSERT_TRUE(source);
        EXPECT_EQ(source->channels(), 1);
        EXPECT_EQ(source->fileChannels(), 1);
        const std::vector<float> decoded = readToEnd(*source);
        EXPECT_EQ(long(decoded.size()), source->durationFrames());
        EXPECT_NEAR(measuredFrequency(decoded, 1, 0, 48000, 4800, 43200), 1000.0, 0.1);
    }
}

TEST(FfmpegAudioSource, StereoKeepsItsSidesApart) {
    AudioFixtures fixtures;
    for (const char* extension : {"wav", "mp3"}) {
        SCOPED_TRACE(extension);
        auto source = openOrFail(fixtures.stereoFourSeconds(QString::fromLatin1(extension)), 48000);
        ASSERT_TRUE(source);
        const std::vector<float> decoded = readToEnd(*source);
        ASSERT_EQ(long(decoded.size()), 2 * 4 * 48000);
        EXPECT_NEAR(measuredFrequency(decoded, 2, 0, 48000, 48000, 3 * 48000),
                    AudioFixtures::kLeftFrequency, 0.1);
        EXPECT_NEAR(measuredFrequency(decoded, 2, 1, 48000, 48000, 3 * 48000),
                    AudioFixtures::kRightFrequency, 0.1);
    }
}

namespace {

// The first frame of `path` decoded at its own rate (so no resampling filter blurs the
// levels), or {-1, -1} when it does not open.
std::pair<float, float> decodedLevels(const QString& path) {
    auto source = openOrFail(path, kRate);
    if (!source) {
        return {-1.0f, -1.0f};
    }
    EXPECT_EQ(source->channels(), 2);
    std::vector<float> frames(2 * 100);
    EXPECT_EQ(source->read(frames.data(), 100), 100);
    return {frames[2 * 50], frames[2 * 50 + 1]};
}

} // namespace

TEST(FfmpegAudioSource, SurroundIsFoldedDownToStereoWithoutClipping) {
    AudioFixtures fixtures;
    constexpr quint32 k51 = 0x3F; // FL FR FC LFE BL BR
    const auto [leftOnlyL, leftOnlyR] =
        decodedLevels(fixtures.multichannelWav("left.wav", {0.5, 0, 0, 0, 0, 0}, k51));
    EXPECT_GT(leftOnlyL, 0.1f);
    EXPECT_FLOAT_EQ(leftOnlyR, 0.0f);

    const auto [centreL, centreR] =
        decodedLevels(fixtures.multichannelWav("centre.wav", {0, 0, 0.5, 0, 0, 0}, k51));
    EXPECT_GT(centreL, 0.1f) << "the centre channel (dialogue) is not lost";
    EXPECT_FLOAT_EQ(centreL, centreR);

    const auto [rearL, rearR] =
        decodedLevels(fixtures.multichannelWav("rear.wav", {0, 0, 0, 0, 0, 0.5}, k51));
    EXPECT_FLOAT_EQ(rearL, 0.0f);
    EXPECT_GT(rearR, 0.1f);

    const auto [fullL, fullR] =
        decodedLevels(fixtures.multichannelWav("full.wav", {1, 1, 1, 1, 1, 1}, k51));
    EXPECT_LE(fullL, 1.0f);
    EXPECT_LE(fullR, 1.0f);
    EXPECT_GT(fullL, 0.9f) << "normalised, not needlessly quiet";
}

TEST(FfmpegAudioSource, UnnamedChannelsDeliverTheFirstTwo) {
    AudioFixtures fixtures;
    const auto [left, right] =
        decodedLevels(fixtures.multichannelWav("four.wav", {0.125, 0.25, 0.5, 0.75}, 0));
    EXPECT_NEAR(left, 0.125, 1.0 / 32768);
    EXPECT_NEAR(right, 0.25, 1.0 / 32768);
}

// ---- seeking ----

namespace {

struct SeekCase {
    const char* name;
    const char* extension;
    bool variableBitRate;
    int outputRate;
    double tolerance; // lossless files match bit for bit
};

void PrintTo(const SeekCase& seekCase, std::ostream* out) {
    *out << seekCase.name;
}

class SeekEachFormat : public ::testing::TestWithParam<SeekCase> {};

} // namespace

TEST_P(SeekEachFormat, ReadAfterSeekMatchesAStraightRead) {
    const SeekCase seekCase = GetParam();
    AudioFixtures fixtures;
    AudioFileWriter::Options options;
    options.variableBitRate = seekCase.variableBitRate;
    // A quiet sweep makes LAME's VBR use its smallest frames, which lean hardest on the bit
    // reservoir that a decoder lacks after a jump.
    const QString path = fixtures.write(
        QStringLiteral("seek.%1").arg(QLatin1String(seekCase.extension)),
        ToneGenerator::sweep(150.0, 4000.0, 3.0, 0.4, kRate, 2), 3 * kRate + 11, options);
    auto source = openOrFail(path, seekCase.outputRate);
    ASSERT_TRUE(source);
    const std::vector<float> straight = readToEnd(*source);
    const long long length = source->durationFrames();
    ASSERT_EQ(long(straight.size()), 2 * length);

    constexpr int kCompared = 700;
    const long long targets[] = {length / 2,         1,     1152 * 5 + 17, 0,
                                 length - kCompared, 44100, 12345,         length / 3 + 1};
    for (long long target : targets) {
        SCOPED_TRACE(target);
        ASSERT_TRUE(source->seekToFrame(target));
        EXPECT_EQ(source->position(), target);
        std::vector<float> chunk(2 * kCompared);
        ASSERT_EQ(source->read(chunk.data(), kCompared), kCompared);
        EXPECT_LE(maxDifference(chunk, 0, straight, 2 * target, 2 * kCompared), seekCase.tolerance);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, SeekEachFormat,
                         ::testing::Values(SeekCase{"wav", "wav", false, kRate, 0.0},
                                           SeekCase{"wav_to_48k", "wav", false, 48000, 0.0},
                                           SeekCase{"flac_to_48k", "flac", false, 48000, 0.0},
                                           SeekCase{"mp3", "mp3", false, kRate, 1e-4},
                                           SeekCase{"mp3_to_48k", "mp3", false, 48000, 1e-4},
                                           SeekCase{"vbr_mp3_to_48k", "mp3", true, 48000, 1e-4},
                                           SeekCase{"ogg_to_48k", "ogg", false, 48000, 1e-4},
                                           SeekCase{"m4a_to_48k", "m4a", false, 48000, 1e-4}),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(FfmpegAudioSource, SeekClampsToTheFile) {
    AudioFixtures fixtures;
    auto source = openOrFail(fixtures.toneFile("mp3"), 48000);
    ASSERT_TRUE(source);
    std::vector<float> chunk(2 * 256);
    const std::vector<float> start = [&] {
        std::vector<float> first(2 * 256);
        source->read(first.data(), 256);
        return first;
    }();

    EXPECT_TRUE(source->seekToFrame(source->durationFrames() + 1000));
    EXPECT_EQ(source->position(), source->durationFrames());
    EXPECT_EQ(source->read(chunk.data(), 256), 0);

    EXPECT_TRUE(source->seekToFrame(-50));
    EXPECT_EQ(source->position(), 0);
    ASSERT_EQ(source->read(chunk.data(), 256), 256);
    EXPECT_EQ(chunk, start);

    EXPECT_TRUE(source->seekToFrame(source->durationFrames() - 10));
    EXPECT_EQ(source->read(chunk.data(), 256), 10);
    EXPECT_EQ(source->read(chunk.data(), 256), 0);
    EXPECT_EQ(source->read(chunk.data(), 256), 0) << "the end stays the end";
}

// ---- independence and lifetime ----

TEST(FfmpegAudioSource, CloneDecodesIndependently) {
    AudioFixtures fixtures;
    auto source = openOrFail(fixtures.stereoFourSeconds("mp3"), 48000);
    ASSERT_TRUE(source);
    const std::vector<float> straight = readToEnd(*openOrFail(source->path(), 48000));

    std::vector<float> chunk(2 * 1000);
    ASSERT_TRUE(source->seekToFrame(30000));
    auto clone = source->clone();
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->durationFrames(), source->durationFrames());
    EXPECT_EQ(clone->channels(), 2);

    ASSERT_EQ(clone->read(chunk.data(), 1000), 1000);
    EXPECT_LE(maxDifference(chunk, 0, straight, 0, 2000), 1e-4) << "a clone starts at the start";
    ASSERT_TRUE(clone->seekToFrame(150000));

    ASSERT_EQ(source->read(chunk.data(), 1000), 1000);
    EXPECT_LE(maxDifference(chunk, 0, straight, 2 * 30000, 2000), 1e-4)
        << "the original kept its own position";
    ASSERT_EQ(clone->read(chunk.data(), 1000), 1000);
    EXPECT_LE(maxDifference(chunk, 0, straight, 2 * 150000, 2000), 1e-4);
}

TEST(FfmpegAudioSource, FileDeletedWhileReadingPlaysToItsEnd) {
    AudioFixtures fixtures;
    for (const char* extension : {"mp3", "wav"}) {
        SCOPED_TRACE(extension);
        const QString path = fixtures.toneFile(QString::fromLatin1(extension), 2 * kRate);
        auto source = openOrFail(path, 48000);
        ASSERT_TRUE(source);
        std::vector<float> chunk(2 * 30000);
        ASSERT_EQ(source->read(chunk.data(), 30000), 30000);
        ASSERT_TRUE(QFile::remove(path));

        bool failed = false;
        const std::vector<float> rest = readToEnd(*source, &failed);
        EXPECT_FALSE(failed);
        EXPECT_EQ(long(rest.size()) / 2 + 30000, source->durationFrames());
        EXPECT_TRUE(source->seekToFrame(100)) << "the open file is still there to seek in";
        EXPECT_EQ(source->read(chunk.data(), 100), 100);
        EXPECT_EQ(source->clone(), nullptr) << "but it cannot be opened again";
    }
}

// ---- broken files ----

TEST(FfmpegAudioSource, RefusesFilesWithoutPlayableAudio) {
    AudioFixtures fixtures;
    const QString cases[] = {fixtures.emptyFile(), fixtures.randomBytesFile(),
                             fixtures.textNamedMp3(), fixtures.videoOnlyFile(),
                             fixtures.pathFor("missing.wav")};
    for (const QString& path : cases) {
        SCOPED_TRACE(path.toStdString());
        QString error;
        EXPECT_EQ(FfmpegAudioSource::open(path, 48000, &error), nullptr);
        EXPECT_FALSE(error.isEmpty());
    }
    QString error;
    EXPECT_EQ(FfmpegAudioSource::open(fixtures.toneFile("wav"), 0, &error), nullptr);
    EXPECT_FALSE(error.isEmpty());
}

TEST(FfmpegAudioSource, TruncatedMp3EndsCleanly) {
    AudioFixtures fixtures;
    auto source = openOrFail(fixtures.truncatedMp3(), 48000);
    ASSERT_TRUE(source);
    bool failed = false;
    const long long frames = long(readToEnd(*source, &failed).size()) / 2;
    EXPECT_FALSE(failed) << "a short file is an early end, not an error";
    EXPECT_GT(frames, source->durationFrames() * 4 / 10);
    EXPECT_LT(frames, source->durationFrames() * 6 / 10);
    std::vector<float> chunk(2 * 100);
    EXPECT_EQ(source->read(chunk.data(), 100), 0);
    EXPECT_TRUE(source->seekToFrame(1000));
    EXPECT_EQ(source->read(chunk.data(), 100), 100);
}

TEST(FfmpegAudioSource, DamagedFilesEndWithoutHangingOrCrashing) {
    AudioFixtures fixtures;
    for (const char* extension : {"mp3", "ogg", "m4a", "flac"}) {
        SCOPED_TRACE(extension);
        const QString intact = fixtures.toneFile(QString::fromLatin1(extension), 3 * kRate);
        const QString damaged = fixtures.damagedCopy(intact, QFile(intact).size() / 3, 6000);
        QString error;
        auto source = FfmpegAudioSource::open(damaged, 48000, &error);
        if (!source) {
            EXPECT_FALSE(error.isEmpty());
            continue;
        }
        const long long frames = long(readToEnd(*source).size()) / 2;
        EXPECT_GT(frames, 0);
        EXPECT_LE(frames, source->durationFrames());
        // Jumping into the damage ends the same way: some frames, an end or an error.
        source->seekToFrame(source->durationFrames() / 3);
        std::vector<float> chunk(2 * 4096);
        EXPECT_LE(source->read(chunk.data(), 4096), 4096);
    }
}

TEST(FfmpegAudioSource, VideoWithAudioDecodesItsSoundtrack) {
    AudioFixtures fixtures;
    auto source = openOrFail(fixtures.videoWithAudioFile(), 48000);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->channels(), 2);
    EXPECT_NEAR(source->durationSeconds(), 2.0, 1024.0 / kRate);
    const std::vector<float> decoded = readToEnd(*source);
    EXPECT_EQ(long(decoded.size()) / 2, source->durationFrames());
    EXPECT_NEAR(measuredFrequency(decoded, 2, 0, 48000, 9600, 86400), AudioFixtures::kToneFrequency,
                0.1);
}
