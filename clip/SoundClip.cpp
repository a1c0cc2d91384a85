// SoundClip: construction, playback, the tick, fades, ducking and positions. Routing and
// metering live in SoundClipRouting.cpp, file loading and tags in SoundClipLoading.cpp.

#include "clip/SoundClip.h"

#include "clip/ClipObserver.h"
#include "clip/ClipOutputsObserver.h"
#include "clip/ClipSettings.h"
#include "clip/ValueConversion.h"
#include "foundation/Logging.h"
#include "media/Movie.h"

#include <QTimer>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// A fade has arrived when it is this close to its target: ten steps of 0.1 add up to
// 0.9999999999999999, which must count as 1.0.
constexpr double kArrivalTolerance = 1e-9;

int directionOf(int direction) {
    return direction > 0 ? 1 : (direction < 0 ? -1 : 0);
}

} // namespace

SoundClip::SoundClip(std::shared_ptr<QVariantMap> settings)
    : ClipSettingsHolder(std::move(settings))
    , _color(Qt::black) {
    settingsHaveChanged();
}

SoundClip::~SoundClip() {
    stopTimer();
    if (_isPlaying) {
        _isPlaying = false;
        _isPaused = false;
        if (hasOpenMovie()) {
            _myMovie->stop();
        }
        if (_outputsController) {
            _outputsController->clipHasStopped(this);
        }
    }
}

bool SoundClip::hasOpenMovie() const {
    return _myMovie && _myMovie->isOpen();
}

// ---- Playback ----

void SoundClip::startPlaying(bool startPaused) {
    if (_isOffline) {
        return;
    }
    if (_isPlaying) {
        stopPlaying();
    }
    if (!hasOpenMovie()) {
        reOpenMovie();
        resetMovie();
        if (!hasOpenMovie()) {
            qCWarning(lcClip).noquote()
                << QStringLiteral("\"%1\" cannot be played: its file does not open").arg(_title);
            return;
        }
    }
    settingsHaveChanged();
    _myMovie->setLooping(isLooping());
    cueMovieAtInPoint();

    const double fadeInDuration = doubleValueForSettingsKey(settingsKey_FadeInDuration);
    if (fadeInDuration > 0.0) {
        _myMovie->setVolume(0);
        startFadeIn(fadeInDuration, normalLevel());
    } else {
        _myFadingDirection = 0;
        applyLevel(normalLevel());
    }
    _isPaused = false;
    _isDucked = false;
    _isPlaying = true;
    _currentPositionSeconds = _myMovie->position();
    _lastTickPosition = _currentPositionSeconds;
    enableSoundMetering();

    if (_outputsController) {
        _outputsController->clipHasStarted(this);
    }
    if (startPaused) {
        // Sent whenever an outputs observer is set: every observer must handle it.
        if (_outputsController) {
            _outputsController->pauseOutput(outputIndex());
        }
        _isPaused = true;
    } else {
        _myMovie->start();
    }
    startTimer();
}

void SoundClip::stopPlaying() {
    if (_isOffline || !_isPlaying) {
        return;
    }
    if (hasOpenMovie()) {
        _myMovie->stop();
    }
    _isPaused = false;
    _isPlaying = false;
    _currentPositionSeconds = 0.0;
    stopTimer();
    disableSoundMetering();
    resetMovie();
    if (_outputsController) {
        _outputsController->clipHasStopped(this);
    }
    if (_controller) {
        _controller->clipHasStopped(this);
    }
}

void SoundClip::pausePlaying(bool resume) {
    if (_isOffline || !_isPlaying || !hasOpenMovie()) {
        return;
    }
    if (resume) {
        _myMovie->start();
        _isPaused = false;
    } else {
        _myMovie->setRate(0.0);
        _isPaused = true;
    }
    if (_controller) {
        _controller->updateClipCell(this);
    }
}

void SoundClip::startTimer() {
    if (!_myTimer) {
        _myTimer = std::make_unique<QTimer>();
        _myTimer->setInterval(kTickMilliseconds);
        _myTimer->setTimerType(Qt::PreciseTimer);
        // Qt timers also fire while menus are tracked, controls dragged and modal
        // dialogs run (they spin nested event loops), so the clip keeps ticking then.
        QObject::connect(_myTimer.get(), &QTimer::timeout, _myTimer.get(), [this] { spendTime(); });
    }
    _myTimer->start();
}

void SoundClip::stopTimer() {
    if (_myTimer) {
        _myTimer->stop();
    }
}

bool SoundClip::isTicking() const {
    return _myTimer && _myTimer->isActive();
}

void SoundClip::spendTime() {
    if (!_isPlaying || !hasOpenMovie()) {
        return;
    }
    media::Movie& movie = *_myMovie;
    movie.service();
    _currentPositionSeconds = movie.position();
    const double inPoint = doubleValueForSettingsKey(settingsKey_InPoint);
    const bool looping = isLooping();

    if (movie.isDone()) {
        if (!looping) {
            stopPlaying();
            return;
        }
        setPosition(inPoint);
        movie.start();
        _currentPositionSeconds = inPoint;
    } else if (looping && movieWrappedToFileStart(inPoint)) {
        // The movie loops over the whole file; the clip loops from its in point.
        setPosition(inPoint);
        _currentPositionSeconds = inPoint;
    }
    _lastTickPosition = _currentPositionSeconds;

    if (remaining() <= 0.0 && _myFadingDirection == 0) {
        if (looping) {
            qCInfo(lcClip) << "Looping because we passed the out point.";
            setPosition(inPoint);
        } else {
            // In mode 0 with nothing left the request does nothing: the clip plays on to
            // the end of its file and this line is written on every tick until then.
            qCInfo(lcClip) << "Fading out because we passed the out point.";
            fadeOut();
        }
    }
    stepFade();
}

bool SoundClip::movieWrappedToFileStart(double inPoint) const {
    return inPoint > 0.0 && _currentPositionSeconds < inPoint &&
           _currentPositionSeconds < _lastTickPosition;
}

void SoundClip::stepFade() {
    if (_myFadingDirection == 0) {
        return;
    }
    _myFadingCurrentVolume += double(_myFadingDirection) * _myFadingVolumeStep;
    if (_myFadingDirection == 1) {
        if (_myFadingCurrentVolume >= _myFadingTargetVolume - kArrivalTolerance) {
            _myFadingCurrentVolume = _myFadingTargetVolume;
            _myFadingDirection = 0;
        }
        applyLevel(_myFadingCurrentVolume);
        return;
    }
    if (_myFadingCurrentVolume <= _myFadingTargetVolume + kArrivalTolerance) {
        _myFadingCurrentVolume = _myFadingTargetVolume;
        _myFadingDirection = 0;
        if (_myFadingTargetVolume == 0.0) {
            // The last level is not written: the stop's own declick takes it to silence.
            stopPlaying();
            return;
        }
    }
    applyLevel(_myFadingCurrentVolume);
}

void SoundClip::applyLevel(double level) {
    if (hasOpenMovie()) {
        const int volume = saturatingTruncate(level * kVolumeScale);
        _myMovie->setVolume(std::clamp(volume, int(std::numeric_limits<qint16>::min()),
                                       int(std::numeric_limits<qint16>::max())));
    }
}

double SoundClip::currentLevel() const {
    return hasOpenMovie() ? double(_myMovie->volume()) / kVolumeScale : 0.0;
}

double SoundClip::normalLevel() const {
    return doubleValueForSettingsKey(settingsKey_NormalVolume) * _volumeMultiplier;
}

// ---- Fades ----

void SoundClip::startFadeIn(double seconds, double targetVolume) {
    startFader(1, seconds, targetVolume);
}

void SoundClip::startFadeOut(double seconds, double targetVolume) {
    startFader(-1, seconds, targetVolume);
}

void SoundClip::startFader(int direction, double seconds, double targetVolume) {
    if (!std::isfinite(seconds) || !std::isfinite(targetVolume)) {
        qCWarning(lcClip) << "A fade over" << seconds << "s to level" << targetVolume
                          << "cannot be run; the clip keeps its level";
        return;
    }
    _myFadingDirection = directionOf(direction);
    _myFadingDuration = seconds;
    _myFadingTargetVolume = targetVolume;
    // From the level the movie really plays at, even in the middle of another fade.
    _myFadingCurrentVolume = currentLevel();
    const double ticks = seconds * kTicksPerSecond;
    // A fade of no length completes on its first tick.
    _myFadingVolumeStep =
        ticks > 0.0 ? (targetVolume - _myFadingCurrentVolume) * double(_myFadingDirection) / ticks
                    : std::numeric_limits<double>::infinity();
}

void SoundClip::fadeOut() {
    // The same line as forceFadeOut() on purpose: logs are read for both as one event.
    qCInfo(lcClip) << "SoundClip::forceFadeOut called";
    switch (intValueForSettingsKey(settingsKey_FadeOutMode)) {
    case 0:
        if (remaining() >= kModeZeroMinimumRemaining) {
            startFadeOut(doubleValueForSettingsKey(settingsKey_FadeOutDuration), 0.0);
        }
        break;
    case 1:
        startFadeOut(doubleValueForSettingsKey(settingsKey_FadeOutDuration), 0.0);
        break;
    default:
        break;
    }
}

void SoundClip::fadeOut(double seconds) {
    qCInfo(lcClip) << "SoundClip::fadeOut:duration called";
    startFadeOut(seconds, 0.0);
}

void SoundClip::forceFadeOut() {
    qCInfo(lcClip) << "SoundClip::forceFadeOut called";
    startFadeOut(doubleValueForSettingsKey(settingsKey_FadeOutDuration), 0.0);
}

// ---- Ducking and level ----

void SoundClip::duckIn(double seconds) {
    _isDucked = true;
    startFadeOut(seconds, doubleValueForSettingsKey(settingsKey_DuckingVolume));
}

void SoundClip::duckOut(double seconds) {
    (void)seconds; // un-ducking always takes kLevelChangeSeconds
    _isDucked = false;
    startFadeIn(kLevelChangeSeconds, normalLevel());
}

void SoundClip::normalVolumeHasChanged() {
    const double current = currentLevel();
    const double target = normalLevel();
    if (current < target) {
        startFadeIn(kLevelChangeSeconds, target);
    } else if (current > target) {
        startFadeOut(kLevelChangeSeconds, target);
    }
}

void SoundClip::duckingVolumeHasChanged(double level) {
    // The direction comes from the normal level, not from the new ducking level.
    const double current = currentLevel();
    const double normal = normalLevel();
    if (current < normal) {
        startFader(1, kLevelChangeSeconds, level);
    } else if (current > normal) {
        startFader(-1, kLevelChangeSeconds, level);
    }
}

void SoundClip::setVolumeMultiplier(double multiplier) {
    if (!std::isfinite(multiplier) || multiplier < 0.0) {
        qCWarning(lcClip) << "Volume multiplier" << multiplier << "is not a level; the clip keeps"
                          << _volumeMultiplier;
        return;
    }
    _volumeMultiplier = multiplier;
}

// ---- Positions and times ----

void SoundClip::setPosition(double seconds) {
    if (!hasOpenMovie()) {
        return;
    }
    _myMovie->setPosition(seconds);
    _lastTickPosition = _myMovie->position();
}

void SoundClip::setClipPosition(double fraction) {
    setPosition(fraction * duration() + doubleValueForSettingsKey(settingsKey_InPoint));
}

void SoundClip::cueMovieAtInPoint() {
    if (!hasOpenMovie()) {
        return;
    }
    // A movie already there keeps its preroll and its decoder undisturbed.
    const double inPoint = doubleValueForSettingsKey(settingsKey_InPoint);
    const double rate = _myMovie->sampleRate();
    const long long wanted = std::clamp<long long>(
        (long long)std::trunc(std::max(inPoint, 0.0) * rate), 0LL, _myMovie->durationFrames());
    if (std::llround(_myMovie->position() * rate) != wanted || _myMovie->isDone()) {
        setPosition(inPoint);
    }
}

double SoundClip::duration() const {
    return _fileDuration - doubleValueForSettingsKey(settingsKey_OutPoint) -
           doubleValueForSettingsKey(settingsKey_InPoint);
}

double SoundClip::elapsed() const {
    return _currentPositionSeconds - doubleValueForSettingsKey(settingsKey_InPoint);
}

double SoundClip::remaining() const {
    return _fileDuration - doubleValueForSettingsKey(settingsKey_OutPoint) -
           _currentPositionSeconds;
}

bool SoundClip::hasInPoint() const {
    return doubleValueForSettingsKey(settingsKey_InPoint) > 0.0;
}

bool SoundClip::hasOutPoint() const {
    return doubleValueForSettingsKey(settingsKey_OutPoint) > 0.0;
}

void SoundClip::setIsLooping(bool looping) {
    if (!settings()) {
        setSettings(std::make_shared<QVariantMap>());
    }
    settings()->insert(settingsKey_Loop, looping);
    if (_myMovie) {
        _myMovie->setLooping(looping);
    }
}

bool SoundClip::isLooping() const {
    return boolValueForSettingsKey(settingsKey_Loop);
}
