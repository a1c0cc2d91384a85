#pragma once

// One open output stream on one device, opened with all of the device's output channels
// and kept open while the program runs. Created by an AudioDriver. Main thread only,
// except where a member says otherwise.

namespace media {

class DeviceStream {
public:
    virtual ~DeviceStream() = default; // stops and closes the stream

    // Starts calling the render callback. Returns false (and logs) when it cannot start.
    virtual bool start() = 0;
    virtual int channelCount() const = 0;
    virtual int sampleRate() const = 0;
    virtual int periodFrames() const = 0;

    // True once the device failed or disappeared; the stream then makes no more render
    // calls and the engine replaces it. Any thread (an atomic read).
    virtual bool hasFailed() const = 0;
};

} // namespace media
