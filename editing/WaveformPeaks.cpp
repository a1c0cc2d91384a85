#include "editing/WaveformPeaks.h"

#include <algorithm>
#include <cmath>

WaveformPeaks::WaveformPeaks(int sampleRate, long long totalFrames)
    : _sampleRate(sampleRate)
    , _totalFrames(std::max(0LL, totalFrames))
    , _bucketFrames(bucketFramesFor(totalFrames)) {
    _minimum.reserve(static_cast<size_t>(bucketCount()));
    _maximum.reserve(static_cast<size_t>(bucketCount()));
}

long long WaveformPeaks::bucketFramesFor(long long totalFrames) {
    const long long spread = (std::max(0LL, totalFrames) + kMaximumBuckets - 1) / kMaximumBuckets;
    return std::max(kMinimumBucketFrames, spread);
}

double WaveformPeaks::durationSeconds() const {
    return _sampleRate > 0 ? double(_totalFrames) / _sampleRate : 0.0;
}

long long WaveformPeaks::bucketCount() const {
    return (_totalFrames + _bucketFrames - 1) / _bucketFrames;
}

void WaveformPeaks::addFrames(const float* interleaved, int frames, int channels) {
    for (int frame = 0; frame < frames; ++frame) {
        if (_minimum.empty() || _framesInLastBucket == _bucketFrames) {
            if (filledBuckets() >= bucketCount()) {
                return; // the decoder delivered more than the file announced
            }
            _minimum.push_back(0.0f);
            _maximum.push_back(0.0f);
            _framesInLastBucket = 0;
        }
        const float* samples = interleaved + static_cast<size_t>(frame) * size_t(channels);
        const auto [low, high] = std::minmax_element(samples, samples + channels);
        if (_framesInLastBucket == 0) {
            _minimum.back() = *low;
            _maximum.back() = *high;
        } else {
            _minimum.back() = std::min(_minimum.back(), *low);
            _maximum.back() = std::max(_maximum.back(), *high);
        }
        ++_framesInLastBucket;
    }
}

bool WaveformPeaks::rangeBetween(double startSeconds, double endSeconds, float* minimum,
                                 float* maximum) const {
    if (_sampleRate <= 0 || _minimum.empty() || !(endSeconds > startSeconds)) {
        return false;
    }
    const double bucketSeconds = double(_bucketFrames) / _sampleRate;
    const long long first = std::max(0LL, (long long)std::floor(startSeconds / bucketSeconds));
    // The bucket holding the last instant before endSeconds.
    const long long last =
        std::min(filledBuckets() - 1, (long long)std::ceil(endSeconds / bucketSeconds) - 1);
    if (first > last) {
        return false;
    }
    const auto begin = static_cast<std::ptrdiff_t>(first);
    const auto end = static_cast<std::ptrdiff_t>(last + 1);
    *minimum = *std::min_element(_minimum.begin() + begin, _minimum.begin() + end);
    *maximum = *std::max_element(_maximum.begin() + begin, _maximum.begin() + end);
    return true;
}
