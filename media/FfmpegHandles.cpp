#include "media/FfmpegHandles.h"

#include "foundation/Logging.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <cstdarg>
#include <mutex>

namespace media {

void InputFormatCloser::operator()(AVFormatContext* context) const {
    avformat_close_input(&context);
}

void OutputFormatCloser::operator()(AVFormatContext* context) const {
    if (context->oformat && !(context->oformat->flags & AVFMT_NOFILE)) {
        avio_closep(&context->pb);
    }
    avformat_free_context(context);
}

void CodecContextFreer::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void ResamplerFreer::operator()(SwrContext* context) const {
    swr_free(&context);
}

void FrameFreer::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void PacketFreer::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}

FrameHandle allocateFrame() {
    return FrameHandle(av_frame_alloc());
}

PacketHandle allocatePacket() {
    return PacketHandle(av_packet_alloc());
}

QString ffmpegErrorText(int errorCode) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(errorCode, text, sizeof text);
    return QString::fromUtf8(text);
}

namespace {

void routeFfmpegLine(void* context, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_WARNING || !lcMedia().isDebugEnabled()) {
        return;
    }
    char line[512];
    int printPrefix = 1;
    av_log_format_line2(context, level, format, arguments, line, sizeof line, &printPrefix);
    qCDebug(lcMedia, "ffmpeg: %s", QByteArray(line).trimmed().constData());
}

} // namespace

void installFfmpegLogRouting() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(routeFfmpegLine); });
}

} // namespace media
