// The audio file writer: every format it offers, and nothing half-written when it fails.

#include "media/AudioFileWriter.h"
#include "media/AudioFileInfo.h"
#include "media/AudioFileProbe.h"
#include "media/ToneGenerator.h"
#include "tests/support/AudioFixtures.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <vector>

using media::AudioFileInfo;
using media::AudioFileProbe;
using media::AudioFileWriter;
using media::ToneGenerator;

namespace {

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(AudioFileWriter, WritesEveryOfferedFormat) {
    AudioFixtures fixtures;
    for (const QString& extension : AudioFileWriter::supportedExtensions()) {
        SCOPED_TRACE(extension.toStdString());
        const QString path =
            fixtures.write("mono." + extension, ToneGenerator::sine(440.0, 0.5, 22050, 1), 11025);
        AudioFileInfo info;
        QString error;
        ASSERT_TRUE(AudioFileProbe::probe(path, &info, &error)) << error.toStdString();
        EXPECT_EQ(info.channels, 1);
        EXPECT_EQ(info.sampleRate, 22050);
        EXPECT_NEAR(info.durationSeconds, 0.5, 1152.0 / 22050);
    }
}

TEST(AudioFileWriter, RefusesWhatItCannotWriteAndLeavesNothing) {
    AudioFixtures fixtures;
    AudioFileWriter writer;
    QString error;
    EXPECT_FALSE(writer.open(fixtures.pathFor("tone.xyz"), {}, &error));
    EXPECT_TRUE(error.contains("xyz")) << error.toStdString();

    AudioFileWriter::Options threeChannels;
    threeChannels.channels = 3;
    error.clear();
    EXPECT_FALSE(writer.open(fixtures.pathFor("tone.wav"), threeChannels, &error));
    EXPECT_FALSE(error.isEmpty());

    error.clear();
    EXPECT_FALSE(writer.open(fixtures.pathFor("no/such/folder/tone.wav"), {}, &error));
    EXPECT_FALSE(error.isEmpty());

    const float frame[2] = {0.0f, 0.0f};
    error.clear();
    EXPECT_FALSE(writer.write(frame, 1, &error)) << "nothing is open";
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(writer.finish(&error));
    EXPECT_TRUE(filesIn(fixtures.folder()).isEmpty())
        << filesIn(fixtures.folder()).join(", ").toStdString();
}

TEST(AudioFileWriter, AbandonedWriteKeepsTheOldFile) {
    AudioFixtures fixtures;
    const QString path = fixtures.pathFor("keep.mp3");
    {
        QFile old(path);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("the old file");
    }
    std::vector<float> silence(2 * 4096, 0.0f);
    {
        AudioFileWriter writer;
        QString error;
        ASSERT_TRUE(writer.open(path, {}, &error)) << error.toStdString();
        ASSERT_TRUE(writer.write(silence.data(), 4096, &error));
        // Destroyed without finish(): an interrupted export.
    }
    EXPECT_EQ(contentsOf(path), "the old file");
    EXPECT_EQ(filesIn(fixtures.folder()), QStringList{"keep.mp3"}) << "no temporary file left";

    AudioFileWriter writer;
    QString error;
    ASSERT_TRUE(writer.open(path, {}, &error));
    ASSERT_TRUE(writer.write(silence.data(), 4096, &error));
    ASSERT_TRUE(writer.finish(&error)) << error.toStdString();
    EXPECT_TRUE(AudioFileProbe::isValidAudioFile(path)) << "a finished write replaces it";
    EXPECT_EQ(filesIn(fixtures.folder()), QStringList{"keep.mp3"});
}

TEST(AudioFileWriter, WritesInChunksOfAnySize) {
    // Odd chunk sizes straddle the encoder's frames; the file holds every frame once.
    AudioFixtures fixtures;
    const QString path = fixtures.pathFor("chunks.flac");
    ToneGenerator tone = ToneGenerator::sine(500.0, 0.5, 48000, 2);
    AudioFileWriter::Options options;
    options.sampleRate = 48000;
    AudioFileWriter writer;
    QString error;
    ASSERT_TRUE(writer.open(path, options, &error));
    long long written = 0;
    for (int chunk : {1, 4607, 4608, 10000, 3, 333}) {
        std::vector<float> samples(2 * size_t(chunk));
        tone.render(samples.data(), chunk);
        ASSERT_TRUE(writer.write(samples.data(), chunk, &error)) << error.toStdString();
        written += chunk;
    }
    ASSERT_TRUE(writer.finish(&error)) << error.toStdString();
    AudioFileInfo info;
    ASSERT_TRUE(AudioFileProbe::probe(path, &info, &error));
    EXPECT_EQ(static_cast<long long>(info.durationSeconds * 48000 + 0.5), written);
}
