#include "media/GeneratedSource.h"

#include <algorithm>
#include <cstring>

namespace media {

GeneratedSource::GeneratedSource(std::shared_ptr<const std::vector<float>> interleaved,
                                 int channels, int sampleRate)
    : _samples(std::move(interleaved))
    , _channels(std::clamp(channels, 1, 2))
    , _sampleRate(sampleRate)
    , _frames(_samples ? (long long)(_samples->size() / size_t(_channels)) : 0) {}

std::unique_ptr<GeneratedSource> GeneratedSource::silence(double seconds, int channels,
                                                          int sampleRate) {
    const auto frames = size_t(std::max(0.0, seconds) * sampleRate);
    auto samples = std::make_shared<const std::vector<float>>(frames * size_t(channels), 0.0f);
    return std::make_unique<GeneratedSource>(std::move(samples), channels, sampleRate);
}

double GeneratedSource::durationSeconds() const {
    return _sampleRate > 0 ? double(_frames) / double(_sampleRate) : 0.0;
}

bool GeneratedSource::seekToFrame(long long frame) {
    _position = std::clamp(frame, 0LL, _frames);
    return true;
}

int GeneratedSource::read(float* interleaved, int maxFrames) {
    const auto count = int(std::min<long long>(std::max(maxFrames, 0), _frames - _position));
    if (count > 0) {
        std::memcpy(interleaved, _samples->data() + size_t(_position) * size_t(_channels),
                    size_t(count) * size_t(_channels) * sizeof(float));
        _position += count;
    }
    return count;
}

std::unique_ptr<AudioSource> GeneratedSource::clone() const {
    return std::make_unique<GeneratedSource>(_samples, _channels, _sampleRate);
}

} // namespace media
