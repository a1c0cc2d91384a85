#pragma once

// Polls the device list every few seconds on a thread of its own (listing devices can
// take milliseconds, too long for the main thread) and hands each list to a listener,
// which forwards it to the main thread. Stops and joins on destruction.

#include "media/AudioDeviceInfo.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace media {

class DeviceWatcher {
public:
    using Lister = std::function<std::vector<AudioDeviceInfo>()>;
    using Listener = std::function<void(std::vector<AudioDeviceInfo>)>;

    // Main thread only. `lister` and `listener` run on the watcher's thread, every
    // `intervalMs` milliseconds, the first time after one interval.
    DeviceWatcher(int intervalMs, Lister lister, Listener listener);
    ~DeviceWatcher();
    DeviceWatcher(const DeviceWatcher&) = delete;
    DeviceWatcher& operator=(const DeviceWatcher&) = delete;

private:
    void run();

    const int _intervalMs;
    Lister _lister;
    Listener _listener;
    std::mutex _mutex; // main thread and the watcher only
    std::condition_variable _wakeUp;
    bool _stopping = false;
    std::thread _thread;
};

} // namespace media
