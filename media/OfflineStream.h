#pragma once

// A device stream that renders only when pulled: tests call pull() and get exactly the
// frames the device would have played, one period at a time, on the calling thread
// (which then is the device callback). A stream can be made to fail as a lost device.

#include "media/DeviceStream.h"

#include <QString>
#include <atomic>
#include <vector>

namespace media {

class OfflineDriver;
class RenderCallback;

class OfflineStream final : public DeviceStream {
public:
    // `driver` (which must outlive the stream) is told when the stream closes.
    OfflineStream(OfflineDriver* driver, const QString& deviceName, int channels, int sampleRate,
                  int periodFrames, RenderCallback* callback);
    ~OfflineStream() override;

    bool start() override;
    int channelCount() const override { return _channels; }
    int sampleRate() const override { return _sampleRate; }
    int periodFrames() const override { return _periodFrames; }
    bool hasFailed() const override { return _failed.load(std::memory_order_acquire); }

    const QString& deviceName() const { return _deviceName; }

    // The pulling thread is the device callback. Renders `frames` frames (whole periods
    // and a last partial one) into `interleaved`; silence when not started or failed.
    void pull(float* interleaved, int frames);
    std::vector<float> pull(int frames);

    // Any thread: the device disappears; pulls that begin after this render nothing.
    void fail();

private:
    OfflineDriver* const _driver;
    const QString _deviceName;
    const int _channels;
    const int _sampleRate;
    const int _periodFrames;
    RenderCallback* const _callback;
    std::atomic<bool> _started{false};
    std::atomic<bool> _failed{false};
};

} // namespace media
