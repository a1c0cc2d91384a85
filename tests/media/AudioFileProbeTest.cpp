// Probing: what a clip learns about a file before it plays it.

#include "media/AudioFileProbe.h"
#include "media/AudioFileInfo.h"
#include "media/FfmpegAudioSource.h"
#include "media/Mp3GaplessInfo.h"
#include "media/ToneGenerator.h"
#include "tests/media/DecodeTestSupport.h"
#include "tests/support/AudioFixtures.h"

#include <QFile>
#include <gtest/gtest.h>

using media::AudioFileInfo;
using media::AudioFileProbe;
using media::AudioFileWriter;
using media::FfmpegAudioSource;

namespace {

constexpr int kRate = AudioFixtures::kRate;
// Not a multiple of any codec's frame size, so padding and trimming show.
constexpr long long kWrittenFrames = 3 * kRate / 2 + 37;

struct FormatCase {
    const char* extension;
    // How far the reported length may be from the written one, in frames: lossless
    // formats and gapless mp3 and Ogg are exact; MP4 rounds to its AAC frames.
    long long lengthTolerance;
};

void PrintTo(const FormatCase& format, std::ostream* out) {
    *out << format.extension;
}

class ProbeEachFormat : public ::testing::TestWithParam<FormatCase> {
protected:
    AudioFixtures fixtures;
};

} // namespace

TEST_P(ProbeEachFormat, ReportsLengthChannelsRateAndTags) {
    const FormatCase format = GetParam();
    const QString path = fixtures.toneFile(QString::fromLatin1(format.extension), kWrittenFrames);
    ASSERT_FALSE(path.isEmpty());

    AudioFileInfo info;
    QString error;
    ASSERT_TRUE(AudioFileProbe::probe(path, &info, &error)) << error.toStdString();
    EXPECT_TRUE(info.hasAudio);
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.sampleRate, kRate);
    EXPECT_NEAR(info.durationSeconds * kRate, double(kWrittenFrames),
                double(format.lengthTolerance) + 0.5);
    // Ogg keeps these on the stream, MP4 as ©nam/©ART/©alb/©day, mp3 as ID3v2.4 (TDRC).
    EXPECT_EQ(info.title, "Fixture Tone");
    EXPECT_EQ(info.artist, "Zelvora Tests");
    EXPECT_EQ(info.album, "Generated Album");
    EXPECT_EQ(info.year, "1998");
    EXPECT_TRUE(AudioFileProbe::isValidAudioFile(path));
}

TEST_P(ProbeEachFormat, LengthIsWhatTheDecoderDelivers) {
    const FormatCase format = GetParam();
    const QString path = fixtures.toneFile(QString::fromLatin1(format.extension), kWrittenFrames);
    AudioFileInfo info;
    ASSERT_TRUE(AudioFileProbe::probe(path, &info, nullptr));

    QString error;
    auto source = FfmpegAudioSource::open(path, kRate, &error);
    ASSERT_TRUE(source) << error.toStdString();
    const std::vector<float> samples = readToEnd(*source);
    EXPECT_EQ(source->durationFrames(), static_cast<long long>(info.durationSeconds * kRate + 0.5));
    EXPECT_EQ(static_cast<long long>(samples.size()) / 2, source->durationFrames());
}

INSTANTIATE_TEST_SUITE_P(Formats, ProbeEachFormat,
                         ::testing::Values(FormatCase{"wav", 0}, FormatCase{"flac", 0},
                                           FormatCase{"mp3", 0}, FormatCase{"ogg", 0},
                                           FormatCase{"m4a", 1024}),
                         [](const auto& testCase) {
                             return std::string(testCase.param.extension);
                         });

TEST(AudioFileProbe, MonoFileHasOneChannel) {
    AudioFixtures fixtures;
    for (const char* extension : {"wav", "mp3"}) {
        AudioFileInfo info;
        ASSERT_TRUE(AudioFileProbe::probe(fixtures.monoFile(QString::fromLatin1(extension)), &info,
                                          nullptr))
            << extension;
        EXPECT_EQ(info.channels, 1) << extension;
    }
}

TEST(AudioFileProbe, Mp3WithoutInfoFrameIsMeasuredFromItsPackets) {
    // A VBR stream without a Xing header: FFmpeg can only guess its length from the
    // first frame's bit rate, which for loud-then-quiet audio is far off.
    AudioFixtures fixtures;
    AudioFileWriter::Options options;
    options.variableBitRate = true;
    options.mp3InfoFrame = false;
    const QString path =
        fixtures.write("bare.mp3", media::ToneGenerator::sweep(200.0, 12000.0, 3.0, 0.9, kRate, 2),
                       3 * kRate, options);
    AudioFileInfo info;
    QString error;
    ASSERT_TRUE(AudioFileProbe::probe(path, &info, &error)) << error.toStdString();

    auto source = FfmpegAudioSource::open(path, kRate, &error);
    ASSERT_TRUE(source) << error.toStdString();
    const long long decoded = static_cast<long long>(readToEnd(*source).size()) / 2;
    EXPECT_EQ(static_cast<long long>(info.durationSeconds * kRate + 0.5), decoded);
    // Without the info frame nothing trims the encoder delay: a little longer, never shorter.
    EXPECT_GE(decoded, 3 * kRate);
    EXPECT_LT(decoded, 3 * kRate + 3 * 1152);
}

TEST(AudioFileProbe, VideoWithAudioReportsItsAudioStream) {
    AudioFixtures fixtures;
    const QString path = fixtures.videoWithAudioFile();
    AudioFileInfo info;
    QString error;
    ASSERT_TRUE(AudioFileProbe::probe(path, &info, &error)) << error.toStdString();
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.sampleRate, kRate);
    EXPECT_NEAR(info.durationSeconds, 2.0, 1024.0 / kRate);
    EXPECT_TRUE(AudioFileProbe::isValidAudioFile(path));
}

TEST(AudioFileProbe, RefusesFilesWithoutPlayableAudio) {
    AudioFixtures fixtures;
    const QString cases[] = {
        fixtures.emptyFile(),
        fixtures.randomBytesFile(),
        fixtures.randomBytesFile("noise.wav", 20000),
        fixtures.textNamedMp3(),
        fixtures.videoOnlyFile(),
        fixtures.pathFor("missing.mp3"),
        fixtures.folder(),
    };
    for (const QString& path : cases) {
        SCOPED_TRACE(path.toStdString());
        AudioFileInfo info;
        info.title = "stale";
        QString error;
        EXPECT_FALSE(AudioFileProbe::probe(path, &info, &error));
        EXPECT_FALSE(info.hasAudio);
        EXPECT_FALSE(error.isEmpty());
        EXPECT_TRUE(info.title.isEmpty()) << "a refused probe must not leave old values";
        EXPECT_FALSE(AudioFileProbe::isValidAudioFile(path));
    }
}

TEST(AudioFileProbe, TruncatedMp3StillProbes) {
    // An interrupted copy: the header still promises three seconds.
    AudioFixtures fixtures;
    AudioFileInfo info;
    EXPECT_TRUE(AudioFileProbe::probe(fixtures.truncatedMp3(), &info, nullptr));
    EXPECT_EQ(info.channels, 2);
    EXPECT_GT(info.durationSeconds, 1.0);
}

TEST(Mp3GaplessInfo, ReadsTheEncoderDelayAndPaddingOfALameFrame) {
    AudioFixtures fixtures;
    const long long written = kRate + 555;
    const media::Mp3GaplessInfo gapless =
        media::Mp3GaplessInfo::read(fixtures.toneFile("mp3", written));
    ASSERT_TRUE(gapless.valid);
    EXPECT_EQ(gapless.samplesPerFrame, 1152);
    EXPECT_GT(gapless.encoderDelay, 0);
    EXPECT_EQ(gapless.audioSamples(), written);
    EXPECT_EQ((written + gapless.encoderDelay + gapless.encoderPadding) % 1152, 0);
}

TEST(Mp3GaplessInfo, FindsNothingWithoutAnInfoFrame) {
    AudioFixtures fixtures;
    AudioFileWriter::Options options;
    options.mp3InfoFrame = false;
    EXPECT_FALSE(media::Mp3GaplessInfo::read(fixtures.toneFile("mp3", kRate, options)).valid);
    EXPECT_FALSE(media::Mp3GaplessInfo::read(fixtures.textNamedMp3()).valid);
    EXPECT_FALSE(media::Mp3GaplessInfo::parse(QByteArray("\xFF\xFB\x90", 3)).valid);
    EXPECT_EQ(media::Mp3GaplessInfo().audioSamples(), -1);
}
