// What the engine renders, sample by sample, through the offline back end: gain, routing,
// metering, ramps, loops, pause, starts after a position change, and a decoder that
// falls behind.

#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "media/VoiceRenderer.h"
#include "tests/media/EngineTestSupport.h"

#include <algorithm>
#include <cmath>

using media::Movie;

namespace {

constexpr int kDeclick = media::VoiceRenderer::kDeclickFrames;
constexpr int kRate = testaudio::kRate;

float sampleAt(const std::vector<float>& buffer, int channels, long long frame, int channel) {
    return buffer[size_t(frame) * size_t(channels) + size_t(channel)];
}

// First frame whose left or right sample is not zero; -1 when all are silent.
long long firstAudibleFrame(const std::vector<float>& buffer, int channels) {
    for (size_t i = 0; i < buffer.size(); ++i) {
        if (buffer[i] != 0.0f) {
            return (long long)(i / size_t(channels));
        }
    }
    return -1;
}

// Largest change between neighbouring samples of one channel over [from, to).
double largestStep(const std::vector<float>& buffer, int channels, int channel, long long from,
                   long long to) {
    double largest = 0.0;
    for (long long frame = std::max(from, 1LL); frame < to; ++frame) {
        largest = std::max(largest, std::fabs(double(sampleAt(buffer, channels, frame, channel)) -
                                              sampleAt(buffer, channels, frame - 1, channel)));
    }
    return largest;
}

// Decodes normally up to `failAt`, then reports a decoder failure (a file that became
// unreadable while playing).
class FailingSource : public media::AudioSource {
public:
    FailingSource(Samples samples, long long failAt)
        : _samples(std::move(samples))
        , _failAt(failAt) {}
    int channels() const override { return 2; }
    int sampleRate() const override { return kRate; }
    double durationSeconds() const override { return double(durationFrames()) / kRate; }
    long long durationFrames() const override { return (long long)(_samples->size() / 2); }
    bool seekToFrame(long long frame) override {
        _position = frame;
        return true;
    }
    int read(float* interleaved, int maxFrames) override {
        if (_position >= _failAt) {
            return -1;
        }
        const auto count = int(std::min<long long>(maxFrames, _failAt - _position));
        std::copy_n(_samples->data() + _position * 2, count * 2, interleaved);
        _position += count;
        return count;
    }
    std::unique_ptr<media::AudioSource> clone() const override {
        return std::make_unique<FailingSource>(_samples, _failAt);
    }

private:
    Samples _samples;
    long long _failAt;
    long long _position = 0;
};

} // namespace

class MovieRenderTest : public OfflineEngineTest {};

TEST_F(MovieRenderTest, UnityVolumeIsBitExactForAFullScaleTone) {
    const Samples tone = testaudio::sine(kRate * 2, 997.0, 1.0);
    auto movie = openMovie(tone);
    movie->setVolume(255); // trunc(1.0 × 255)
    movie->start();
    const std::vector<float> out = pull(kRate + kRate / 2);
    for (long long frame = 0; frame < kDeclick; ++frame) {
        EXPECT_LE(std::fabs(sampleAt(out, 2, frame, 0)), std::fabs((*tone)[size_t(frame) * 2]));
    }
    long long mismatches = 0;
    for (long long frame = kDeclick; frame < kRate + kRate / 2; ++frame) {
        mismatches += sampleAt(out, 2, frame, 0) != (*tone)[size_t(frame) * 2];
        mismatches += sampleAt(out, 2, frame, 1) != (*tone)[size_t(frame) * 2 + 1];
    }
    EXPECT_EQ(mismatches, 0) << "samples past the start ramp differ from the file";
    EXPECT_EQ(movie->underrunCount(), 0);
}

TEST_F(MovieRenderTest, ChannelTagsPlaceTheVoiceOnChannelsThreeAndFourOfAFourChannelDevice) {
    const Samples audio = testaudio::indexed(kRate);
    auto movie = openMovie(audio);
    ASSERT_TRUE(movie->setOutputDevice(QStringLiteral("Test Device 4ch")));
    ASSERT_TRUE(movie->setChannelTags(Movie::kChannelTagBase + 2, Movie::kChannelTagBase + 3));
    movie->start();
    const std::vector<float> fourChannels = pull(8192, QStringLiteral("Test Device 4ch"));
    const std::vector<float> stereo = pull(8192);
    for (long long frame = kDeclick; frame < 8192; ++frame) {
        ASSERT_EQ(sampleAt(fourChannels, 4, frame, 0), 0.0f) << frame;
        ASSERT_EQ(sampleAt(fourChannels, 4, frame, 1), 0.0f) << frame;
        ASSERT_EQ(sampleAt(fourChannels, 4, frame, 2), (*audio)[size_t(frame) * 2]) << frame;
        ASSERT_EQ(sampleAt(fourChannels, 4, frame, 3), (*audio)[size_t(frame) * 2 + 1]) << frame;
    }
    EXPECT_EQ(firstAudibleFrame(stereo, 2), -1) << "the default device must stay silent";
}

TEST_F(MovieRenderTest, AMonoVoicePlaysOnlyOnItsLeftTag) {
    const Samples mono = testaudio::indexed(kRate, 1);
    auto movie = openMovie(mono, 1);
    EXPECT_EQ(movie->channelCount(), 1);
    // Left on the device's second channel, right on its first: the first must stay silent.
    ASSERT_TRUE(movie->setChannelTags(Movie::kChannelTagBase + 1, Movie::kChannelTagBase));
    movie->start();
    const std::vector<float> out = pull(4096);
    for (long long frame = 0; frame < 4096; ++frame) {
        ASSERT_EQ(sampleAt(out, 2, frame, 0), 0.0f) << frame;
    }
    for (long long frame = kDeclick; frame < 4096; ++frame) {
        ASSERT_EQ(sampleAt(out, 2, frame, 1), (*mono)[size_t(frame)]) << frame;
    }
}

TEST_F(MovieRenderTest, PeakMeterReadsThePeakRenderedSinceThePreviousRead) {
    auto movie = openMovie(testaudio::constant(kRate * 3, 0.5f, -0.25f));
    movie->setMeteringEnabled(true);
    movie->start();
    pull(4096);
    int left = -1;
    int right = -1;
    movie->readPeakLevels(&left, &right);
    EXPECT_EQ(left, 128); // 0.5 × 255 = 127.5
    EXPECT_EQ(right, 64); // 0.25 × 255 = 63.75

    movie->readPeakLevels(&left, &right);
    EXPECT_EQ(left, 0) << "nothing was rendered since the last read";
    EXPECT_EQ(right, 0);

    movie->setVolume(510); // level 2.0: the left side clips the scale, the right doubles
    pull(1024);
    movie->readPeakLevels(&left, &right);
    EXPECT_EQ(left, 255);
    EXPECT_EQ(right, 128);

    movie->setMeteringEnabled(false);
    pull(1024);
    movie->readPeakLevels(&left, &right);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(right, 0);
}

TEST_F(MovieRenderTest, AMonoMovieMetersNothingOnTheRight) {
    auto movie = openMovie(testaudio::constant(kRate, 0.5f, 0.0f, 1), 1);
    movie->setMeteringEnabled(true);
    movie->start();
    pull(2048);
    int left = 0;
    int right = -1;
    movie->readPeakLevels(&left, &right);
    EXPECT_EQ(left, 128);
    EXPECT_EQ(right, 0);
}

TEST_F(MovieRenderTest, AVolumeStepIsRampedAcrossOnePeriod) {
    auto movie = openMovie(testaudio::constant(kRate * 3, 0.5f, 0.5f));
    movie->start();
    pull(kPeriod * 4);
    movie->setVolume(0);
    const std::vector<float> down = pull(kPeriod * 2);
    // Linear from 0.5 to 0 across one period: no step larger than 0.5 / period.
    EXPECT_LE(largestStep(down, 2, 0, 0, kPeriod), 0.5 / kPeriod + 1e-6);
    EXPECT_GT(sampleAt(down, 2, kPeriod / 2, 0), 0.2f) << "the change must not be instant";
    EXPECT_EQ(sampleAt(down, 2, kPeriod - 1, 0), 0.0f) << "the ramp ends within the period";
    EXPECT_EQ(firstAudibleFrame({down.begin() + kPeriod * 2, down.end()}, 2), -1);

    movie->setVolume(255);
    const std::vector<float> up = pull(kPeriod * 2);
    EXPECT_LE(largestStep(up, 2, 1, 0, kPeriod * 2), 0.5 / kPeriod + 1e-6);
    EXPECT_EQ(sampleAt(up, 2, kPeriod - 1, 1), 0.5f);
}

TEST_F(MovieRenderTest, StartAndStopFadeInsteadOfClicking) {
    auto movie = openMovie(testaudio::constant(kRate * 3, 0.8f, -0.8f));
    movie->start();
    const std::vector<float> started = pull(kPeriod * 2);
    EXPECT_LE(largestStep(started, 2, 0, 0, kPeriod * 2), 0.8 / kDeclick + 1e-6);
    EXPECT_LE(std::fabs(sampleAt(started, 2, 0, 0)), 0.8f / kDeclick + 1e-6f);
    EXPECT_EQ(sampleAt(started, 2, kDeclick, 0), 0.8f);

    movie->stop();
    const std::vector<float> stopped = pull(kPeriod * 2);
    EXPECT_LE(largestStep(stopped, 2, 1, 0, kPeriod * 2), 0.8 / kDeclick + 1e-6);
    EXPECT_EQ(firstAudibleFrame({stopped.begin() + kDeclick * 2, stopped.end()}, 2), -1);
}

TEST_F(MovieRenderTest, ALoopingMovieRestartsWithoutAGapAtTheSeam) {
    // Whole cycles of 480 Hz, so the file's end joins its start smoothly; once short
    // (within the preroll), once long (through the decode-ahead ring).
    for (const long long length : {30000LL, 120000LL}) {
        const Samples tone = testaudio::sine(length, 480.0, 0.9);
        auto movie = openMovie(tone);
        movie->setLooping(true);
        movie->start();
        const long long total = length * 2 + 5000;
        const std::vector<float> out = pull(int(total));
        long long mismatches = 0;
        for (long long frame = kDeclick; frame < total; ++frame) {
            const size_t source = size_t(frame % length) * 2;
            mismatches += sampleAt(out, 2, frame, 0) != (*tone)[source];
            mismatches += sampleAt(out, 2, frame, 1) != (*tone)[source + 1];
        }
        EXPECT_EQ(mismatches, 0) << "length " << length;
        EXPECT_LE(largestStep(out, 2, 0, kDeclick, total), 2 * M_PI * 480.0 / kRate * 0.9 + 1e-4);
        EXPECT_FALSE(movie->isDone());
        EXPECT_NEAR(movie->position(), double(total % length) / kRate, 1e-9);
        movie->close();
    }
}

TEST_F(MovieRenderTest, ALoopingMovieGoesOnFromItsStartPositionNotTheFileStart) {
    // A clip's in point is the movie's start position: at the file's end the loop goes on
    // from there, so not one frame before it is heard. Once with the start inside the
    // last second (the preroll reaches the end), once well before it.
    for (const long long startFrame : {kRate * 3 / 2, kRate / 2}) {
        const long long length = kRate * 2;
        const Samples audio = testaudio::indexed(length);
        auto movie = openMovie(audio);
        movie->setPosition(double(startFrame) / kRate);
        movie->setLooping(true);
        movie->start();
        const long long cycle = length - startFrame;
        const long long total = cycle * 2 + 5000;
        const std::vector<float> out = pull(int(total));
        long long mismatches = 0;
        for (long long frame = kDeclick; frame < total; ++frame) {
            const long long source = startFrame + frame % cycle;
            mismatches += sampleAt(out, 2, frame, 0) != float(testaudio::indexedLeft(source));
        }
        EXPECT_EQ(mismatches, 0) << "start " << startFrame;
        EXPECT_FALSE(movie->isDone());
        movie->close();
    }
}

TEST_F(MovieRenderTest, PauseKeepsThePositionAndResumesFromIt) {
    const Samples audio = testaudio::indexed(kRate * 4);
    auto movie = openMovie(audio);
    movie->start();
    pull(kRate / 2);
    movie->setRate(0.0);
    EXPECT_EQ(movie->rate(), 0.0);
    pull(kPeriod); // the stop fade
    const double paused = movie->position();
    const std::vector<float> silent = pull(kRate / 4);
    EXPECT_EQ(firstAudibleFrame(silent, 2), -1);
    EXPECT_EQ(movie->position(), paused);
    EXPECT_NEAR(paused, (kRate / 2 + kDeclick) / double(kRate), 1e-9)
        << "the stop fade plays on for its own length, then the playhead halts";

    movie->setRate(1.0);
    EXPECT_EQ(movie->rate(), 1.0);
    const std::vector<float> resumed = pull(4096);
    const auto pausedFrame = (long long)std::llround(paused * kRate);
    for (long long frame = kDeclick; frame < 4096; ++frame) {
        ASSERT_EQ(sampleAt(resumed, 2, frame, 0), (*audio)[size_t(pausedFrame + frame) * 2])
            << frame;
    }
}

TEST_F(MovieRenderTest, StartAfterAStartPositionChangePlaysTheNewPositionFromItsFirstFrame) {
    const Samples audio = testaudio::indexed(kRate * 4);
    auto movie = openMovie(audio);
    ASSERT_TRUE(engine().waitUntilIdle());
    // Started at once, before the background refresh of the preroll could run.
    movie->setPosition(1.5);
    EXPECT_DOUBLE_EQ(movie->position(), 1.5);
    movie->start();
    std::vector<float> out;
    for (int attempt = 0; attempt < 50 && firstAudibleFrame(out, 2) < 0; ++attempt) {
        out = pullNow(kPeriod);
        engine().waitUntilIdle();
    }
    const long long first = firstAudibleFrame(out, 2);
    ASSERT_GE(first, 0) << "the movie never sounded";
    const long long start = kRate * 3 / 2;
    EXPECT_EQ(sampleAt(out, 2, first, 0), float(testaudio::indexedLeft(start)) / kDeclick)
        << "the first frame heard is the new position's first frame";
    const std::vector<float> rest = pull(4096);
    const long long played = kPeriod - first;
    for (long long frame = 0; frame < 4096; ++frame) {
        ASSERT_EQ(sampleAt(rest, 2, frame, 0),
                  (*audio)[size_t(start + played + frame) * 2] *
                      std::min(1.0f, float(played + frame + 1) / kDeclick))
            << frame;
    }
}

TEST_F(MovieRenderTest, APreparedStartSoundsInTheFirstPeriod) {
    const Samples audio = testaudio::indexed(kRate * 4);
    auto movie = openMovie(audio);
    movie->setPosition(2.25);
    ASSERT_TRUE(engine().waitUntilIdle());
    EXPECT_TRUE(movie->isPrerollReady());
    movie->start();
    const std::vector<float> out = pullNow(kPeriod);
    EXPECT_EQ(firstAudibleFrame(out, 2), 0);
    EXPECT_EQ(sampleAt(out, 2, kDeclick, 0), (*audio)[size_t(kRate * 9 / 4 + kDeclick) * 2]);
    EXPECT_EQ(movie->underrunCount(), 0);
}

TEST_F(MovieRenderTest, JumpingBackToTheStartPositionWhilePlayingIsGapless) {
    const Samples audio = testaudio::indexed(kRate * 6);
    auto movie = openMovie(audio);
    movie->setPosition(1.0);
    movie->start();
    pull(kRate * 2); // now at 3.0 s, well into the decode-ahead ring
    EXPECT_EQ(movie->underrunCount(), 0);
    EXPECT_DOUBLE_EQ(movie->position(), 3.0);
    movie->setPosition(1.0);
    const std::vector<float> out = pullNow(kPeriod * 4);
    for (long long frame = 0; frame < kPeriod * 4; ++frame) {
        ASSERT_GT(sampleAt(out, 2, frame, 0), 0.0f) << "silence at " << frame;
    }
    for (long long frame = kDeclick; frame < kPeriod * 4; ++frame) {
        ASSERT_EQ(sampleAt(out, 2, frame, 0), (*audio)[size_t(kRate + frame) * 2]) << frame;
    }
    EXPECT_EQ(movie->underrunCount(), 0);
}

TEST_F(MovieRenderTest, ASeekWhilePlayingContinuesFromTheNewPosition) {
    const Samples audio = testaudio::indexed(kRate * 6);
    auto movie = openMovie(audio);
    movie->start();
    pull(kRate / 2);
    movie->setPosition(4.0);
    EXPECT_DOUBLE_EQ(movie->position(), 4.0);
    std::vector<float> out = pullNow(kPeriod); // the old stream fades out here
    ASSERT_TRUE(engine().waitUntilIdle());
    const std::vector<float> later = pull(8192);
    out.insert(out.end(), later.begin(), later.end());
    // Where the new stream started: the frame that plays 4.0 s + 1000 frames.
    const long long target = 4LL * kRate;
    long long marker = -1;
    for (long long frame = 0; frame < (long long)(out.size() / 2); ++frame) {
        if (sampleAt(out, 2, frame, 0) == (*audio)[size_t(target + 1000) * 2]) {
            marker = frame;
            break;
        }
    }
    ASSERT_GE(marker, 1000) << "the new position never played";
    const long long start = marker - 1000;
    for (long long frame = kDeclick; frame < start; ++frame) {
        ASSERT_EQ(sampleAt(out, 2, frame, 0), 0.0f) << "only silence while seeking: " << frame;
    }
    for (long long frame = start + kDeclick; frame < (long long)(out.size() / 2); ++frame) {
        ASSERT_EQ(sampleAt(out, 2, frame, 0), (*audio)[size_t(target + frame - start) * 2])
            << frame;
    }
    EXPECT_LE(largestStep(out, 2, 0, 1, start + kDeclick), 1.0 / kDeclick + 1e-5)
        << "the fade out and the fade in do not click";
    EXPECT_EQ(movie->underrunCount(), 0) << "waiting for a seek is not an underrun";
}

TEST_F(MovieRenderTest, AFallingBehindDecoderGivesSilenceAndCountsIt) {
    const Samples audio = testaudio::indexed(kRate * 4);
    auto gate = std::make_shared<GatedSource::Gate>();
    gate->allow(kRate); // exactly the preroll
    auto movie = std::make_unique<Movie>();
    ASSERT_TRUE(movie->open(std::make_unique<GatedSource>(audio, 2, gate)));
    ASSERT_TRUE(engine().waitUntilIdle());
    ASSERT_TRUE(movie->isPrerollReady());
    movie->start();
    const std::vector<float> out = pullNow(kRate + kRate / 2);
    EXPECT_EQ(sampleAt(out, 2, kRate - 1, 0), (*audio)[size_t(kRate - 1) * 2]);
    EXPECT_EQ(firstAudibleFrame({out.begin() + kRate * 2, out.end()}, 2), -1)
        << "missing frames play as silence";
    EXPECT_GT(movie->underrunCount(), 0);
    EXPECT_NEAR(movie->position(), 1.0, 1e-9) << "the playhead waits for the missing frames";

    gate->allow(kRate * 4);
    const int underruns = movie->underrunCount();
    const std::vector<float> after = pull(4096);
    for (long long frame = 0; frame < 4096; ++frame) {
        ASSERT_EQ(sampleAt(after, 2, frame, 0), (*audio)[size_t(kRate + frame) * 2]) << frame;
    }
    EXPECT_EQ(movie->underrunCount(), underruns);
}

TEST_F(MovieRenderTest, AMovieThatEndsHaltsAndReportsDone) {
    const Samples audio = testaudio::indexed(kRate * 3 / 2);
    auto movie = openMovie(audio);
    movie->start();
    const std::vector<float> out = pull(kRate * 2);
    EXPECT_TRUE(movie->isDone());
    EXPECT_EQ(movie->rate(), 0.0);
    EXPECT_DOUBLE_EQ(movie->position(), movie->duration());
    EXPECT_EQ(sampleAt(out, 2, kRate * 3 / 2 - 1, 0), (*audio)[size_t(kRate * 3 / 2 - 1) * 2]);
    EXPECT_EQ(firstAudibleFrame({out.begin() + kRate * 3, out.end()}, 2), -1);

    movie->start(); // at the end and not looping: done again at once
    pull(kPeriod);
    EXPECT_TRUE(movie->isDone());

    movie->setPosition(0.0);
    EXPECT_FALSE(movie->isDone());
    movie->start();
    const std::vector<float> again = pull(kPeriod * 2);
    EXPECT_EQ(sampleAt(again, 2, kDeclick, 0), (*audio)[size_t(kDeclick) * 2]);
}

TEST_F(MovieRenderTest, SeveralVoicesOnOneDeviceAddUp) {
    auto first = openMovie(testaudio::constant(kRate, 0.25f, 0.0f));
    auto second = openMovie(testaudio::constant(kRate, 0.5f, 0.0f));
    second->setVolume(127); // level 127 / 255
    first->start();
    second->start();
    const std::vector<float> out = pull(1024);
    EXPECT_FLOAT_EQ(sampleAt(out, 2, 512, 0), 0.25f + 0.5f * float(127.0 / 255.0));
    EXPECT_EQ(sampleAt(out, 2, 512, 1), 0.0f);
}

TEST_F(MovieRenderTest, ADecoderFailureEndsTheMovieEvenWhenItLoops) {
    const Samples audio = testaudio::indexed(kRate * 3);
    auto movie = std::make_unique<Movie>();
    ASSERT_TRUE(movie->open(std::make_unique<FailingSource>(audio, kRate * 3 / 2)));
    movie->setLooping(true);
    movie->start();
    const std::vector<float> out = pull(kRate * 5 / 2);
    EXPECT_TRUE(movie->isDone()) << "a looping movie whose file fails must not hang silent";
    EXPECT_DOUBLE_EQ(movie->position(), 1.5);
    EXPECT_EQ(sampleAt(out, 2, kRate * 3 / 2 - 1, 0), (*audio)[size_t(kRate * 3 / 2 - 1) * 2]);
    EXPECT_EQ(firstAudibleFrame({out.begin() + kRate * 3, out.end()}, 2), -1);
}

TEST_F(MovieRenderTest, ARewindBetweenPlaysKeepsThePreparedStartWithoutDecoding) {
    const Samples audio = testaudio::indexed(kRate * 4);
    auto gate = std::make_shared<GatedSource::Gate>();
    gate->allow(kRate * 4);
    auto movie = std::make_unique<Movie>();
    ASSERT_TRUE(movie->open(std::make_unique<GatedSource>(audio, 2, gate)));
    movie->setPosition(1.5);
    ASSERT_TRUE(engine().waitUntilIdle());
    gate->allow(0); // from here on the decoder cannot deliver a single frame

    movie->setPosition(0.0); // the rewind after a stop
    movie->setPosition(1.5); // and the in point again before the next start
    EXPECT_TRUE(movie->isPrerollReady());
    movie->start();
    const std::vector<float> out = pullNow(kPeriod);
    EXPECT_EQ(sampleAt(out, 2, 0, 0), float(testaudio::indexedLeft(kRate * 3 / 2)) / kDeclick);
    EXPECT_EQ(sampleAt(out, 2, kDeclick, 0), (*audio)[size_t(kRate * 3 / 2 + kDeclick) * 2]);
    EXPECT_EQ(movie->underrunCount(), 0);
    gate->allow(kRate * 4);
}
