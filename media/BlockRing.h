#pragma once

// The decode-ahead buffer of one voice: a ring of fixed-size blocks that a decoder worker
// fills and the device callback drains. Every block carries the generation of the
// stream it belongs to, so a seek or a restart only bumps the generation: the callback
// skips blocks of older generations instead of the two sides racing to clear the ring.
//
// Thread contract: the writer section is for one decoder worker at a time, the reader
// section for the voice's current device callback. Neither locks nor allocates.

#include <atomic>
#include <cstdint>
#include <memory>

namespace media {

class BlockRing {
public:
    enum Flag : uint32_t {
        EndOfStream = 1, // no audio: the stream of this generation ends here
        Wrapped = 2,     // first block after a loop restarted the file at frame 0
        Failed = 4,      // with EndOfStream: the decoder failed; the end holds even when looping
    };

    struct Block {
        uint64_t generation = 0;
        long long fileFrame = 0; // file frame of the block's first frame
        int frames = 0;
        uint32_t flags = 0;
        float* data = nullptr; // frames × channels interleaved floats
    };

    // Main thread (before sharing). The storage is reserved but not touched until used.
    BlockRing(int blockCount, int blockFrames, int channels);
    BlockRing(const BlockRing&) = delete;
    BlockRing& operator=(const BlockRing&) = delete;

    int blockCount() const { return _blockCount; }
    int blockFrames() const { return _blockFrames; }
    int channels() const { return _channels; }

    // --- Writer: decoder worker only ---
    // The next free block to fill, or null when the ring is full.
    Block* beginWrite();
    // Publishes the block returned by beginWrite().
    void commitWrite();

    // --- Reader: device callback only ---
    // The oldest published block, or null when none is ready.
    const Block* head();
    // Releases the head block back to the writer.
    void pop();

    // Any thread: published blocks not yet released (a snapshot).
    int filledBlocks() const;

private:
    const int _blockCount;
    const int _blockFrames;
    const int _channels;
    std::unique_ptr<float[]> _samples;
    std::unique_ptr<Block[]> _blocks;
    alignas(64) std::atomic<uint64_t> _written{0}; // blocks published by the writer
    alignas(64) std::atomic<uint64_t> _read{0};    // blocks released by the reader
};

} // namespace media
