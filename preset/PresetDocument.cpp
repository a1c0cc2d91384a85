#include "preset/PresetDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "document/AlertPresenter.h"
#include "document/AssignMIDINotePanel.h"
#include "document/DocumentController.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetDocumentController.h"

#include <QFileInfo>
#include <QWidget>

const QString PresetDocument::kTypeName = QStringLiteral("PresetDocument");
const QString PresetDocument::kMimeType = QStringLiteral("application/x-zelvora-preset");
const QString PresetDocument::kExtension = QStringLiteral("zpreset");

namespace {
PresetDocument::ControllerFactory& installedControllerFactory() {
    static PresetDocument::ControllerFactory factory;
    return factory;
}

const QString kDocumentSettingsKey = QStringLiteral("Document Settings");
const QString kCueModeKey = QStringLiteral("Cue Mode");
const QString kDuckingVolumeKey = QStringLiteral("Ducking Volume");
const QString kDocumentVolumeKey = QStringLiteral("Document Volume");
const QString kFadeOtherDocumentsKey = QStringLiteral("Fade Other Documents");
const QString kUseScrollWheelKey = QStringLiteral("Use ScrollWheel");
const QString kOutputIndexKey = QStringLiteral("Output Index");
const QString kWindowOriginXKey = QStringLiteral("Window Origin X");
const QString kWindowOriginYKey = QStringLiteral("Window Origin Y");
const QString kWindowWidthKey = QStringLiteral("Window Size Width");
const QString kWindowHeightKey = QStringLiteral("Window Size Height");
const QString kLockWindowPositionsKey = QStringLiteral("Lock Window Positions");

QString aliasDataKey(int index) {
    return QStringLiteral("Alias Data %1").arg(index);
}
QString pathKey(int index) {
    return QStringLiteral("Path %1").arg(index);
}
QString settingsKey(int index) {
    return QStringLiteral("Settings %1").arg(index);
}

// A property-list number (bool, integer or real); anything else counts as absent.
bool numberIn(const QVariantMap& dict, const QString& key, double* value) {
    const QVariant entry = dict.value(key);
    switch (entry.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        *value = entry.toDouble();
        return true;
    default:
        return false;
    }
}

QVariantMap userDefaultClipSettings() {
    UserDefaults* defaults = UserDefaults::standard();
    if (defaults && defaults->hasObjectForKey(defaultsKey_DefaultClipSettings)) {
        return defaults->dictionaryForKey(defaultsKey_DefaultClipSettings);
    }
    return ::defaultClipSettings();
}
} // namespace

void PresetDocument::setControllerFactory(ControllerFactory factory) {
    installedControllerFactory() = std::move(factory);
}

PresetDocument::PresetDocument(QObject* parent)
    : Document(parent)
    , _defaultClipSettings(userDefaultClipSettings()) {
    MIDIController::defaultMIDIController().registerAsClient(this);
}

PresetDocument::~PresetDocument() {
    close();
}

// ---- Window and controller ----

void PresetDocument::setController(std::unique_ptr<PresetDocumentController> controller) {
    _controller = std::move(controller);
    if (_controller) {
        windowControllerDidLoadNib();
    }
}

QWidget* PresetDocument::window() const {
    return _controller ? _controller->window() : nullptr;
}

void PresetDocument::makeWindowControllers() {
    if (_controller || !installedControllerFactory()) {
        return;
    }
    setController(installedControllerFactory()(this));
}

void PresetDocument::windowControllerDidLoadNib() {
    updateChangeCount(ChangeKind::Cleared);
    _controller->setCellClips();
    QWidget* w = _controller->window();
    adoptWindow(w);
    const bool hasFrame = _windowFrame.width() > 0 && _windowFrame.height() > 0;
    if (w && hasFrame) {
        w->setGeometry(_windowFrame.toRect());
    }
    setShouldCascadeWindows(!hasFrame);
}

// ---- Clips ----

SoundClip* PresetDocument::clipAtIndex(int index) const {
    if (index < 0 || index >= kClipsCount) {
        return nullptr;
    }
    return _clips[static_cast<size_t>(index)].get();
}

void PresetDocument::setClip(std::unique_ptr<SoundClip> clip, int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _clips[static_cast<size_t>(index)] = std::move(clip);
    markEdited();
}

void PresetDocument::loadDefaultClipSettings() {
    _defaultClipSettings = userDefaultClipSettings();
}

// ---- Document settings ----

void PresetDocument::markEdited() {
    updateChangeCount(ChangeKind::Done);
}

void PresetDocument::setCueMode(bool cueMode) {
    _cueMode = cueMode;
    markEdited();
}

void PresetDocument::setDuckingVolume(double volume) {
    _duckingVolume = volume;
    _defaultClipSettings.insert(settingsKey_DuckingVolume, volume);
    markEdited();
}

void PresetDocument::setDocumentVolume(double volume) {
    _documentVolume = volume;
    _defaultClipSettings.insert(settingsKey_NormalVolume, volume);
    markEdited();
}

void PresetDocument::setFadeOtherDocuments(bool fade) {
    _fadeOtherDocuments = fade;
    markEdited();
}

void PresetDocument::setUseScrollWheelForVolume(bool use) {
    _useScrollWheelForVolume = use;
    markEdited();
}

void PresetDocument::setOutputIndex(int index) {
    _outputIndex = index;
    _defaultClipSettings.insert(settingsKey_OutputIndex, index);
    markEdited();
}

void PresetDocument::saveSettingsToDict(QVariantMap* dict) const {
    dict->insert(kCueModeKey, _cueMode);
    dict->insert(kDuckingVolumeKey, _duckingVolume);
    dict->insert(kDocumentVolumeKey, _documentVolume);
    dict->insert(kFadeOtherDocumentsKey, _fadeOtherDocuments ? 1 : 0);
    dict->insert(kUseScrollWheelKey, _useScrollWheelForVolume ? 1 : 0);
    dict->insert(kOutputIndexKey, _outputIndex);
    // The window as it is now, not as it was read.
    const QWidget* w = window();
    const QRectF frame = w ? QRectF(w->geometry()) : _windowFrame;
    dict->insert(kWindowOriginXKey, static_cast<float>(frame.x()));
    dict->insert(kWindowOriginYKey, static_cast<float>(frame.y()));
    dict->insert(kWindowWidthKey, static_cast<float>(frame.width()));
    dict->insert(kWindowHeightKey, static_cast<float>(frame.height()));
}

void PresetDocument::loadSettingsFromDict(const QVariantMap* dict) {
    const QVariantMap settings = dict ? *dict : QVariantMap();
    double number = 0.0;
    if (numberIn(settings, kCueModeKey, &number)) {
        _cueMode = number != 0.0;
    }
    if (numberIn(settings, kDuckingVolumeKey, &number)) {
        setDuckingVolume(number);
    }
    if (numberIn(settings, kDocumentVolumeKey, &number)) {
        setDocumentVolume(number);
    }
    if (numberIn(settings, kFadeOtherDocumentsKey, &number)) {
        setFadeOtherDocuments(number != 0.0);
    }
    if (numberIn(settings, kUseScrollWheelKey, &number)) {
        setUseScrollWheelForVolume(number != 0.0);
    }
    if (numberIn(settings, kOutputIndexKey, &number)) {
        setOutputIndex(static_cast<int>(number));
    }
    double x = 0.0;
    double y = 0.0;
    double width = 100.0;
    double height = 100.0;
    numberIn(settings, kWindowOriginXKey, &x);
    numberIn(settings, kWindowOriginYKey, &y);
    numberIn(settings, kWindowWidthKey, &width);
    numberIn(settings, kWindowHeightKey, &height);
    if (width > 0 && height > 0) {
        setFrame(QRectF(x, y, width, height));
    }
}

// ---- File ----

QByteArray PresetDocument::dataRepresentation(QString* error) const {
    QVariantMap root;
    QVariantMap settings;
    saveSettingsToDict(&settings);
    root.insert(kDocumentSettingsKey, settings);
    root.insert(defaultsKey_DefaultClipSettings, defaultClipSettings());
    for (int i = 0; i < kClipsCount; ++i) {
        const SoundClip* clip = clipAtIndex(i);
        if (!clip) {
            continue;
        }
        // A clip whose file is missing keeps the path it was made for, so saving a
        // document with offline clips does not lose them.
        const QString path = clip->path().isEmpty() ? clip->recordedPath() : clip->path();
        if (path.isEmpty()) {
            continue;
        }
        root.insert(aliasDataKey(i), clip->aliasData());
        root.insert(pathKey(i), path);
        root.insert(settingsKey(i), clip->settings() ? *clip->settings() : QVariantMap());
    }
    return PropertyList::toXml(root, error);
}

std::unique_ptr<SoundClip> PresetDocument::loadClip(const QVariantMap& root, int index) const {
    const QVariant pathEntry = root.value(pathKey(index));
    if (pathEntry.typeId() != QMetaType::QString) {
        return nullptr;
    }
    const QVariant settingsEntry = root.value(settingsKey(index));
    const QVariantMap settings = settingsEntry.typeId() == QMetaType::QVariantMap
                                     ? settingsEntry.toMap()
                                     : defaultClipSettings();
    auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
    clip->setBasePath(filePath());
    bool good = clip->setFileURL(QUrl::fromLocalFile(pathEntry.toString()));
    if (!good) {
        const QVariant alias = root.value(aliasDataKey(index));
        if (alias.typeId() == QMetaType::QByteArray) {
            clip->setFileAliasData(alias.toByteArray());
            good = clip->exists() && !clip->isOffline();
        }
    }
    clip->setOutputsController(sharedOutputsController());
    if (good || clip->isOffline()) {
        return clip;
    }
    qCInfo(lcPreset).noquote() << QStringLiteral("Button %1: \"%2\" cannot be loaded; dropped")
                                      .arg(index)
                                      .arg(pathEntry.toString());
    return nullptr;
}

bool PresetDocument::loadDataRepresentation(const QByteArray& data, QString* error) {
    QString parseError;
    const QVariant parsed = PropertyList::fromData(data, &parseError);
    if (!parsed.isValid()) {
        *error = QStringLiteral("The file is not a preset document: %1").arg(parseError);
        return false;
    }
    if (parsed.typeId() != QMetaType::QVariantMap) {
        *error = QStringLiteral("The file is not a preset document: its property list does not "
                                "hold a dictionary.");
        return false;
    }
    const QVariantMap root = parsed.toMap();

    const QVariant settingsEntry = root.value(kDocumentSettingsKey);
    const QVariantMap settings = settingsEntry.toMap();
    loadSettingsFromDict(settingsEntry.typeId() == QMetaType::QVariantMap ? &settings : nullptr);
    // After the settings: the file's own defaults replace what the setters wrote.
    const QVariant defaultsEntry = root.value(defaultsKey_DefaultClipSettings);
    if (defaultsEntry.typeId() == QMetaType::QVariantMap) {
        setDefaultClipSettings(defaultsEntry.toMap());
    } else {
        loadDefaultClipSettings();
    }
    for (int i = 0; i < kClipsCount; ++i) {
        if (SoundClip* old = clipAtIndex(i)) {
            old->stopPlaying();
        }
        _clips[static_cast<size_t>(i)] = loadClip(root, i);
    }
    updateChangeCount(ChangeKind::Cleared);
    if (_controller) {
        _controller->setCellClips();
    }
    return true;
}

// ---- Rules ----

bool PresetDocument::hasPlayingClips() const {
    for (const auto& clip : _clips) {
        if (clip && (clip->isPlaying() || clip->isPaused())) {
            return true;
        }
    }
    return false;
}

void PresetDocument::stopOtherDocuments() {
    if (!documentController()) {
        return;
    }
    for (Document* other : documentController()->documents()) {
        if (other != this) {
            other->stopDocument(this);
        }
    }
}

void PresetDocument::checkForMissingClips() {
    int missing = 0;
    for (const auto& clip : _clips) {
        if (!clip) {
            continue;
        }
        // Reloading closes the movie, so a sounding clip is only checked for its file.
        const bool sounding = clip->isPlaying() || clip->isPaused();
        const bool good = sounding ? SoundClip::isValidAudioFile(clip->path())
                                   : clip->getFileInformation(clip->url());
        if (!good) {
            ++missing;
        }
    }
    if (_controller) {
        _controller->updatePreset();
    }
    Alert alert;
    alert.parent = window();
    alert.buttons = {QStringLiteral("OK")};
    if (missing == 0) {
        alert.style = Alert::Style::Informational;
        alert.title = QStringLiteral("Everything is OK!");
        alert.message = QStringLiteral("No missing or invalid clips were found in this document.");
    } else {
        alert.style = Alert::Style::Critical;
        alert.title = QStringLiteral("Invalid/missing Clips Found!");
        alert.message = QStringLiteral("Some clips are missing or invalid in this document.");
    }
    AlertPresenter::current().runAlert(alert);
}

bool PresetDocument::windowShouldClose() {
    if (!hasPlayingClips()) {
        return true;
    }
    const Alert alert = Alert::stopPlaybackWarning(
        QStringLiteral(
            "If you close this window, playback will stop!\nAre you sure you want to do this?"),
        window());
    return AlertPresenter::current().runAlert(alert) == 1;
}

void PresetDocument::windowDidMove() {
    UserDefaults* defaults = UserDefaults::standard();
    QWidget* w = window();
    if (!w || !defaults || !defaults->boolForKey(kLockWindowPositionsKey)) {
        return;
    }
    // Locked windows live at the top left corner of the screen (the origin of the
    // screen, not of its free area, so every locked window lines up the same way).
    if (w->pos() != QPoint(0, 0)) {
        w->move(0, 0);
    }
}

void PresetDocument::close() {
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
    if (_controller) {
        _controller->stopBlinking();
    }
}
