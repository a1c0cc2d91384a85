#include "playlist/PlaylistDocument.h"

#include "clip/ClipSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/ValueConversion.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"
#include "playlist/PlaylistController.h"
#include "playlist/PlaylistDocumentController.h"

#include <QUrl>

const QString PlaylistDocument::kTypeName = QStringLiteral("PlaylistDocument");
const QString PlaylistDocument::kMimeType = QStringLiteral("application/x-zelvora-playlist");
const QString PlaylistDocument::kExtension = QStringLiteral("zplaylist");

namespace {

// An option stored as a number is on when its whole part is above 0 (0.5 and -1 are off).
bool optionFromNumber(const QVariant& value) {
    return intFromValue(value) > 0;
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
    : ClipSlotsDocument(initialClipSettings(), parent) {}

PlaylistDocument::~PlaylistDocument() {
    close();
    // A panel shown over the window is the window's child and must go before it.
    deleteAssignMIDINotePanel();
}

// ---- Window and controller ----

void PlaylistDocument::setController(std::unique_ptr<PlaylistDocumentController> controller) {
    // The learning panel may be a child of the old window.
    deleteAssignMIDINotePanel();
    _controller = std::move(controller);
    if (_controller) {
        windowControllerDidLoadNib();
    }
}

ClipSlotsController* PlaylistDocument::slotsController() const {
    return _controller.get();
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

// ---- Document settings ----

void PlaylistDocument::loadSettingsFromDict(const QVariantMap* dict) {
    if (dict) {
        loadVolumesAndOptionsFromDict(*dict, optionFromNumber);
    }
}

// ---- File ----

QString PlaylistDocument::fileKindName() const {
    return QStringLiteral("playlist");
}

std::unique_ptr<SoundClip> PlaylistDocument::loadClip(const QVariantMap& root, int index) const {
    QString path;
    std::unique_ptr<SoundClip> clip = makeClipForSlot(root, index, &path);
    if (!clip) {
        return nullptr;
    }
    clip->setOutputsController(sharedOutputsController());
    if (!clip->setFileURL(QUrl::fromLocalFile(path))) {
        qCInfo(lcPlaylist).noquote()
            << QStringLiteral("Row %1: \"%2\" cannot be loaded; dropped").arg(index).arg(path);
        return nullptr;
    }
    return clip;
}

void PlaylistDocument::showLoadedClips() {
    if (_controller) {
        _controller->reloadData();
    }
}

// ---- Rules ----

void PlaylistDocument::stopDocument(Document* sender) {
    (void)sender;
    if (_controller) {
        _controller->stopPlaybackWithFade();
    }
}

void PlaylistDocument::close() {
    if (isClosed()) {
        return;
    }
    if (_controller) {
        _controller->stopPlayback();
    }
    ClipSlotsDocument::close();
}
