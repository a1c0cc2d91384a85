#pragma once

// What a playlist document asks of the controller of its window. The window-side
// PlaylistController implements it; the document's tests use a fake. The document owns
// its controller and reaches it only through these calls. Besides what every slot
// document asks (ClipSlotsController): startPlayback(index) starts the row of slot
// `index`, and window() is the playlist window.
//
// Thread contract: main thread only.

#include "document/ClipSlotsController.h"

class PlaylistDocumentController : public ClipSlotsController {
public:
    // The clips were loaded or replaced: show every row afresh.
    virtual void reloadData() = 0;
    // Stop the current clip at once.
    virtual void stopPlayback() = 0;
    // Fade the current clip out over its fade-out duration.
    virtual void stopPlaybackWithFade() = 0;
};
