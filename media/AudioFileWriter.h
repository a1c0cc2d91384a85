#pragma once

// Writes float audio to a file with FFmpeg's encoders and muxers, the format chosen by
// the file's extension:
//   .wav   16-bit PCM (or 32-bit float on request), tags in the RIFF INFO list
//   .aiff  16-bit big-endian PCM
//   .mp3   LAME, with a Xing/LAME header (exact length, gapless) and ID3v2.4 tags
//   .ogg   Vorbis (libvorbis, else FFmpeg's own Vorbis, else FLAC) with Vorbis comments
//   .m4a   AAC in an iTunes-style MP4 (©nam, ©ART, ©alb, ©day)
//   .flac  16-bit FLAC with Vorbis comments
// The demo cart wall, the test fixtures and the benchmark files are written with it.
//
// The file appears only when finish() succeeds: the writer encodes into a hidden
// temporary file beside the target and renames it at the end, so a failed or abandoned
// write never leaves a partial file (and never damages an existing one).
//
// Thread contract: one thread at a time per writer; any thread.

#include "media/FfmpegHandles.h"

#include <QString>
#include <QStringList>
#include <vector>

struct AVCodec;
struct AVStream;

namespace media {

class ToneGenerator;

class AudioFileWriter {
public:
    struct Tags {
        QString title;
        QString artist;
        QString album;
        QString year; // "1998" or a full date "1998-04-01"
    };

    struct Options {
        int sampleRate = 44100;
        int channels = 2;             // 1 or 2
        bool floatSamples = false;    // .wav only: 32-bit float samples instead of 16-bit
        int bitRate = 0;              // lossy formats, bits per second; 0 = 96k per channel
        bool variableBitRate = false; // .mp3: LAME's VBR mode (quality 4) instead of CBR
        // .mp3: the Xing/LAME frame that records the exact length and the encoder delay.
        // Off writes a bare stream whose length players can only estimate, as old
        // encoders did.
        bool mp3InfoFrame = true;
        Tags tags;
    };

    AudioFileWriter();
    ~AudioFileWriter(); // abandons an unfinished file (removes its temporary file)
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // Lower-case extensions (without the dot) that open() accepts.
    static QStringList supportedExtensions();

    // Prepares the encoder and muxer for `path`. False with *error set when the
    // extension is not supported, the options do not suit the encoder or the folder
    // cannot be written.
    bool open(const QString& path, const Options& options, QString* error);
    // Encodes `frames` interleaved frames of options.channels floats each (full scale
    // is ±1.0; beyond that 16-bit formats clip).
    bool write(const float* interleaved, int frames, QString* error);
    // Flushes the encoder, completes the file's headers and moves it into place.
    bool finish(QString* error);

    // Writes `frames` frames of `generator` to `path` in one call, at the generator's rate
    // and channel count (those of `options` are ignored).
    static bool writeFile(const QString& path, Options options, ToneGenerator& generator,
                          long long frames, QString* error);

private:
    bool openEncoder(const QString& extension, const Options& options, QString* error);
    // Configures and opens one encoder in _encoder; an AVERROR when it refuses.
    int openCodec(const AVCodec* codec, const Options& options);
    bool openConverter(QString* error);
    void applyTags(const Tags& tags, bool onStream);
    bool encodePending(QString* error);
    bool sendToEncoder(bool flush, QString* error);
    void discard();

    OutputFormatHandle _muxer;
    CodecContextHandle _encoder;
    ResamplerHandle _converter;
    FrameHandle _frame;
    PacketHandle _packet;
    AVStream* _stream = nullptr; // owned by _muxer
    std::vector<float> _pending; // one encoder frame, interleaved
    int _pendingFrames = 0;
    int _frameSize = 0;
    int _channels = 0;
    long long _framesEncoded = 0;
    bool _smallLastFrameAllowed = false;
    QString _path;
    QString _temporaryPath;
};

} // namespace media
