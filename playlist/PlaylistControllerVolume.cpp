// PlaylistController: the document volume and ducking level (sliders, decibel fields,
// keys and wheel) and the two option check boxes.

#include "playlist/PlaylistController.h"

#include "clip/SoundClip.h"
#include "editing/CDBFormatter.h"
#include "playlist/PlaylistDocument.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>
#include <QWheelEvent>
#include <cmath>

namespace {

// The linear gain of a decibel field's text; "-99" is silence.
double levelOfField(const QLineEdit* field) {
    QVariant level;
    CDBFormatter().getObjectValue(&level, field->text(), nullptr);
    return level.toDouble();
}

// Qt reports 120 per notch of a common wheel.
constexpr double kAngleDeltaPerNotch = 120.0;
// A notch changes the level by a hundredth.
constexpr double kNotchesPerUnit = 100.0;

} // namespace

double PlaylistController::sliderValue(const QSlider* slider) {
    return static_cast<double>(slider->value()) / kSliderSteps;
}

void PlaylistController::setSliderValue(QSlider* slider, double value) {
    const QSignalBlocker blocker(slider);
    const double steps = std::round(value * kSliderSteps);
    slider->setValue(
        static_cast<int>(std::clamp(steps, double(slider->minimum()), double(slider->maximum()))));
}

QString PlaylistController::decibelString(double level) {
    if (level == 0.0) {
        return QStringLiteral("-inf");
    }
    return QString::number(static_cast<long>(std::lround(20.0 * std::log10(level))));
}

double PlaylistController::verticalDelta(const QWheelEvent& event) {
    return event.angleDelta().y() / kAngleDeltaPerNotch;
}

bool PlaylistController::scrollWheelHasMoved(const QWheelEvent& event) {
    if (!_document->useScrollWheelForVolume()) {
        return false;
    }
    increaseDecreaseVolume(verticalDelta(event) / kNotchesPerUnit);
    return true;
}

void PlaylistController::increaseDecreaseVolume(double step) {
    // Not clamped here: the slider keeps its range, and its handler stores what it holds.
    if (_ducked) {
        const double level = sliderValue(_duckingVolumeSlider) + step;
        _document->setDuckingVolume(level);
        setSliderValue(_duckingVolumeSlider, level);
        duckingVolumeSliderHasChanged();
    } else {
        const double level = sliderValue(_documentVolumeSlider) + step;
        _document->setDocumentVolume(level);
        setSliderValue(_documentVolumeSlider, level);
        documentVolumeSliderHasChanged();
    }
}

void PlaylistController::setDocumentVolumeEverywhere(double level) {
    for (int slot = 0; slot < PlaylistDocument::kClipsCount; ++slot) {
        if (SoundClip* clip = clipAt(slot)) {
            clip->setVolumeMultiplier(level);
        }
    }
    _document->setDocumentVolume(level);
    if (SoundClip* clip = currentSoundClip()) {
        clip->normalVolumeHasChanged();
    }
}

void PlaylistController::setDuckingVolumeEverywhere(double level) {
    _document->setDuckingVolume(level);
    if (SoundClip* clip = currentSoundClip(); clip && _ducked) {
        clip->duckingVolumeHasChanged(level);
    }
}

void PlaylistController::documentVolumeSliderHasChanged() {
    const double level = sliderValue(_documentVolumeSlider);
    _documentVolumeField->setText(decibelString(level));
    setDocumentVolumeEverywhere(level);
}

void PlaylistController::documentVolumeFieldHasChanged() {
    // The field keeps what was typed ("-99" stays "-99").
    const double level = levelOfField(_documentVolumeField);
    setSliderValue(_documentVolumeSlider, level);
    setDocumentVolumeEverywhere(level);
}

void PlaylistController::duckingVolumeSliderHasChanged() {
    const double level = sliderValue(_duckingVolumeSlider);
    _duckingVolumeField->setText(decibelString(level));
    setDuckingVolumeEverywhere(level);
}

void PlaylistController::duckingVolumeFieldHasChanged() {
    const double level = levelOfField(_duckingVolumeField);
    setSliderValue(_duckingVolumeSlider, level);
    setDuckingVolumeEverywhere(level);
}

void PlaylistController::fadeOtherDocumentsCheckBoxHasChanged() {
    _document->setFadeOtherDocuments(_fadeOtherDocumentsCheckBox->isChecked());
}

void PlaylistController::useScrollWheelCheckBoxHasChanged() {
    _document->setUseScrollWheelForVolume(_useScrollWheelCheckBox->isChecked());
}
