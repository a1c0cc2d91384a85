#pragma once

// The outline of an audio file for drawing: the lowest and highest sample (over all
// channels) of every bucket of a fixed number of frames. Fine enough to draw the whole
// file at any width up to some thousands of pixels; a pixel column takes the extremes of
// the buckets it covers. Filled progressively while the file decodes. Plain value; any
// thread.

#include <vector>

class WaveformPeaks {
public:
    // Buckets are never shorter than this; long files get longer buckets so that the
    // whole file needs at most kMaximumBuckets.
    static constexpr long long kMinimumBucketFrames = 32;
    static constexpr long long kMaximumBuckets = 16384;

    WaveformPeaks() = default;
    WaveformPeaks(int sampleRate, long long totalFrames);

    // The bucket length for a file of `totalFrames` frames.
    static long long bucketFramesFor(long long totalFrames);

    int sampleRate() const { return _sampleRate; }
    long long totalFrames() const { return _totalFrames; }
    long long bucketFrames() const { return _bucketFrames; }
    double durationSeconds() const;
    // Buckets the whole file has, and how many of them are filled so far.
    long long bucketCount() const;
    long long filledBuckets() const { return static_cast<long long>(_minimum.size()); }
    bool isComplete() const { return filledBuckets() >= bucketCount(); }

    // Takes `frames` interleaved frames of `channels` channels that follow the ones added
    // before.
    void addFrames(const float* interleaved, int frames, int channels);

    // The extremes of the filled buckets that overlap [startSeconds, endSeconds); false
    // when none of them is filled yet.
    bool rangeBetween(double startSeconds, double endSeconds, float* minimum, float* maximum) const;

private:
    int _sampleRate = 0;
    long long _totalFrames = 0;
    long long _bucketFrames = kMinimumBucketFrames;
    long long _framesInLastBucket = 0;
    std::vector<float> _minimum;
    std::vector<float> _maximum;
};
