#pragma once

// One RtAudio output stream on one device of the JACK, PulseAudio or ALSA API: float32,
// interleaved, all of the device's output channels. RtAudio converts to the device's own
// layout in buffers it allocates when the stream opens, so the device callback passes its
// buffer straight to the render callback.
//
// Failure: an RtAudio error on the device thread, a run of device-thread warnings (a
// device that is gone fails every write), the JACK server going away, or no device
// callback for a long stretch while running. Any of them latches hasFailed(); the stream
// then renders silence without calling the render callback.

#include "media/DeviceStream.h"

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class RtAudio;

namespace media {

class JackConnection;
class RenderCallback;

class RtAudioDeviceStream final : public DeviceStream {
public:
    struct Request {
        unsigned deviceIndex = 0; // RtAudio's index of the device in its API, now
        int channels = 0;         // all of the device's output channels
        int sampleRate = 0;
        int periodFrames = 0; // asked for; the device may choose another size
        QString deviceName;   // for messages
    };

    // Opens the stream on `rtAudio` (an instance of the device's API, used for nothing
    // else). `jackServer` is the connection that tells when a JACK server goes away; null
    // for the other APIs. Returns null and sets *error when the device refuses. Any one
    // thread; start() and the destructor may then run on another.
    static std::unique_ptr<RtAudioDeviceStream>
    open(std::unique_ptr<RtAudio> rtAudio, const Request& request, RenderCallback* callback,
         std::shared_ptr<JackConnection> jackServer, QString* error);
    ~RtAudioDeviceStream() override;

    RtAudioDeviceStream(const RtAudioDeviceStream&) = delete;
    RtAudioDeviceStream& operator=(const RtAudioDeviceStream&) = delete;

    bool start() override;
    int channelCount() const override { return _channels; }
    int sampleRate() const override { return _sampleRate; }
    int periodFrames() const override { return _periodFrames; }
    // Any thread.
    bool hasFailed() const override;

private:
    RtAudioDeviceStream(std::unique_ptr<RtAudio> rtAudio, const Request& request,
                        RenderCallback* callback, std::shared_ptr<JackConnection> jackServer);

    bool openOnDevice(QString* error);
    void close();
    bool waitForRtAudioToClose();
    std::int64_t stallLimitNanoseconds() const;

    // Device callback only.
    static int renderTrampoline(void* output, void* input, unsigned int frames, double time,
                                unsigned int status, void* self);
    void renderPeriod(float* interleaved, int frames);
    // Any thread: RtAudio reports errors on the thread that meets them.
    static void errorTrampoline(int type, const std::string& text);
    // Device callback only: an error RtAudio met while serving this stream.
    void noteDeviceThreadError(bool fatal);

    std::unique_ptr<RtAudio> _rtAudio;
    std::shared_ptr<JackConnection> _jackServer;
    RenderCallback* _callback;
    QString _deviceName;
    unsigned _deviceIndex;
    int _channels;
    int _sampleRate;
    int _periodFrames;
    bool _started = false; // main thread

    mutable std::atomic<bool> _failed{false}; // latched by hasFailed() as well
    std::atomic<bool> _running{false};
    std::atomic<std::int64_t> _lastRenderNanoseconds{0};

    // Device callback only.
    std::uint64_t _periodsRendered = 0;
    std::uint64_t _periodOfLastWarning = 0;
    int _warningRun = 0;
};

} // namespace media
