#include "media/OfflineStream.h"

#include "media/OfflineDriver.h"
#include "media/RenderCallback.h"

#include <algorithm>
#include <cstring>

namespace media {

OfflineStream::OfflineStream(OfflineDriver* driver, const QString& deviceName, int channels,
                             int sampleRate, int periodFrames, RenderCallback* callback)
    : _driver(driver)
    , _deviceName(deviceName)
    , _channels(channels)
    , _sampleRate(sampleRate)
    , _periodFrames(periodFrames)
    , _callback(callback) {}

OfflineStream::~OfflineStream() {
    if (_driver) {
        _driver->forget(this);
    }
}

bool OfflineStream::start() {
    _started.store(true, std::memory_order_release);
    return !hasFailed();
}

void OfflineStream::pull(float* interleaved, int frames) {
    if (!_started.load(std::memory_order_acquire) || hasFailed()) {
        std::memset(interleaved, 0,
                    size_t(std::max(frames, 0)) * size_t(_channels) * sizeof(float));
        return;
    }
    for (int done = 0; done < frames;) {
        const int period = std::min(_periodFrames, frames - done);
        _callback->render(interleaved + size_t(done) * size_t(_channels), _channels, period);
        done += period;
    }
}

std::vector<float> OfflineStream::pull(int frames) {
    std::vector<float> buffer(size_t(std::max(frames, 0)) * size_t(_channels));
    pull(buffer.data(), frames);
    return buffer;
}

void OfflineStream::fail() {
    _failed.store(true, std::memory_order_release);
}

} // namespace media
