#pragma once

// Owners of FFmpeg's C handles. Each handle has exactly one owner: a move-only
// std::unique_ptr whose deleter calls the matching FFmpeg free function, so no code path
// can leak or double-free a context. The FFmpeg structs stay forward-declared here; only
// the .cpp files that use their fields include the FFmpeg headers.
//
// Thread contract: a handle is used by one thread at a time (FFmpeg contexts are not
// shareable); different handles may live on different threads.

#include <QString>
#include <memory>

struct AVFormatContext;
struct AVCodecContext;
struct SwrContext;
struct AVFrame;
struct AVPacket;

namespace media {

// A demuxer opened with avformat_open_input.
struct InputFormatCloser {
    void operator()(AVFormatContext* context) const;
};
// A muxer made with avformat_alloc_output_context2; closes its file when it opened one.
struct OutputFormatCloser {
    void operator()(AVFormatContext* context) const;
};
struct CodecContextFreer {
    void operator()(AVCodecContext* context) const;
};
struct ResamplerFreer {
    void operator()(SwrContext* context) const;
};
struct FrameFreer {
    void operator()(AVFrame* frame) const;
};
struct PacketFreer {
    void operator()(AVPacket* packet) const;
};

using InputFormatHandle = std::unique_ptr<AVFormatContext, InputFormatCloser>;
using OutputFormatHandle = std::unique_ptr<AVFormatContext, OutputFormatCloser>;
using CodecContextHandle = std::unique_ptr<AVCodecContext, CodecContextFreer>;
using ResamplerHandle = std::unique_ptr<SwrContext, ResamplerFreer>;
using FrameHandle = std::unique_ptr<AVFrame, FrameFreer>;
using PacketHandle = std::unique_ptr<AVPacket, PacketFreer>;

// Fresh frame and packet; null only when memory is exhausted.
FrameHandle allocateFrame();
PacketHandle allocatePacket();

// FFmpeg's text for an AVERROR code ("Invalid data found when processing input").
QString ffmpegErrorText(int errorCode);

// Routes FFmpeg's own log lines into the zelvora.media category (debug level, so a
// corrupt file does not flood the journal). Idempotent; any thread.
void installFfmpegLogRouting();

} // namespace media
