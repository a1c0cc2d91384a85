#include "media/DeviceWatcher.h"

#include <chrono>

namespace media {

DeviceWatcher::DeviceWatcher(int intervalMs, Lister lister, Listener listener)
    : _intervalMs(intervalMs)
    , _lister(std::move(lister))
    , _listener(std::move(listener))
    , _thread([this] { run(); }) {}

DeviceWatcher::~DeviceWatcher() {
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wakeUp.notify_all();
    _thread.join();
}

void DeviceWatcher::run() {
    std::unique_lock lock(_mutex);
    for (;;) {
        _wakeUp.wait_for(lock, std::chrono::milliseconds(_intervalMs),
                         [this] { return _stopping; });
        if (_stopping) {
            return;
        }
        lock.unlock();
        _listener(_lister());
        lock.lock();
    }
}

} // namespace media
