#pragma once

// One transport command from a movie (main thread) to the device callback that renders
// its voice, carried through the voice's lock-free command queue. Plain value.

#include <cstdint>

namespace media {

class Preroll;

struct VoiceCommand {
    enum class Type : uint8_t {
        Cue,   // play on from `preroll` (its first frame), ring stream `generation`
        Seek,  // play on from file frame `frame`, once stream `generation` has data
        Play,  // start (or resume) with a short fade-in
        Pause, // halt with a short fade-out, keeping the position
    };

    Type type = Type::Play;
    uint64_t sequence = 0; // increasing per voice; acknowledged once applied
    uint64_t generation = 0;
    long long frame = 0;
    const Preroll* preroll = nullptr; // kept alive by the movie until acknowledged
};

} // namespace media
