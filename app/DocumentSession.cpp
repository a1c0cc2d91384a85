#include "app/DocumentSession.h"

#include "app/DocumentMenuBar.h"
#include "document/AlertPresenter.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QWidget>

namespace {

const QString kShouldOpenUntitledPresetKey = QStringLiteral("Should Open Untitled Preset");

bool anyClipSounds(const DocumentController& documents) {
    for (const Document* document : documents.documents()) {
        if (document->hasPlayingClips()) {
            return true;
        }
    }
    return false;
}

} // namespace

DocumentSession::DocumentSession(QObject* parent)
    : QObject(parent)
    , _documentController(std::make_unique<DocumentController>()) {
    _documentController->registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                               PresetDocument::kExtension,
                                               QStringLiteral("Cart Wall"), [] {
                                                   return std::make_unique<PresetDocument>();
                                               }});
    PresetDocument::setControllerFactory(
        [](PresetDocument* document) { return std::make_unique<PresetController>(document); });
    // Every document window, whatever its type, gets the same menu bar.
    _documentController->setWindowMadeHandler([this](Document* document) {
        DocumentMenuBar::install(document->window(), document, *this);
    });
    DocumentController::setShared(_documentController.get());
}

DocumentSession::~DocumentSession() {
    // The documents go first (they stop their clips and leave the MIDI controller), while
    // the factory and the shared controller they may still reach are in place.
    _documentController.reset();
    PresetDocument::setControllerFactory(nullptr);
    DocumentController::setShared(nullptr);
}

int DocumentSession::openInitialDocuments(const QStringList& paths) {
    for (const QString& path : paths) {
        _documentController->openDocument(path);
    }
    const int opened = int(_documentController->documents().size());
    if (opened > 0) {
        return opened;
    }
    const UserDefaults* defaults = UserDefaults::standard();
    const bool wanted = !defaults || defaults->boolForKey(kShouldOpenUntitledPresetKey);
    if (!wanted) {
        // Until the outputs panel and the pre-listen player have windows of their own, a
        // cart wall is the only window the program can show.
        qCInfo(lcApp) << "opening an untitled cart wall: there is no other window to show";
    }
    _documentController->newDocument();
    return int(_documentController->documents().size());
}

bool DocumentSession::shouldTerminate() {
    const bool sounding = anyClipSounds(*_documentController);
    if (sounding) {
        const Alert alert = Alert::stopPlaybackWarning(QStringLiteral(
            "If you quit now, playback will stop!\nAre you sure you want to do this?"));
        if (AlertPresenter::current().runAlert(alert) != 1) {
            return false;
        }
    }
    // Confirmed once for all: no document asks about its playback again. A document
    // whose save question is cancelled stays open and keeps playing.
    return _documentController->closeAllDocuments(sounding);
}

void DocumentSession::setQuitRule(std::function<bool()> rule) {
    _quitRule = std::move(rule);
}

void DocumentSession::quit() {
    // Quitting closes the remaining windows, which may report the last window closed:
    // that is this very quit, not another.
    if (_quitting) {
        return;
    }
    const QScopedValueRollback<bool> quitting(_quitting, true);
    const bool mayQuit = _quitRule ? _quitRule() : shouldTerminate();
    if (mayQuit) {
        QCoreApplication::quit();
    }
}

void DocumentSession::newDocument() {
    _documentController->newDocument();
}

void DocumentSession::openDocuments() {
    _documentController->openDocuments();
}

void DocumentSession::openRecentDocument(const QString& path) {
    _documentController->openDocument(path);
}

void DocumentSession::closeDocument(Document* document) {
    // Through the window, so closing the last window ends the program as a title-bar
    // close does; the document's close rules run from the window's close request.
    if (QWidget* window = document ? document->window() : nullptr) {
        window->close();
    } else {
        _documentController->closeDocument(document);
    }
}

void DocumentSession::saveDocument(Document* document) {
    _documentController->saveDocument(document);
}

void DocumentSession::saveDocumentAs(Document* document) {
    _documentController->saveDocumentAs(document);
}

void DocumentSession::revertDocument(Document* document) {
    _documentController->revertDocument(document);
}

void DocumentSession::checkForMissingClips(Document* document) {
    if (document) {
        document->checkForMissingClips();
    }
}
