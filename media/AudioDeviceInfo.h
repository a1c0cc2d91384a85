#pragma once

// One output device as a driver lists it. Plain value; any thread.

#include <QString>

namespace media {

struct AudioDeviceInfo {
    QString name; // readable name shown in the output configuration ("Built-in Output"
                  // is reserved for the system default and never a device's own name)
    QString uid;  // stable identifier, the same across runs and re-plugging
    int outputChannels = 0;
    int preferredSampleRate = 0;
    bool isDefault = false; // the system default output ("Built-in Output")
};

} // namespace media
