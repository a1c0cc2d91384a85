#include "media/VoiceFeeder.h"

#include "foundation/Logging.h"
#include "media/AudioSource.h"
#include "media/Preroll.h"
#include "media/Voice.h"

#include <algorithm>

namespace media {

VoiceFeeder::VoiceFeeder(Voice& voice, std::unique_ptr<AudioSource> source)
    : _voice(voice)
    , _durationFrames(std::max(0LL, source->durationFrames()))
    , _source(std::move(source)) {}

VoiceFeeder::~VoiceFeeder() = default;

void VoiceFeeder::fillPreroll(std::shared_ptr<Preroll> preroll) {
    {
        std::lock_guard lock(_requestMutex);
        _preroll = std::move(preroll);
    }
    _urgent.store(true, std::memory_order_release);
}

void VoiceFeeder::setStream(uint64_t generation, long long startFrame) {
    std::lock_guard lock(_requestMutex);
    _requestGeneration = generation;
    _requestFrame = startFrame;
}

void VoiceFeeder::setStreaming(bool streaming) {
    std::lock_guard lock(_requestMutex);
    _streaming = streaming;
}

void VoiceFeeder::setLoopFrame(long long frame) {
    std::lock_guard lock(_requestMutex);
    _loopFrame = frame;
}

bool VoiceFeeder::markWork() {
    return !_needsWork.exchange(true, std::memory_order_acq_rel);
}

void VoiceFeeder::work() {
    // Cleared before looking, so a request that arrives while this unit runs flags the
    // voice again instead of being lost.
    _needsWork.store(false, std::memory_order_release);
    std::shared_ptr<Preroll> preroll;
    uint64_t generation = 0;
    long long startFrame = 0;
    long long loopFrame = 0;
    bool streaming = false;
    {
        std::lock_guard lock(_requestMutex);
        preroll = _preroll;
        generation = _requestGeneration;
        startFrame = _requestFrame;
        loopFrame = _loopFrame;
        streaming = _streaming;
    }
    bool more = false;
    if (preroll && !preroll->isComplete() && !preroll->isAbandoned()) {
        // Once the preroll is done, a playing voice's ring is next.
        more = fillPrerollChunk(*preroll) || streaming;
    } else if (streaming) {
        more = fillRingBlock(generation, startFrame, loopFrame);
    }
    _urgent.store(false, std::memory_order_release);
    if (more) {
        _needsWork.store(true, std::memory_order_release);
    }
}

bool VoiceFeeder::fillPrerollChunk(Preroll& preroll) {
    const int ready = preroll.readyFrames();
    if (ready == 0) {
        _failed = false; // a new position is worth a new try
    }
    const int wanted =
        std::min(ready == 0 ? kFirstPrerollChunk : kPrerollChunk, preroll.frames() - ready);
    if (_failed || !seekSource(preroll.startFrame() + ready)) {
        preroll.truncate();
        return false;
    }
    const int got = readFrames(preroll.writePosition(), wanted);
    if (got > 0) {
        preroll.publish(got);
    }
    if (got < wanted) {
        preroll.truncate();
        return false;
    }
    return !preroll.isComplete();
}

bool VoiceFeeder::fillRingBlock(uint64_t generation, long long startFrame, long long loopFrame) {
    if (generation != _fillGeneration) {
        _fillGeneration = generation;
        _fillFrame = startFrame;
        _atEnd = false;
        _endMarked = false;
        _wrapNext = false;
        _failed = false;
    }
    if (_atEnd) {
        if (_voice.looping.load(std::memory_order_acquire) && !_failed) {
            // The movie loops: the stream goes on gaplessly from its start position (a
            // clip's in point), so no frame before it is ever heard.
            _fillFrame = std::clamp(loopFrame, 0LL, std::max(0LL, _durationFrames - 1));
            _atEnd = false;
            _endMarked = false;
            _wrapNext = true;
        } else {
            return _endMarked ? false : writeEndMarker();
        }
    }
    BlockRing::Block* block = _voice.ring.beginWrite();
    if (!block) {
        return false;
    }
    if (!seekSource(_fillFrame)) {
        _atEnd = true;
        return true;
    }
    const int got = readFrames(block->data, _voice.ring.blockFrames());
    if (got > 0) {
        block->generation = _fillGeneration;
        block->fileFrame = _fillFrame;
        block->frames = got;
        block->flags = _wrapNext ? uint32_t(BlockRing::Wrapped) : 0u;
        _voice.ring.commitWrite();
        _fillFrame += got;
        _wrapNext = false;
    }
    if (got < _voice.ring.blockFrames()) {
        _atEnd = true;
    }
    return true;
}

bool VoiceFeeder::writeEndMarker() {
    BlockRing::Block* block = _voice.ring.beginWrite();
    if (!block) {
        return false; // the ring is full; the callback frees a block and asks again
    }
    block->generation = _fillGeneration;
    block->fileFrame = _fillFrame;
    block->frames = 0;
    block->flags = BlockRing::EndOfStream | (_failed ? uint32_t(BlockRing::Failed) : 0u);
    _voice.ring.commitWrite();
    _endMarked = true;
    return false;
}

bool VoiceFeeder::seekSource(long long frame) {
    if (frame == _sourceFrame) {
        return true;
    }
    if (!_source->seekToFrame(frame)) {
        if (!_failed) {
            qCWarning(lcMedia) << "Seeking failed in" << _voice.name() << "at frame" << frame;
        }
        _failed = true;
        _sourceFrame = -1;
        return false;
    }
    _sourceFrame = frame;
    return true;
}

int VoiceFeeder::readFrames(float* destination, int frames) {
    const int channels = _voice.channels();
    int got = 0;
    while (got < frames) {
        const int count = _source->read(destination + size_t(got) * size_t(channels), frames - got);
        if (count < 0) {
            if (!_failed) {
                qCWarning(lcMedia) << "Decoding failed in" << _voice.name() << "near frame"
                                   << _sourceFrame + got << "; the movie ends there";
            }
            _failed = true;
            break;
        }
        if (count == 0) {
            break;
        }
        got += count;
    }
    _sourceFrame = _failed ? -1 : _sourceFrame + got;
    return got;
}

} // namespace media
