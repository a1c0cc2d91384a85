#pragma once

// The pre-listen player as the document windows reach it: auditions a clip on the
// pre-listen output. Installed by the application in StudioServices.
//
// Thread contract: main thread only.

class SoundClip;

class PreListenPlayer {
public:
    virtual ~PreListenPlayer() = default;

    // Plays `clip` on the pre-listen output, from its start, or with `atEnd` from shortly
    // before its end. `clip` is not owned and outlives the call.
    virtual void preListenClip(SoundClip* clip, bool atEnd) = 0;
};
