#include "media/Preroll.h"

#include <algorithm>

namespace media {

Preroll::Preroll(long long startFrame, int frames, int channels, bool reachesEnd)
    : _startFrame(startFrame)
    , _channels(channels)
    // Default-initialised on purpose: untouched pages cost no resident memory until
    // the decoder writes them.
    , _data(new float[size_t(std::max(frames, 1)) * size_t(channels)])
    , _frames(std::max(frames, 0))
    , _reachesEnd(reachesEnd) {}

void Preroll::publish(int count) {
    const int ready = _ready.load(std::memory_order_relaxed);
    _ready.store(std::min(ready + count, frames()), std::memory_order_release);
}

void Preroll::truncate() {
    _reachesEnd.store(true, std::memory_order_relaxed);
    _frames.store(_ready.load(std::memory_order_relaxed), std::memory_order_release);
}

} // namespace media
