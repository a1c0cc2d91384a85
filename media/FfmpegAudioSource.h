#pragma once

// An AudioSource over a file decoded by FFmpeg: the first audio stream, resampled with
// libswresample to interleaved float at the rate the engine asks for.
//
// Channels: a mono file stays mono (1 channel). Everything else is delivered as stereo:
// a stereo file as it is; a file with a known surround layout (5.1, quad, ...) through
// libswresample's standard stereo downmix, normalised so that it cannot clip; a file
// with more than two channels of unknown positions delivers its first two.
//
// Seeking is sample accurate and repeatable: after seekToFrame(n), read() returns exactly
// the frames that reading straight through from the start returns at n (bit for bit for
// lossless files; for lossy codecs the decoder's own state after a jump may differ in the
// last bits). To get there the source jumps to a point before n (earlier still for
// codecs that need a run-up, such as mp3's bit reservoir), restarts the resampler at an
// input sample that falls on the same output grid as a straight read, and decodes and
// discards up to n.
//
// Memory: an idle source holds the demuxer (with its small read buffer), the decoder and
// resampler, and one decoded packet's worth of output; tags and cover pictures are freed
// after opening.
//
// Thread contract: as AudioSource, one thread at a time (the decoder worker that runs the
// owning movie's jobs; open() and clone() may run on any thread). Never the device callback.

#include "media/AudioSource.h"
#include "media/FfmpegDemuxer.h"
#include "media/FfmpegHandles.h"

#include <QString>
#include <memory>
#include <optional>
#include <vector>

namespace media {

class FfmpegAudioSource final : public AudioSource {
public:
    // Opens `path` for decoding at `outputSampleRate`. Null with *error set when the file
    // cannot be opened, has no decodable audio or its length cannot be known.
    static std::unique_ptr<FfmpegAudioSource> open(const QString& path, int outputSampleRate,
                                                   QString* error);
    ~FfmpegAudioSource() override;

    int channels() const override { return _outputChannels; }
    int sampleRate() const override { return _outputRate; }
    double durationSeconds() const override;
    long long durationFrames() const override { return _durationFrames; }

    bool seekToFrame(long long frame) override;
    int read(float* interleaved, int maxFrames) override;
    std::unique_ptr<AudioSource> clone() const override;

    // The frame the next read() starts at.
    long long position() const { return _position; }
    const QString& path() const { return _demuxer.path(); }
    // The file's own channel count and rate.
    int fileChannels() const { return _fileChannels; }
    int fileSampleRate() const { return _inputRate; }

private:
    enum class Step { Produced, End, Failed };
    enum class SeekStart { Found, Overshot, End, Failed };

    FfmpegAudioSource() = default;
    static std::unique_ptr<FfmpegAudioSource> openWithLength(const QString& path,
                                                             int outputSampleRate,
                                                             long long knownLength, QString* error);
    bool openDecoder(QString* error);
    bool configureResampler(const AVFrame* frame);
    bool restartResampler();

    Step decodeFrame();
    Step refill();
    Step resampleFrame();
    Step flushResampler();
    void ensureBufferFrames(int frames);
    void dropLeadingOutput();

    // Jumps the demuxer to `runUpSamples` before the resampler's restart point for
    // `target` (or to the file's start, which *fromFileStart may be switched to) and
    // resets the decoder and resampler.
    bool startAt(long long target, long long runUpSamples, bool* fromFileStart);
    SeekStart findFirstFrame(bool fromFileStart);
    // The input sample index of a decoded frame's first sample, from its timestamp.
    std::optional<long long> inputSampleOfFrame(const AVFrame* frame) const;
    long long codecRunUpSamples() const;

    FfmpegDemuxer _demuxer;
    CodecContextHandle _decoder;
    ResamplerHandle _resampler;
    FrameHandle _frame;
    PacketHandle _packet;
    AVStream* _stream = nullptr; // owned by the demuxer

    int _outputRate = 0;
    int _outputChannels = 0;
    int _fileChannels = 0;
    int _inputRate = 0;
    long long _lengthInSamples = 0; // exact, at the file's rate
    long long _durationFrames = 0;  // at the output rate
    // Input and output frames per period of the rate ratio (44100:48000 = 147:160): a
    // resampler started on a multiple of _inputPeriod lands on the straight read's grid.
    long long _inputPeriod = 1;
    long long _outputPeriod = 1;

    // What the resampler was configured for; a decoder that changes format mid-stream
    // reconfigures it.
    int _resamplerFormat = -1;
    int _resamplerRate = 0;
    int _resamplerChannels = 0;

    // Decoded, resampled frames waiting for read(), interleaved.
    std::vector<float> _buffer;
    int _bufferOffset = 0; // first waiting frame
    int _bufferFrames = 0; // waiting frames

    long long _position = 0;        // output frame of the next read()
    long long _nextInputSample = 0; // input sample of the next decoded sample
    long long _skipInputUntil = 0;  // input samples before this are not resampled
    long long _discardOutput = 0;   // output frames still to drop after a seek
    bool _timelineKnown = false;    // _nextInputSample has been set from a timestamp
    bool _readSinceOpen = false;    // the demuxer has read packets since it was opened
    bool _demuxerDone = false;
    bool _decoderDone = false;
    bool _resamplerFlushed = false;
    bool _failed = false;
    int _consecutiveErrors = 0;
};

} // namespace media
