#include "outputs/OutputMonitoringCell.h"

#include "clip/GpiTallyLines.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "outputs/CProgressView.h"
#include "outputs/CVuMeterView.h"
#include "outputs/ElidingLabel.h"
#include "outputs/LedButton.h"
#include "outputs/PlainButton.h"
#include "outputs/TimeField.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QSlider>
#include <QVBoxLayout>
#include <algorithm>

namespace {

const QString kKestrelSerialNumberKey = QStringLiteral("Kestrel Serial Number");

// Where the output's colour bar runs down the strip's left side.
constexpr int kColorBarX = 10;
constexpr int kColorBarY = 22;
constexpr int kColorBarWidth = 5;
constexpr int kColorBarShortening = 32;

// The level slider's scale; it rests at the top.
constexpr int kVolumeSliderMaximum = 100;

constexpr double kSecondsPlenty = 30.0;
constexpr double kSecondsEnding = 10.0;

QFont stripFont(const QFont& base) {
    QFont font = base;
    font.setPixelSize(10);
    return font;
}

} // namespace

OutputMonitoringCell::OutputMonitoringCell(int index, QWidget* parent)
    : QGroupBox(parent)
    , _index(index) {
    buildContent();
    _updateTimer.setInterval(kRefreshMilliseconds);
    connect(&_updateTimer, &QTimer::timeout, this, &OutputMonitoringCell::spendTime);
    showIdle();
}

OutputMonitoringCell::~OutputMonitoringCell() {
    _progressBar->setWindowController(nullptr);
}

void OutputMonitoringCell::buildContent() {
    setFont(stripFont(font()));

    _filenameField = new ElidingLabel(this);
    _progressBar = new CProgressView(this);
    _progressBar->setFixedHeight(8);
    _progressBar->setWindowController(this);
    _elapsedTimeField = new TimeField(Qt::AlignLeft, this);
    _durationTimeField = new TimeField(Qt::AlignHCenter, this);
    _remainingTimeField = new TimeField(Qt::AlignRight, this);
    _pauseButton = new LedButton(tr("Pause"), this);
    _stopButton = new PlainButton(tr("Stop"), this);
    _duckingButton = new LedButton(tr("Duck"), this);
    _leftVuMeter = new CVuMeterView(this);
    _rightVuMeter = new CVuMeterView(this);
    for (CVuMeterView* meter : {_leftVuMeter, _rightVuMeter}) {
        meter->setFixedWidth(5);
        meter->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    }
    _volumeSlider = new QSlider(Qt::Vertical, this);
    _volumeSlider->setRange(0, kVolumeSliderMaximum);
    _volumeSlider->setValue(kVolumeSliderMaximum);
    _volumeSlider->setFocusPolicy(Qt::NoFocus);
    _volumeSlider->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    _volumeSlider->setToolTip(tr("Level"));
    connect(_volumeSlider, &QSlider::valueChanged, this,
            &OutputMonitoringCell::volumeSliderChanged);
    for (QPushButton* button :
         std::initializer_list<QPushButton*>{_pauseButton, _stopButton, _duckingButton}) {
        button->setFocusPolicy(Qt::NoFocus);
        button->setFixedHeight(18);
        button->setIconSize(QSize(10, 10));
        button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    connect(_pauseButton, &QPushButton::clicked, this, &OutputMonitoringCell::pauseButtonPushed);
    connect(_stopButton, &QPushButton::clicked, this, &OutputMonitoringCell::stopButtonPushed);
    connect(_duckingButton, &QPushButton::clicked, this,
            &OutputMonitoringCell::duckingButtonPushed);

    auto* times = new QHBoxLayout;
    times->setSpacing(2);
    times->addWidget(_elapsedTimeField, 1);
    times->addWidget(_durationTimeField, 1);
    times->addWidget(_remainingTimeField, 1);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(3);
    buttons->addWidget(_pauseButton, 1);
    buttons->addWidget(_stopButton, 1);
    buttons->addWidget(_duckingButton, 1);

    auto* column = new QVBoxLayout;
    column->setSpacing(2);
    column->addWidget(_filenameField);
    column->addWidget(_progressBar);
    column->addLayout(times);
    column->addLayout(buttons);

    auto* strip = new QHBoxLayout(this);
    // The left margin keeps the content clear of the colour bar.
    strip->setContentsMargins(kColorBarX + kColorBarWidth + 3, 0, 4, 4);
    strip->setSpacing(3);
    strip->addLayout(column, 1);
    strip->addWidget(_volumeSlider);
    strip->addWidget(_leftVuMeter);
    strip->addWidget(_rightVuMeter);
}

QString OutputMonitoringCell::nothingPlayingText() {
    return tr("<nothing playing>");
}

void OutputMonitoringCell::setOutputColor(const QColor& color) {
    _outputColor = color;
    update();
}

void OutputMonitoringCell::paintEvent(QPaintEvent* event) {
    QGroupBox::paintEvent(event);
    if (!_outputColor.isValid()) {
        return;
    }
    QPainter painter(this);
    painter.fillRect(
        QRect(kColorBarX, kColorBarY, kColorBarWidth, std::max(0, height() - kColorBarShortening)),
        _outputColor);
}

// ---- Clips coming and going ----

void OutputMonitoringCell::clipStarted(SoundClip* clip) {
    if (!clip) {
        return;
    }
    qCInfo(lcOutputs).noquote()
        << QStringLiteral("Clip %1 started -> fading out previous clip.").arg(clip->displayName());
    if (_currentClip) {
        // One clip per output: the clip shown so far fades out by its own fade-out
        // settings and stops by itself. No identity check, on purpose: a clip started
        // again while it is shown is asked to fade out as well.
        _currentClip->fadeOut();
    }
    _currentClip = clip;
    setProgressViewColorState(kColorStatePlenty);
    _progressBar->setDoubleValue(0.0);
    _durationTimeField->setSeconds(clip->duration());
    _elapsedTimeField->setSeconds(0.0);
    _remainingTimeField->setSeconds(clip->duration());
    showClipTitle(clip->title());
    _pauseButton->setStatus(clip->isPaused());
    _duckingButton->setStatus(clip->isDucked());
    _updateTimer.start();
}

void OutputMonitoringCell::clipStopped(SoundClip* clip) {
    if (clip && clip != _currentClip) {
        // A clip faded out by a newer one reports late: the newer one stays.
        return;
    }
    _updateTimer.stop();
    _currentClip = nullptr;
    showIdle();
}

void OutputMonitoringCell::showIdle() {
    _progressBar->setDoubleValue(0.0);
    _durationTimeField->setSeconds(0.0);
    _elapsedTimeField->setSeconds(0.0);
    _remainingTimeField->setSeconds(0.0);
    _leftVuMeter->setDoubleValue(0.0);
    _rightVuMeter->setDoubleValue(0.0);
    _filenameField->setText(nothingPlayingText());
    _filenameField->setToolTip(QString());
    _filenameField->setForegroundRole(QPalette::PlaceholderText);
    _pauseButton->setStatus(false);
    _duckingButton->setStatus(false);
}

void OutputMonitoringCell::showClipTitle(const QString& title) {
    _filenameField->setText(title);
    _filenameField->setToolTip(title);
    _filenameField->setForegroundRole(QPalette::WindowText);
}

void OutputMonitoringCell::spendTime() {
    SoundClip* clip = _currentClip;
    if (!clip) {
        return;
    }
    if (!clip->isPlaying()) {
        clipStopped(clip);
        return;
    }
    const double duration = clip->duration();
    const double elapsed = clip->elapsed();
    const double remaining = clip->remaining();
    const int state = colorStateForRemaining(remaining);
    if (state != _progressViewColorState) {
        setProgressViewColorState(state);
    }
    _progressBar->setDoubleValue(duration > 0.0 ? elapsed / duration : 0.0);
    _elapsedTimeField->setSeconds(elapsed);
    _remainingTimeField->setSeconds(remaining);
    if (!clip->isPaused()) {
        double left = 0.0;
        double right = 0.0;
        clip->getPeakLeftLevel(&left, &right);
        _leftVuMeter->setDoubleValue(left);
        _rightVuMeter->setDoubleValue(right);
    }
}

// ---- Progress colour ----

int OutputMonitoringCell::colorStateForRemaining(double remaining) {
    if (remaining > kSecondsPlenty) {
        return kColorStatePlenty;
    }
    if (remaining < kSecondsEnding) {
        return kColorStateEnding;
    }
    return kColorStateNearing;
}

QColor OutputMonitoringCell::progressColorForState(int state) const {
    switch (state) {
    case kColorStatePlenty:
        return QColor::fromRgbF(0.0f, 0.9f, 0.0f, 1.0f);
    case kColorStateNearing:
        return QColor::fromRgbF(1.0f, 0.5f, 0.0f, 1.0f);
    case kColorStateEnding:
        return QColor::fromRgbF(1.0f, 0.0f, 0.0f, 1.0f);
    default:
        return QColor();
    }
}

void OutputMonitoringCell::setProgressViewColorState(int state) {
    _progressViewColorState = state;
    const QColor color = progressColorForState(state);
    if (color.isValid()) {
        _progressBar->setColor(color);
    }
}

// ---- Buttons ----

void OutputMonitoringCell::setIsPaused(bool paused) {
    if (!_currentClip) {
        return;
    }
    _currentClip->pausePlaying(!paused);
    _pauseButton->setStatus(paused);
}

void OutputMonitoringCell::pauseButtonPushed() {
    if (!_currentClip) {
        return;
    }
    // pausePlaying() takes the paused state as the caller sees it, so this toggles.
    _currentClip->pausePlaying(_currentClip->isPaused());
    _pauseButton->setStatus(_currentClip->isPaused());
}

void OutputMonitoringCell::stopButtonPushed() {
    SoundClip* clip = _currentClip;
    if (!clip) {
        return;
    }
    const int outputIndex = clip->outputIndex();
    // The stop reports back through the panel and clears this strip.
    clip->stopPlaying();
    turnOffGPIOutput(outputIndex);
}

void OutputMonitoringCell::duckingButtonPushed() {
    SoundClip* clip = _currentClip;
    if (!clip) {
        return;
    }
    const bool wasDucked = clip->isDucked();
    _duckingButton->setStatus(!wasDucked);
    if (wasDucked) {
        clip->duckOut(kDuckingSeconds);
    } else {
        clip->duckIn(kDuckingSeconds);
    }
}

void OutputMonitoringCell::volumeSliderChanged() {
    // Deliberately nothing: see the header.
}

void OutputMonitoringCell::setMoviePosition(double fraction) {
    SoundClip* clip = _currentClip;
    if (clip && (clip->isPlaying() || clip->isPaused())) {
        clip->setClipPosition(fraction);
    }
}

void OutputMonitoringCell::turnOffGPIOutput(int outputIndex) {
    GpiTallyLines* lines = StudioServices::gpiTallyLines();
    const UserDefaults* defaults = UserDefaults::standard();
    if (!lines || !defaults) {
        return;
    }
    const int box =
        lines->findInterfaceIndexWithSerialNumber(defaults->stringForKey(kKestrelSerialNumberKey));
    if (box >= 0) {
        // Tally lines are active low: true turns the lamp off.
        lines->setState(box, true, outputIndex);
    }
}

// ---- Fields ----

QString OutputMonitoringCell::filenameText() const {
    return _filenameField->text();
}
QString OutputMonitoringCell::durationText() const {
    return _durationTimeField->text();
}
QString OutputMonitoringCell::elapsedText() const {
    return _elapsedTimeField->text();
}
QString OutputMonitoringCell::remainingText() const {
    return _remainingTimeField->text();
}
