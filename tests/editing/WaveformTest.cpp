// The waveform behind the editor's position bar: the outline kept per bucket and read
// back per pixel column, the read off the main thread from a real file, and what the bar
// draws where.

#include "editing/ClipWaveformView.h"
#include "editing/WaveformPeakReader.h"
#include "editing/WaveformPeaks.h"
#include "media/AudioSource.h"
#include "tests/editing/EditorTestSupport.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <vector>

namespace {

// Interleaved stereo frames: left `left`, right `right`.
std::vector<float> frames(int count, float left, float right) {
    std::vector<float> samples;
    for (int frame = 0; frame < count; ++frame) {
        samples.push_back(left);
        samples.push_back(right);
    }
    return samples;
}

// An in-memory source of `total` mono frames holding their index / total.
class RampSource : public media::AudioSource {
public:
    explicit RampSource(long long total)
        : _total(total) {}
    int channels() const override { return 1; }
    int sampleRate() const override { return 1000; }
    double durationSeconds() const override { return double(_total) / 1000.0; }
    long long durationFrames() const override { return _total; }
    bool seekToFrame(long long frame) override {
        _position = frame;
        return true;
    }
    int read(float* interleaved, int maxFrames) override {
        if (failAt >= 0 && _position >= failAt) {
            return -1;
        }
        int count = 0;
        while (count < maxFrames && _position < _total) {
            interleaved[count++] = float(double(_position++) / double(_total));
        }
        return count;
    }
    std::unique_ptr<media::AudioSource> clone() const override { return nullptr; }
    long long failAt = -1;

private:
    long long _total;
    long long _position = 0;
};

// ---- The outline ----

TEST(WaveformPeaks, BucketsStayFineForShortFilesAndBoundedForLongOnes) {
    EXPECT_EQ(WaveformPeaks::bucketFramesFor(0), WaveformPeaks::kMinimumBucketFrames);
    EXPECT_EQ(WaveformPeaks::bucketFramesFor(44100), WaveformPeaks::kMinimumBucketFrames);
    const long long hour = 3600LL * 48000;
    const WaveformPeaks peaks(48000, hour);
    EXPECT_LE(peaks.bucketCount(), WaveformPeaks::kMaximumBuckets);
    EXPECT_GE(peaks.bucketFrames() * peaks.bucketCount(), hour);
}

TEST(WaveformPeaks, EachBucketKeepsTheExtremesOfAllChannels) {
    WaveformPeaks peaks(1000, 200); // buckets of 32 frames
    ASSERT_EQ(peaks.bucketFrames(), 32);
    const std::vector<float> quiet = frames(64, 0.1f, -0.2f);
    peaks.addFrames(quiet.data(), 64, 2);
    const std::vector<float> loud = frames(40, 0.9f, 0.3f);
    peaks.addFrames(loud.data(), 40, 2);
    EXPECT_EQ(peaks.filledBuckets(), 4);
    EXPECT_FALSE(peaks.isComplete());

    float low = 0;
    float high = 0;
    ASSERT_TRUE(peaks.rangeBetween(0.0, 0.064, &low, &high)); // the first two buckets
    EXPECT_FLOAT_EQ(low, -0.2f);
    EXPECT_FLOAT_EQ(high, 0.1f);
    // The third bucket holds the switch from quiet to loud.
    ASSERT_TRUE(peaks.rangeBetween(0.070, 0.071, &low, &high));
    EXPECT_FLOAT_EQ(low, 0.3f);
    EXPECT_FLOAT_EQ(high, 0.9f);
    // Not decoded yet.
    EXPECT_FALSE(peaks.rangeBetween(0.150, 0.2, &low, &high));
    EXPECT_FALSE(peaks.rangeBetween(0.05, 0.05, &low, &high));

    // More frames than the file announced are not taken.
    const std::vector<float> rest = frames(200, 1.0f, 1.0f);
    peaks.addFrames(rest.data(), 200, 2);
    EXPECT_TRUE(peaks.isComplete());
    EXPECT_EQ(peaks.filledBuckets(), peaks.bucketCount());
}

TEST(WaveformPeakReader, ReadsEveryBlockToTheEndAndStopsWhenCancelledOrBroken) {
    RampSource source(20000);
    WaveformPeaks peaks(1000, 20000);
    std::atomic<bool> cancelled{false};
    int blocks = 0;
    EXPECT_TRUE(WaveformPeakReader::readBlocks(source, cancelled,
                                               [&](const float* samples, int count, int channels) {
                                                   peaks.addFrames(samples, count, channels);
                                                   ++blocks;
                                               }));
    EXPECT_EQ(blocks, 3); // 8192 + 8192 + 3616
    EXPECT_TRUE(peaks.isComplete());
    float low = 0;
    float high = 0;
    ASSERT_TRUE(peaks.rangeBetween(19.0, 20.0, &low, &high));
    EXPECT_NEAR(high, 1.0f, 1e-3);

    RampSource again(20000);
    int seen = 0;
    EXPECT_FALSE(WaveformPeakReader::readBlocks(again, cancelled, [&](const float*, int, int) {
        if (++seen == 1) {
            cancelled = true;
        }
    }));
    EXPECT_EQ(seen, 1);

    RampSource broken(20000);
    broken.failAt = 10000;
    std::atomic<bool> go{false};
    EXPECT_FALSE(WaveformPeakReader::readBlocks(broken, go, [](const float*, int, int) {}));
}

class WaveformFileTest : public ClipEditorTest {};

TEST_F(WaveformFileTest, AFileIsOutlinedOffTheMainThread) {
    const QString path = envelopeFile(QStringLiteral("diamond.wav"), 4.0);
    WaveformPeakReader reader;
    QSignalSpy finished(&reader, &WaveformPeakReader::finished);
    reader.read(path);
    EXPECT_TRUE(reader.isReading());
    ASSERT_TRUE(QTest::qWaitFor([&] { return finished.count() == 1; }, 20000));
    EXPECT_FALSE(reader.isReading());
    EXPECT_TRUE(reader.errorString().isEmpty());
    const std::shared_ptr<const WaveformPeaks> peaks = reader.peaks();
    ASSERT_NE(peaks, nullptr);
    EXPECT_TRUE(peaks->isComplete());
    EXPECT_EQ(peaks->sampleRate(), 44100); // the file's own rate
    // The outline follows the envelope: loudest in the middle, quiet at the ends.
    for (const double at : {0.5, 1.0, 2.0, 3.0, 3.5}) {
        float low = 0;
        float high = 0;
        ASSERT_TRUE(peaks->rangeBetween(at - 0.01, at + 0.01, &low, &high));
        EXPECT_NEAR(high, envelopePeak(at, 4.0), 0.02) << at;
        EXPECT_NEAR(low, -envelopePeak(at, 4.0), 0.02) << at;
    }
}

TEST_F(WaveformFileTest, AnUnreadableFileEndsWithAReasonAndACancelledReadIsForgotten) {
    WaveformPeakReader reader;
    QSignalSpy finished(&reader, &WaveformPeakReader::finished);
    reader.read(brokenFile());
    ASSERT_TRUE(QTest::qWaitFor([&] { return finished.count() == 1; }, 20000));
    EXPECT_FALSE(reader.errorString().isEmpty());
    EXPECT_EQ(reader.peaks(), nullptr);

    reader.read(envelopeFile(QStringLiteral("long.wav"), 30.0));
    reader.cancel();
    EXPECT_FALSE(reader.isReading());
    EXPECT_EQ(reader.peaks(), nullptr);
    QTest::qWait(2 * WaveformPeakReader::kPollMilliseconds);
    EXPECT_EQ(finished.count(), 1);
}

// ---- The position bar ----

TEST(ClipWaveformView, TimesMapAcrossTheWholeWidthAtAnyWidth) {
    ClipWaveformView bar;
    bar.setFileDuration(60.0);
    for (const int width : {161, 601, 1201}) {
        bar.resize(width, 80);
        EXPECT_EQ(bar.xForSeconds(0.0), 1);
        EXPECT_EQ(bar.xForSeconds(60.0), width - 2);
        EXPECT_NEAR(bar.secondsForX(bar.xForSeconds(25.0)), 25.0, 60.0 / (width - 3));
        EXPECT_EQ(bar.secondsForX(-50), 0.0);
        EXPECT_EQ(bar.secondsForX(width + 50), 60.0);
    }
}

TEST(ClipWaveformView, MarksThePointsDimsWhatIsCutAndDrawsThePlayheadOnlyWithAFile) {
    ClipWaveformView bar;
    bar.resize(601, 90);
    const QImage empty = bar.grab().toImage();
    const QColor playhead(255, 214, 0);
    EXPECT_EQ(OutputsFixture::pixelsNear(empty, empty.rect(), playhead, 10), 0);

    bar.setFileDuration(60.0);
    bar.setInPoint(15.0);
    bar.setOutPoint(15.0);
    bar.setPlayheadPosition(30.0);
    WaveformPeaks peaks(1000, 60000);
    const std::vector<float> loud = frames(60000, 0.8f, -0.8f);
    peaks.addFrames(loud.data(), 60000, 2);
    bar.setPeaks(std::make_shared<const WaveformPeaks>(peaks));
    const QImage image = bar.grab().toImage();

    const int inX = bar.xForSeconds(15.0);
    const int outX = bar.xForSeconds(45.0);
    const QRect column(inX, 20, 1, 60);
    EXPECT_GT(OutputsFixture::pixelsNear(image, column, QColor(60, 200, 90), 10), 50);
    EXPECT_GT(OutputsFixture::pixelsNear(image, QRect(outX, 20, 1, 60), QColor(235, 70, 60), 10),
              50);
    EXPECT_GT(
        OutputsFixture::pixelsNear(image, QRect(bar.xForSeconds(30.0), 20, 1, 60), playhead, 10),
        50);
    // The played part is drawn brighter than the parts cut off.
    const QColor inside = image.pixelColor(bar.xForSeconds(20.0), 45);
    const QColor outside = image.pixelColor(bar.xForSeconds(5.0), 45);
    EXPECT_GT(inside.lightness(), outside.lightness() + 40);
}

} // namespace
