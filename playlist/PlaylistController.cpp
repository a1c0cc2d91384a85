#include "playlist/PlaylistController.h"

#include "clip/SoundClip.h"
#include "foundation/Logging.h"
#include "outputs/CProgressView.h"
#include "outputs/LedButton.h"
#include "playlist/CCustomTableView.h"
#include "playlist/PlaylistDocument.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace {

// Device RGB (0.0, 0.9, 0.0): plenty of time left.
const QColor kGreenProgress = QColor::fromRgbF(0.0f, 0.9f, 0.0f, 1.0f);
// The platform's orange and red.
const QColor kOrangeProgress = QColor::fromRgbF(1.0f, 0.5f, 0.0f, 1.0f);
const QColor kRedProgress = QColor::fromRgbF(1.0f, 0.0f, 0.0f, 1.0f);

// Remaining time (seconds) above which the bar is green, and below which it is red.
constexpr double kGreenAbove = 30.0;
constexpr double kRedBelow = 10.0;

QLineEdit* makeTimeField() {
    auto* field = new QLineEdit;
    field->setReadOnly(true);
    field->setFocusPolicy(Qt::NoFocus);
    field->setAlignment(Qt::AlignCenter);
    field->setMaximumWidth(80);
    return field;
}

QLineEdit* makeDecibelField() {
    auto* field = new QLineEdit;
    field->setAlignment(Qt::AlignRight);
    field->setFocusPolicy(Qt::ClickFocus);
    field->setMaximumWidth(48);
    return field;
}

QSlider* makeLevelSlider() {
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setRange(0, PlaylistController::kSliderSteps);
    // Arrows belong to the playlist's volume keys, not to whichever slider was clicked.
    slider->setFocusPolicy(Qt::NoFocus);
    return slider;
}

CProgressView* makeMeter() {
    auto* meter = new CProgressView;
    meter->setColor(kGreenProgress);
    return meter;
}

QLabel* caption(const QString& text) {
    auto* label = new QLabel(text);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

PlaylistController::PlaylistController(PlaylistDocument* document)
    : _document(document) {
    buildWindow();
    _updateTimer = new QTimer(this);
    _updateTimer->setInterval(kUpdateIntervalMs);
    connect(_updateTimer, &QTimer::timeout, this, &PlaylistController::spendTime);
    awakeFromNib();
}

PlaylistController::~PlaylistController() {
    qCDebug(lcPlaylist) << "Dealloc PlaylistController";
    stopPlayback();
    // The document still owns its clips; none may report here any more.
    for (int slot = 0; slot < PlaylistDocument::kClipsCount; ++slot) {
        if (SoundClip* clip = clipAt(slot); clip && clip->controller() == this) {
            clip->setController(nullptr);
        }
    }
    _tableView->setDataSource(nullptr);
}

// ---- Window ----

void PlaylistController::buildWindow() {
    _window = std::make_unique<QWidget>();
    _window->setObjectName(QStringLiteral("PlaylistDocument"));
    _window->installEventFilter(this);
    auto* layout = new QVBoxLayout(_window.get());
    layout->setContentsMargins(8, 8, 8, 8);

    _tableView = new CCustomTableView;
    _tableView->setDataSource(this);
    layout->addWidget(_tableView, 1);
    layout->addWidget(buildTransportStrip());
    layout->addWidget(buildVolumeControls());
    _tableView->setFocus();
    _window->resize(380, 680);
}

QWidget* PlaylistController::buildTransportStrip() {
    auto* strip = new QWidget;
    auto* grid = new QGridLayout(strip);
    grid->setContentsMargins(0, 4, 0, 0);

    _progressView = new CProgressView;
    grid->addWidget(_progressView, 0, 0, 1, 4);

    _elapsedTimeField = makeTimeField();
    _remainingTimeField = makeTimeField();
    _durationTimeField = makeTimeField();
    grid->addWidget(caption(tr("Elapsed")), 1, 0);
    grid->addWidget(_elapsedTimeField, 2, 0);
    grid->addWidget(caption(tr("Remaining")), 1, 1);
    grid->addWidget(_remainingTimeField, 2, 1);
    grid->addWidget(caption(tr("Duration")), 1, 2);
    grid->addWidget(_durationTimeField, 2, 2);

    _leftLevelMeter = makeMeter();
    _rightLevelMeter = makeMeter();
    grid->addWidget(caption(QStringLiteral("L")), 3, 0, Qt::AlignRight);
    grid->addWidget(_leftLevelMeter, 3, 1, 1, 3);
    grid->addWidget(caption(QStringLiteral("R")), 4, 0, Qt::AlignRight);
    grid->addWidget(_rightLevelMeter, 4, 1, 1, 3);

    auto* buttons = new QHBoxLayout;
    _pauseButton = new LedButton(tr("Pause"));
    _duckingButton = new LedButton(tr("Duck"));
    for (LedButton* button : {_pauseButton, _duckingButton}) {
        button->setFocusPolicy(Qt::NoFocus);
        buttons->addWidget(button);
    }
    connect(_pauseButton, &QPushButton::clicked, this, &PlaylistController::pausePlayback);
    connect(_duckingButton, &QPushButton::clicked, this, &PlaylistController::duckPlayback);
    buttons->addStretch(1);
    buttons->addWidget(new QLabel(tr("Output")));
    _soundOutputButton = new QComboBox;
    _soundOutputButton->setFocusPolicy(Qt::NoFocus);
    connect(_soundOutputButton, &QComboBox::activated, this,
            &PlaylistController::soundOutputHasChanged);
    buttons->addWidget(_soundOutputButton);
    grid->addLayout(buttons, 5, 0, 1, 4);
    grid->setColumnStretch(3, 1);
    return strip;
}

QWidget* PlaylistController::buildVolumeControls() {
    auto* controls = new QWidget;
    auto* grid = new QGridLayout(controls);
    grid->setContentsMargins(0, 4, 0, 0);

    _documentVolumeSlider = makeLevelSlider();
    _documentVolumeField = makeDecibelField();
    grid->addWidget(new QLabel(tr("Volume")), 0, 0);
    grid->addWidget(_documentVolumeSlider, 0, 1);
    grid->addWidget(_documentVolumeField, 0, 2);
    grid->addWidget(new QLabel(tr("dB")), 0, 3);

    _duckingVolumeSlider = makeLevelSlider();
    _duckingVolumeField = makeDecibelField();
    grid->addWidget(new QLabel(tr("Ducking")), 1, 0);
    grid->addWidget(_duckingVolumeSlider, 1, 1);
    grid->addWidget(_duckingVolumeField, 1, 2);
    grid->addWidget(new QLabel(tr("dB")), 1, 3);

    _fadeOtherDocumentsCheckBox = new QCheckBox(tr("Fade Other Documents"));
    _useScrollWheelCheckBox = new QCheckBox(tr("Use ScrollWheel for Volume"));
    grid->addWidget(_fadeOtherDocumentsCheckBox, 2, 0, 1, 4);
    grid->addWidget(_useScrollWheelCheckBox, 3, 0, 1, 4);
    for (QCheckBox* box : {_fadeOtherDocumentsCheckBox, _useScrollWheelCheckBox}) {
        box->setFocusPolicy(Qt::NoFocus);
    }

    connect(_documentVolumeSlider, &QSlider::valueChanged, this,
            &PlaylistController::documentVolumeSliderHasChanged);
    connect(_duckingVolumeSlider, &QSlider::valueChanged, this,
            &PlaylistController::duckingVolumeSliderHasChanged);
    // Only text the operator typed is read back: "-inf" re-read would mean unity.
    connect(_documentVolumeField, &QLineEdit::editingFinished, this, [this] {
        if (_documentVolumeField->isModified()) {
            _documentVolumeField->setModified(false);
            documentVolumeFieldHasChanged();
        }
    });
    connect(_duckingVolumeField, &QLineEdit::editingFinished, this, [this] {
        if (_duckingVolumeField->isModified()) {
            _duckingVolumeField->setModified(false);
            duckingVolumeFieldHasChanged();
        }
    });
    connect(_fadeOtherDocumentsCheckBox, &QCheckBox::clicked, this,
            &PlaylistController::fadeOtherDocumentsCheckBoxHasChanged);
    connect(_useScrollWheelCheckBox, &QCheckBox::clicked, this,
            &PlaylistController::useScrollWheelCheckBoxHasChanged);
    return controls;
}

void PlaylistController::awakeFromNib() {
    _progressView->setColor(kRedProgress);
    for (QLineEdit* field : {_durationTimeField, _elapsedTimeField, _remainingTimeField}) {
        showTime(field, 0.0);
    }
    _fadeOtherDocumentsCheckBox->setChecked(_document->fadeOtherDocuments());
    _useScrollWheelCheckBox->setChecked(_document->useScrollWheelForVolume());
    setSliderValue(_duckingVolumeSlider, _document->duckingVolume());
    duckingVolumeSliderHasChanged();
    setSliderValue(_documentVolumeSlider, _document->documentVolume());
    documentVolumeSliderHasChanged();
    fillSoundOutputButton();
    qCDebug(lcPlaylist) << "Awake PlaylistController";
}

void PlaylistController::fillSoundOutputButton() {
    const SoundClip::PopUpChoices choices = SoundClip::componentsPopUpChoices(QString());
    _soundOutputButton->clear();
    for (const SoundClip::PopUpItem& item : choices.items) {
        _soundOutputButton->addItem(item.title, item.tag);
    }
    // Without a current device the pop-up shows its title ("Built-in Output").
    _soundOutputButton->setCurrentIndex(choices.selectedIndex >= 0
                                            ? choices.selectedIndex
                                            : _soundOutputButton->findText(choices.title));
}

QWidget* PlaylistController::window() const {
    return _window.get();
}

void PlaylistController::showTime(QLineEdit* field, double seconds) {
    field->setText(_timeFormatter.stringForObjectValue(seconds));
}

bool PlaylistController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == _window.get()) {
        if (event->type() == QEvent::KeyPress && performKey(*static_cast<QKeyEvent*>(event))) {
            return true;
        }
        if (event->type() == QEvent::Wheel &&
            scrollWheelHasMoved(*static_cast<QWheelEvent*>(event))) {
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

// ---- Document ----

SoundClip* PlaylistController::clipAt(int slot) const {
    return _document ? _document->clipAtIndex(slot) : nullptr;
}

SoundClip* PlaylistController::currentSoundClip() const {
    return _currentClip >= 0 ? clipAt(_currentClip) : nullptr;
}

void PlaylistController::reloadData() {
    const double volume = sliderValue(_documentVolumeSlider);
    for (int slot = 0; slot < PlaylistDocument::kClipsCount; ++slot) {
        if (SoundClip* clip = clipAt(slot)) {
            clip->setController(this);
            clip->setVolumeMultiplier(volume);
        }
    }
    // A reloaded document may have nothing left where the current clip was.
    if (_currentClip >= 0 && !currentSoundClip()) {
        setCurrentClip(-1);
    }
    _tableView->reloadData();
}

void PlaylistController::startPlayback(int index) {
    (void)index;
}

bool PlaylistController::setFile(const QString& path, int index,
                                 std::shared_ptr<QVariantMap> settings) {
    (void)path;
    (void)index;
    (void)settings;
    return false;
}

// ---- Transport ----

void PlaylistController::setCurrentClip(int slot) {
    const int previous = _currentClip;
    _currentClip = slot >= 0 && slot < PlaylistDocument::kClipsCount ? slot : -1;
    _progressViewColorState = NoColorState;
    const SoundClip* clip = currentSoundClip();
    showTime(_durationTimeField, clip ? clip->duration() : 0.0);
    if (clip) {
        _updateTimer->start();
    } else {
        _updateTimer->stop();
    }
    _tableView->updateRow(previous);
    _tableView->updateRow(_currentClip);
}

bool PlaylistController::isUpdating() const {
    return _updateTimer->isActive();
}

void PlaylistController::pausePlayback() {
    SoundClip* clip = currentSoundClip();
    if (!clip) {
        return;
    }
    clip->pausePlaying(_paused);
    _paused = !_paused;
    _pauseButton->setStatus(_paused);
}

void PlaylistController::duckPlayback() {
    SoundClip* clip = currentSoundClip();
    if (!clip) {
        return;
    }
    if (_ducked) {
        clip->duckOut(SoundClip::kLevelChangeSeconds);
    } else {
        clip->duckIn(SoundClip::kLevelChangeSeconds);
    }
    _ducked = !_ducked;
    _duckingButton->setStatus(_ducked);
}

void PlaylistController::stopPlayback() {
    if (SoundClip* clip = currentSoundClip()) {
        clip->stopPlaying();
        playbackHasStopped();
    }
}

void PlaylistController::stopPlaybackWithFade() {
    if (SoundClip* clip = currentSoundClip()) {
        clip->forceFadeOut();
        playbackHasStopped();
    }
}

void PlaylistController::spendTime() {
    SoundClip* clip = currentSoundClip();
    if (!clip) {
        return;
    }
    if (!clip->isPlaying()) {
        playbackHasStopped();
        return;
    }
    const double duration = clip->duration();
    const double progress = duration > 0.0 ? clip->elapsed() / duration : 0.0;
    const double remaining = clip->remaining();
    int state = OrangeState;
    if (remaining > kGreenAbove) {
        state = GreenState;
    } else if (remaining < kRedBelow) {
        state = RedState;
    }
    // The colour changes once per crossing of 30 s and 10 s, not on every tick.
    if (state != _progressViewColorState) {
        setProgressViewColorState(state);
    }
    _progressView->setDoubleValue(progress);
    showTime(_elapsedTimeField, clip->elapsed());
    showTime(_remainingTimeField, remaining);
    double left = 0.0;
    double right = 0.0;
    clip->getPeakLeftLevel(&left, &right);
    _leftLevelMeter->setDoubleValue(left);
    _rightLevelMeter->setDoubleValue(right);
}

void PlaylistController::setProgressViewColorState(int state) {
    _progressViewColorState = state;
    switch (state) {
    case GreenState:
        _progressView->setColor(kGreenProgress);
        break;
    case OrangeState:
        _progressView->setColor(kOrangeProgress);
        break;
    case RedState:
        _progressView->setColor(kRedProgress);
        break;
    default:
        break;
    }
}

// ---- Keys ----

bool PlaylistController::performKey(const QKeyEvent& event) {
    if (event.modifiers() &
        (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        return false;
    }
    const QString text = event.text();
    if (event.key() == Qt::Key_Up) {
        increaseDecreaseVolume(kVolumeKeyStep);
    } else if (event.key() == Qt::Key_Down) {
        increaseDecreaseVolume(-kVolumeKeyStep);
    } else if (event.key() == Qt::Key_Escape) {
        qCInfo(lcPlaylist) << "ESC has been hit.";
        stopPlaybackWithFade();
    } else if (!text.isEmpty() && text[0] >= u'a' && text[0] <= u'x') {
        startPlayback(text[0].unicode() - u'a');
    }
    // Every plain key is the playlist's, even one that did nothing.
    return true;
}

// ---- Clip news ----

void PlaylistController::updateRowsOf(const SoundClip* clip) {
    for (int slot = 0; slot < PlaylistDocument::kClipsCount; ++slot) {
        if (clip && clipAt(slot) == clip) {
            _tableView->updateRow(slot);
        }
    }
}

void PlaylistController::updateClipCell(SoundClip* clip) {
    updateRowsOf(clip);
}

void PlaylistController::clipHasStopped(SoundClip* clip) {
    updateRowsOf(clip);
}
