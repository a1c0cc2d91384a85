#include "media/FfmpegDemuxer.h"

#include "foundation/Logging.h"
#include "media/Mp3GaplessInfo.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

#include <QFile>
#include <QFileInfo>
#include <string_view>

namespace media {

namespace {

// Enough for every container's header and a first packet; FFmpeg doubles its reads from
// 2 KB only until the format is certain, so most files read far less. Large ID3 cover
// pictures are skipped by the mp3 demuxer, not probed.
constexpr const char* kProbeBytes = "65536";
// Audio parameters come from headers or the first packet; half a second is plenty.
constexpr const char* kAnalyzeMicroseconds = "500000";
// Formats without their own seek table (mp3 among them) index the packets they have
// read, one entry per frame; past this size the index keeps every other entry, so a
// long file costs a little more decoding per seek instead of more memory per source.
constexpr const char* kIndexBytes = "32768";
// A demuxer that keeps returning packets without end is broken; stop counting there.
constexpr long long kMaxScannedPackets = 50'000'000;

QString displayName(const QString& path) {
    return QFileInfo(path).fileName();
}

} // namespace

FfmpegDemuxer::FfmpegDemuxer() = default;
FfmpegDemuxer::~FfmpegDemuxer() = default;
FfmpegDemuxer::FfmpegDemuxer(FfmpegDemuxer&&) noexcept = default;
FfmpegDemuxer& FfmpegDemuxer::operator=(FfmpegDemuxer&&) noexcept = default;

bool FfmpegDemuxer::open(const QString& path, QString* error) {
    installFfmpegLogRouting();
    _context.reset();
    _audioIndex = -1;
    _path = path;

    if (!QFileInfo(path).isFile()) {
        if (error) {
            *error = QStringLiteral("“%1” does not exist or is not a file.").arg(displayName(path));
        }
        return false;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "probesize", kProbeBytes, 0);
    av_dict_set(&options, "analyzeduration", kAnalyzeMicroseconds, 0);
    av_dict_set(&options, "indexmem", kIndexBytes, 0);
    AVFormatContext* context = nullptr;
    const QByteArray fileName = QFile::encodeName(path);
    int result = avformat_open_input(&context, fileName.constData(), nullptr, &options);
    av_dict_free(&options);
    if (result < 0) {
        if (error) {
            *error = QStringLiteral("Cannot open “%1”: %2")
                         .arg(displayName(path), ffmpegErrorText(result));
        }
        return false;
    }
    _context.reset(context);
    result = avformat_find_stream_info(context, nullptr);
    if (result < 0) {
        if (error) {
            *error = QStringLiteral("Cannot read the streams of “%1”: %2")
                         .arg(displayName(path), ffmpegErrorText(result));
        }
        _context.reset();
        return false;
    }
    _audioIndex = findAudioStream();
    return true;
}

int FfmpegDemuxer::findAudioStream() const {
    for (unsigned i = 0; i < _context->nb_streams; ++i) {
        const AVStream* stream = _context->streams[i];
        const AVCodecParameters* parameters = stream->codecpar;
        if (parameters->codec_type != AVMEDIA_TYPE_AUDIO ||
            (stream->disposition & AV_DISPOSITION_ATTACHED_PIC)) {
            continue;
        }
        // A codec FFmpeg has no decoder for, or whose parameters it could not read from
        // the first packets (a text file named .mp3), is not audio we can play.
        if (!avcodec_find_decoder(parameters->codec_id) || parameters->sample_rate <= 0 ||
            parameters->ch_layout.nb_channels <= 0) {
            continue;
        }
        return static_cast<int>(i);
    }
    return -1;
}

AVStream* FfmpegDemuxer::audioStream() const {
    return _audioIndex >= 0 ? _context->streams[_audioIndex] : nullptr;
}

int FfmpegDemuxer::sampleRate() const {
    const AVStream* stream = audioStream();
    return stream ? stream->codecpar->sample_rate : 0;
}

int FfmpegDemuxer::channels() const {
    const AVStream* stream = audioStream();
    return stream ? stream->codecpar->ch_layout.nb_channels : 0;
}

long long FfmpegDemuxer::startTicks() const {
    const AVStream* stream = audioStream();
    return (stream && stream->start_time != AV_NOPTS_VALUE) ? stream->start_time : 0;
}

long long FfmpegDemuxer::exactLengthInSamples() {
    if (!audioStream()) {
        return -1;
    }
    if (_context->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return lengthByDemuxing();
    }
    const long long length = lengthFromHeaders();
    return length > 0 ? length : lengthByDemuxing();
}

long long FfmpegDemuxer::lengthFromHeaders() const {
    const AVStream* stream = audioStream();
    const AVRational perSample{1, sampleRate()};
    long long length = -1;
    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0) {
        length = av_rescale_q(stream->duration, stream->time_base, perSample);
    } else if (_context->duration != AV_NOPTS_VALUE && _context->duration > 0) {
        length = av_rescale(_context->duration, sampleRate(), AV_TIME_BASE);
    }
    if (length <= 0 || stream->codecpar->codec_id != AV_CODEC_ID_MP3) {
        return length;
    }
    // The mp3 demuxer counts the Xing frame count × samples per frame but trims the
    // encoder's delay and padding while decoding (it then starts the stream late by the
    // delay plus the decoder's own 529 samples). Report what the decoder delivers.
    if (startTicks() <= 0) {
        return length;
    }
    const Mp3GaplessInfo gapless = Mp3GaplessInfo::read(_path);
    if (gapless.valid && gapless.frames * gapless.samplesPerFrame == length) {
        return gapless.audioSamples();
    }
    return length - av_rescale_q(startTicks(), stream->time_base, perSample);
}

long long FfmpegDemuxer::lengthByDemuxing() {
    const AVStream* stream = audioStream();
    PacketHandle packet = allocatePacket();
    if (!packet) {
        return -1;
    }
    long long ticks = 0;
    long long packets = 0;
    while (av_read_frame(_context.get(), packet.get()) >= 0 && packets++ < kMaxScannedPackets) {
        if (packet->stream_index == _audioIndex && packet->duration > 0) {
            ticks += packet->duration;
        }
        av_packet_unref(packet.get());
    }
    const int rewound =
        avformat_seek_file(_context.get(), _audioIndex, INT64_MIN, startTicks(), startTicks(), 0);
    if (rewound < 0) {
        qCWarning(lcMedia, "Cannot rewind “%s” after measuring it: %s", qPrintable(_path),
                  qPrintable(ffmpegErrorText(rewound)));
    }
    if (ticks <= 0) {
        return -1;
    }
    return av_rescale_q(ticks, stream->time_base, AVRational{1, sampleRate()});
}

QString FfmpegDemuxer::tag(std::initializer_list<const char*> keys) const {
    const AVStream* stream = audioStream();
    for (AVDictionary* dictionary : {_context->metadata, stream ? stream->metadata : nullptr}) {
        for (const char* key : keys) {
            const AVDictionaryEntry* entry = av_dict_get(dictionary, key, nullptr, 0);
            if (entry && entry->value) {
                const QString value = QString::fromUtf8(entry->value).trimmed();
                if (!value.isEmpty()) {
                    return value;
                }
            }
        }
    }
    return QString();
}

bool FfmpegDemuxer::seeksNeedFreshIndex() const {
    return _context && std::string_view(_context->iformat->name) == "ogg";
}

bool FfmpegDemuxer::reopenForDecoding() {
    FfmpegDemuxer fresh;
    if (!fresh.open(_path, nullptr) || fresh._audioIndex != _audioIndex ||
        fresh.audioStream()->codecpar->codec_id != audioStream()->codecpar->codec_id) {
        return false;
    }
    fresh.keepOnlyAudioForDecoding();
    *this = std::move(fresh);
    return true;
}

void FfmpegDemuxer::keepOnlyAudioForDecoding() {
    av_dict_free(&_context->metadata);
    for (unsigned i = 0; i < _context->nb_streams; ++i) {
        AVStream* stream = _context->streams[i];
        av_dict_free(&stream->metadata);
        if (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) {
            av_packet_unref(&stream->attached_pic);
        }
        if (static_cast<int>(i) != _audioIndex) {
            stream->discard = AVDISCARD_ALL;
        }
    }
}

} // namespace media
