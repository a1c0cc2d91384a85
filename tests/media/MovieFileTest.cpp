// Files through Movie: decoded at the engine's rate and played exactly, and every kind of
// broken file refused with a message (the decoder's own tests go deeper).

#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "media/ToneGenerator.h"
#include "media/VoiceRenderer.h"
#include "tests/media/EngineTestSupport.h"
#include "tests/support/AudioFixtures.h"

#include <QFileInfo>

using media::Movie;

namespace {
constexpr int kRate = testaudio::kRate;
}

class MovieFileTest : public OfflineEngineTest {
protected:
    AudioFixtures _fixtures;
};

TEST_F(MovieFileTest, AFloatWavAtTheEngineRatePlaysBitForBit) {
    media::AudioFileWriter::Options options;
    options.floatSamples = true;
    const QString path = _fixtures.write(QStringLiteral("float.wav"),
                                         media::ToneGenerator::stereoSine(440.0, 660.0, 0.9, kRate),
                                         kRate * 3, options);
    ASSERT_FALSE(path.isEmpty());

    Movie movie;
    QString error;
    ASSERT_TRUE(movie.open(path, &error)) << qPrintable(error);
    EXPECT_DOUBLE_EQ(movie.duration(), 3.0);
    EXPECT_EQ(movie.channelCount(), 2);
    movie.setPosition(1.25);
    ASSERT_TRUE(engine().waitUntilIdle());
    movie.start();
    const std::vector<float> out = pull(kRate); // through the preroll and into the ring

    media::ToneGenerator expected = media::ToneGenerator::stereoSine(440.0, 660.0, 0.9, kRate);
    expected.skipTo(kRate * 5 / 4);
    std::vector<float> reference(size_t(kRate) * 2);
    expected.render(reference.data(), kRate);
    long long mismatches = 0;
    for (size_t i = size_t(media::VoiceRenderer::kDeclickFrames) * 2; i < reference.size(); ++i) {
        mismatches += out[i] != reference[i];
    }
    EXPECT_EQ(mismatches, 0);
    EXPECT_EQ(movie.underrunCount(), 0);
}

TEST_F(MovieFileTest, AMonoFileIsAMonoMovie) {
    const QString path = _fixtures.monoFile(QStringLiteral("flac"));
    ASSERT_FALSE(path.isEmpty());
    Movie movie;
    QString error;
    ASSERT_TRUE(movie.open(path, &error)) << qPrintable(error);
    EXPECT_EQ(movie.channelCount(), 1);
    EXPECT_NEAR(movie.duration(), 1.0, 1.0 / kRate);
}

TEST_F(MovieFileTest, BrokenFilesAreRefusedWithAMessage) {
    const QStringList broken{_fixtures.emptyFile(), _fixtures.randomBytesFile(),
                             _fixtures.textNamedMp3(), _fixtures.videoOnlyFile()};
    for (const QString& path : broken) {
        ASSERT_FALSE(path.isEmpty());
        Movie movie;
        QString error;
        EXPECT_FALSE(movie.open(path, &error)) << qPrintable(path);
        EXPECT_TRUE(error.contains(QFileInfo(path).fileName())) << qPrintable(error);
        EXPECT_FALSE(movie.isOpen());
    }
}
