#pragma once

// What a preset document asks of the controller of its window. The window-side
// PresetController implements it; the document's tests use a fake. The document owns
// its controller (made by the factory installed with PresetDocument::setControllerFactory)
// and reaches it only through these calls.
//
// Thread contract: main thread only.

class QWidget;

class PresetDocumentController {
public:
    virtual ~PresetDocumentController() = default;

    // The clips were loaded or replaced: show every button of the document afresh.
    virtual void setCellClips() = 0;
    // Redraw the whole grid (after a check for missing files, for example).
    virtual void updatePreset() = 0;
    // Fire button `index` (0..23) by the firing rules; a MIDI note that matches a
    // button's trigger arrives here.
    virtual void startPlayback(int index) = 0;
    // The document is going away: stop the blink timer and forget it.
    virtual void stopBlinking() = 0;
    // The preset window, or null while there is none. The document places it, titles it
    // and watches its moves and close requests.
    virtual QWidget* window() const = 0;
};
