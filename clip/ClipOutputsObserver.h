#pragma once

// What a clip tells the outputs monitoring panel (or whoever shows the clips per output).
// The clip holds its observer without owning it and checks the pointer before every call.
//
// clipHasStarted() and clipHasStopped() have empty defaults, so an observer implements
// only the news it wants. pauseOutput() is pure: a clip started paused sends it to every
// outputs observer it has, unconditionally, so each observer must say what a paused start
// means for its output (the panel marks the output as paused). Like the other calls it is
// only made when an observer is set.
//
// A clip destroyed while playing tells its outputs observer clipHasStopped(), so an
// observer must outlive the clips it watches (the panel lives as long as the program) or
// be unset from them first.
//
// Thread contract: called on the main thread, synchronously from the clip's operations
// and from its 50 ms tick.

class SoundClip;

class ClipOutputsObserver {
public:
    virtual ~ClipOutputsObserver() = default;

    // The clip started on its output, after its level was set and before its movie runs.
    virtual void clipHasStarted(SoundClip* clip) { (void)clip; }
    // The clip started paused on output `outputIndex` (0..8).
    virtual void pauseOutput(int outputIndex) = 0;
    // The clip stopped. Sent before the clip's controller hears the same.
    virtual void clipHasStopped(SoundClip* clip) { (void)clip; }
};
