#pragma once

// Shared pieces of the engine tests: an engine on the offline back end whose devices the
// test pulls frame by frame, generated test signals, and a source whose decoding can be
// held back to make the decoder fall behind.

#include "media/AudioSource.h"

#include <QString>
#include <condition_variable>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <vector>

namespace media {
class AudioEngine;
class Movie;
class OfflineDriver;
} // namespace media

using Samples = std::shared_ptr<const std::vector<float>>;

namespace testaudio {
constexpr int kRate = 48000;
// Every frame carries its own index: left = (index mod 65536) / 65536 + 1/131072, right
// the negative; exact in float, never zero, so a test reads back which frame played.
Samples indexed(long long frames, int channels = 2);
double indexedLeft(long long frame);
// A sine of `frequency` Hz and peak `amplitude`, the right side at a second frequency.
Samples sine(long long frames, double frequency, double amplitude, int channels = 2);
// The same value on every frame (per side).
Samples constant(long long frames, float left, float right, int channels = 2);
} // namespace testaudio

// Holds back decoding: read() delivers frames only below the allowance and blocks at it
// until the test raises it.
class GatedSource : public media::AudioSource {
public:
    struct Gate {
        std::mutex mutex;
        std::condition_variable changed;
        long long allowed = 0;
        void allow(long long frames);
    };

    GatedSource(Samples samples, int channels, std::shared_ptr<Gate> gate);

    int channels() const override { return _channels; }
    int sampleRate() const override { return testaudio::kRate; }
    double durationSeconds() const override { return double(durationFrames()) / testaudio::kRate; }
    long long durationFrames() const override;
    bool seekToFrame(long long frame) override;
    int read(float* interleaved, int maxFrames) override;
    std::unique_ptr<media::AudioSource> clone() const override;

private:
    Samples _samples;
    int _channels;
    std::shared_ptr<Gate> _gate;
    long long _position = 0;
};

// A fixture with an engine on the offline back end: "Offline Output" (stereo, default)
// and "Test Device 4ch", 48 kHz, 256-frame periods, no device-watch thread.
class OfflineEngineTest : public ::testing::Test {
protected:
    static constexpr int kPeriod = 256;

    void SetUp() override;
    void TearDown() override;

    media::AudioEngine& engine() { return *_engine; }
    media::OfflineDriver& driver() { return *_driver; }

    // A movie over `samples` (`channels` per frame), opened on the engine.
    std::unique_ptr<media::Movie> openMovie(Samples samples, int channels = 2);
    // Pulls `frames` frames from the named device, letting the decoders catch up
    // between pieces (so no underrun can happen unless a test holds a decoder back).
    std::vector<float> pull(int frames, const QString& device = QStringLiteral("Offline Output"));
    // Pulls without waiting for the decoders.
    std::vector<float> pullNow(int frames,
                               const QString& device = QStringLiteral("Offline Output"));

    std::unique_ptr<media::AudioEngine> _engine;
    media::OfflineDriver* _driver = nullptr;
};
