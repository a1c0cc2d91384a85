#include "media/FfmpegAudioSource.h"

#include "foundation/Logging.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <numeric>

namespace media {

namespace {

// Broken packets in a row (random bytes named .mp3, a damaged stretch) before the file
// counts as unreadable.
constexpr int kMaxConsecutiveErrors = 32;
// Packets without a decoded frame before the stream counts as broken.
constexpr int kMaxPacketsPerFrame = 10000;
// Decoded frames without output (while skipping up to a seek target) before giving up.
constexpr int kMaxFramesPerRefill = 1 << 20;
// Seeks, each starting twice as far before the target, before decoding from the start.
constexpr int kSeekAttempts = 4;
// Lossy decoders produce wrong samples for a frame or two after a jump (MDCT overlap),
// so they start this far before the target.
constexpr int kLossyRunUpDivisor = 10; // a tenth of a second
// An mp3 frame may take its data from up to 511 bytes of the frames before it (the bit
// reservoir). After a jump the decoder outputs silence until its reservoir holds real
// data, which at low bit rates (a quiet VBR passage) takes 7 or 8 frames, plus one for
// the filter overlap. 16 MPEG-1 frames leave a wide margin (32 at MPEG-2's half size).
constexpr long long kMp3RunUpSamples = 16 * 1152;
// Input samples the resampler needs before the target to have its filter history filled
// with the real signal (its filter is 32 taps wide at the input rate).
constexpr long long kResamplerHistory = 64;

QString fileName(const QString& path) {
    return QFileInfo(path).fileName();
}

} // namespace

std::unique_ptr<FfmpegAudioSource> FfmpegAudioSource::open(const QString& path,
                                                           int outputSampleRate, QString* error) {
    return openWithLength(path, outputSampleRate, -1, error);
}

std::unique_ptr<FfmpegAudioSource> FfmpegAudioSource::openWithLength(const QString& path,
                                                                     int outputSampleRate,
                                                                     long long knownLength,
                                                                     QString* error) {
    if (outputSampleRate < 1000 || outputSampleRate > 768000) {
        if (error) {
            *error = QStringLiteral("Cannot decode “%1” at %2 Hz.")
                         .arg(fileName(path))
                         .arg(outputSampleRate);
        }
        return nullptr;
    }
    std::unique_ptr<FfmpegAudioSource> source(new FfmpegAudioSource);
    if (!source->_demuxer.open(path, error)) {
        return nullptr;
    }
    source->_stream = source->_demuxer.audioStream();
    if (!source->_stream) {
        if (error) {
            *error = QStringLiteral("“%1” has no audio that can be played.").arg(fileName(path));
        }
        return nullptr;
    }
    const long long length =
        knownLength > 0 ? knownLength : source->_demuxer.exactLengthInSamples();
    if (length <= 0) {
        if (error) {
            *error = QStringLiteral("The length of “%1” cannot be read.").arg(fileName(path));
        }
        return nullptr;
    }
    source->_inputRate = source->_demuxer.sampleRate();
    source->_fileChannels = source->_demuxer.channels();
    source->_outputChannels = source->_fileChannels == 1 ? 1 : 2;
    source->_outputRate = outputSampleRate;
    source->_lengthInSamples = length;
    const long long common = std::gcd(source->_inputRate, outputSampleRate);
    source->_inputPeriod = source->_inputRate / common;
    source->_outputPeriod = outputSampleRate / common;
    // The resampler delivers one output frame per output period started before the end.
    source->_durationFrames =
        av_rescale_rnd(length, outputSampleRate, source->_inputRate, AV_ROUND_UP);
    source->_demuxer.keepOnlyAudioForDecoding();
    if (!source->openDecoder(error)) {
        return nullptr;
    }
    return source;
}

FfmpegAudioSource::~FfmpegAudioSource() = default;

bool FfmpegAudioSource::openDecoder(QString* error) {
    // Built aside and swapped in only when it opened, so a failure keeps the old one.
    const AVCodec* codec = avcodec_find_decoder(_stream->codecpar->codec_id);
    CodecContextHandle decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!_frame) {
        _frame = allocateFrame();
    }
    if (!_packet) {
        _packet = allocatePacket();
    }
    int result = (decoder && _frame && _packet) ? 0 : AVERROR(ENOMEM);
    if (result >= 0) {
        result = avcodec_parameters_to_context(decoder.get(), _stream->codecpar);
    }
    if (result >= 0) {
        decoder->pkt_timebase = _stream->time_base;
        decoder->thread_count = 1; // a worker decodes many files; one thread each
        result = avcodec_open2(decoder.get(), codec, nullptr);
    }
    if (result < 0) {
        if (error) {
            *error = QStringLiteral("Cannot start decoding “%1”: %2")
                         .arg(fileName(path()), ffmpegErrorText(result));
        }
        return false;
    }
    _decoder = std::move(decoder);
    return true;
}

double FfmpegAudioSource::durationSeconds() const {
    return static_cast<double>(_lengthInSamples) / _inputRate;
}

std::unique_ptr<AudioSource> FfmpegAudioSource::clone() const {
    QString error;
    auto copy = openWithLength(path(), _outputRate, _lengthInSamples, &error);
    if (!copy) {
        qCWarning(lcMedia, "Cannot open a second decoder on “%s”: %s", qPrintable(path()),
                  qPrintable(error));
    }
    return copy;
}

// ---- resampler ----

bool FfmpegAudioSource::configureResampler(const AVFrame* frame) {
    const int inputChannels = frame->ch_layout.nb_channels;
    if (_resampler && frame->format == _resamplerFormat && frame->sample_rate == _resamplerRate &&
        inputChannels == _resamplerChannels) {
        return true;
    }
    AVChannelLayout input{};
    AVChannelLayout output{};
    av_channel_layout_default(&output, _outputChannels);
    const bool knownSurround =
        inputChannels > 2 && frame->ch_layout.order == AV_CHANNEL_ORDER_NATIVE &&
        av_channel_layout_index_from_channel(&frame->ch_layout, AV_CHAN_FRONT_LEFT) >= 0 &&
        av_channel_layout_index_from_channel(&frame->ch_layout, AV_CHAN_FRONT_RIGHT) >= 0;
    if (knownSurround) {
        av_channel_layout_copy(&input, &frame->ch_layout);
    } else {
        // Mono and stereo map straight through whatever their labels say.
        av_channel_layout_default(&input, inputChannels);
    }
    SwrContext* resampler = nullptr;
    int result = swr_alloc_set_opts2(&resampler, &output, AV_SAMPLE_FMT_FLT, _outputRate, &input,
                                     static_cast<AVSampleFormat>(frame->format), frame->sample_rate,
                                     0, nullptr);
    _resampler.reset(resampler);
    if (result >= 0) {
        // Exact phases keep a resampler restarted on the period grid identical to one
        // that ran from the start.
        av_opt_set_int(resampler, "exact_rational", 1, 0);
        if (knownSurround) {
            av_opt_set_double(resampler, "rematrix_maxval", 1.0, 0); // a downmix never clips
        } else if (inputChannels > 2) {
            std::vector<double> matrix(static_cast<size_t>(2 * inputChannels), 0.0);
            matrix[0] = 1.0;                 // left  <- first channel
            matrix[inputChannels + 1] = 1.0; // right <- second channel
            result = swr_set_matrix(resampler, matrix.data(), inputChannels);
        }
    }
    if (result >= 0) {
        result = swr_init(resampler);
    }
    av_channel_layout_uninit(&input);
    av_channel_layout_uninit(&output);
    if (result < 0) {
        qCWarning(lcMedia, "Cannot convert the audio of “%s”: %s", qPrintable(path()),
                  qPrintable(ffmpegErrorText(result)));
        _resampler.reset();
        return false;
    }
    _resamplerFormat = frame->format;
    _resamplerRate = frame->sample_rate;
    _resamplerChannels = inputChannels;
    return true;
}

bool FfmpegAudioSource::restartResampler() {
    // swr_init on a configured context drops its history and buffered samples.
    return !_resampler || swr_init(_resampler.get()) >= 0;
}

void FfmpegAudioSource::ensureBufferFrames(int frames) {
    const size_t needed = static_cast<size_t>(_bufferOffset + _bufferFrames + frames) *
                          static_cast<size_t>(_outputChannels);
    if (_buffer.size() < needed) {
        _buffer.resize(needed); // grows to the largest packet's output once, then stays
    }
}

void FfmpegAudioSource::dropLeadingOutput() {
    const long long dropped = std::min<long long>(_discardOutput, _bufferFrames);
    _bufferOffset += static_cast<int>(dropped);
    _bufferFrames -= static_cast<int>(dropped);
    _discardOutput -= dropped;
}

// ---- decoding ----

FfmpegAudioSource::Step FfmpegAudioSource::decodeFrame() {
    AVFormatContext* context = _demuxer.context();
    for (int packets = 0; packets < kMaxPacketsPerFrame;) {
        int result = avcodec_receive_frame(_decoder.get(), _frame.get());
        if (result >= 0) {
            _consecutiveErrors = 0;
            return Step::Produced;
        }
        if (result == AVERROR_EOF) {
            _decoderDone = true;
            return Step::End;
        }
        if (result != AVERROR(EAGAIN)) {
            qCWarning(lcMedia, "Decoding “%s” failed: %s", qPrintable(path()),
                      qPrintable(ffmpegErrorText(result)));
            return Step::Failed;
        }
        if (_demuxerDone) {
            _decoderDone = true;
            return Step::End;
        }
        result = av_read_frame(context, _packet.get());
        _readSinceOpen = true;
        if (result < 0) {
            if (result == AVERROR_EOF || (context->pb && avio_feof(context->pb))) {
                avcodec_send_packet(_decoder.get(), nullptr); // drain what the decoder holds
                _demuxerDone = true;
                continue;
            }
            qCWarning(lcMedia, "Reading “%s” failed: %s", qPrintable(path()),
                      qPrintable(ffmpegErrorText(result)));
            return Step::Failed;
        }
        ++packets;
        if (_packet->stream_index != _stream->index) {
            av_packet_unref(_packet.get());
            continue;
        }
        result = avcodec_send_packet(_decoder.get(), _packet.get());
        av_packet_unref(_packet.get());
        if (result < 0 && result != AVERROR(EAGAIN) &&
            ++_consecutiveErrors > kMaxConsecutiveErrors) {
            qCWarning(lcMedia, "“%s” is damaged: %d packets in a row do not decode (%s)",
                      qPrintable(path()), _consecutiveErrors, qPrintable(ffmpegErrorText(result)));
            return Step::Failed;
        }
    }
    qCWarning(lcMedia, "“%s” is damaged: no audio in %d packets", qPrintable(path()),
              kMaxPacketsPerFrame);
    return Step::Failed;
}

std::optional<long long> FfmpegAudioSource::inputSampleOfFrame(const AVFrame* frame) const {
    long long ticks = frame->best_effort_timestamp;
    if (ticks == AV_NOPTS_VALUE) {
        ticks = frame->pts;
    }
    if (ticks == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    return av_rescale_q(ticks - _demuxer.startTicks(), _stream->time_base,
                        AVRational{1, _inputRate});
}

FfmpegAudioSource::Step FfmpegAudioSource::resampleFrame() {
    const AVFrame* frame = _frame.get();
    if (!configureResampler(frame)) {
        return Step::Failed;
    }
    if (!_timelineKnown) {
        // The first frame after opening places the timeline (a stream may begin with
        // samples before its start time that are not part of the audio).
        _nextInputSample = inputSampleOfFrame(frame).value_or(0);
        _timelineKnown = true;
    }
    const long long frameStart = _nextInputSample;
    _nextInputSample += frame->nb_samples;
    const int skip =
        static_cast<int>(std::clamp<long long>(_skipInputUntil - frameStart, 0, frame->nb_samples));
    const int count = frame->nb_samples - skip;
    if (count == 0) {
        return Step::Produced;
    }
    const AVSampleFormat format = static_cast<AVSampleFormat>(frame->format);
    const int bytesPerSample = av_get_bytes_per_sample(format);
    const int channels = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(format);
    uint8_t* const* planes = frame->extended_data;
    std::vector<const uint8_t*> heapInputs;
    const uint8_t* localInputs[8];
    const uint8_t** inputs = localInputs;
    if (planar && channels > 8) {
        heapInputs.resize(static_cast<size_t>(channels));
        inputs = heapInputs.data();
    }
    if (planar) {
        for (int channel = 0; channel < channels; ++channel) {
            inputs[channel] = planes[channel] + static_cast<size_t>(skip) * bytesPerSample;
        }
    } else {
        inputs[0] = planes[0] + static_cast<size_t>(skip) * bytesPerSample * channels;
    }

    const int capacity = swr_get_out_samples(_resampler.get(), count);
    if (capacity < 0) {
        return Step::Failed;
    }
    ensureBufferFrames(capacity);
    auto* output = reinterpret_cast<uint8_t*>(
        _buffer.data() + static_cast<size_t>(_bufferOffset + _bufferFrames) * _outputChannels);
    const int produced = swr_convert(_resampler.get(), &output, capacity, inputs, count);
    if (produced < 0) {
        qCWarning(lcMedia, "Resampling “%s” failed: %s", qPrintable(path()),
                  qPrintable(ffmpegErrorText(produced)));
        return Step::Failed;
    }
    _bufferFrames += produced;
    dropLeadingOutput();
    return Step::Produced;
}

FfmpegAudioSource::Step FfmpegAudioSource::flushResampler() {
    _resamplerFlushed = true;
    if (!_resampler) {
        return Step::End;
    }
    const int capacity = swr_get_out_samples(_resampler.get(), 0);
    if (capacity <= 0) {
        return Step::End;
    }
    ensureBufferFrames(capacity);
    auto* output = reinterpret_cast<uint8_t*>(
        _buffer.data() + static_cast<size_t>(_bufferOffset + _bufferFrames) * _outputChannels);
    const int produced = swr_convert(_resampler.get(), &output, capacity, nullptr, 0);
    if (produced < 0) {
        return Step::Failed;
    }
    _bufferFrames += produced;
    dropLeadingOutput();
    return _bufferFrames > 0 ? Step::Produced : Step::End;
}

FfmpegAudioSource::Step FfmpegAudioSource::refill() {
    if (_bufferFrames == 0) {
        _bufferOffset = 0;
    }
    for (int frames = 0; frames < kMaxFramesPerRefill; ++frames) {
        if (_resamplerFlushed) {
            return Step::End;
        }
        if (!_decoderDone) {
            Step step = decodeFrame();
            if (step == Step::Failed) {
                return step;
            }
            if (step == Step::Produced) {
                step = resampleFrame();
                if (step == Step::Failed) {
                    return step;
                }
                if (_bufferFrames > 0) {
                    return Step::Produced;
                }
                continue;
            }
        }
        return flushResampler();
    }
    return Step::Failed;
}

int FfmpegAudioSource::read(float* interleaved, int maxFrames) {
    if (_failed) {
        return -1;
    }
    const long long remaining = _durationFrames - _position;
    if (maxFrames <= 0 || !interleaved || remaining <= 0) {
        return 0;
    }
    const int wanted = static_cast<int>(std::min<long long>(maxFrames, remaining));
    int done = 0;
    while (done < wanted) {
        if (_bufferFrames == 0) {
            const Step step = refill();
            if (step == Step::Failed) {
                _failed = true;
                if (done == 0) {
                    return -1;
                }
                break; // deliver what was decoded; the next read reports the failure
            }
            if (step == Step::End) {
                break;
            }
            continue;
        }
        const int count = std::min(wanted - done, _bufferFrames);
        std::memcpy(interleaved + static_cast<size_t>(done) * _outputChannels,
                    _buffer.data() + static_cast<size_t>(_bufferOffset) * _outputChannels,
                    sizeof(float) * static_cast<size_t>(count) * _outputChannels);
        _bufferOffset += count;
        _bufferFrames -= count;
        done += count;
    }
    _position += done;
    return done;
}

// ---- seeking ----

long long FfmpegAudioSource::codecRunUpSamples() const {
    const AVCodecParameters* parameters = _stream->codecpar;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters->codec_id);
    const bool lossless = descriptor && (descriptor->props & AV_CODEC_PROP_LOSSLESS) &&
                          !(descriptor->props & AV_CODEC_PROP_LOSSY);
    long long runUp = lossless ? 0 : _inputRate / kLossyRunUpDivisor;
    if (parameters->codec_id == AV_CODEC_ID_MP3) {
        runUp = kMp3RunUpSamples;
    }
    return std::max<long long>(runUp, parameters->seek_preroll);
}

bool FfmpegAudioSource::seekToFrame(long long frame) {
    if (!_decoder) {
        return false;
    }
    const long long target = std::clamp<long long>(frame, 0, _durationFrames);
    const long long runUp = std::max<long long>(codecRunUpSamples(), 1);
    for (int attempt = 0; attempt < kSeekAttempts; ++attempt) {
        bool fromFileStart = attempt == kSeekAttempts - 1;
        if (!startAt(target, runUp << attempt, &fromFileStart)) {
            break;
        }
        switch (findFirstFrame(fromFileStart)) {
        case SeekStart::Found:
        case SeekStart::End:
            _failed = false;
            _position = target;
            return true;
        case SeekStart::Overshot:
            continue; // the demuxer landed after the restart point: jump further back
        case SeekStart::Failed:
            attempt = kSeekAttempts;
            break;
        }
    }
    qCWarning(lcMedia, "Cannot seek “%s” to frame %lld", qPrintable(path()), target);
    _failed = true;
    return false;
}

bool FfmpegAudioSource::startAt(long long target, long long runUpSamples, bool* fromFileStart) {
    // The resampler restarts at the latest input sample on the rate ratio's grid that
    // leaves it its filter history before the target.
    const long long targetInput = target * _inputPeriod / _outputPeriod;
    const long long history =
        _inputPeriod == _outputPeriod
            ? 0
            : kResamplerHistory * std::max<long long>(1, _inputRate / _outputRate + 1);
    long long restartInput = std::max<long long>(0, targetInput - history);
    restartInput -= restartInput % _inputPeriod;
    _skipInputUntil = restartInput;
    _discardOutput = target - restartInput / _inputPeriod * _outputPeriod;

    if (_readSinceOpen && _demuxer.seeksNeedFreshIndex()) {
        if (_demuxer.reopenForDecoding()) {
            _stream = _demuxer.audioStream();
            _readSinceOpen = false;
        } else {
            // Its index cannot be trusted; only the start of the file can.
            qCDebug(lcMedia, "Cannot reopen “%s” for a clean seek", qPrintable(path()));
            *fromFileStart = true;
        }
    }
    // The jump may aim before the stream's first sample (an AAC priming packet sits at
    // a negative time); every demuxer then lands on its first packet.
    const long long runUpStart = *fromFileStart ? -std::max<long long>(runUpSamples, _inputRate)
                                                : restartInput - runUpSamples;
    const long long ticks = _demuxer.startTicks() +
                            av_rescale_q(runUpStart, AVRational{1, _inputRate}, _stream->time_base);
    AVFormatContext* context = _demuxer.context();
    int result = av_seek_frame(context, _stream->index, ticks, AVSEEK_FLAG_BACKWARD);
    if (result < 0) {
        result = avformat_seek_file(context, _stream->index, INT64_MIN, ticks, ticks, 0);
    }
    if (result < 0 && runUpStart < 0) {
        result = avformat_seek_file(context, _stream->index, INT64_MIN, _demuxer.startTicks(),
                                    _demuxer.startTicks(), 0);
    }
    if (result < 0) {
        qCWarning(lcMedia, "Seeking in “%s” failed: %s", qPrintable(path()),
                  qPrintable(ffmpegErrorText(result)));
        return false;
    }
    if (runUpStart <= 0) {
        // Decoding from the first packet: a new decoder, exactly as at opening. A flushed
        // one keeps some state (AAC its last window shape), which would make the first
        // frame differ slightly from a straight read.
        if (!openDecoder(nullptr)) {
            return false;
        }
    } else {
        avcodec_flush_buffers(_decoder.get());
    }
    if (!restartResampler()) {
        return false;
    }
    _bufferOffset = 0;
    _bufferFrames = 0;
    _demuxerDone = false;
    _decoderDone = false;
    _resamplerFlushed = false;
    _consecutiveErrors = 0;
    return true;
}

FfmpegAudioSource::SeekStart FfmpegAudioSource::findFirstFrame(bool fromFileStart) {
    const Step step = decodeFrame();
    if (step == Step::Failed) {
        return SeekStart::Failed;
    }
    if (step == Step::End) {
        // Past the last packet: right when decoding from the start (an empty stream),
        // otherwise the jump went too far.
        return fromFileStart ? SeekStart::End : SeekStart::Overshot;
    }
    const std::optional<long long> first = inputSampleOfFrame(_frame.get());
    if (!fromFileStart && (!first || *first > _skipInputUntil)) {
        return SeekStart::Overshot; // unknown counts as too late: only the start is certain
    }
    _nextInputSample = first.value_or(0);
    _timelineKnown = true;
    return resampleFrame() == Step::Failed ? SeekStart::Failed : SeekStart::Found;
}

} // namespace media
