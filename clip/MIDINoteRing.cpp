#include "clip/MIDINoteRing.h"

void MIDINoteRing::write(int channel, int note, int sourceIndex) noexcept {
    // Only this thread moves the write index, so a relaxed read of it is exact.
    const int index = _writeIndex.load(std::memory_order_relaxed);
    Entry& entry = _entries[static_cast<size_t>(index)];
    entry.channel.store(channel, std::memory_order_relaxed);
    entry.note.store(note, std::memory_order_relaxed);
    entry.sourceIndex.store(sourceIndex, std::memory_order_relaxed);
    _writeIndex.store(advanced(index), std::memory_order_release);
}

bool MIDINoteRing::next(int* note, int* channel, int* sourceIndex) noexcept {
    const int readIndex = _readIndex.load(std::memory_order_relaxed);
    if (readIndex == _writeIndex.load(std::memory_order_acquire)) {
        return false;
    }
    const Entry& entry = _entries[static_cast<size_t>(readIndex)];
    *channel = entry.channel.load(std::memory_order_relaxed);
    *note = entry.note.load(std::memory_order_relaxed);
    *sourceIndex = entry.sourceIndex.load(std::memory_order_relaxed);
    _readIndex.store(advanced(readIndex), std::memory_order_release);
    return true;
}

bool MIDINoteRing::isEmpty() const noexcept {
    return _readIndex.load(std::memory_order_relaxed) ==
           _writeIndex.load(std::memory_order_acquire);
}

void MIDINoteRing::reset() noexcept {
    _readIndex.store(0, std::memory_order_relaxed);
    _writeIndex.store(0, std::memory_order_release);
}

namespace {
// Constant-initialised: it exists before any code runs, and reaching it costs the
// receive callback no initialisation guard.
constinit MIDINoteRing gProcessRing;
} // namespace

MIDINoteRing& processMIDINoteRing() {
    return gProcessRing;
}

void WriteMIDINote(int channel, int note, int sourceIndex) noexcept {
    processMIDINoteRing().write(channel, note, sourceIndex);
}

bool NextMIDINote(int* note, int* channel, int* sourceIndex) noexcept {
    return processMIDINoteRing().next(note, channel, sourceIndex);
}
