#include "playlist/PlaylistDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"
#include "playlist/PlaylistController.h"
#include "playlist/PlaylistDocumentController.h"

#include <QUrl>

const QString PlaylistDocument::kTypeName = QStringLiteral("PlaylistDocument");
const QString PlaylistDocument::kMimeType = QStringLiteral("application/x-zelvora-playlist");
const QString PlaylistDocument::kExtension = QStringLiteral("zplaylist");

namespace {

const QString kDocumentSettingsKey = QStringLiteral("Document Settings");
const QString kDuckingVolumeKey = QStringLiteral("Ducking Volume");
const QString kDocumentVolumeKey = QStringLiteral("Document Volume");
const QString kFadeOtherDocumentsKey = QStringLiteral("Fade Other Documents");
const QString kUseScrollWheelKey = QStringLiteral("Use ScrollWheel");

QString pathKey(int index) {
    return QStringLiteral("Path %1").arg(index);
}
QString settingsKey(int index) {
    return QStringLiteral("Settings %1").arg(index);
}

// An option stored as a number is on when its whole part is above 0 (0.5 and -1 are off).
bool optionFromNumber(const QVariant& value) {
    return intFromValue(value) > 0;
}

bool isDictionary(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantMap;
}

} // namespace

DocumentController::DocumentType PlaylistDocument::documentType() {
    return {kTypeName, kMimeType, kExtension, QStringLiteral("Playlist"), [] {
                return std::make_unique<PlaylistDocument>();
            }};
}

QVariantMap PlaylistDocument::initialClipSettings() {
    // The factory record, except that a playlist stores the flag as the integer 1 and
    // leaves the output to the clip's own default.
    QVariantMap settings = ::defaultClipSettings();
    settings.insert(settingsKey_UseDefaultSettings, 1);
    settings.remove(settingsKey_OutputIndex);
    return settings;
}

PlaylistDocument::PlaylistDocument(QObject* parent)
    : Document(parent)
    , _defaultClipSettings(initialClipSettings()) {
    MIDIController::defaultMIDIController().registerAsClient(this);
}

PlaylistDocument::~PlaylistDocument() {
    close();
}

// ---- Window and controller ----

void PlaylistDocument::setController(std::unique_ptr<PlaylistDocumentController> controller) {
    // The learning panel may be a child of the old window.
    _assignMIDINotePanel.reset();
    _controller = std::move(controller);
    if (_controller) {
        windowControllerDidLoadNib();
    }
}

QWidget* PlaylistDocument::window() const {
    return _controller ? _controller->window() : nullptr;
}

void PlaylistDocument::makeWindowControllers() {
    if (!_controller) {
        setController(std::make_unique<PlaylistController>(this));
    }
}

void PlaylistDocument::windowControllerDidLoadNib() {
    adoptWindow(_controller->window());
    _controller->reloadData();
    updateChangeCount(ChangeKind::Cleared);
}

// ---- Clips ----

SoundClip* PlaylistDocument::clipAtIndex(int index) const {
    if (index < 0 || index >= kClipsCount) {
        return nullptr;
    }
    return _clips[static_cast<size_t>(index)].get();
}

void PlaylistDocument::setClip(std::unique_ptr<SoundClip> clip, int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _clips[static_cast<size_t>(index)] = std::move(clip);
    markEdited();
}

// ---- Document settings ----

void PlaylistDocument::markEdited() {
    updateChangeCount(ChangeKind::Done);
}

void PlaylistDocument::setDuckingVolume(double volume) {
    _duckingVolume = volume;
    markEdited();
}

void PlaylistDocument::setDocumentVolume(double volume) {
    _documentVolume = volume;
    markEdited();
}

void PlaylistDocument::setFadeOtherDocuments(bool fade) {
    _fadeOtherDocuments = fade;
    markEdited();
}

void PlaylistDocument::setUseScrollWheelForVolume(bool use) {
    _useScrollWheelForVolume = use;
    markEdited();
}

void PlaylistDocument::saveSettingsToDict(QVariantMap* dict) const {
    dict->insert(kDuckingVolumeKey, _duckingVolume);
    dict->insert(kDocumentVolumeKey, _documentVolume);
    dict->insert(kFadeOtherDocumentsKey, _fadeOtherDocuments ? 1 : 0);
    dict->insert(kUseScrollWheelKey, _useScrollWheelForVolume ? 1 : 0);
}

void PlaylistDocument::loadSettingsFromDict(const QVariantMap* dict) {
    if (!dict) {
        return;
    }
    const QVariant ducking = dict->value(kDuckingVolumeKey);
    if (isNumberValue(ducking)) {
        setDuckingVolume(doubleFromValue(ducking));
    }
    const QVariant volume = dict->value(kDocumentVolumeKey);
    if (isNumberValue(volume)) {
        setDocumentVolume(doubleFromValue(volume));
    }
    const QVariant fade = dict->value(kFadeOtherDocumentsKey);
    if (isNumberValue(fade)) {
        setFadeOtherDocuments(optionFromNumber(fade));
    }
    const QVariant wheel = dict->value(kUseScrollWheelKey);
    if (isNumberValue(wheel)) {
        setUseScrollWheelForVolume(optionFromNumber(wheel));
    }
}

// ---- File ----

QByteArray PlaylistDocument::dataRepresentation(QString* error) const {
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
        // A file that went missing since it was loaded keeps its row in the file.
        const QString path = clip->path().isEmpty() ? clip->recordedPath() : clip->path();
        if (path.isEmpty()) {
            continue;
        }
        root.insert(pathKey(i), path);
        root.insert(settingsKey(i), clip->settings() ? *clip->settings() : QVariantMap());
    }
    return PropertyList::toXml(root, error);
}

std::unique_ptr<SoundClip> PlaylistDocument::loadClip(const QVariantMap& root, int index) const {
    const QVariant pathEntry = root.value(pathKey(index));
    if (pathEntry.typeId() != QMetaType::QString) {
        return nullptr;
    }
    const QVariant settingsEntry = root.value(settingsKey(index));
    const QVariantMap settings =
        isDictionary(settingsEntry) ? settingsEntry.toMap() : _defaultClipSettings;
    auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
    // A playlist copied with its sound files finds them beside it.
    clip->setBasePath(filePath());
    clip->setOutputsController(sharedOutputsController());
    if (!clip->setFileURL(QUrl::fromLocalFile(pathEntry.toString()))) {
        qCInfo(lcPlaylist).noquote() << QStringLiteral("Row %1: \"%2\" cannot be loaded; dropped")
                                            .arg(index)
                                            .arg(pathEntry.toString());
        return nullptr;
    }
    return clip;
}

bool PlaylistDocument::loadDataRepresentation(const QByteArray& data, QString* error) {
    QString parseError;
    const QVariant parsed = PropertyList::fromData(data, &parseError);
    if (!parsed.isValid()) {
        *error = QStringLiteral("The file is not a playlist: %1").arg(parseError);
        return false;
    }
    if (!isDictionary(parsed)) {
        *error = QStringLiteral("The file is not a playlist: its property list does not hold a "
                                "dictionary.");
        return false;
    }
    const QVariantMap root = parsed.toMap();

    const QVariant settingsEntry = root.value(kDocumentSettingsKey);
    const QVariantMap settings = settingsEntry.toMap();
    loadSettingsFromDict(isDictionary(settingsEntry) ? &settings : nullptr);
    // A file without its own defaults keeps the ones the playlist has, so every later
    // row and save still has a complete record.
    const QVariant defaultsEntry = root.value(defaultsKey_DefaultClipSettings);
    if (isDictionary(defaultsEntry)) {
        setDefaultClipSettings(defaultsEntry.toMap());
    }
    for (int i = 0; i < kClipsCount; ++i) {
        if (SoundClip* old = clipAtIndex(i)) {
            old->stopPlaying();
        }
        _clips[static_cast<size_t>(i)] = loadClip(root, i);
    }
    updateChangeCount(ChangeKind::Cleared);
    if (_controller) {
        _controller->reloadData();
    }
    return true;
}

// ---- Rules ----

bool PlaylistDocument::hasPlayingClips() const {
    for (const auto& clip : _clips) {
        if (clip && (clip->isPlaying() || clip->isPaused())) {
            return true;
        }
    }
    return false;
}

void PlaylistDocument::stopDocument(Document* sender) {
    (void)sender;
    if (_controller) {
        _controller->stopPlaybackWithFade();
    }
}

void PlaylistDocument::close() {
    if (_closed) {
        return;
    }
    _closed = true;
    if (_controller) {
        _controller->stopPlayback();
    }
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
