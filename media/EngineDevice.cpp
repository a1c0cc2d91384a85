#include "media/EngineDevice.h"

#include "media/Mixer.h"
#include "media/NullStream.h"

#include <algorithm>

namespace media {

EngineDevice::EngineDevice(const AudioDeviceInfo& info, int sampleRate, int periodFrames,
                           int maxVoices)
    : _info(info)
    , _sampleRate(sampleRate)
    , _periodFrames(periodFrames)
    , _mixer(std::make_unique<Mixer>(maxVoices)) {}

EngineDevice::~EngineDevice() {
    _stream.reset();
}

bool EngineDevice::useStream(std::unique_ptr<DeviceStream> stream) {
    _stream.reset(); // the fallback clock stops (joined) before the device starts
    _stream = std::move(stream);
    _onFallback = false;
    if (!_stream || !_stream->start()) {
        useFallback();
        return false;
    }
    return true;
}

void EngineDevice::useFallback() {
    _stream.reset();
    _stream = std::make_unique<NullStream>(std::max(_info.outputChannels, 1), _sampleRate,
                                           _periodFrames, _mixer.get());
    _stream->start();
    _onFallback = true;
}

bool EngineDevice::hasFailed() const {
    return !_onFallback && _stream && _stream->hasFailed();
}

} // namespace media
