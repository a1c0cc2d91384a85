#pragma once

// Marks the current thread as being inside a device render call for as long as the
// scope lives. The mixer opens one on entry to every render; the real-time safety test
// reads it from its allocation and lock traps to tell callback work from other work.

namespace media {

class RenderScope {
public:
    RenderScope();
    ~RenderScope();
    RenderScope(const RenderScope&) = delete;
    RenderScope& operator=(const RenderScope&) = delete;

    // Any thread: true while the calling thread is inside a render call.
    static bool isActive();
};

} // namespace media
