#pragma once

// What a playlist document asks of the controller of its window. The window-side
// PlaylistController implements it; the document's tests use a fake. The document owns
// its controller and reaches it only through these calls.
//
// Thread contract: main thread only.

class QWidget;

class PlaylistDocumentController {
public:
    virtual ~PlaylistDocumentController() = default;

    // The clips were loaded or replaced: show every row afresh.
    virtual void reloadData() = 0;
    // Start the row of slot `index` (0..23); a MIDI note that matches a clip's trigger
    // arrives here.
    virtual void startPlayback(int index) = 0;
    // Stop the current clip at once.
    virtual void stopPlayback() = 0;
    // Fade the current clip out over its fade-out duration.
    virtual void stopPlaybackWithFade() = 0;
    // The playlist window, or null while there is none.
    virtual QWidget* window() const = 0;
};
