#include "preset/PresetDocument.h"

#include "clip/ClipSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "document/AlertPresenter.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetDocumentController.h"

#include <QUrl>
#include <QWidget>

const QString PresetDocument::kTypeName = QStringLiteral("PresetDocument");
const QString PresetDocument::kMimeType = QStringLiteral("application/x-zelvora-preset");
const QString PresetDocument::kExtension = QStringLiteral("zpreset");

namespace {
PresetDocument::ControllerFactory& installedControllerFactory() {
    static PresetDocument::ControllerFactory factory;
    return factory;
}

const QString kCueModeKey = QStringLiteral("Cue Mode");
const QString kOutputIndexKey = QStringLiteral("Output Index");
const QString kWindowOriginXKey = QStringLiteral("Window Origin X");
const QString kWindowOriginYKey = QStringLiteral("Window Origin Y");
const QString kWindowWidthKey = QStringLiteral("Window Size Width");
const QString kWindowHeightKey = QStringLiteral("Window Size Height");
const QString kLockWindowPositionsKey = QStringLiteral("Lock Window Positions");

QString aliasDataKey(int index) {
    return QStringLiteral("Alias Data %1").arg(index);
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

// Any number but 0 turns an option on.
bool optionFromNumber(const QVariant& number) {
    return doubleFromValue(number) != 0.0;
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
    : ClipSlotsDocument(userDefaultClipSettings(), parent) {}

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

ClipSlotsController* PresetDocument::slotsController() const {
    return _controller.get();
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

// ---- Default clip settings ----

void PresetDocument::loadDefaultClipSettings() {
    setDefaultClipSettings(userDefaultClipSettings());
}

// ---- Document settings ----

void PresetDocument::setCueMode(bool cueMode) {
    _cueMode = cueMode;
    markEdited();
}

void PresetDocument::setDuckingVolume(double volume) {
    setDefaultClipSetting(settingsKey_DuckingVolume, volume);
    ClipSlotsDocument::setDuckingVolume(volume);
}

void PresetDocument::setDocumentVolume(double volume) {
    setDefaultClipSetting(settingsKey_NormalVolume, volume);
    ClipSlotsDocument::setDocumentVolume(volume);
}

void PresetDocument::setOutputIndex(int index) {
    _outputIndex = index;
    setDefaultClipSetting(settingsKey_OutputIndex, index);
    markEdited();
}

void PresetDocument::saveSettingsToDict(QVariantMap* dict) const {
    ClipSlotsDocument::saveSettingsToDict(dict);
    dict->insert(kCueModeKey, _cueMode);
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
    loadVolumesAndOptionsFromDict(settings, optionFromNumber);
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

QString PresetDocument::fileKindName() const {
    return QStringLiteral("preset document");
}

void PresetDocument::saveClipToDict(QVariantMap* root, int index, const SoundClip& clip,
                                    const QString& path) const {
    root->insert(aliasDataKey(index), clip.aliasData());
    ClipSlotsDocument::saveClipToDict(root, index, clip, path);
}

std::unique_ptr<SoundClip> PresetDocument::loadClip(const QVariantMap& root, int index) const {
    QString path;
    std::unique_ptr<SoundClip> clip = makeClipForSlot(root, index, &path);
    if (!clip) {
        return nullptr;
    }
    bool good = clip->setFileURL(QUrl::fromLocalFile(path));
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
    qCInfo(lcPreset).noquote()
        << QStringLiteral("Button %1: \"%2\" cannot be loaded; dropped").arg(index).arg(path);
    return nullptr;
}

void PresetDocument::defaultClipSettingsMissingFromFile() {
    loadDefaultClipSettings();
}

void PresetDocument::showLoadedClips() {
    if (_controller) {
        _controller->setCellClips();
    }
}

// ---- Rules ----

void PresetDocument::checkForMissingClips() {
    int missing = 0;
    for (int i = 0; i < kClipsCount; ++i) {
        SoundClip* clip = clipAtIndex(i);
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
    if (isClosed()) {
        return;
    }
    ClipSlotsDocument::close();
    if (_controller) {
        _controller->stopBlinking();
    }
}
