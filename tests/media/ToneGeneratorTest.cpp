// Generated tones: what the fixtures, the demo wall and the benchmark files are made of.

#include "media/ToneGenerator.h"
#include "tests/media/DecodeTestSupport.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

using media::ToneGenerator;

namespace {

std::vector<float> render(ToneGenerator generator, int frames) {
    std::vector<float> samples(size_t(frames) * generator.channels());
    generator.render(samples.data(), frames);
    return samples;
}

double peak(const std::vector<float>& samples) {
    double largest = 0.0;
    for (float sample : samples) {
        largest = std::max(largest, std::fabs(double(sample)));
    }
    return largest;
}

} // namespace

TEST(ToneGenerator, SineHasItsFrequencyAndAmplitude) {
    const std::vector<float> samples = render(ToneGenerator::sine(1000.0, 0.25, 48000), 48000);
    EXPECT_NEAR(peak(samples), 0.25, 1e-6);
    EXPECT_NEAR(measuredFrequency(samples, 1, 0, 48000, 0, 48000), 1000.0, 0.01);
    EXPECT_FLOAT_EQ(samples[0], 0.0f) << "a sine starts at zero, so files start without a click";
}

TEST(ToneGenerator, StereoSineHasADifferentToneOnEachSide) {
    const ToneGenerator generator = ToneGenerator::stereoSine(440.0, 660.0, 0.5, 44100);
    EXPECT_EQ(generator.channels(), 2);
    const std::vector<float> samples = render(generator, 44100);
    EXPECT_NEAR(measuredFrequency(samples, 2, 0, 44100, 0, 44100), 440.0, 0.01);
    EXPECT_NEAR(measuredFrequency(samples, 2, 1, 44100, 0, 44100), 660.0, 0.01);

    const std::vector<float> mono = render(ToneGenerator::sine(440.0, 0.5, 44100, 2), 100);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(mono[2 * i], mono[2 * i + 1]) << "a two-channel sine is the same on both";
    }
}

TEST(ToneGenerator, ChunksAndSkipsGiveTheSameSamplesAsOneRender) {
    ToneGenerator whole = ToneGenerator::sweep(50.0, 5000.0, 0.1, 0.8, 48000, 2);
    const std::vector<float> once = render(whole, 6000);

    ToneGenerator pieces = whole;
    std::vector<float> chunked(once.size());
    int done = 0;
    for (int chunk : {333, 1, 2666, 3000}) {
        pieces.render(chunked.data() + 2 * done, chunk);
        done += chunk;
    }
    EXPECT_EQ(pieces.position(), 6000);
    EXPECT_EQ(chunked, once);

    ToneGenerator skipped = whole;
    skipped.skipTo(4321);
    const std::vector<float> tail = render(skipped, 100);
    EXPECT_TRUE(std::equal(tail.begin(), tail.end(), once.begin() + 2 * 4321));
}

TEST(ToneGenerator, SilenceIsDigitalZero) {
    const std::vector<float> samples = render(ToneGenerator::silence(48000, 2), 4800);
    EXPECT_EQ(samples.size(), 9600u);
    EXPECT_EQ(peak(samples), 0.0);
}

TEST(ToneGenerator, SweepRisesSmoothlyAndHoldsItsEndFrequency) {
    constexpr int kRate = 48000;
    const std::vector<float> samples =
        render(ToneGenerator::sweep(100.0, 1600.0, 2.0, 0.5, kRate), 3 * kRate);
    // Exponential: a quarter of the way it has doubled, halfway it is at 400 Hz.
    EXPECT_NEAR(measuredFrequency(samples, 1, 0, kRate, kRate - 2400, kRate + 2400), 400.0, 10.0);
    EXPECT_LT(measuredFrequency(samples, 1, 0, kRate, 0, 4800), 115.0);
    EXPECT_NEAR(measuredFrequency(samples, 1, 0, kRate, 2 * kRate, 3 * kRate), 1600.0, 0.1);
    // No jumps anywhere, not even where the sweep ends.
    double largestStep = 0.0;
    for (size_t i = 1; i < samples.size(); ++i) {
        largestStep = std::max(largestStep, std::fabs(double(samples[i]) - samples[i - 1]));
    }
    EXPECT_LE(largestStep, 0.5 * 2.0 * std::numbers::pi * 1600.0 / kRate * 1.01);
}
