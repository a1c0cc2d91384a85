#include "app/midi/MIDIInputCallback.h"

#include "clip/MIDINoteRing.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {

constexpr std::uint8_t kActiveSensing = 0xFE;
constexpr std::uint8_t kNoteOn = 0x90;
constexpr int kLongestExaminedPacket = 3;

// Receive threads of several sources may write at once; the ring takes one writer.
std::atomic_flag gRingWriter = ATOMIC_FLAG_INIT;

void writeAll(const char* text, size_t length) noexcept {
    while (length > 0) {
        const ssize_t written = ::write(STDOUT_FILENO, text, length);
        if (written <= 0) {
            return; // a closed or broken standard output loses the trace, nothing else
        }
        text += written;
        length -= static_cast<size_t>(written);
    }
}

// "--> Received MIDI Event at <stamp>: length = <n> -  <bytes>\n", written in as few
// write(2) calls as the line needs (one for any message short of a long system exclusive).
void traceMIDIPacket(const MIDIPacket& packet) noexcept {
    char line[1024];
    int used = std::snprintf(
        line, sizeof line, "--> Received MIDI Event at %016llx: length = %x -  ",
        static_cast<unsigned long long>(packet.timeStamp), static_cast<unsigned>(packet.length));
    for (int i = 0; i < packet.length; ++i) {
        if (used + 4 >= static_cast<int>(sizeof line)) {
            writeAll(line, static_cast<size_t>(used));
            used = 0;
        }
        used += std::snprintf(line + used, sizeof line - static_cast<size_t>(used), "%02x ",
                              static_cast<unsigned>(packet.data[i]));
    }
    line[used++] = '\n';
    writeAll(line, static_cast<size_t>(used));
}

bool isStorableNoteOn(const MIDIPacket& packet) noexcept {
    return packet.length == kLongestExaminedPacket && (packet.data[0] & 0xF0) == kNoteOn &&
           packet.data[2] != 0;
}

void storeNoteOn(const MIDIPacket& packet, int sourceIndex) noexcept {
    while (gRingWriter.test_and_set(std::memory_order_acquire)) {
        // Another source's thread is copying its three integers.
    }
    WriteMIDINote(packet.data[0] & 0x0F, packet.data[1] & 0x7F, sourceIndex);
    gRingWriter.clear(std::memory_order_release);
}

} // namespace

void midiInputCallback(const MIDIPacket* packets, int count, int sourceIndex) noexcept {
    int current = 0;
    for (int i = 0; i < count; ++i) {
        const MIDIPacket& packet = packets[current];
        if (packet.length <= 0 || packet.data[0] != kActiveSensing) {
            traceMIDIPacket(packet);
        }
        if (isStorableNoteOn(packet)) {
            storeNoteOn(packet, sourceIndex);
            ++current;
        }
        // Otherwise the next round looks at this same packet again: whatever follows a
        // packet that was not stored is ignored.
    }
}

std::uint64_t midiHostTimeNow() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ULL +
           static_cast<std::uint64_t>(now.tv_nsec);
}
