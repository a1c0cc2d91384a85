#include "outputs/PreListeningController.h"

#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/Logging.h"
#include "media/Movie.h"
#include "outputs/ElidingLabel.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/TimeField.h"
#include "outputs/WindowFrameAutosave.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace {

const QString kAutosaveName = QStringLiteral("Pre-Listening Window Position");
constexpr int kPanelWidth = 260;

QPushButton* makeTransportButton(QWidget* parent, QStyle::StandardPixmap icon,
                                 const QString& text) {
    auto* button = new QPushButton(parent->style()->standardIcon(icon), text, parent);
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

} // namespace

PreListeningController::PreListeningController(QObject* parent)
    : QObject(parent) {
    buildWindow();
    _frameAutosave = std::make_unique<WindowFrameAutosave>(_window.get(), kAutosaveName);
    connect(_window.get(), &NonKeyPanel::moved, _frameAutosave.get(),
            &WindowFrameAutosave::windowMoved);
    _updateTimer.setInterval(kRefreshMilliseconds);
    connect(&_updateTimer, &QTimer::timeout, this, &PreListeningController::updateCurrentMovieTime);
    _updateTimer.start();
    showEmpty();
}

PreListeningController::~PreListeningController() {
    if (StudioServices::preListenPlayer() == this) {
        StudioServices::setPreListenPlayer(nullptr);
    }
}

void PreListeningController::buildWindow() {
    _window = std::make_unique<NonKeyPanel>();
    _window->setWindowTitle(tr("Pre-Listening"));

    _filenameField = new ElidingLabel(_window.get());
    _positionBar = new QSlider(Qt::Horizontal, _window.get());
    _positionBar->setRange(0, kPositionSteps);
    _positionBar->setPageStep(kPositionSteps / 20);
    _jumpBackButton = makeTransportButton(_window.get(), QStyle::SP_MediaSeekBackward, tr("2 s"));
    _playButton = makeTransportButton(_window.get(), QStyle::SP_MediaPlay, tr("Play"));
    _stopButton = makeTransportButton(_window.get(), QStyle::SP_MediaStop, tr("Stop"));
    _elapsedTimeField = new TimeField(Qt::AlignLeft, _window.get());
    _remainingTimeField = new TimeField(Qt::AlignRight, _window.get());

    connect(_playButton, &QPushButton::clicked, this, &PreListeningController::playButtonPushed);
    connect(_stopButton, &QPushButton::clicked, this, &PreListeningController::stopButtonPushed);
    connect(_jumpBackButton, &QPushButton::clicked, this,
            &PreListeningController::jumpBackButtonPushed);
    // A drag seeks as it goes; a click beside the handle or a key steps.
    connect(_positionBar, &QSlider::sliderMoved, this, &PreListeningController::positionBarMoved);
    connect(_positionBar, &QSlider::actionTriggered, this, [this](int action) {
        if (action != QAbstractSlider::SliderMove) {
            positionBarMoved(_positionBar->sliderPosition());
        }
    });

    auto* times = new QHBoxLayout;
    times->addWidget(_elapsedTimeField);
    times->addStretch(1);
    times->addWidget(_remainingTimeField);

    auto* transport = new QHBoxLayout;
    transport->setSpacing(4);
    transport->addWidget(_jumpBackButton);
    transport->addWidget(_playButton);
    transport->addWidget(_stopButton);

    auto* layout = new QVBoxLayout(_window.get());
    layout->setContentsMargins(8, 6, 8, 8);
    layout->setSpacing(4);
    layout->addWidget(_filenameField);
    layout->addWidget(_positionBar);
    layout->addLayout(times);
    layout->addLayout(transport);
    _window->setFixedWidth(kPanelWidth);
    _window->refuseFocusForChildren();
}

void PreListeningController::install() {
    StudioServices::setPreListenPlayer(this);
}

void PreListeningController::showWindow() {
    _frameAutosave->showWindow(Qt::BottomRightCorner);
}

// ---- Auditions ----

void PreListeningController::preListenClip(SoundClip* clip, bool atEnd) {
    if (!clip) {
        return;
    }
    // The copy is made before the previous one goes, since `clip` may be that one.
    const std::shared_ptr<QVariantMap> settings = clip->settings();
    auto copy = std::make_unique<SoundClip>(
        std::make_shared<QVariantMap>(settings ? *settings : QVariantMap()));
    const bool loaded = copy->setFileURL(clip->url());
    const QString title = clip->title();
    _currentClip.reset();
    if (!loaded) {
        qCInfo(lcOutputs).noquote()
            << QStringLiteral("\"%1\" cannot be auditioned: its file does not load").arg(title);
        showEmpty();
        return;
    }
    copy->setOutputIndex(preListenOutputIndex);
    copy->settingsHaveChanged();
    // The outputs panel never hears of an audition.
    copy->setOutputsController(nullptr);
    copy->setController(this);
    _currentClip = std::move(copy);

    _filenameField->setText(_currentClip->title());
    _filenameField->setToolTip(_currentClip->title());
    if (atEnd) {
        seekTo(movieDuration() - kSecondsBeforeEnd);
    }
    playButtonPushed();
    updateCurrentMovieTime();
}

void PreListeningController::showEmpty() {
    _filenameField->setText(QString());
    _filenameField->setToolTip(QString());
    _positionBar->setValue(0);
    updateTransportButtons();
}

double PreListeningController::movieDuration() const {
    const media::Movie* movie = _currentClip ? _currentClip->movie() : nullptr;
    return movie ? movie->duration() : 0.0;
}

// ---- Transport ----

void PreListeningController::playButtonPushed() {
    SoundClip* clip = _currentClip.get();
    if (!clip || !clip->movie()) {
        return;
    }
    if (clip->isPlaying()) {
        if (clip->isPaused()) {
            clip->pausePlaying(true);
        }
        return;
    }
    // A start cues the clip at its in point; the audition goes on from where the
    // position bar stands (the start, 15 s before the end, or where it was dragged).
    const double from = clip->movie()->position();
    clip->startPlaying(true);
    clip->setPosition(from);
    clip->pausePlaying(true);
    updateTransportButtons();
}

void PreListeningController::stopButtonPushed() {
    SoundClip* clip = _currentClip.get();
    if (clip && clip->isPlaying() && !clip->isPaused()) {
        clip->pausePlaying(false);
    }
}

void PreListeningController::jumpBackButtonPushed() {
    const media::Movie* movie = _currentClip ? _currentClip->movie() : nullptr;
    if (movie) {
        seekTo(movie->position() - kJumpBackSeconds);
        updateCurrentMovieTime();
    }
}

void PreListeningController::setMoviePosition(double fraction) {
    if (_currentClip && std::isfinite(fraction)) {
        seekTo(std::clamp(fraction, 0.0, 1.0) * movieDuration());
        updateCurrentMovieTime();
    }
}

void PreListeningController::positionBarMoved(int steps) {
    setMoviePosition(double(steps) / double(kPositionSteps));
}

void PreListeningController::seekTo(double seconds) {
    // Before the start of the file (a short file auditioned at its end, a jump back
    // within the first seconds) means the start.
    _currentClip->setPosition(std::clamp(seconds, 0.0, movieDuration()));
}

// ---- Display ----

void PreListeningController::updateCurrentMovieTime() {
    const media::Movie* movie = _currentClip ? _currentClip->movie() : nullptr;
    if (!movie) {
        return;
    }
    const double duration = movie->duration();
    const double elapsed = movie->position();
    _elapsedTimeField->setSeconds(elapsed);
    _remainingTimeField->setSeconds(duration - elapsed);
    if (!_positionBar->isSliderDown() && duration > 0.0) {
        _positionBar->setValue(int(std::lround(elapsed / duration * kPositionSteps)));
    }
    updateTransportButtons();
}

void PreListeningController::updateTransportButtons() {
    const SoundClip* clip = _currentClip.get();
    const bool sounding = clip && clip->isPlaying() && !clip->isPaused();
    _playButton->setEnabled(clip && !sounding);
    _stopButton->setEnabled(sounding);
    _jumpBackButton->setEnabled(clip != nullptr);
    _positionBar->setEnabled(clip != nullptr);
}

void PreListeningController::updateClipCell(SoundClip* clip) {
    (void)clip;
    updateTransportButtons();
}

void PreListeningController::clipHasStopped(SoundClip* clip) {
    (void)clip;
    updateCurrentMovieTime();
}

QString PreListeningController::filenameText() const {
    return _filenameField->text();
}
QString PreListeningController::elapsedText() const {
    return _elapsedTimeField->text();
}
QString PreListeningController::remainingText() const {
    return _remainingTimeField->text();
}
