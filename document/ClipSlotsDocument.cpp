#include "document/ClipSlotsDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "document/AssignMIDINotePanel.h"
#include "document/ClipSlotsController.h"
#include "foundation/PropertyList.h"

#include <QUrl>

namespace {

const QString kDocumentSettingsKey = QStringLiteral("Document Settings");
const QString kDuckingVolumeKey = QStringLiteral("Ducking Volume");
const QString kDocumentVolumeKey = QStringLiteral("Document Volume");
const QString kFadeOtherDocumentsKey = QStringLiteral("Fade Other Documents");
const QString kUseScrollWheelKey = QStringLiteral("Use ScrollWheel");

bool isDictionary(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantMap;
}

} // namespace

ClipSlotsDocument::ClipSlotsDocument(const QVariantMap& defaultClipSettings, QObject* parent)
    : Document(parent)
    , _defaultClipSettings(defaultClipSettings) {
    MIDIController::defaultMIDIController().registerAsClient(this);
}

ClipSlotsDocument::~ClipSlotsDocument() {
    ClipSlotsDocument::close();
}

QWidget* ClipSlotsDocument::window() const {
    const ClipSlotsController* controller = slotsController();
    return controller ? controller->window() : nullptr;
}

// ---- Clips ----

SoundClip* ClipSlotsDocument::clipAtIndex(int index) const {
    if (index < 0 || index >= kClipsCount) {
        return nullptr;
    }
    return _clips[static_cast<size_t>(index)].get();
}

void ClipSlotsDocument::setClip(std::unique_ptr<SoundClip> clip, int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _clips[static_cast<size_t>(index)] = std::move(clip);
    markEdited();
}

void ClipSlotsDocument::setDefaultClipSetting(const QString& key, const QVariant& value) {
    _defaultClipSettings.insert(key, value);
}

// ---- Document settings ----

void ClipSlotsDocument::markEdited() {
    updateChangeCount(ChangeKind::Done);
}

void ClipSlotsDocument::setDuckingVolume(double volume) {
    _duckingVolume = volume;
    markEdited();
}

void ClipSlotsDocument::setDocumentVolume(double volume) {
    _documentVolume = volume;
    markEdited();
}

void ClipSlotsDocument::setFadeOtherDocuments(bool fade) {
    _fadeOtherDocuments = fade;
    markEdited();
}

void ClipSlotsDocument::setUseScrollWheelForVolume(bool use) {
    _useScrollWheelForVolume = use;
    markEdited();
}

void ClipSlotsDocument::saveSettingsToDict(QVariantMap* dict) const {
    dict->insert(kDuckingVolumeKey, _duckingVolume);
    dict->insert(kDocumentVolumeKey, _documentVolume);
    dict->insert(kFadeOtherDocumentsKey, _fadeOtherDocuments ? 1 : 0);
    dict->insert(kUseScrollWheelKey, _useScrollWheelForVolume ? 1 : 0);
}

void ClipSlotsDocument::loadVolumesAndOptionsFromDict(const QVariantMap& dict,
                                                      OptionRule optionRule) {
    const QVariant ducking = dict.value(kDuckingVolumeKey);
    if (isNumberValue(ducking)) {
        setDuckingVolume(doubleFromValue(ducking));
    }
    const QVariant volume = dict.value(kDocumentVolumeKey);
    if (isNumberValue(volume)) {
        setDocumentVolume(doubleFromValue(volume));
    }
    const QVariant fade = dict.value(kFadeOtherDocumentsKey);
    if (isNumberValue(fade)) {
        setFadeOtherDocuments(optionRule(fade));
    }
    const QVariant wheel = dict.value(kUseScrollWheelKey);
    if (isNumberValue(wheel)) {
        setUseScrollWheelForVolume(optionRule(wheel));
    }
}

// ---- File ----

QString ClipSlotsDocument::pathKey(int index) {
    return QStringLiteral("Path %1").arg(index);
}

QString ClipSlotsDocument::settingsKey(int index) {
    return QStringLiteral("Settings %1").arg(index);
}

QByteArray ClipSlotsDocument::dataRepresentation(QString* error) const {
    QVariantMap root;
    QVariantMap settings;
    saveSettingsToDict(&settings);
    root.insert(kDocumentSettingsKey, settings);
    root.insert(defaultsKey_DefaultClipSettings, _defaultClipSettings);
    for (int i = 0; i < kClipsCount; ++i) {
        const SoundClip* clip = clipAtIndex(i);
        if (!clip) {
            continue;
        }
        // A clip whose file went missing keeps the path it was made for, so saving does
        // not lose it.
        const QString path = clip->path().isEmpty() ? clip->recordedPath() : clip->path();
        if (!path.isEmpty()) {
            saveClipToDict(&root, i, *clip, path);
        }
    }
    return PropertyList::toXml(root, error);
}

void ClipSlotsDocument::saveClipToDict(QVariantMap* root, int index, const SoundClip& clip,
                                       const QString& path) const {
    root->insert(pathKey(index), path);
    root->insert(settingsKey(index), clip.settings() ? *clip.settings() : QVariantMap());
}

std::unique_ptr<SoundClip> ClipSlotsDocument::makeClipForSlot(const QVariantMap& root, int index,
                                                              QString* path) const {
    const QVariant pathEntry = root.value(pathKey(index));
    if (pathEntry.typeId() != QMetaType::QString) {
        return nullptr;
    }
    *path = pathEntry.toString();
    const QVariant settingsEntry = root.value(settingsKey(index));
    const QVariantMap settings =
        isDictionary(settingsEntry) ? settingsEntry.toMap() : _defaultClipSettings;
    auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
    // A document copied with its sound files finds them beside it.
    clip->setBasePath(filePath());
    return clip;
}

bool ClipSlotsDocument::loadDataRepresentation(const QByteArray& data, QString* error) {
    QString parseError;
    const QVariant parsed = PropertyList::fromData(data, &parseError);
    if (!parsed.isValid()) {
        *error = QStringLiteral("The file is not a %1: %2").arg(fileKindName(), parseError);
        return false;
    }
    if (!isDictionary(parsed)) {
        *error = QStringLiteral("The file is not a %1: its property list does not hold a "
                                "dictionary.")
                     .arg(fileKindName());
        return false;
    }
    const QVariantMap root = parsed.toMap();

    const QVariant settingsEntry = root.value(kDocumentSettingsKey);
    const QVariantMap settings = settingsEntry.toMap();
    loadSettingsFromDict(isDictionary(settingsEntry) ? &settings : nullptr);
    // After the settings: the file's own defaults replace what the setters wrote.
    const QVariant defaultsEntry = root.value(defaultsKey_DefaultClipSettings);
    if (isDictionary(defaultsEntry)) {
        setDefaultClipSettings(defaultsEntry.toMap());
    } else {
        defaultClipSettingsMissingFromFile();
    }
    for (int i = 0; i < kClipsCount; ++i) {
        if (SoundClip* old = clipAtIndex(i)) {
            old->stopPlaying();
        }
        _clips[static_cast<size_t>(i)] = loadClip(root, i);
    }
    updateChangeCount(ChangeKind::Cleared);
    showLoadedClips();
    return true;
}

// ---- Rules ----

bool ClipSlotsDocument::hasPlayingClips() const {
    for (const auto& clip : _clips) {
        if (clip && (clip->isPlaying() || clip->isPaused())) {
            return true;
        }
    }
    return false;
}

void ClipSlotsDocument::close() {
    if (_closed) {
        return;
    }
    _closed = true;
    for (auto& clip : _clips) {
        if (clip) {
            clip->stopPlaying();
        }
    }
    MIDIController::defaultMIDIController().unRegisterAsClient(this);
    if (_assignMIDINotePanel) {
        _assignMIDINotePanel->hide();
    }
}
