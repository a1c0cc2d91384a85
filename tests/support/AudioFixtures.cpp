#include "tests/support/AudioFixtures.h"

#include "media/FfmpegHandles.h"
#include "media/ToneGenerator.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

using media::AudioFileWriter;
using media::ToneGenerator;

namespace {

constexpr int kVideoWidth = 160;
constexpr int kVideoHeight = 120;
constexpr int kFramesPerSecond = 25;
constexpr int kVideoSeconds = 2;

// One encoder feeding one stream of a muxer.
struct EncodedStream {
    media::CodecContextHandle encoder;
    AVStream* stream = nullptr;
    media::FrameHandle frame;
};

bool openEncodedStream(AVFormatContext* muxer, EncodedStream& encoded) {
    if (muxer->oformat->flags & AVFMT_GLOBALHEADER) {
        encoded.encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    if (avcodec_open2(encoded.encoder.get(), encoded.encoder->codec, nullptr) < 0) {
        return false;
    }
    encoded.stream = avformat_new_stream(muxer, nullptr);
    if (!encoded.stream ||
        avcodec_parameters_from_context(encoded.stream->codecpar, encoded.encoder.get()) < 0) {
        return false;
    }
    encoded.stream->time_base = encoded.encoder->time_base;
    encoded.frame = media::allocateFrame();
    return encoded.frame != nullptr;
}

// Sends `frame` (null to flush) and writes every packet the encoder has ready.
bool encodeAndWrite(AVFormatContext* muxer, EncodedStream& encoded, const AVFrame* frame) {
    media::PacketHandle packet = media::allocatePacket();
    int result = avcodec_send_frame(encoded.encoder.get(), frame);
    while (result >= 0) {
        result = avcodec_receive_packet(encoded.encoder.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return true;
        }
        if (result >= 0) {
            av_packet_rescale_ts(packet.get(), encoded.encoder->time_base,
                                 encoded.stream->time_base);
            packet->stream_index = encoded.stream->index;
            result = av_interleaved_write_frame(muxer, packet.get());
        }
    }
    return false;
}

bool openVideo(AVFormatContext* muxer, EncodedStream& video) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    video.encoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!video.encoder) {
        return false;
    }
    AVCodecContext* context = video.encoder.get();
    context->width = kVideoWidth;
    context->height = kVideoHeight;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = AVRational{1, kFramesPerSecond};
    context->framerate = AVRational{kFramesPerSecond, 1};
    context->gop_size = 12;
    context->bit_rate = 200000;
    if (!openEncodedStream(muxer, video)) {
        return false;
    }
    video.frame->format = context->pix_fmt;
    video.frame->width = context->width;
    video.frame->height = context->height;
    return av_frame_get_buffer(video.frame.get(), 0) >= 0;
}

bool openAudio(AVFormatContext* muxer, EncodedStream& audio) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    audio.encoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!audio.encoder) {
        return false;
    }
    AVCodecContext* context = audio.encoder.get();
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = AudioFixtures::kRate;
    av_channel_layout_default(&context->ch_layout, 2);
    context->time_base = AVRational{1, AudioFixtures::kRate};
    context->bit_rate = 128000;
    if (!openEncodedStream(muxer, audio)) {
        return false;
    }
    audio.frame->format = context->sample_fmt;
    audio.frame->sample_rate = context->sample_rate;
    audio.frame->nb_samples = context->frame_size;
    return av_channel_layout_copy(&audio.frame->ch_layout, &context->ch_layout) >= 0 &&
           av_frame_get_buffer(audio.frame.get(), 0) >= 0;
}

// A moving diagonal gradient, so the encoder has something to encode.
bool encodeVideoFrame(AVFormatContext* muxer, EncodedStream& video, int index) {
    AVFrame* frame = video.frame.get();
    if (av_frame_make_writable(frame) < 0) {
        return false;
    }
    for (int y = 0; y < kVideoHeight; ++y) {
        for (int x = 0; x < kVideoWidth; ++x) {
            frame->data[0][y * frame->linesize[0] + x] = static_cast<uint8_t>(x + y + 3 * index);
        }
    }
    for (int plane = 1; plane <= 2; ++plane) {
        for (int y = 0; y < kVideoHeight / 2; ++y) {
            std::fill_n(frame->data[plane] + y * frame->linesize[plane], kVideoWidth / 2,
                        uint8_t{128});
        }
    }
    frame->pts = index;
    return encodeAndWrite(muxer, video, frame);
}

bool encodeAudioFrame(AVFormatContext* muxer, EncodedStream& audio, ToneGenerator& tone,
                      int frames) {
    AVFrame* frame = audio.frame.get();
    if (av_frame_make_writable(frame) < 0) {
        return false;
    }
    std::vector<float> interleaved(static_cast<size_t>(frames) * 2);
    frame->pts = tone.position();
    tone.render(interleaved.data(), frames);
    auto* left = reinterpret_cast<float*>(frame->data[0]);
    auto* right = reinterpret_cast<float*>(frame->data[1]);
    for (int i = 0; i < frames; ++i) {
        left[i] = interleaved[2 * i];
        right[i] = interleaved[2 * i + 1];
    }
    frame->nb_samples = frames;
    return encodeAndWrite(muxer, audio, frame);
}

} // namespace

AudioFixtures::AudioFixtures() {
    EXPECT_TRUE(_dir.isValid());
}

QString AudioFixtures::pathFor(const QString& fileName) const {
    return _dir.filePath(fileName);
}

AudioFileWriter::Tags AudioFixtures::standardTags() {
    return {QStringLiteral("Fixture Tone"), QStringLiteral("Zelvora Tests"),
            QStringLiteral("Generated Album"), QStringLiteral("1998")};
}

QString AudioFixtures::write(const QString& fileName, ToneGenerator generator, long long frames,
                             AudioFileWriter::Options options) {
    const QString path = pathFor(fileName);
    QString error;
    if (!AudioFileWriter::writeFile(path, options, generator, frames, &error)) {
        ADD_FAILURE() << "cannot write fixture " << fileName.toStdString() << ": "
                      << error.toStdString();
        return QString();
    }
    return path;
}

QString AudioFixtures::toneFile(const QString& extension, long long frames,
                                AudioFileWriter::Options options) {
    if (options.tags.title.isEmpty()) {
        options.tags = standardTags();
    }
    return write(QStringLiteral("tone-%1.%2").arg(frames).arg(extension),
                 ToneGenerator::sine(kToneFrequency, kToneAmplitude, kRate, 2), frames, options);
}

QString AudioFixtures::monoFile(const QString& extension, long long frames) {
    AudioFileWriter::Options options;
    options.tags = standardTags();
    return write(QStringLiteral("mono-%1.%2").arg(frames).arg(extension),
                 ToneGenerator::sine(kToneFrequency, kToneAmplitude, kRate, 1), frames, options);
}

QString AudioFixtures::stereoFourSeconds(const QString& extension) {
    return write(QStringLiteral("left-right.%1").arg(extension),
                 ToneGenerator::stereoSine(kLeftFrequency, kRightFrequency, kToneAmplitude, kRate),
                 4LL * kRate);
}

QString AudioFixtures::writeBytes(const QString& fileName, const QByteArray& bytes) {
    const QString path = pathFor(fileName);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        ADD_FAILURE() << "cannot write fixture " << fileName.toStdString();
        return QString();
    }
    return path;
}

QString AudioFixtures::multichannelWav(const QString& fileName, const std::vector<double>& levels,
                                       quint32 channelMask, int frames) {
    // Written by hand: the file writer makes only mono and stereo files.
    const int channels = static_cast<int>(levels.size());
    const quint32 dataBytes = quint32(frames) * quint32(channels) * 2;
    QByteArray bytes;
    auto put16 = [&bytes](quint32 value) {
        bytes += char(value & 0xFF);
        bytes += char((value >> 8) & 0xFF);
    };
    auto put32 = [&put16](quint32 value) {
        put16(value & 0xFFFF);
        put16(value >> 16);
    };
    const bool extensible = channelMask != 0;
    const quint32 formatBytes = extensible ? 40 : 16;
    bytes += "RIFF";
    put32(4 + 8 + formatBytes + 8 + dataBytes);
    bytes += "WAVEfmt ";
    put32(formatBytes);
    put16(extensible ? 0xFFFE : 1);
    put16(quint32(channels));
    put32(kRate);
    put32(quint32(kRate) * quint32(channels) * 2);
    put16(quint32(channels) * 2);
    put16(16);
    if (extensible) {
        put16(22);
        put16(16);
        put32(channelMask);
        // KSDATAFORMAT_SUBTYPE_PCM
        bytes += QByteArray::fromHex("0100000000001000800000aa00389b71");
    }
    bytes += "data";
    put32(dataBytes);
    for (int frame = 0; frame < frames; ++frame) {
        for (double level : levels) {
            put16(quint32(qint16(qRound(level * 32767.0))) & 0xFFFF);
        }
    }
    return writeBytes(fileName, bytes);
}

QString AudioFixtures::emptyFile(const QString& fileName) {
    return writeBytes(fileName, QByteArray());
}

QString AudioFixtures::randomBytesFile(const QString& fileName, int size) {
    QRandomGenerator generator(20240601u + static_cast<quint32>(size));
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(generator.bounded(256));
    }
    return writeBytes(fileName, bytes);
}

QString AudioFixtures::textNamedMp3() {
    QByteArray text;
    for (int line = 0; line < 200; ++line) {
        text += "This is a plain text file that only pretends to be audio, line ";
        text += QByteArray::number(line) + ".\n";
    }
    return writeBytes(QStringLiteral("notes.mp3"), text);
}

QString AudioFixtures::truncatedMp3() {
    const QString whole = toneFile(QStringLiteral("mp3"), 3LL * kRate);
    QFile file(whole);
    if (whole.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read the mp3 to truncate";
        return QString();
    }
    const QByteArray bytes = file.readAll();
    // Cut in the middle of a frame, as an interrupted copy does.
    return writeBytes(QStringLiteral("truncated.mp3"), bytes.left(bytes.size() / 2 + 77));
}

QString AudioFixtures::damagedCopy(const QString& path, qint64 offset, int count) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
        return QString();
    }
    QByteArray bytes = file.readAll();
    QRandomGenerator generator(7u);
    for (qint64 i = offset; i < offset + count && i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(generator.bounded(256));
    }
    return writeBytes(QStringLiteral("damaged-") + QFileInfo(path).fileName(), bytes);
}

QString AudioFixtures::videoOnlyFile() {
    return writeVideo(QStringLiteral("video-only.mp4"), false);
}

QString AudioFixtures::videoWithAudioFile() {
    return writeVideo(QStringLiteral("video-with-audio.mp4"), true);
}

QString AudioFixtures::writeVideo(const QString& fileName, bool withAudio) {
    const QString path = pathFor(fileName);
    auto fail = [&](const char* what) {
        ADD_FAILURE() << "cannot write " << fileName.toStdString() << ": " << what;
        return QString();
    };
    AVFormatContext* context = nullptr;
    avformat_alloc_output_context2(&context, nullptr, "mp4", QFile::encodeName(path).constData());
    media::OutputFormatHandle muxer(context);
    EncodedStream video;
    EncodedStream audio;
    if (!muxer || !openVideo(context, video)) {
        return fail("no MPEG-4 video encoder");
    }
    if (withAudio && !openAudio(context, audio)) {
        return fail("no AAC encoder");
    }
    if (avio_open(&context->pb, QFile::encodeName(path).constData(), AVIO_FLAG_WRITE) < 0 ||
        avformat_write_header(context, nullptr) < 0) {
        return fail("cannot start the file");
    }

    ToneGenerator tone = ToneGenerator::sine(kToneFrequency, kToneAmplitude, kRate, 2);
    const int videoFrames = kVideoSeconds * kFramesPerSecond;
    const long long audioFrames = withAudio ? kVideoSeconds * kRate : 0;
    int videoDone = 0;
    while (videoDone < videoFrames || tone.position() < audioFrames) {
        // Feed whichever stream is behind in time, as a camera would deliver them.
        const bool videoNext =
            tone.position() >= audioFrames ||
            (videoDone < videoFrames &&
             videoDone * static_cast<long long>(kRate) <= tone.position() * kFramesPerSecond);
        const bool encoded =
            videoNext
                ? encodeVideoFrame(context, video, videoDone++)
                : encodeAudioFrame(context, audio, tone,
                                   static_cast<int>(std::min<long long>(
                                       audio.encoder->frame_size, audioFrames - tone.position())));
        if (!encoded) {
            return fail("encoding failed");
        }
    }
    if (!encodeAndWrite(context, video, nullptr) ||
        (withAudio && !encodeAndWrite(context, audio, nullptr)) || av_write_trailer(context) < 0) {
        return fail("cannot complete the file");
    }
    return path;
}
