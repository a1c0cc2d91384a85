#pragma once

// An audio file opened with FFmpeg's demuxer, reading only what it takes to know the
// streams: the probe and the decoder both start here. Picks the first audio stream whose
// codec FFmpeg can decode (video and cover-art streams are ignored) and knows the exact
// length of that stream.
//
// Thread contract: one thread at a time (the probing caller or a decoder worker).

#include "media/FfmpegHandles.h"

#include <QString>
#include <initializer_list>

struct AVStream;

namespace media {

class FfmpegDemuxer {
public:
    FfmpegDemuxer();
    ~FfmpegDemuxer();
    FfmpegDemuxer(FfmpegDemuxer&&) noexcept;
    FfmpegDemuxer& operator=(FfmpegDemuxer&&) noexcept;

    // Opens `path` and reads its stream parameters (a few kilobytes; never the whole
    // file). False with *error set when FFmpeg cannot open or understand it. A file
    // without audio opens; audioStream() is then null.
    bool open(const QString& path, QString* error);

    AVFormatContext* context() const { return _context.get(); }
    const QString& path() const { return _path; }
    // The chosen audio stream, or null when the file has none FFmpeg can decode.
    AVStream* audioStream() const;
    int sampleRate() const;
    int channels() const;

    // Exact number of samples (per channel, at the file's rate) of the audio stream, as a
    // decoder delivers them; -1 when it cannot be known. Where the container only
    // estimated the length from its bit rate (an mp3 without a Xing header), the packets
    // are demuxed (not decoded) and their durations summed; the demuxer is rewound after.
    long long exactLengthInSamples();
    // The stream's time of its first decoded sample, in stream ticks (0 when unknown).
    long long startTicks() const;

    // The first non-empty value among `keys`, looked up in the container's tags and then
    // in the audio stream's (Ogg keeps its Vorbis comments on the stream).
    QString tag(std::initializer_list<const char*> keys) const;

    // Whether a seek must start from a freshly opened demuxer. FFmpeg's Ogg demuxer
    // indexes every packet it reads at the position of its page, so once it has read, a
    // seek through that index lands on a page start labelled with a later packet's time.
    bool seeksNeedFreshIndex() const;
    // Opens the same file again in place of this one, for decoding (same stream, tags
    // dropped). False, leaving this one as it was, when the file cannot be opened again.
    bool reopenForDecoding();

    // Drops what only a probe needs (tags, cover pictures) and tells the demuxer to skip
    // every other stream, so an open decoder keeps as little memory as possible.
    void keepOnlyAudioForDecoding();

private:
    int findAudioStream() const;
    long long lengthFromHeaders() const;
    long long lengthByDemuxing();

    InputFormatHandle _context;
    int _audioIndex = -1;
    QString _path;
};

} // namespace media
