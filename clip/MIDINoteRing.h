#pragma once

// The fixed ring of received note-ons between the MIDI receive thread and the main
// thread: 256 entries of (channel, note, source index), a write index moved only by the
// receive callback and a read index moved only by the main thread's drain tick. Both
// start at 0 and wrap after 255; equal indices mean empty.
//
// There is no full check, on purpose: the receive callback never waits and never
// fails. A writer that laps the reader overwrites the oldest entries, and when it has
// written exactly 256 entries more than were read the indices meet and the ring reads
// as empty (a burst of more than 256 notes between two ticks loses notes).
//
// Single producer, single consumer, no locks. Every field of an entry is an atomic, so a
// lapping writer and the reader never race in the language's sense; the write index is
// published with release order after the entry is written, and the reader takes it with
// acquire order. Nothing allocates after construction.

#include <array>
#include <atomic>

class MIDINoteRing {
public:
    static constexpr int kSize = 256;

    MIDINoteRing() = default;
    MIDINoteRing(const MIDINoteRing&) = delete;
    MIDINoteRing& operator=(const MIDINoteRing&) = delete;

    // ---- Writer side: the MIDI receive callback only ----

    // Stores one note-on and advances the write index. Never blocks, never allocates.
    void write(int channel, int note, int sourceIndex) noexcept;

    // ---- Reader side: main thread only ----

    // Takes the oldest entry; false when the ring is empty.
    bool next(int* note, int* channel, int* sourceIndex) noexcept;
    bool isEmpty() const noexcept;

    // ---- Either side, while the other is idle ----

    // Both indices back to 0 (before the sources are connected).
    void reset() noexcept;

private:
    struct Entry {
        std::atomic<int> channel{0};
        std::atomic<int> note{0};
        std::atomic<int> sourceIndex{0};
    };

    static int advanced(int index) noexcept { return index + 1 == kSize ? 0 : index + 1; }

    std::array<Entry, kSize> _entries;
    std::atomic<int> _writeIndex{0};
    std::atomic<int> _readIndex{0};
};

// The process ring that the platform back end's receive callback fills and the default
// MIDI controller drains. It is constant-initialised, so the callback can reach it from
// the first packet on without an initialisation guard. Any thread.
MIDINoteRing& processMIDINoteRing();

// Writes one note-on into the process ring. MIDI receive callback only.
void WriteMIDINote(int channel, int note, int sourceIndex) noexcept;
// Takes the oldest entry of the process ring; false when it is empty. Main thread only.
bool NextMIDINote(int* note, int* channel, int* sourceIndex) noexcept;
