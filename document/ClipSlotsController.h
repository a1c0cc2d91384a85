#pragma once

// What a document made of numbered clip slots asks of the controller of its window,
// whatever the kind of document: start one slot by the window's own rules, and give the
// window. The preset and playlist controllers' interfaces add what their documents ask
// besides.
//
// Thread contract: main thread only.

class QWidget;

class ClipSlotsController {
public:
    virtual ~ClipSlotsController() = default;

    // Start slot `index` (0..23) by the window's rules; a MIDI note that matches a clip's
    // trigger arrives here.
    virtual void startPlayback(int index) = 0;
    // The document's window, or null while there is none. The document titles it and
    // watches its moves and close requests.
    virtual QWidget* window() const = 0;
};
