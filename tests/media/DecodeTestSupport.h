#pragma once

// Helpers of the decoding tests: read a source to its end, compare sample runs, and
// measure a tone's frequency by its zero crossings.

#include <vector>

namespace media {
class AudioSource;
}

// Everything read() delivers until it returns 0 (or -1, which sets *failed when given).
std::vector<float> readToEnd(media::AudioSource& source, bool* failed = nullptr);

// Largest absolute difference between `count` samples of `a` (from `aOffset`) and of `b`
// (from `bOffset`).
double maxDifference(const std::vector<float>& a, long long aOffset, const std::vector<float>& b,
                     long long bOffset, long long count);

// Frequency of a tone in channel `channel` of interleaved audio, from the rising zero
// crossings between frames `from` and `to`.
double measuredFrequency(const std::vector<float>& interleaved, int channels, int channel,
                         int sampleRate, long long from, long long to);
