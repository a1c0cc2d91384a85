#pragma once

// ClipButtonTarget over the controller of an open document: a cart wall's controller
// does all of it; a playlist starts a row and stops its current clip, and has no
// settings, editor, loop, pre-listen or cue mode to reach from a key. A document
// without a controller (or none at all) ignores everything.
//
// Thread contract: main thread only.

#include "app/ClipButtonTarget.h"

#include <QPointer>

class Document;

class DocumentButtonTarget : public ClipButtonTarget {
public:
    explicit DocumentButtonTarget(Document* document);

    void configureButtonAtIndex(int index) override;
    void openWithEditorItemAtIndex(int index) override;
    void stopPlayback(int index) override;
    void toggleLoopForItemAtIndex(int index) override;
    void startPlayback(int index) override;
    void preListenClipAtIndex(int index, bool atEnd) override;
    void toggleCueMode() override;

private:
    class PresetController* presetController() const;
    class PlaylistDocumentController* playlistController() const;

    QPointer<Document> _document;
};
