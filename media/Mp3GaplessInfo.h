#pragma once

// The encoder delay and padding that LAME (and FFmpeg's mp3 muxer) record in the
// Xing/Info frame at the start of an mp3. FFmpeg's demuxer trims them when decoding but
// reports the stream's length with them included; the exact length of the audio is
// frames × samples per frame − delay − padding.
//
// Plain value; any thread.

#include <QByteArray>
#include <QString>

namespace media {

struct Mp3GaplessInfo {
    bool valid = false;      // a Xing/Info frame with a frame count and a LAME tag was found
    long long frames = 0;    // MPEG frames of audio (the Info frame not counted)
    int samplesPerFrame = 0; // 1152 (MPEG-1) or 576 (MPEG-2/2.5 layer III)
    int encoderDelay = 0;    // samples the encoder added at the start
    int encoderPadding = 0;  // samples added at the end to fill the last frame

    // Samples of real audio, or -1 when not valid.
    long long audioSamples() const;

    // Reads the first frame of the mp3 at `path` (past any ID3v2 tags). Invalid when the
    // file cannot be read or has no such frame.
    static Mp3GaplessInfo read(const QString& path);
    // Parses the bytes that start at (or shortly before) the first MPEG frame.
    static Mp3GaplessInfo parse(const QByteArray& bytes);
};

} // namespace media
