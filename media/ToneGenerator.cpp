#include "media/ToneGenerator.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace media {

ToneGenerator::ToneGenerator(Shape shape, int sampleRate, int channels)
    : _shape(shape)
    , _sampleRate(std::max(1, sampleRate))
    , _channels(std::clamp(channels, 1, 2)) {}

ToneGenerator ToneGenerator::sine(double frequency, double amplitude, int sampleRate,
                                  int channels) {
    ToneGenerator generator(Shape::Sine, sampleRate, channels);
    generator._amplitude = amplitude;
    generator._frequencies[0] = frequency;
    generator._frequencies[1] = frequency;
    return generator;
}

ToneGenerator ToneGenerator::stereoSine(double leftFrequency, double rightFrequency,
                                        double amplitude, int sampleRate) {
    ToneGenerator generator(Shape::Sine, sampleRate, 2);
    generator._amplitude = amplitude;
    generator._frequencies[0] = leftFrequency;
    generator._frequencies[1] = rightFrequency;
    return generator;
}

ToneGenerator ToneGenerator::silence(int sampleRate, int channels) {
    return ToneGenerator(Shape::Silence, sampleRate, channels);
}

ToneGenerator ToneGenerator::sweep(double startFrequency, double endFrequency, double seconds,
                                   double amplitude, int sampleRate, int channels) {
    ToneGenerator generator(Shape::Sweep, sampleRate, channels);
    generator._amplitude = amplitude;
    generator._frequencies[0] = std::max(startFrequency, 1e-3);
    generator._frequencies[1] = std::max(endFrequency, 1e-3);
    generator._sweepSeconds = std::max(seconds, 1e-3);
    return generator;
}

// Phase in cycles of an exponential sweep f(t) = f0 * k^(t/T): the integral of f over
// 0..t. Past T the end frequency continues from the phase reached at T.
double ToneGenerator::sweepPhase(double seconds) const {
    const double f0 = _frequencies[0];
    const double f1 = _frequencies[1];
    const double span = _sweepSeconds;
    const double ratio = f1 / f0;
    auto phaseAt = [&](double t) {
        if (std::abs(ratio - 1.0) < 1e-12) {
            return f0 * t;
        }
        const double logRatio = std::log(ratio);
        return f0 * span / logRatio * (std::pow(ratio, t / span) - 1.0);
    };
    if (seconds <= span) {
        return phaseAt(seconds);
    }
    return phaseAt(span) + f1 * (seconds - span);
}

double ToneGenerator::channelSample(int channel, long long frame) const {
    switch (_shape) {
    case Shape::Silence:
        return 0.0;
    case Shape::Sine: {
        // Reduce the cycle count before sin() so precision holds over hours of audio.
        const double cycles = _frequencies[channel] * static_cast<double>(frame) / _sampleRate;
        return _amplitude * std::sin(2.0 * std::numbers::pi * (cycles - std::floor(cycles)));
    }
    case Shape::Sweep: {
        const double cycles = sweepPhase(static_cast<double>(frame) / _sampleRate);
        return _amplitude * std::sin(2.0 * std::numbers::pi * (cycles - std::floor(cycles)));
    }
    }
    return 0.0;
}

void ToneGenerator::render(float* interleaved, int frames) {
    for (int i = 0; i < frames; ++i) {
        const long long frame = _position + i;
        for (int channel = 0; channel < _channels; ++channel) {
            interleaved[i * _channels + channel] =
                static_cast<float>(channelSample(channel, frame));
        }
    }
    _position += std::max(0, frames);
}

} // namespace media
