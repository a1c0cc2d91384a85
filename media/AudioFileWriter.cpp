#include "media/AudioFileWriter.h"

#include "foundation/Logging.h"
#include "media/ToneGenerator.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace media {

namespace {

// What one extension is written as: the muxer and the encoders to try, in order.
struct FormatChoice {
    const char* extension;
    const char* muxer;
    const char* encoders[3];
    bool tagsOnStream; // Ogg keeps its Vorbis comments in the stream, not the container
};

constexpr FormatChoice kFormats[] = {
    {"wav", "wav", {"pcm_s16le", nullptr, nullptr}, false},
    {"aiff", "aiff", {"pcm_s16be", nullptr, nullptr}, false},
    {"aif", "aiff", {"pcm_s16be", nullptr, nullptr}, false},
    {"mp3", "mp3", {"libmp3lame", nullptr, nullptr}, false},
    {"ogg", "ogg", {"libvorbis", "vorbis", "flac"}, true},
    {"m4a", "ipod", {"aac", nullptr, nullptr}, false},
    {"flac", "flac", {"flac", nullptr, nullptr}, false},
};

const FormatChoice* formatFor(const QString& extension) {
    for (const FormatChoice& format : kFormats) {
        if (extension == QLatin1String(format.extension)) {
            return &format;
        }
    }
    return nullptr;
}

constexpr int kPcmFrameSize = 4096;

bool supportsSampleFormat(const AVCodec* codec, AVSampleFormat format) {
    if (!codec->sample_fmts) {
        return false;
    }
    for (const AVSampleFormat* f = codec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f) {
        if (*f == format) {
            return true;
        }
    }
    return false;
}

// Float where the encoder takes it (no quantisation before a lossy encoder), else 16-bit.
AVSampleFormat chooseSampleFormat(const AVCodec* codec) {
    for (AVSampleFormat preferred :
         {AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16P}) {
        if (supportsSampleFormat(codec, preferred)) {
            return preferred;
        }
    }
    return codec->sample_fmts ? codec->sample_fmts[0] : AV_SAMPLE_FMT_NONE;
}

bool supportsSampleRate(const AVCodec* codec, int rate) {
    if (!codec->supported_samplerates) {
        return true;
    }
    for (const int* r = codec->supported_samplerates; *r != 0; ++r) {
        if (*r == rate) {
            return true;
        }
    }
    return false;
}

QString temporaryPathFor(const QString& path) {
    const QFileInfo target(path);
    return target.dir().filePath(
        QStringLiteral(".%1.%2.part")
            .arg(target.fileName())
            .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0')));
}

void setError(QString* error, const QString& text) {
    if (error) {
        *error = text;
    }
}

} // namespace

AudioFileWriter::AudioFileWriter() = default;

AudioFileWriter::~AudioFileWriter() {
    discard();
}

QStringList AudioFileWriter::supportedExtensions() {
    QStringList extensions;
    for (const FormatChoice& format : kFormats) {
        extensions << QLatin1String(format.extension);
    }
    return extensions;
}

bool AudioFileWriter::open(const QString& path, const Options& options, QString* error) {
    discard();
    installFfmpegLogRouting();
    const QString extension = QFileInfo(path).suffix().toLower();
    const FormatChoice* format = formatFor(extension);
    if (!format) {
        setError(error,
                 QStringLiteral("Cannot write “%1”: the file type “.%2” is not one of %3.")
                     .arg(path, extension, supportedExtensions().join(QStringLiteral(", "))));
        return false;
    }
    if (options.channels < 1 || options.channels > 2 || options.sampleRate < 8000 ||
        options.sampleRate > 192000) {
        setError(error, QStringLiteral("Cannot write “%1”: %2 channels at %3 Hz is not supported.")
                            .arg(path)
                            .arg(options.channels)
                            .arg(options.sampleRate));
        return false;
    }

    _path = path;
    _temporaryPath = temporaryPathFor(path);
    AVFormatContext* muxer = nullptr;
    const QByteArray temporaryName = QFile::encodeName(_temporaryPath);
    int result =
        avformat_alloc_output_context2(&muxer, nullptr, format->muxer, temporaryName.constData());
    _muxer.reset(muxer);
    if (result < 0 || !_muxer) {
        setError(error, QStringLiteral("Cannot write “%1”: %2").arg(path, ffmpegErrorText(result)));
        discard();
        return false;
    }
    if (!openEncoder(extension, options, error) || !openConverter(error)) {
        discard();
        return false;
    }
    applyTags(options.tags, format->tagsOnStream);

    result = avio_open(&_muxer->pb, temporaryName.constData(), AVIO_FLAG_WRITE);
    if (result < 0) {
        setError(error,
                 QStringLiteral("Cannot create “%1”: %2").arg(path, ffmpegErrorText(result)));
        discard();
        return false;
    }
    AVDictionary* muxerOptions = nullptr;
    if (!options.mp3InfoFrame && std::string_view(format->muxer) == "mp3") {
        av_dict_set(&muxerOptions, "write_xing", "0", 0);
    }
    result = avformat_write_header(_muxer.get(), &muxerOptions);
    av_dict_free(&muxerOptions);
    if (result < 0) {
        setError(error, QStringLiteral("Cannot write the header of “%1”: %2")
                            .arg(path, ffmpegErrorText(result)));
        discard();
        return false;
    }
    return true;
}

bool AudioFileWriter::openEncoder(const QString& extension, const Options& options,
                                  QString* error) {
    std::vector<const AVCodec*> candidates;
    if (extension == QLatin1String("wav") && options.floatSamples) {
        candidates.push_back(avcodec_find_encoder(AV_CODEC_ID_PCM_F32LE));
    } else {
        for (const char* name : formatFor(extension)->encoders) {
            if (const AVCodec* found = name ? avcodec_find_encoder_by_name(name) : nullptr) {
                candidates.push_back(found);
            }
        }
    }
    // The first encoder that accepts the options wins (libvorbis refuses some rate and
    // channel combinations that FFmpeg's own encoders take).
    const AVCodec* codec = nullptr;
    QString refusal =
        QStringLiteral("Cannot write “%1”: this FFmpeg has no encoder for “.%2” files.")
            .arg(_path, extension);
    for (const AVCodec* candidate : candidates) {
        if (!candidate) {
            continue;
        }
        if (!supportsSampleRate(candidate, options.sampleRate)) {
            refusal = QStringLiteral("Cannot write “%1”: %2 does not encode at %3 Hz.")
                          .arg(_path, QLatin1String(candidate->name))
                          .arg(options.sampleRate);
            continue;
        }
        const int result = openCodec(candidate, options);
        if (result >= 0) {
            codec = candidate;
            break;
        }
        refusal = QStringLiteral("Cannot start the %1 encoder for “%2”: %3")
                      .arg(QLatin1String(candidate->name), _path, ffmpegErrorText(result));
    }
    if (!codec) {
        _encoder.reset();
        setError(error, refusal);
        return false;
    }

    AVCodecContext* encoder = _encoder.get();
    _stream = avformat_new_stream(_muxer.get(), nullptr);
    const int result =
        _stream ? avcodec_parameters_from_context(_stream->codecpar, encoder) : AVERROR(ENOMEM);
    if (result < 0) {
        setError(error,
                 QStringLiteral("Cannot write “%1”: %2").arg(_path, ffmpegErrorText(result)));
        return false;
    }
    _stream->time_base = encoder->time_base;
    _channels = options.channels;

    const bool variableFrames = codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE;
    _frameSize = (encoder->frame_size > 0 && !variableFrames) ? encoder->frame_size : kPcmFrameSize;
    _smallLastFrameAllowed = variableFrames ||
                             (codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME) ||
                             encoder->frame_size == 0;
    _pending.assign(static_cast<size_t>(_frameSize) * _channels, 0.0f);
    _pendingFrames = 0;
    _framesEncoded = 0;
    return true;
}

int AudioFileWriter::openCodec(const AVCodec* codec, const Options& options) {
    _encoder.reset(avcodec_alloc_context3(codec));
    if (!_encoder) {
        return AVERROR(ENOMEM);
    }
    AVCodecContext* encoder = _encoder.get();
    encoder->sample_fmt = chooseSampleFormat(codec);
    encoder->sample_rate = options.sampleRate;
    av_channel_layout_default(&encoder->ch_layout, options.channels);
    encoder->time_base = AVRational{1, options.sampleRate};
    encoder->bit_rate = options.bitRate > 0 ? options.bitRate : 96000 * options.channels;
    const bool vorbis = codec->id == AV_CODEC_ID_VORBIS;
    if ((options.variableBitRate && codec->id == AV_CODEC_ID_MP3) ||
        (vorbis && options.bitRate <= 0)) {
        // LAME's VBR quality 4, or Vorbis quality 5 (about 160 kbit/s in stereo), which
        // unlike a fixed bit rate suits every sample rate.
        encoder->flags |= AV_CODEC_FLAG_QSCALE;
        encoder->global_quality = (vorbis ? 5 : 4) * FF_QP2LAMBDA;
    }
    encoder->thread_count = 1;
    if (_muxer->oformat->flags & AVFMT_GLOBALHEADER) {
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    if (codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL) {
        // FFmpeg's own Vorbis encoder is marked experimental; it is still a valid file.
        encoder->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    }
    return avcodec_open2(encoder, codec, nullptr);
}

bool AudioFileWriter::openConverter(QString* error) {
    AVCodecContext* encoder = _encoder.get();
    SwrContext* converter = nullptr;
    int result = swr_alloc_set_opts2(&converter, &encoder->ch_layout, encoder->sample_fmt,
                                     encoder->sample_rate, &encoder->ch_layout, AV_SAMPLE_FMT_FLT,
                                     encoder->sample_rate, 0, nullptr);
    _converter.reset(converter);
    if (result >= 0) {
        result = swr_init(converter);
    }
    _frame = allocateFrame();
    _packet = allocatePacket();
    if (result >= 0 && _frame && _packet) {
        _frame->format = encoder->sample_fmt;
        _frame->sample_rate = encoder->sample_rate;
        _frame->nb_samples = _frameSize;
        result = av_channel_layout_copy(&_frame->ch_layout, &encoder->ch_layout);
        if (result >= 0) {
            result = av_frame_get_buffer(_frame.get(), 0);
        }
    }
    if (result < 0 || !_frame || !_packet) {
        setError(error, QStringLiteral("Cannot prepare the sample conversion for “%1”: %2")
                            .arg(_path, ffmpegErrorText(result < 0 ? result : AVERROR(ENOMEM))));
        return false;
    }
    return true;
}

void AudioFileWriter::applyTags(const Tags& tags, bool onStream) {
    AVDictionary** dictionary = onStream ? &_stream->metadata : &_muxer->metadata;
    auto put = [dictionary](const char* key, const QString& value) {
        if (!value.trimmed().isEmpty()) {
            av_dict_set(dictionary, key, value.trimmed().toUtf8().constData(), 0);
        }
    };
    put("title", tags.title);
    put("artist", tags.artist);
    put("album", tags.album);
    // FFmpeg's muxers map "date" to ID3v2.4 TDRC, MP4 ©day, RIFF ICRD and Vorbis DATE.
    put("date", tags.year);
}

bool AudioFileWriter::write(const float* interleaved, int frames, QString* error) {
    if (!_encoder) {
        setError(error, QStringLiteral("The audio file writer is not open."));
        return false;
    }
    while (frames > 0) {
        const int take = std::min(frames, _frameSize - _pendingFrames);
        std::memcpy(_pending.data() + static_cast<size_t>(_pendingFrames) * _channels, interleaved,
                    sizeof(float) * static_cast<size_t>(take) * _channels);
        _pendingFrames += take;
        interleaved += static_cast<size_t>(take) * _channels;
        frames -= take;
        if (_pendingFrames == _frameSize && !encodePending(error)) {
            discard();
            return false;
        }
    }
    return true;
}

bool AudioFileWriter::encodePending(QString* error) {
    if (_pendingFrames == 0) {
        return true;
    }
    int frames = _pendingFrames;
    if (frames < _frameSize && !_smallLastFrameAllowed) {
        // This encoder only takes whole frames: the tail is padded with silence.
        std::fill(_pending.begin() + static_cast<ptrdiff_t>(frames) * _channels, _pending.end(),
                  0.0f);
        frames = _frameSize;
    }
    int result = av_frame_make_writable(_frame.get());
    if (result >= 0) {
        _frame->nb_samples = frames;
        const uint8_t* source = reinterpret_cast<const uint8_t*>(_pending.data());
        result = swr_convert(_converter.get(), _frame->data, frames, &source, frames);
    }
    if (result < 0) {
        setError(error, QStringLiteral("Cannot convert samples for “%1”: %2")
                            .arg(_path, ffmpegErrorText(result)));
        return false;
    }
    _frame->pts = _framesEncoded;
    _framesEncoded += frames;
    _pendingFrames = 0;
    return sendToEncoder(false, error);
}

bool AudioFileWriter::sendToEncoder(bool flush, QString* error) {
    int result = avcodec_send_frame(_encoder.get(), flush ? nullptr : _frame.get());
    while (result >= 0) {
        result = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return true;
        }
        if (result < 0) {
            break;
        }
        av_packet_rescale_ts(_packet.get(), _encoder->time_base, _stream->time_base);
        _packet->stream_index = _stream->index;
        result = av_interleaved_write_frame(_muxer.get(), _packet.get());
    }
    setError(error, QStringLiteral("Cannot encode “%1”: %2").arg(_path, ffmpegErrorText(result)));
    return false;
}

bool AudioFileWriter::finish(QString* error) {
    if (!_encoder) {
        setError(error, QStringLiteral("The audio file writer is not open."));
        return false;
    }
    if (!encodePending(error) || !sendToEncoder(true, error)) {
        discard();
        return false;
    }
    int result = av_write_trailer(_muxer.get());
    if (result < 0) {
        setError(error,
                 QStringLiteral("Cannot complete “%1”: %2").arg(_path, ffmpegErrorText(result)));
        discard();
        return false;
    }
    result = avio_closep(&_muxer->pb);
    if (result < 0) {
        setError(error,
                 QStringLiteral("Cannot complete “%1”: %2").arg(_path, ffmpegErrorText(result)));
        discard();
        return false;
    }
    // rename() over an existing file is atomic; QFile::rename would refuse to replace it.
    const QByteArray from = QFile::encodeName(_temporaryPath);
    const QByteArray to = QFile::encodeName(_path);
    if (std::rename(from.constData(), to.constData()) != 0) {
        setError(error, QStringLiteral("Cannot move the finished file into place at “%1”: %2")
                            .arg(_path, QString::fromLocal8Bit(std::strerror(errno))));
        discard();
        return false;
    }
    _temporaryPath.clear();
    discard();
    return true;
}

void AudioFileWriter::discard() {
    _converter.reset();
    _encoder.reset();
    _muxer.reset(); // closes the temporary file if it is still open
    _frame.reset();
    _packet.reset();
    _stream = nullptr;
    _pending.clear();
    _pendingFrames = 0;
    if (!_temporaryPath.isEmpty()) {
        QFile::remove(_temporaryPath);
        _temporaryPath.clear();
    }
}

bool AudioFileWriter::writeFile(const QString& path, Options options, ToneGenerator& generator,
                                long long frames, QString* error) {
    options.sampleRate = generator.sampleRate();
    options.channels = generator.channels();
    AudioFileWriter writer;
    if (!writer.open(path, options, error)) {
        return false;
    }
    constexpr int kChunk = 4096;
    std::vector<float> chunk(static_cast<size_t>(kChunk) * generator.channels());
    while (frames > 0) {
        const int count = static_cast<int>(std::min<long long>(frames, kChunk));
        generator.render(chunk.data(), count);
        if (!writer.write(chunk.data(), count, error)) {
            return false;
        }
        frames -= count;
    }
    return writer.finish(error);
}

} // namespace media
