#pragma once

// What a clip tells the document controller that owns its button or row. The clip holds
// its observer without owning it and checks the pointer before every call. Every
// operation has an empty default, so a controller implements only the news it wants.
//
// Thread contract: called on the main thread, synchronously from the clip's operations
// and from its 50 ms tick.

class SoundClip;

class ClipObserver {
public:
    virtual ~ClipObserver() = default;

    // The clip was paused or resumed: redraw its button or row.
    virtual void updateClipCell(SoundClip* clip) { (void)clip; }
    // The clip stopped (by a stop, at its end or at the end of a fade-out to silence).
    // Sent after the outputs observer heard the same.
    virtual void clipHasStopped(SoundClip* clip) { (void)clip; }
};
