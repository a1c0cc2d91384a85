// SoundClip: output routing from the output settings records, level metering, and the
// device listings the output configuration shows.

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"

#include <algorithm>

namespace {

constexpr quint32 kLastChannelTag = media::Movie::kChannelTagBase + 0xFFFF;

bool isChannelTag(quint32 tag) {
    return tag >= media::Movie::kChannelTagBase && tag <= kLastChannelTag;
}

// The hold value of one meter side: a louder reading replaces it at once, otherwise it
// falls by `fall`, never below 0.
double nextHold(double hold, int reading, double fall) {
    if (double(reading) >= hold) {
        return double(reading);
    }
    return std::max(hold - fall, 0.0);
}

} // namespace

void SoundClip::settingsHaveChanged() {
    applyOutputSettings();
    if (!_isPlaying) {
        // Keep an idle movie at the in point, so its preroll is the one a start plays.
        cueMovieAtInPoint();
    }
}

void SoundClip::applyOutputSettings() {
    UserDefaults* defaults = UserDefaults::standard();
    if (!defaults) {
        return;
    }
    const QVariantMap record = defaults->dictionaryForKey(outputSettingsKey(outputIndex()));
    if (record.isEmpty()) {
        return;
    }
    if (record.contains(QorvinPrefOutputName)) {
        setOutputName(stringFromValue(record.value(QorvinPrefOutputName)));
    }
    if (record.contains(QorvinPrefDeviceName)) {
        setClipOutputDevice(stringFromValue(record.value(QorvinPrefDeviceName)));
    }
    if (record.contains(QorvinPrefLeftChannelOutputTag) &&
        record.contains(QorvinPrefRightChannelOutputTag)) {
        setClipOutputForLeftChannel(
            quint32(intFromValue(record.value(QorvinPrefLeftChannelOutputTag))),
            quint32(intFromValue(record.value(QorvinPrefRightChannelOutputTag))));
    }
    if (record.contains(QorvinPrefOutputColor)) {
        const QColor color = ::outputColor(record);
        if (color.isValid()) {
            setOutputColor(color);
        }
    }
}

void SoundClip::setOutputIndex(int index) {
    if (index < 0 || index >= outputSettingsCount) {
        qCWarning(lcClip) << "There is no output" << index << "; the clip keeps output"
                          << outputIndex();
        return;
    }
    if (!settings()) {
        setSettings(std::make_shared<QVariantMap>());
    }
    settings()->insert(settingsKey_OutputIndex, index);
}

int SoundClip::outputIndex() const {
    return intValueForSettingsKey(settingsKey_OutputIndex);
}

void SoundClip::setClipOutputDevice(const QString& deviceName) {
    const std::optional<SoundOutputComponent> component = getSoundOutputComponentByName(deviceName);
    if (!component) {
        qCInfo(lcClip).noquote() << QStringLiteral(
                                        "No audio device is named \"%1\"; the clip stays on \"%2\"")
                                        .arg(deviceName, _outputDeviceName);
        return;
    }
    _myOutputComponent = component;
    _outputDeviceName = deviceName;
    if (hasOpenMovie() && !_myMovie->setOutputDevice(deviceName)) {
        qCWarning(lcClip).noquote()
            << QStringLiteral("The clip could not be moved to \"%1\"").arg(deviceName);
    }
}

void SoundClip::setClipOutputForLeftChannel(quint32 leftTag, quint32 rightTag) {
    if (!isChannelTag(leftTag) || !isChannelTag(rightTag)) {
        qCWarning(lcClip).noquote()
            << QStringLiteral("Channel tags %1 and %2 name no device channels; the clip keeps "
                              "its channels")
                   .arg(leftTag)
                   .arg(rightTag);
        return;
    }
    _leftChannelOutputTag = leftTag;
    _rightChannelOutputTag = rightTag;
    if (hasOpenMovie()) {
        _myMovie->setChannelTags(leftTag, rightTag);
    }
}

void SoundClip::resetClipOutputDevice() {
    _myOutputComponent.reset();
    _outputDeviceName = media::AudioEngine::builtInOutputName();
    _leftChannelOutputTag = media::Movie::kChannelTagBase;
    _rightChannelOutputTag = media::Movie::kChannelTagBase + 1;
    if (hasOpenMovie()) {
        _myMovie->setOutputDevice(_outputDeviceName);
        _myMovie->setChannelTags(_leftChannelOutputTag, _rightChannelOutputTag);
    }
}

void SoundClip::applyRoutingToMovie() {
    if (!hasOpenMovie()) {
        return;
    }
    if (_myOutputComponent && !_myMovie->setOutputDevice(_myOutputComponent->name)) {
        qCWarning(lcClip).noquote() << QStringLiteral("The clip could not be moved to \"%1\"")
                                           .arg(_myOutputComponent->name);
    }
    _myMovie->setChannelTags(_leftChannelOutputTag, _rightChannelOutputTag);
}

void SoundClip::enableSoundMetering() {
    if (hasOpenMovie()) {
        _myMovie->setMeteringEnabled(true);
    }
}

void SoundClip::disableSoundMetering() {
    if (hasOpenMovie()) {
        _myMovie->setMeteringEnabled(false);
    }
}

void SoundClip::getPeakLeftLevel(double* left, double* right) {
    int leftReading = 0;
    int rightReading = 0;
    if (hasOpenMovie()) {
        _myMovie->readPeakLevels(&leftReading, &rightReading);
    }
    _prevLeftValue = nextHold(_prevLeftValue, leftReading, kLeftMeterFall);
    _prevRightValue = nextHold(_prevRightValue, rightReading, kRightMeterFall);
    double leftLevel = _isPaused ? 0.0 : _prevLeftValue / kVolumeScale;
    double rightLevel = _isPaused ? 0.0 : _prevRightValue / kVolumeScale;
    if (_isMono) {
        rightLevel = 0.0;
    }
    if (left) {
        *left = leftLevel;
    }
    if (right) {
        *right = rightLevel;
    }
}

SoundClip::PopUpChoices SoundClip::componentsPopUpChoices(const QString& currentComponentName) {
    PopUpChoices choices;
    const media::AudioEngine* engine = media::AudioEngine::instance();
    const QStringList names =
        engine ? engine->deviceNames() : QStringList{media::AudioEngine::builtInOutputName()};
    for (int index = 0; index < names.size(); ++index) {
        choices.items.append({names[index], index});
        if (names[index] == currentComponentName && choices.selectedIndex < 0) {
            choices.selectedIndex = index;
        }
    }
    choices.title =
        choices.selectedIndex >= 0 ? currentComponentName : media::AudioEngine::builtInOutputName();
    return choices;
}

SoundClip::PopUpChoices SoundClip::channelsPopUpChoices(quint32 currentChannelTag,
                                                        const QString& deviceName) {
    PopUpChoices choices;
    const media::AudioEngine* engine = media::AudioEngine::instance();
    const int channels = engine ? engine->channelCountForDevice(deviceName) : 2;
    for (int channel = 0; channel < channels; ++channel) {
        const auto tag = int(media::Movie::kChannelTagBase) + channel;
        choices.items.append({QStringLiteral("Output %1").arg(channel + 1), tag});
        if (quint32(tag) == currentChannelTag) {
            choices.selectedIndex = channel;
        }
    }
    if (choices.selectedIndex < 0) {
        choices.selectedIndex = 0;
    }
    choices.title = choices.items[choices.selectedIndex].title;
    return choices;
}

std::optional<SoundClip::SoundOutputComponent>
SoundClip::getSoundOutputComponentByName(const QString& name) {
    const media::AudioEngine* engine = media::AudioEngine::instance();
    if (!engine || name.isEmpty() || !engine->hasDevice(name)) {
        return std::nullopt;
    }
    return SoundOutputComponent{name, engine->deviceUid(name)};
}

bool SoundClip::copyMyAudioDriverUID(const QString& name, QString* outUID) {
    const media::AudioEngine* engine = media::AudioEngine::instance();
    const QString uid = engine ? engine->deviceUid(name) : QString();
    if (uid.isEmpty()) {
        return false;
    }
    if (outUID) {
        *outUID = uid;
    }
    return true;
}
