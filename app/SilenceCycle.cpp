#include "app/SilenceCycle.h"

#include "clip/OutputSettings.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"

#include <QTimer>

SilenceCycle::SilenceCycle(QObject* parent)
    : QObject(parent)
    , _silencePlaybackTimer(new QTimer(this)) {
    _silencePlaybackTimer->setInterval(kIntervalMilliseconds);
    connect(_silencePlaybackTimer, &QTimer::timeout, this,
            &SilenceCycle::silencePlaybackTimerAction);
}

SilenceCycle::~SilenceCycle() = default;

bool SilenceCycle::start() {
    _outputPair = 0;
    if (!media::AudioEngine::instance()) {
        return false;
    }
    auto movie = std::make_unique<media::Movie>();
    if (!movie->openSilence()) {
        return false;
    }
    _silenceMovie = std::move(movie);
    _silencePlaybackTimer->start();
    return true;
}

void SilenceCycle::stop() {
    _silencePlaybackTimer->stop();
    _silenceMovie.reset();
}

bool SilenceCycle::isRunning() const {
    return _silencePlaybackTimer->isActive();
}

void SilenceCycle::silencePlaybackTimerAction() {
    playSilenceMovieOnOutputPair(_outputPair);
    ++_outputPair;
    if (_outputPair > kLastOutputIndex) {
        _outputPair = 0;
    }
}

void SilenceCycle::playSilenceMovieOnOutputPair(int outputIndex) {
    const UserDefaults* defaults = UserDefaults::standard();
    if (!_silenceMovie || !defaults) {
        return;
    }
    const QVariant stored = defaults->objectForKey(outputSettingsKey(outputIndex));
    if (stored.typeId() != QMetaType::QVariantMap) {
        return;
    }
    const QVariantMap settings = stored.toMap();
    _silenceMovie->stop();
    const QString device = settings.value(QorvinPrefDeviceName).toString();
    const quint32 left = settings.value(QorvinPrefLeftChannelOutputTag).toUInt();
    const quint32 right = settings.value(QorvinPrefRightChannelOutputTag).toUInt();
    // A route that fails is logged; the silence still plays where the movie was routed.
    if (!_silenceMovie->setOutputDevice(device)) {
        qCWarning(lcApp, "setTrackLayout failed (err = %i)", -1);
    } else if (!_silenceMovie->setChannelTags(left, right)) {
        qCWarning(lcApp, "setTrackLayout failed (err = %i)", -2);
    }
    _silenceMovie->setPosition(0.0);
    _silenceMovie->start();
}
