#include "app/DocumentButtonTarget.h"

#include "document/Document.h"
#include "playlist/PlaylistDocument.h"
#include "playlist/PlaylistDocumentController.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"

DocumentButtonTarget::DocumentButtonTarget(Document* document)
    : _document(document) {}

PresetController* DocumentButtonTarget::presetController() const {
    auto* preset = qobject_cast<PresetDocument*>(_document.data());
    return preset ? dynamic_cast<PresetController*>(preset->controller()) : nullptr;
}

PlaylistDocumentController* DocumentButtonTarget::playlistController() const {
    auto* playlist = qobject_cast<PlaylistDocument*>(_document.data());
    return playlist ? playlist->controller() : nullptr;
}

void DocumentButtonTarget::configureButtonAtIndex(int index) {
    if (PresetController* controller = presetController()) {
        controller->configureButtonAtIndex(index);
    }
}

void DocumentButtonTarget::openWithEditorItemAtIndex(int index) {
    if (PresetController* controller = presetController()) {
        controller->openWithEditorItemAtIndex(index);
    }
}

void DocumentButtonTarget::stopPlayback(int index) {
    if (PresetController* controller = presetController()) {
        controller->stopPlayback(index);
    } else if (PlaylistDocumentController* playlist = playlistController()) {
        playlist->stopPlayback();
    }
}

void DocumentButtonTarget::toggleLoopForItemAtIndex(int index) {
    if (PresetController* controller = presetController()) {
        controller->toggleLoopForItemAtIndex(index);
    }
}

void DocumentButtonTarget::startPlayback(int index) {
    if (PresetController* controller = presetController()) {
        controller->startPlayback(index);
    } else if (PlaylistDocumentController* playlist = playlistController()) {
        playlist->startPlayback(index);
    }
}

void DocumentButtonTarget::preListenClipAtIndex(int index, bool atEnd) {
    if (PresetController* controller = presetController()) {
        controller->preListenClipAtIndex(index, atEnd);
    }
}

void DocumentButtonTarget::toggleCueMode() {
    if (PresetController* controller = presetController()) {
        controller->toggleCueMode();
    }
}
