#pragma once

// The outputs monitoring panel as the document windows reach it: besides the news a clip
// sends it (ClipOutputsObserver), a window releases, stops and clears outputs by index.
// The application installs the one panel in StudioServices; until then the windows find
// no monitor and these requests do nothing.
//
// Thread contract: main thread only.

#include "clip/ClipOutputsObserver.h"

class OutputsMonitor : public ClipOutputsObserver {
public:
    // Output `outputIndex` (0..8) lets its paused clip play (a fader opened) and turns its
    // GPI tally line off.
    virtual void releasePauseForOutput(int outputIndex) = 0;
    // Stops the clip shown on output `outputIndex` and turns its tally line off.
    virtual void stopOutput(int outputIndex) = 0;
    // Output `outputIndex` shows no clip any more, whatever it showed (after a clip moved
    // to another output).
    virtual void outputHasStopped(int outputIndex) = 0;
};
