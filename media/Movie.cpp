#include "media/Movie.h"

#include "foundation/Logging.h"
#include "media/AudioEngine.h"
#if __has_include("media/FfmpegAudioSource.h")
#include "media/FfmpegAudioSource.h"
#define ZELVORA_HAVE_FFMPEG_SOURCE 1
#endif
#include "media/GeneratedSource.h"
#include "media/Preroll.h"
#include "media/Voice.h"
#include "media/VoiceCommand.h"

#include <QFileInfo>
#include <algorithm>
#include <bit>
#include <cmath>

namespace media {

namespace {

constexpr int kMaxVolume = 32767;
constexpr quint32 kMaxChannelTag = Movie::kChannelTagBase + 0xFFFF;

void setError(QString* error, const QString& message) {
    if (error) {
        *error = message;
    }
}

int peakToScale(uint32_t bits) {
    const float peak = std::bit_cast<float>(bits);
    return int(std::lround(std::clamp(double(peak), 0.0, 1.0) * 255.0));
}

} // namespace

Movie::Movie() = default;

Movie::~Movie() {
    close();
}

bool Movie::open(const QString& path, QString* error) {
    close();
    AudioEngine* engine = AudioEngine::instance();
    if (!engine) {
        setError(error, QStringLiteral("No audio engine is running"));
        return false;
    }
    QString decoderError;
#ifdef ZELVORA_HAVE_FFMPEG_SOURCE
    std::unique_ptr<AudioSource> source =
        FfmpegAudioSource::open(path, engine->sampleRate(), &decoderError);
#else
    std::unique_ptr<AudioSource> source;
    decoderError = QStringLiteral("this build has no file decoder");
#endif
    if (!source) {
        setError(error, QStringLiteral("\"%1\" cannot be played: %2")
                            .arg(QFileInfo(path).fileName(), decoderError));
        return false;
    }
    return open(std::move(source), error, path);
}

bool Movie::openSilence(QString* error) {
    AudioEngine* engine = AudioEngine::instance();
    if (!engine) {
        close();
        setError(error, QStringLiteral("No audio engine is running"));
        return false;
    }
    return open(GeneratedSource::silence(1.0, 2, engine->sampleRate()), error,
                QStringLiteral("Silence"));
}

bool Movie::open(std::unique_ptr<AudioSource> source, QString* error, const QString& name) {
    close();
    AudioEngine* engine = AudioEngine::instance();
    if (!engine) {
        setError(error, QStringLiteral("No audio engine is running"));
        return false;
    }
    if (!source) {
        setError(error, QStringLiteral("There is no audio to open"));
        return false;
    }
    if (source->sampleRate() != engine->sampleRate()) {
        setError(error, QStringLiteral("The audio runs at %1 Hz, the engine at %2 Hz")
                            .arg(source->sampleRate())
                            .arg(engine->sampleRate()));
        return false;
    }
    if (source->channels() < 1 || source->durationFrames() <= 0) {
        setError(error, QStringLiteral("The file holds no audio"));
        return false;
    }
    _sampleRate = source->sampleRate();
    _channels = source->channels() == 1 ? 1 : 2;
    _durationFrames = source->durationFrames();
    std::shared_ptr<Voice> voice = engine->createVoice(
        std::move(source), name.isEmpty() ? QStringLiteral("generated audio") : name, error);
    if (!voice) {
        return false;
    }
    // A new movie starts from the defaults: unity, no loop, no meter, the default
    // device's first two channels (as the voice itself does).
    _engine = engine;
    _voice = std::move(voice);
    _volume = 255;
    _looping = false;
    _metering = false;
    _deviceName = AudioEngine::builtInOutputName();
    _leftTag = kChannelTagBase;
    _rightTag = kChannelTagBase + 1;
    cueAt(0);
    return true;
}

void Movie::close() {
    if (!_voice) {
        return;
    }
    std::vector<std::shared_ptr<Preroll>> keepAlive;
    for (auto& preroll : {_preroll, _previousPreroll}) {
        if (preroll) {
            preroll->abandon();
            keepAlive.push_back(preroll);
        }
    }
    for (RetiredPreroll& retired : _retired) {
        keepAlive.push_back(std::move(retired.preroll));
    }
    if (_engine) {
        _engine->retireVoice(std::move(_voice), std::move(keepAlive));
    }
    _voice.reset();
    _engine.clear();
    _preroll.reset();
    _previousPreroll.reset();
    _retired.clear();
    _playing = false;
    _durationFrames = 0;
    _channels = 0;
    _startFrame = 0;
    _requestedFrame = 0;
    _sequence = 0;
    _positionSequence = 0;
}

double Movie::duration() const {
    return _sampleRate > 0 ? double(_durationFrames) / double(_sampleRate) : 0.0;
}

double Movie::position() const {
    if (!_voice || _sampleRate <= 0) {
        return 0.0;
    }
    long long frame = _requestedFrame;
    if (_voice->acknowledged.load(std::memory_order_acquire) >= _positionSequence) {
        frame = _voice->position.load(std::memory_order_relaxed);
    }
    return double(std::clamp(frame, 0LL, _durationFrames)) / double(_sampleRate);
}

long long Movie::clampedFrame(double seconds) const {
    if (!std::isfinite(seconds) || seconds <= 0.0) {
        return seconds == HUGE_VAL ? _durationFrames : 0;
    }
    const double frame = std::trunc(seconds * double(_sampleRate));
    return frame >= double(_durationFrames) ? _durationFrames : (long long)frame;
}

void Movie::setPosition(double seconds) {
    if (!_voice || !_engine) {
        return;
    }
    settleEnded();
    const long long frame = clampedFrame(seconds);
    if (!_playing || frame == _startFrame) {
        // Not playing: this becomes the start position. Playing and back at the start
        // position: the preroll makes the jump gapless.
        cueAt(frame);
        return;
    }
    // The command goes first, so the callback never waits on blocks of a stream it
    // does not know yet.
    const uint64_t generation = ++_generation;
    _requestedFrame = frame;
    _positionSequence = send(int(VoiceCommand::Type::Seek), generation, frame);
    _voice->feeder.setStream(generation, frame);
    _voice->requestFeed();
}

void Movie::cueAt(long long frame) {
    if (!_playing) {
        useStartPosition(frame);
        _voice->feeder.setLoopFrame(_startFrame);
    }
    const uint64_t generation = ++_generation;
    _requestedFrame = _startFrame;
    _positionSequence = send(int(VoiceCommand::Type::Cue), generation, _startFrame, _preroll.get());
    // The ring continues where the preroll ends.
    _voice->feeder.setStream(generation, _preroll->startFrame() + _preroll->frames());
    _voice->requestFeed();
}

void Movie::useStartPosition(long long frame) {
    if (_preroll && _preroll->startFrame() == frame) {
        _startFrame = frame;
        return;
    }
    if (_previousPreroll && _previousPreroll->startFrame() == frame) {
        // Back to the start position before (a rewind and then the in point again):
        // its preroll is still here.
        std::swap(_preroll, _previousPreroll);
        if (!_preroll->isComplete()) {
            _voice->feeder.fillPreroll(_preroll);
        }
    } else {
        retirePreroll(std::move(_previousPreroll));
        _previousPreroll = std::move(_preroll);
        const long long available = _durationFrames - frame;
        const long long length =
            std::min<long long>(std::llround(kPrerollSeconds * _sampleRate), available);
        _preroll = std::make_shared<Preroll>(frame, int(length), _channels,
                                             frame + length >= _durationFrames);
        _voice->feeder.fillPreroll(_preroll);
    }
    _startFrame = frame;
}

void Movie::retirePreroll(std::shared_ptr<Preroll> preroll) {
    if (!preroll) {
        return;
    }
    preroll->abandon();
    // The callback may read it until it applies the next command (the cue that follows).
    _retired.push_back({_sequence + 1, std::move(preroll)});
}

uint64_t Movie::send(int type, uint64_t generation, long long frame, const Preroll* preroll) {
    VoiceCommand command;
    command.type = VoiceCommand::Type(type);
    command.sequence = ++_sequence;
    command.generation = generation;
    command.frame = frame;
    command.preroll = preroll;
    if (!_voice->commands.push(command)) {
        qCWarning(lcMedia) << "The audio callback of" << _voice->name()
                           << "is not taking commands; one was dropped";
    }
    return command.sequence;
}

bool Movie::isRunning() const {
    return _playing && !isDone();
}

void Movie::settleEnded() {
    // A movie that played to its end is stopped, as far as the callback is concerned too.
    if (_playing && isDone()) {
        _playing = false;
        _voice->feeder.setStreaming(false);
        send(int(VoiceCommand::Type::Pause));
    }
}

void Movie::start() {
    if (!_voice || !_engine) {
        return;
    }
    settleEnded();
    if (_playing) {
        return;
    }
    if (_looping && isDone()) {
        cueAt(_startFrame);
    }
    _playing = true;
    _voice->feeder.setStreaming(true);
    send(int(VoiceCommand::Type::Play));
    _voice->requestFeed();
}

void Movie::stop() {
    if (!_voice || !_engine) {
        return;
    }
    settleEnded();
    if (!_playing) {
        return;
    }
    _playing = false;
    _voice->feeder.setStreaming(false);
    send(int(VoiceCommand::Type::Pause));
}

double Movie::rate() const {
    return isRunning() ? 1.0 : 0.0;
}

void Movie::setRate(double rate) {
    if (rate == 0.0) {
        stop();
    } else {
        start();
    }
}

void Movie::setVolume(int volume) {
    _volume = std::clamp(volume, 0, kMaxVolume);
    if (_voice) {
        _voice->targetGain.store(float(double(_volume) / 255.0), std::memory_order_relaxed);
    }
}

void Movie::setLooping(bool looping) {
    _looping = looping;
    if (_voice && _engine) {
        _voice->looping.store(looping, std::memory_order_release);
        _voice->requestFeed(); // a decoder that stopped at the end goes on, or not
    }
}

bool Movie::isDone() const {
    if (!_voice) {
        return false;
    }
    if (_voice->endedSequence.load(std::memory_order_acquire) == _sequence) {
        return true;
    }
    return !_looping && std::llround(position() * _sampleRate) >= _durationFrames;
}

void Movie::service() {
    if (_voice && _engine) {
        sweepRetiredPrerolls();
    }
}

void Movie::sweepRetiredPrerolls() {
    const uint64_t acknowledged = _voice->acknowledged.load(std::memory_order_acquire);
    std::erase_if(_retired, [acknowledged](const RetiredPreroll& retired) {
        return retired.sequence <= acknowledged;
    });
}

bool Movie::setOutputDevice(const QString& deviceName) {
    if (!_voice || !_engine) {
        return false;
    }
    if (!_engine->routeVoice(*_voice, deviceName)) {
        return false;
    }
    _deviceName = deviceName.isEmpty() ? AudioEngine::builtInOutputName() : deviceName;
    return true;
}

bool Movie::setChannelTags(quint32 leftTag, quint32 rightTag) {
    if (leftTag < kChannelTagBase || rightTag < kChannelTagBase || leftTag > kMaxChannelTag ||
        rightTag > kMaxChannelTag) {
        qCWarning(lcMedia).noquote()
            << QStringLiteral("Channel tags 0x%1 and 0x%2 do not name device channels")
                   .arg(leftTag, 0, 16)
                   .arg(rightTag, 0, 16);
        return false;
    }
    _leftTag = leftTag;
    _rightTag = rightTag;
    if (_voice) {
        _voice->route.store(
            Voice::packRoute(int(leftTag - kChannelTagBase), int(rightTag - kChannelTagBase)),
            std::memory_order_relaxed);
    }
    return true;
}

void Movie::setMeteringEnabled(bool enabled) {
    _metering = enabled;
    if (_voice) {
        _voice->metering.store(enabled, std::memory_order_relaxed);
        _voice->peakBits[0].store(0, std::memory_order_relaxed);
        _voice->peakBits[1].store(0, std::memory_order_relaxed);
    }
}

void Movie::readPeakLevels(int* left, int* right) {
    int levels[2] = {0, 0};
    if (_voice && _metering) {
        for (int side = 0; side < 2; ++side) {
            levels[side] =
                peakToScale(_voice->peakBits[side].exchange(0, std::memory_order_relaxed));
        }
    }
    if (_channels == 1) {
        levels[1] = 0;
    }
    if (left) {
        *left = levels[0];
    }
    if (right) {
        *right = levels[1];
    }
}

bool Movie::isPrerollReady() const {
    return _preroll && _preroll->isComplete();
}

int Movie::underrunCount() const {
    return _voice ? int(_voice->underruns.load(std::memory_order_relaxed)) : 0;
}

long long Movie::firstFrameRenderedNs() const {
    return _voice ? _voice->firstFrameNs.load(std::memory_order_relaxed) : 0;
}

} // namespace media
