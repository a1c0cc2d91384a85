#pragma once

// The receive side of MIDI input: the packets one receive call hands over, and the routine
// that prints a trace line per packet and copies note-ons into the process note ring.
//
// The rules are strict on purpose, so that nothing but a plain, complete note-on fires a
// button: a packet must hold exactly one three-byte note-on with a non-zero velocity;
// note-offs (and note-ons with velocity 0), running status (a packet that starts with a
// data byte), every other message and a packet carrying several messages are ignored.
// Within one receive call the routine only moves past a packet once it stored it, so
// anything after a packet that was not a stored note-on is ignored as well.
//
// Thread contract: midiInputCallback runs on a MIDI service's receive thread (one per
// connected source). It never allocates and never waits on the main thread: it formats
// the trace on the stack, writes it with one write(2), and copies three integers into the
// fixed ring. Receive threads of different sources take turns at the ring through a spin
// flag held for those three stores; the main thread never takes it.

#include <cstdint>

struct MIDIPacket {
    std::uint64_t timeStamp = 0; // host time of arrival, nanoseconds of the monotonic clock
    int length = 0;              // number of bytes at data
    const std::uint8_t* data = nullptr;
};

// Handles the `count` packets of one receive call from the source connected with reference
// `sourceIndex` (its index in the list of sources when the connections were made).
void midiInputCallback(const MIDIPacket* packets, int count, int sourceIndex) noexcept;

// The monotonic clock in nanoseconds, the time stamp of a packet that arrives now.
std::uint64_t midiHostTimeNow() noexcept;
