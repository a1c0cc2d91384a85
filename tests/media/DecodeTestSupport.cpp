#include "tests/media/DecodeTestSupport.h"

#include "media/AudioSource.h"

#include <algorithm>
#include <cmath>

std::vector<float> readToEnd(media::AudioSource& source, bool* failed) {
    constexpr int kChunk = 1000; // not a codec frame size, so reads straddle frames
    std::vector<float> samples;
    std::vector<float> chunk(static_cast<size_t>(kChunk) * source.channels());
    for (;;) {
        const int frames = source.read(chunk.data(), kChunk);
        if (frames < 0 && failed) {
            *failed = true;
        }
        if (frames <= 0) {
            return samples;
        }
        samples.insert(samples.end(), chunk.begin(), chunk.begin() + frames * source.channels());
    }
}

double maxDifference(const std::vector<float>& a, long long aOffset, const std::vector<float>& b,
                     long long bOffset, long long count) {
    double largest = 0.0;
    for (long long i = 0; i < count; ++i) {
        largest = std::max(largest, std::fabs(double(a[aOffset + i]) - double(b[bOffset + i])));
    }
    return largest;
}

double measuredFrequency(const std::vector<float>& interleaved, int channels, int channel,
                         int sampleRate, long long from, long long to) {
    // Interpolate each crossing between its two samples so that the estimate is not
    // limited to whole samples.
    double first = -1.0;
    double last = -1.0;
    int crossings = 0;
    for (long long i = from + 1; i < to; ++i) {
        const double before = interleaved[(i - 1) * channels + channel];
        const double now = interleaved[i * channels + channel];
        if (before < 0.0 && now >= 0.0) {
            const double at = double(i - 1) + before / (before - now);
            if (first < 0.0) {
                first = at;
            } else {
                ++crossings;
            }
            last = at;
        }
    }
    if (crossings == 0) {
        return 0.0;
    }
    return crossings * double(sampleRate) / (last - first);
}
