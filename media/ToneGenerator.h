#pragma once

// Generated audio: sine tones (mono, or stereo with a different frequency on each side),
// silence and logarithmic sweeps, as interleaved float frames. The demo cart wall, the
// test fixtures and the benchmark files are written from these; the same generator can
// feed a source of generated sound.
//
// Every sample is computed from its absolute frame index (not by accumulating a phase),
// so a long file has no drift and a chunk rendered after a skip() equals the same chunk
// of a straight render. Thread contract: one thread at a time per generator.

namespace media {

class ToneGenerator {
public:
    // A sine of `frequency` Hz with peak `amplitude` (1.0 = full scale); 1 or 2 channels
    // (both sides equal).
    static ToneGenerator sine(double frequency, double amplitude, int sampleRate, int channels = 1);
    // Two channels: `leftFrequency` on the left, `rightFrequency` on the right.
    static ToneGenerator stereoSine(double leftFrequency, double rightFrequency, double amplitude,
                                    int sampleRate);
    static ToneGenerator silence(int sampleRate, int channels);
    // A logarithmic sweep from `startFrequency` to `endFrequency` over `seconds`; after
    // that it holds the end frequency.
    static ToneGenerator sweep(double startFrequency, double endFrequency, double seconds,
                               double amplitude, int sampleRate, int channels = 1);

    int channels() const { return _channels; }
    int sampleRate() const { return _sampleRate; }
    // Index of the next frame render() produces.
    long long position() const { return _position; }

    // Writes `frames` frames (channels() floats each) and advances.
    void render(float* interleaved, int frames);
    // Moves to an absolute frame index without rendering.
    void skipTo(long long frame) { _position = frame < 0 ? 0 : frame; }

private:
    enum class Shape { Sine, Silence, Sweep };

    ToneGenerator(Shape shape, int sampleRate, int channels);
    double sweepPhase(double seconds) const;
    double channelSample(int channel, long long frame) const;

    Shape _shape;
    int _sampleRate;
    int _channels;
    double _amplitude = 0.0;
    double _frequencies[2] = {0.0, 0.0};
    double _sweepSeconds = 0.0;
    long long _position = 0;
};

} // namespace media
