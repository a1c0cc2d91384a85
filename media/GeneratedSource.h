#pragma once

// An AudioSource over audio held in memory: the one-second "Silence" movie, generated
// test tones and anything else computed rather than decoded. The samples are shared
// and never change, so clones cost nothing.
//
// Thread contract: as AudioSource (one thread at a time per source).

#include "media/AudioSource.h"

#include <memory>
#include <vector>

namespace media {

class GeneratedSource : public AudioSource {
public:
    // `interleaved` holds whole frames of `channels` (1 or 2) floats at `sampleRate`.
    GeneratedSource(std::shared_ptr<const std::vector<float>> interleaved, int channels,
                    int sampleRate);

    // `seconds` of digital silence.
    static std::unique_ptr<GeneratedSource> silence(double seconds, int channels, int sampleRate);

    int channels() const override { return _channels; }
    int sampleRate() const override { return _sampleRate; }
    double durationSeconds() const override;
    long long durationFrames() const override { return _frames; }
    bool seekToFrame(long long frame) override;
    int read(float* interleaved, int maxFrames) override;
    std::unique_ptr<AudioSource> clone() const override;

private:
    std::shared_ptr<const std::vector<float>> _samples;
    int _channels;
    int _sampleRate;
    long long _frames;
    long long _position = 0;
};

} // namespace media
