#include "tests/media/EngineTestSupport.h"

#include "media/AudioEngine.h"
#include "media/GeneratedSource.h"
#include "media/Movie.h"
#include "media/OfflineDriver.h"
#include "media/OfflineStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace testaudio {

double indexedLeft(long long frame) {
    return double(frame % 65536) / 65536.0 + 1.0 / 131072.0;
}

Samples indexed(long long frames, int channels) {
    auto samples = std::make_shared<std::vector<float>>(size_t(frames) * size_t(channels));
    for (long long frame = 0; frame < frames; ++frame) {
        const auto value = float(indexedLeft(frame));
        (*samples)[size_t(frame) * size_t(channels)] = value;
        if (channels == 2) {
            (*samples)[size_t(frame) * 2 + 1] = -value;
        }
    }
    return samples;
}

Samples sine(long long frames, double frequency, double amplitude, int channels) {
    auto samples = std::make_shared<std::vector<float>>(size_t(frames) * size_t(channels));
    for (long long frame = 0; frame < frames; ++frame) {
        const double t = double(frame) / kRate;
        (*samples)[size_t(frame) * size_t(channels)] =
            float(amplitude * std::sin(2.0 * std::numbers::pi * frequency * t));
        if (channels == 2) {
            (*samples)[size_t(frame) * 2 + 1] =
                float(amplitude * std::sin(2.0 * std::numbers::pi * frequency * 1.5 * t));
        }
    }
    return samples;
}

Samples constant(long long frames, float left, float right, int channels) {
    auto samples = std::make_shared<std::vector<float>>(size_t(frames) * size_t(channels));
    for (long long frame = 0; frame < frames; ++frame) {
        (*samples)[size_t(frame) * size_t(channels)] = left;
        if (channels == 2) {
            (*samples)[size_t(frame) * 2 + 1] = right;
        }
    }
    return samples;
}

} // namespace testaudio

void GatedSource::Gate::allow(long long frames) {
    {
        std::lock_guard lock(mutex);
        allowed = frames;
    }
    changed.notify_all();
}

GatedSource::GatedSource(Samples samples, int channels, std::shared_ptr<Gate> gate)
    : _samples(std::move(samples))
    , _channels(channels)
    , _gate(std::move(gate)) {}

long long GatedSource::durationFrames() const {
    return (long long)(_samples->size() / size_t(_channels));
}

bool GatedSource::seekToFrame(long long frame) {
    _position = std::clamp(frame, 0LL, durationFrames());
    return true;
}

int GatedSource::read(float* interleaved, int maxFrames) {
    long long allowed = 0;
    {
        std::unique_lock lock(_gate->mutex);
        _gate->changed.wait(lock, [&] { return _gate->allowed > _position; });
        allowed = _gate->allowed;
    }
    const auto count = int(std::min<long long>(
        {(long long)maxFrames, durationFrames() - _position, allowed - _position}));
    std::memcpy(interleaved, _samples->data() + size_t(_position) * size_t(_channels),
                size_t(count) * size_t(_channels) * sizeof(float));
    _position += count;
    return count;
}

std::unique_ptr<media::AudioSource> GatedSource::clone() const {
    return std::make_unique<GatedSource>(_samples, _channels, _gate);
}

void OfflineEngineTest::SetUp() {
    auto driver = std::make_unique<media::OfflineDriver>();
    _driver = driver.get();
    media::AudioEngine::Options options;
    options.driver = std::move(driver);
    options.periodFrames = kPeriod;
    options.deviceWatchIntervalMs = 0;
    _engine = std::make_unique<media::AudioEngine>(std::move(options));
    ASSERT_EQ(media::AudioEngine::instance(), _engine.get());
}

void OfflineEngineTest::TearDown() {
    _engine.reset();
}

std::unique_ptr<media::Movie> OfflineEngineTest::openMovie(Samples samples, int channels) {
    auto movie = std::make_unique<media::Movie>();
    QString error;
    EXPECT_TRUE(movie->open(
        std::make_unique<media::GeneratedSource>(std::move(samples), channels, testaudio::kRate),
        &error))
        << qPrintable(error);
    return movie;
}

std::vector<float> OfflineEngineTest::pull(int frames, const QString& device) {
    media::OfflineStream* stream = _driver->stream(device);
    EXPECT_NE(stream, nullptr) << qPrintable(device);
    if (!stream) {
        return {};
    }
    std::vector<float> out;
    out.reserve(size_t(frames) * size_t(stream->channelCount()));
    constexpr int kPiece = 4096;
    for (int done = 0; done < frames;) {
        EXPECT_TRUE(_engine->waitUntilIdle());
        const int piece = std::min(kPiece, frames - done);
        const std::vector<float> part = stream->pull(piece);
        out.insert(out.end(), part.begin(), part.end());
        done += piece;
    }
    return out;
}

std::vector<float> OfflineEngineTest::pullNow(int frames, const QString& device) {
    media::OfflineStream* stream = _driver->stream(device);
    EXPECT_NE(stream, nullptr) << qPrintable(device);
    return stream ? stream->pull(frames) : std::vector<float>();
}
