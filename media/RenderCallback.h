#pragma once

// What a device stream calls to fill its buffers: the engine's mixer for that device.

namespace media {

class RenderCallback {
public:
    virtual ~RenderCallback() = default;

    // Fills `frames` frames of `channels` interleaved floats (the device's full channel
    // count). Device callback only: never locks, allocates, frees, logs or touches Qt.
    virtual void render(float* interleaved, int channels, int frames) = 0;
};

} // namespace media
