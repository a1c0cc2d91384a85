#include "media/BlockRing.h"

namespace media {

BlockRing::BlockRing(int blockCount, int blockFrames, int channels)
    : _blockCount(blockCount)
    , _blockFrames(blockFrames)
    , _channels(channels)
    , _samples(new float[size_t(blockCount) * size_t(blockFrames) * size_t(channels)])
    , _blocks(std::make_unique<Block[]>(size_t(blockCount))) {
    for (int i = 0; i < blockCount; ++i) {
        _blocks[size_t(i)].data =
            _samples.get() + size_t(i) * size_t(blockFrames) * size_t(channels);
    }
}

BlockRing::Block* BlockRing::beginWrite() {
    const uint64_t written = _written.load(std::memory_order_relaxed);
    if (written - _read.load(std::memory_order_acquire) >= uint64_t(_blockCount)) {
        return nullptr;
    }
    return &_blocks[size_t(written % uint64_t(_blockCount))];
}

void BlockRing::commitWrite() {
    _written.store(_written.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

const BlockRing::Block* BlockRing::head() {
    const uint64_t read = _read.load(std::memory_order_relaxed);
    if (read == _written.load(std::memory_order_acquire)) {
        return nullptr;
    }
    return &_blocks[size_t(read % uint64_t(_blockCount))];
}

void BlockRing::pop() {
    _read.store(_read.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

int BlockRing::filledBlocks() const {
    const uint64_t read = _read.load(std::memory_order_acquire);
    return int(_written.load(std::memory_order_acquire) - read);
}

} // namespace media
