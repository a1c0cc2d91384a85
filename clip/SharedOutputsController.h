#pragma once

// The process's outputs monitoring controller as clips see it: the application installs
// its single outputs panel here at start, and documents hand it to every clip they load
// (setOutputsController). Null until installed; documents then load clips without one.
//
// Thread contract: main thread only.

class ClipOutputsObserver;

ClipOutputsObserver* sharedOutputsController();
void setSharedOutputsController(ClipOutputsObserver* controller);
