#include "media/VoiceRenderer.h"

#include "media/Preroll.h"
#include "media/Voice.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>

namespace media {

namespace {

constexpr float kEnvelopeStep = 1.0f / float(VoiceRenderer::kDeclickFrames);

// Peaks are non-negative floats, whose bit patterns order like unsigned integers.
void raisePeak(std::atomic<uint32_t>& bits, float value) {
    const uint32_t raised = std::bit_cast<uint32_t>(value);
    uint32_t current = bits.load(std::memory_order_relaxed);
    while (raised > current &&
           !bits.compare_exchange_weak(current, raised, std::memory_order_relaxed)) {
    }
}

} // namespace

VoiceRenderer::VoiceRenderer(Voice& voice)
    : _voice(voice) {}

void VoiceRenderer::render(float* out, int deviceChannels, int frames, float* scratch) {
    applyCommands();
    if (discardStaleBlocks()) {
        _freedBlock = true;
    }
    const float target = _voice.targetGain.load(std::memory_order_relaxed);
    const bool tailPending = _tailPosition < _tailFrames;
    if (_envelope <= 0.0f && !tailPending) {
        _gain = target; // nothing sounds yet: no ramp needed from the old gain
    }
    const bool hasStream = _source == Source::Preroll || _source == Source::Ring;
    if ((_playing && hasStream) || _envelope > 0.0f || tailPending) {
        bool starved = false;
        const int produced = produce(scratch, frames, &starved);
        addTail(scratch, frames);
        if (starved) {
            _voice.underruns.fetch_add(1, std::memory_order_relaxed);
        }
        if (produced > 0 && _firstFramePending) {
            _firstFramePending = false;
            // Read only once per start: the clock is a vDSO call, no system call.
            const long long nowNs = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                        std::chrono::steady_clock::now().time_since_epoch())
                                        .count();
            _voice.firstFrameNs.store(nowNs, std::memory_order_relaxed);
        }
        mixInto(out, deviceChannels, frames, scratch, target);
    }
    _gain = target;
    _voice.position.store(_position, std::memory_order_relaxed);
    // Ask for decoding in batches (a few free blocks at a time), not once per block: a
    // worker wake-up costs more than the decoding of one block.
    if (_freedBlock && _voice.ring.filledBlocks() <= _voice.ring.blockCount() - kRefillBatch) {
        _freedBlock = false;
        _voice.requestFeed();
    }
}

void VoiceRenderer::applyCommands() {
    VoiceCommand command;
    bool any = false;
    while (_voice.commands.pop(command)) {
        apply(command);
        any = true;
    }
    if (!any) {
        return;
    }
    // The position first: whoever sees the acknowledgement sees the new position.
    _voice.position.store(_position, std::memory_order_relaxed);
    if (_source == Source::Ended) {
        _voice.endedSequence.store(_sequence, std::memory_order_release);
    }
    _voice.acknowledged.store(_sequence, std::memory_order_release);
}

void VoiceRenderer::apply(const VoiceCommand& command) {
    switch (command.type) {
    case VoiceCommand::Type::Cue:
        captureTail();
        _source = Source::Preroll;
        _preroll = command.preroll;
        _prerollOffset = 0;
        _generation = command.generation;
        _blockOffset = 0;
        _awaitingStream = false;
        _position = _preroll->startFrame();
        _envelope = 0.0f;
        break;
    case VoiceCommand::Type::Seek:
        captureTail();
        _source = Source::Ring;
        _generation = command.generation;
        _blockOffset = 0;
        _awaitingStream = true;
        _position = command.frame;
        _envelope = 0.0f;
        break;
    case VoiceCommand::Type::Play:
        if (!_playing) {
            _firstFramePending = true;
        }
        _playing = true;
        break;
    case VoiceCommand::Type::Pause:
        _playing = false;
        break;
    }
    _sequence = command.sequence;
}

void VoiceRenderer::captureTail() {
    const float envelope = _envelope;
    _tailFrames = 0;
    _tailPosition = 0;
    if (envelope <= 0.0f) {
        return;
    }
    const int channels = _voice.channels();
    int captured = 0;
    while (captured < kDeclickFrames) {
        const float* data = nullptr;
        const int count = available(&data, kDeclickFrames - captured);
        if (count == 0) {
            break;
        }
        std::memcpy(_tail + size_t(captured) * size_t(channels), data,
                    size_t(count) * size_t(channels) * sizeof(float));
        consume(count);
        captured += count;
    }
    _tailFrames = captured;
    _tailEnvelope = envelope;
}

int VoiceRenderer::produce(float* destination, int frames, bool* starved) {
    const int channels = _voice.channels();
    std::memset(destination, 0, size_t(frames) * size_t(channels) * sizeof(float));
    int done = 0;
    while (done < frames) {
        if (!_playing && _envelope <= 0.0f) {
            break;
        }
        const float* data = nullptr;
        const int count = available(&data, frames - done);
        if (count == 0) {
            if (!_playing) {
                _envelope = 0.0f; // stopping with nothing left to fade: halt now
            } else if (_source != Source::Ended && _source != Source::None && !_awaitingStream) {
                *starved = true;
            }
            break;
        }
        const int used =
            copyWithEnvelope(destination + size_t(done) * size_t(channels), data, count);
        consume(used);
        done += used;
        if (used < count) {
            break; // the fade-out of a stop or pause is complete
        }
    }
    return done;
}

int VoiceRenderer::copyWithEnvelope(float* destination, const float* source, int frames) {
    const int channels = _voice.channels();
    const float target = _playing ? 1.0f : 0.0f;
    int frame = 0;
    while (frame < frames && _envelope != target) {
        _envelope = _playing ? std::min(1.0f, _envelope + kEnvelopeStep)
                             : std::max(0.0f, _envelope - kEnvelopeStep);
        for (int channel = 0; channel < channels; ++channel) {
            const size_t index = size_t(frame) * size_t(channels) + size_t(channel);
            destination[index] = source[index] * _envelope;
        }
        ++frame;
    }
    if (frame < frames && _envelope == 1.0f) {
        // Steady state: the samples pass unchanged (bit for bit).
        const size_t offset = size_t(frame) * size_t(channels);
        std::memcpy(destination + offset, source + offset,
                    size_t(frames - frame) * size_t(channels) * sizeof(float));
        frame = frames;
    }
    return frame;
}

int VoiceRenderer::available(const float** data, int maxFrames) {
    const int channels = _voice.channels();
    for (;;) {
        switch (_source) {
        case Source::None:
        case Source::Ended:
            return 0;
        case Source::Preroll: {
            const int length = _preroll->frames();
            if (_prerollOffset >= length) {
                if (_preroll->reachesEnd() && !_voice.looping.load(std::memory_order_acquire)) {
                    reachEnd(_preroll->startFrame() + length);
                    return 0;
                }
                _source = Source::Ring; // the ring continues where the preroll ends
                _blockOffset = 0;
                continue;
            }
            const int count = std::min(_preroll->readyFrames() - _prerollOffset, maxFrames);
            if (count <= 0) {
                return 0;
            }
            *data = _preroll->data() + size_t(_prerollOffset) * size_t(channels);
            return count;
        }
        case Source::Ring: {
            if (discardStaleBlocks()) {
                _freedBlock = true;
            }
            const BlockRing::Block* block = _voice.ring.head();
            if (!block || block->generation != _generation) {
                return 0; // not decoded yet (or the next stream is already arriving)
            }
            const bool looping = _voice.looping.load(std::memory_order_acquire);
            if (block->flags & BlockRing::EndOfStream) {
                if (looping && !(block->flags & BlockRing::Failed)) {
                    _voice.ring.pop(); // loop switched on late: the decoder goes on at the start
                    _freedBlock = true;
                    continue;
                }
                reachEnd(block->fileFrame);
                return 0;
            }
            if ((block->flags & BlockRing::Wrapped) && _blockOffset == 0 && !looping) {
                reachEnd(_position); // loop switched off after the decoder wrapped
                return 0;
            }
            _awaitingStream = false;
            _position = block->fileFrame + _blockOffset;
            *data = block->data + size_t(_blockOffset) * size_t(channels);
            return std::min(block->frames - _blockOffset, maxFrames);
        }
        }
    }
}

void VoiceRenderer::consume(int frames) {
    _position += frames;
    if (_source == Source::Preroll) {
        _prerollOffset += frames;
    } else if (_source == Source::Ring) {
        _blockOffset += frames;
        const BlockRing::Block* block = _voice.ring.head();
        if (block && _blockOffset >= block->frames) {
            _voice.ring.pop();
            _blockOffset = 0;
            _freedBlock = true;
        }
    }
}

bool VoiceRenderer::discardStaleBlocks() {
    bool discarded = false;
    while (const BlockRing::Block* block = _voice.ring.head()) {
        if (block->generation >= _generation) {
            break;
        }
        _voice.ring.pop();
        discarded = true;
    }
    return discarded;
}

void VoiceRenderer::reachEnd(long long frame) {
    _source = Source::Ended;
    _position = frame;
    _envelope = 0.0f;
    _voice.endedSequence.store(_sequence, std::memory_order_release);
}

void VoiceRenderer::addTail(float* destination, int frames) {
    const int channels = _voice.channels();
    int frame = 0;
    while (frame < frames && _tailPosition < _tailFrames && _tailEnvelope > 0.0f) {
        _tailEnvelope = std::max(0.0f, _tailEnvelope - kEnvelopeStep);
        for (int channel = 0; channel < channels; ++channel) {
            destination[size_t(frame) * size_t(channels) + size_t(channel)] +=
                _tail[size_t(_tailPosition) * size_t(channels) + size_t(channel)] * _tailEnvelope;
        }
        ++_tailPosition;
        ++frame;
    }
    if (_tailEnvelope <= 0.0f) {
        _tailPosition = _tailFrames;
    }
}

void VoiceRenderer::mixInto(float* out, int deviceChannels, int frames, const float* scratch,
                            float target) {
    const uint64_t route = _voice.route.load(std::memory_order_relaxed);
    const int left = Voice::routeLeft(route);
    const int right = Voice::routeRight(route);
    const bool leftValid = left >= 0 && left < deviceChannels;
    const bool rightValid = right >= 0 && right < deviceChannels;
    const int channels = _voice.channels();
    const float from = _gain;
    const float step = (target - from) / float(frames);
    float peaks[2] = {0.0f, 0.0f};
    for (int frame = 0; frame < frames; ++frame) {
        // Linear from the previous period's gain to the target across this period.
        const float gain =
            from == target || frame + 1 == frames ? target : from + step * float(frame + 1);
        float* device = out + size_t(frame) * size_t(deviceChannels);
        const float l = scratch[size_t(frame) * size_t(channels)] * gain;
        peaks[0] = std::max(peaks[0], std::fabs(l));
        if (leftValid) {
            device[left] += l;
        }
        if (channels == 2) {
            const float r = scratch[size_t(frame) * 2 + 1] * gain;
            peaks[1] = std::max(peaks[1], std::fabs(r));
            if (rightValid) {
                device[right] += r;
            }
        }
    }
    if (_voice.metering.load(std::memory_order_relaxed)) {
        raisePeak(_voice.peakBits[0], peaks[0]);
        raisePeak(_voice.peakBits[1], peaks[1]);
    }
}

} // namespace media
