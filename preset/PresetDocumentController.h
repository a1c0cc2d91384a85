#pragma once

// What a preset document asks of the controller of its window. The window-side
// PresetController implements it; the document's tests use a fake. The document owns
// its controller (made by the factory installed with PresetDocument::setControllerFactory)
// and reaches it only through these calls. Besides what every slot document asks
// (ClipSlotsController): startPlayback(index) fires button `index` by the firing rules,
// and window() is the preset window, which the document also places.
//
// Thread contract: main thread only.

#include "document/ClipSlotsController.h"

class PresetDocumentController : public ClipSlotsController {
public:
    // The clips were loaded or replaced: show every button of the document afresh.
    virtual void setCellClips() = 0;
    // Redraw the whole grid (after a check for missing files, for example).
    virtual void updatePreset() = 0;
    // The document is going away: stop the blink timer and forget it.
    virtual void stopBlinking() = 0;
};
