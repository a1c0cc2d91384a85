#include "media/Mixer.h"

#include "media/RenderScope.h"
#include "media/Voice.h"
#include "media/VoiceRenderer.h"

#include <algorithm>
#include <cstring>

namespace media {

Mixer::Mixer(int maxVoices)
    : _maxVoices(size_t(std::max(maxVoices, 1)))
    , _commands(_maxVoices * 4)
    , _scratch(std::make_unique<float[]>(size_t(kMaxChunkFrames) * VoiceRenderer::kMaxChannels)) {
    _voices.reserve(_maxVoices);
    _pending.reserve(_maxVoices);
}

Mixer::~Mixer() = default;

bool Mixer::attach(Voice* voice) {
    return _commands.push({Command::Type::Attach, voice});
}

bool Mixer::detach(Voice* voice) {
    return _commands.push({Command::Type::Detach, voice});
}

bool Mixer::retire(Voice* voice) {
    return _commands.push({Command::Type::Retire, voice});
}

void Mixer::render(float* interleaved, int channels, int frames) {
    RenderScope scope;
    std::memset(interleaved, 0, size_t(frames) * size_t(channels) * sizeof(float));
    applyCommands();
    adoptPending();
    for (int done = 0; done < frames;) {
        const int chunk = std::min(frames - done, kMaxChunkFrames);
        float* out = interleaved + size_t(done) * size_t(channels);
        for (Voice* voice : _voices) {
            voice->renderer.render(out, channels, chunk, _scratch.get());
        }
        done += chunk;
    }
    _framesRendered.fetch_add(frames, std::memory_order_release);
}

void Mixer::applyCommands() {
    Command command;
    while (_commands.pop(command)) {
        Voice* voice = command.voice;
        switch (command.type) {
        case Command::Type::Attach:
            if (_pending.size() < _maxVoices) {
                _pending.push_back(voice);
            }
            break;
        case Command::Type::Detach:
        case Command::Type::Retire:
            if (removeFrom(_voices, voice)) {
                voice->owner.store(nullptr, std::memory_order_release);
            }
            removeFrom(_pending, voice);
            if (command.type == Command::Type::Retire) {
                voice->retired.store(true, std::memory_order_release);
            }
            break;
        }
    }
}

void Mixer::adoptPending() {
    for (size_t i = 0; i < _pending.size();) {
        Voice* voice = _pending[i];
        const Mixer* expected = nullptr;
        if (_voices.size() < _maxVoices &&
            voice->owner.compare_exchange_strong(expected, this, std::memory_order_acq_rel)) {
            _voices.push_back(voice);
            _pending[i] = _pending.back();
            _pending.pop_back();
        } else {
            ++i; // still rendered by the mixer it comes from
        }
    }
    _voiceCount.store(int(_voices.size()), std::memory_order_release);
}

bool Mixer::removeFrom(std::vector<Voice*>& voices, Voice* voice) {
    const auto found = std::find(voices.begin(), voices.end(), voice);
    if (found == voices.end()) {
        return false;
    }
    *found = voices.back();
    voices.pop_back();
    return true;
}

} // namespace media
