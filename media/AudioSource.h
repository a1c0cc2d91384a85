#pragma once

// A source of decoded audio for one movie: float frames, interleaved, at the rate the
// engine asked for. FFmpeg files and generated audio (silence, test tones) both are one.
//
// Thread contract: a source is used by one thread at a time — the decoder worker that
// runs the owning movie's jobs. Never touched by the device callback.

#include <memory>

namespace media {

class AudioSource {
public:
    virtual ~AudioSource() = default;

    // Channels delivered by read(): 1 for a mono file, 2 for everything else (a
    // surround file is folded down to stereo; channels of unknown positions deliver
    // their first two).
    virtual int channels() const = 0;
    // Frames per second delivered by read().
    virtual int sampleRate() const = 0;
    // Length in seconds at that rate.
    virtual double durationSeconds() const = 0;
    // Length in frames at that rate.
    virtual long long durationFrames() const = 0;

    // Positions the source so that the next read() starts exactly at `frame` (sample
    // accurate, clamped to 0..durationFrames()). Returns false on a decoder failure.
    virtual bool seekToFrame(long long frame) = 0;
    // Reads up to maxFrames frames into `interleaved` (channels() floats per frame).
    // Returns the number of frames read, 0 at the end, -1 on a decoder failure (a file
    // that became unreadable or was deleted while playing).
    virtual int read(float* interleaved, int maxFrames) = 0;

    // A second, independent source over the same audio (its own decoder state), for
    // work that must not disturb this one's position. Null when it cannot be opened.
    virtual std::unique_ptr<AudioSource> clone() const = 0;
};

} // namespace media
