#include "editing/ClipSettingsController.h"

#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "editing/CDBFormatter.h"
#include "editing/ClipWaveformView.h"
#include "editing/FormatterLineEditAdaptor.h"
#include "editing/LevelSlider.h"
#include "editing/WaveformPeakReader.h"
#include "foundation/Logging.h"
#include "media/Movie.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <cmath>
#include <utility>

ClipSettingsController::ClipSettingsController(OutputPopUpLoader loadOutputs, QWidget* parent)
    : QDialog(parent)
    , _loadOutputs(std::move(loadOutputs))
    , _peakReader(new WaveformPeakReader(this))
    , _updateCurrentPositionTimer(new QTimer(this)) {
    Q_ASSERT(_loadOutputs);
    setModal(true);
    buildControls();
    _updateCurrentPositionTimer->setInterval(kPositionTimerMilliseconds);
    connect(_updateCurrentPositionTimer, &QTimer::timeout, this,
            &ClipSettingsController::updateCurrentPositionTimer);
    connect(_peakReader, &WaveformPeakReader::peaksChanged, this,
            [this] { _movieView->setPeaks(_peakReader->peaks()); });
    connect(_peakReader, &WaveformPeakReader::finished, this, [this] {
        if (!_peakReader->errorString().isEmpty()) {
            _movieView->setMessage(tr("The waveform cannot be shown"));
        }
    });
}

ClipSettingsController::~ClipSettingsController() {
    stopPreview();
}

// ---- Editing ----

bool ClipSettingsController::editClipSettings(const QUrl& url,
                                              const std::shared_ptr<QVariantMap>& settings,
                                              QVariantMap* oldSettings) {
    const bool confirmed = editSettings(url, settings);
    if (confirmed && oldSettings) {
        *oldSettings = _oldSettingsDict;
    }
    return confirmed;
}

bool ClipSettingsController::editSettings(const QUrl& url,
                                          const std::shared_ptr<QVariantMap>& settings) {
    beginEditing(url, settings);
    exec();
    return endEditing();
}

void ClipSettingsController::beginEditing(const QUrl& url,
                                          const std::shared_ptr<QVariantMap>& settings) {
    setSettings(settings ? settings : std::make_shared<QVariantMap>());
    setOldSettings(*this->settings());
    _result = false;
    windowDidBecomeKey();
    updateDisplay();
    startPreview(url);
}

bool ClipSettingsController::endEditing() {
    _updateCurrentPositionTimer->stop();
    hide();
    stopPreview();
    if (_result) {
        updateSettings();
    }
    return _result;
}

void ClipSettingsController::startPreview(const QUrl& url) {
    stopPreview();
    if (!url.isEmpty()) {
        auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(*settings()));
        if (clip->setFileURL(url)) {
            clip->setOutputIndex(kPreviewOutputIndex);
            clip->settingsHaveChanged();
            clip->setOutputsController(nullptr);
            clip->setController(this);
            _previewClip = std::move(clip);
        }
    }
    _movieView->setFileDuration(fileDuration());
    _playPauseButton->setEnabled(_previewClip != nullptr);
    if (!_previewClip) {
        _movieView->setMessage(url.isEmpty() ? QString() : tr("The file cannot be played"));
        _currentPositionAdaptor->setValue(QVariant());
        updateDuration();
        return;
    }
    _movieView->setMessage(QString());
    _peakReader->read(url.toLocalFile());
    setPreviewPosition(doubleValueForSettingsKey(settingsKey_InPoint));
    updateDuration();
    _updateCurrentPositionTimer->start();
}

void ClipSettingsController::stopPreview() {
    _peakReader->cancel();
    _movieView->setPeaks(nullptr);
    if (_previewClip) {
        if (media::Movie* movie = _previewClip->movie()) {
            movie->stop();
        }
        _previewClip.reset();
    }
    showPlaying(false);
}

// ---- Buttons ----

void ClipSettingsController::okButtonClicked() {
    finish(true);
}

void ClipSettingsController::cancelButtonClicked() {
    finish(false);
}

void ClipSettingsController::clearClipButtonClicked() {
    finish(false);
}

void ClipSettingsController::reject() {
    cancelButtonClicked();
}

void ClipSettingsController::finish(bool result) {
    _result = result;
    done(result ? Accepted : Rejected);
}

// ---- Record and controls ----

void ClipSettingsController::updateDisplay() {
    _volumeSlider->setLevel(doubleValueForSettingsKey(settingsKey_NormalVolume));
    volumeSliderChanged();
    _duckingVolumeSlider->setLevel(doubleValueForSettingsKey(settingsKey_DuckingVolume));
    duckingVolumeSliderChanged();
    _useDefaultValuesCheckBox->setChecked(boolValueForSettingsKey(settingsKey_UseDefaultSettings));
    useDefaultCheckBoxChanged();
    setFieldSeconds(_fadeInAdaptor, doubleValueForSettingsKey(settingsKey_FadeInDuration));
    _fadeOutPopUpButton->setCurrentIndex(intValueForSettingsKey(settingsKey_FadeOutMode));
    fadeOutPopUpButtonChanged();
    _loopCheckBox->setChecked(boolValueForSettingsKey(settingsKey_Loop));
    setFieldSeconds(_fadeOutAdaptor, doubleValueForSettingsKey(settingsKey_FadeOutDuration));
    setFieldSeconds(_inPointAdaptor, doubleValueForSettingsKey(settingsKey_InPoint));
    setFieldSeconds(_outPointAdaptor, doubleValueForSettingsKey(settingsKey_OutPoint));
    _outputPopUpButton->setCurrentIndex(
        _outputPopUpButton->findData(intValueForSettingsKey(settingsKey_OutputIndex)));
    _movieView->setInPoint(fieldSeconds(_inPointAdaptor));
    _movieView->setOutPoint(fieldSeconds(_outPointAdaptor));
}

void ClipSettingsController::updateSettings() {
    QVariantMap& record = *settings();
    record.insert(settingsKey_NormalVolume, _volumeSlider->level());
    record.insert(settingsKey_DuckingVolume, _duckingVolumeSlider->level());
    record.insert(settingsKey_FadeInDuration, fieldSeconds(_fadeInAdaptor));
    record.insert(settingsKey_FadeOutDuration, fieldSeconds(_fadeOutAdaptor));
    record.insert(settingsKey_InPoint, fieldSeconds(_inPointAdaptor));
    record.insert(settingsKey_OutPoint, fieldSeconds(_outPointAdaptor));
    record.insert(settingsKey_UseDefaultSettings, _useDefaultValuesCheckBox->isChecked() ? 1 : 0);
    record.insert(settingsKey_Loop, _loopCheckBox->isChecked());
    // A mode or output the pop-ups cannot show (none is selected then) stays as it was.
    if (_fadeOutPopUpButton->currentIndex() >= 0) {
        record.insert(settingsKey_FadeOutMode, _fadeOutPopUpButton->currentIndex());
    }
    if (_outputPopUpButton->currentIndex() >= 0) {
        record.insert(settingsKey_OutputIndex, _outputPopUpButton->currentData().toInt());
    }
}

double ClipSettingsController::fieldSeconds(const FormatterLineEditAdaptor* adaptor) const {
    return adaptor->value().toDouble();
}

void ClipSettingsController::setFieldSeconds(FormatterLineEditAdaptor* adaptor, double seconds) {
    adaptor->setValue(seconds);
}

void ClipSettingsController::updateDuration() {
    const double file = fileDuration();
    setFieldSeconds(_fileDurationAdaptor, file);
    setFieldSeconds(_clipDurationAdaptor,
                    file - fieldSeconds(_inPointAdaptor) - fieldSeconds(_outPointAdaptor));
    _movieView->setInPoint(fieldSeconds(_inPointAdaptor));
    _movieView->setOutPoint(fieldSeconds(_outPointAdaptor));
}

// ---- Enabling ----

void ClipSettingsController::useDefaultCheckBoxChanged() {
    // Deliberately blind to the fade-out mode: switching the defaults off enables the
    // fade-out field even while "never fade" is chosen.
    const bool editable = !_useDefaultValuesCheckBox->isChecked();
    _fadeInDurationField->setEnabled(editable);
    _fadeOutDurationField->setEnabled(editable);
    _fadeOutPopUpButton->setEnabled(editable);
}

void ClipSettingsController::fadeOutPopUpButtonChanged() {
    _fadeOutDurationField->setEnabled(_fadeOutPopUpButton->currentIndex() != kNeverFadeMode &&
                                      !_useDefaultValuesCheckBox->isChecked());
}

void ClipSettingsController::outputPopUpButtonChanged() {
    if (_outputPopUpButton->currentIndex() >= 0) {
        settings()->insert(settingsKey_OutputIndex, _outputPopUpButton->currentData().toInt());
    }
}

void ClipSettingsController::windowDidBecomeKey() {
    _loadOutputs(_outputPopUpButton, intValueForSettingsKey(settingsKey_OutputIndex));
}

bool ClipSettingsController::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate && isVisible()) {
        windowDidBecomeKey();
    }
    return QDialog::event(event);
}

// ---- Levels ----

void ClipSettingsController::volumeSliderChanged() {
    showLevel(_volumeField, _volumeSlider);
}

void ClipSettingsController::volumeFieldChanged() {
    readLevelField(_volumeField, _volumeSlider);
}

void ClipSettingsController::duckingVolumeSliderChanged() {
    showLevel(_duckingVolumeField, _duckingVolumeSlider);
}

void ClipSettingsController::duckingVolumeFieldChanged() {
    readLevelField(_duckingVolumeField, _duckingVolumeSlider);
}

void ClipSettingsController::showLevel(QLineEdit* field, const LevelSlider* slider) {
    const double level = slider->level();
    field->setText(level == 0.0 ? QStringLiteral("-inf")
                                : QString::number(std::lround(20.0 * std::log10(level))));
    field->setModified(false);
}

void ClipSettingsController::readLevelField(QLineEdit* field, LevelSlider* slider) {
    if (!field->isModified()) {
        return;
    }
    field->setModified(false);
    // The field shows silence as "-inf", so typing that means silence too; everything
    // else reads as decibels ("-99" is silence as well). The text stays as typed.
    if (field->text().trimmed().compare(QLatin1String("-inf"), Qt::CaseInsensitive) == 0) {
        slider->setLevel(0.0);
        return;
    }
    QVariant level;
    CDBFormatter().getObjectValue(&level, field->text(), nullptr);
    slider->setLevel(level.toDouble());
}

// ---- In and out points ----

double ClipSettingsController::currentPosition() const {
    const media::Movie* movie = _previewClip ? _previewClip->movie() : nullptr;
    return movie ? movie->position() : 0.0;
}

double ClipSettingsController::fileDuration() const {
    const media::Movie* movie = _previewClip ? _previewClip->movie() : nullptr;
    const double duration = movie ? movie->duration() : 0.0;
    return std::isfinite(duration) ? duration : 0.0;
}

void ClipSettingsController::markIn() {
    if (!_previewClip) {
        return;
    }
    setFieldSeconds(_inPointAdaptor, currentPosition());
    updateDuration();
}

void ClipSettingsController::markOut() {
    if (!_previewClip) {
        return;
    }
    setFieldSeconds(_outPointAdaptor, fileDuration() - currentPosition());
    updateDuration();
}

void ClipSettingsController::clearIn() {
    setFieldSeconds(_inPointAdaptor, 0.0);
    updateDuration();
}

void ClipSettingsController::clearOut() {
    setFieldSeconds(_outPointAdaptor, 0.0);
    updateDuration();
}

void ClipSettingsController::gotoIn() {
    setPreviewPosition(fieldSeconds(_inPointAdaptor));
}

void ClipSettingsController::gotoOut() {
    setPreviewPosition(fileDuration() - fieldSeconds(_outPointAdaptor));
}

void ClipSettingsController::inPointDurationFieldChanged() {
    updateDuration();
}

void ClipSettingsController::outPointDurationFieldChanged() {
    updateDuration();
}

// ---- Transport ----

void ClipSettingsController::setPreviewPosition(double seconds) {
    media::Movie* movie = _previewClip ? _previewClip->movie() : nullptr;
    if (!movie) {
        return;
    }
    movie->setPosition(seconds);
    updateCurrentPositionTimer();
}

void ClipSettingsController::playPauseButtonClicked() {
    media::Movie* movie = _previewClip ? _previewClip->movie() : nullptr;
    if (!movie) {
        return;
    }
    if (movie->rate() != 0.0) {
        movie->stop();
    } else {
        if (movie->isDone()) {
            movie->setPosition(0.0);
        }
        movie->start();
    }
    updateCurrentPositionTimer();
}

void ClipSettingsController::updateCurrentPositionTimer() {
    media::Movie* movie = _previewClip ? _previewClip->movie() : nullptr;
    if (!movie) {
        return;
    }
    movie->service();
    const double position = movie->position();
    setFieldSeconds(_currentPositionAdaptor, position);
    _movieView->setPlayheadPosition(position);
    showPlaying(movie->rate() != 0.0);
}

void ClipSettingsController::showPlaying(bool playing) {
    if (playing == _showsPlaying) {
        return;
    }
    _showsPlaying = playing;
    _playPauseButton->setIcon(
        style()->standardIcon(playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
    _playPauseButton->setAccessibleName(playing ? tr("Pause") : tr("Play"));
}
