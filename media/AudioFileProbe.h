#pragma once

// Tells what an audio file is without decoding it: whether FFmpeg opens it and finds an
// audio stream it can decode, the exact length, channel count, sample rate and the
// title, artist, album and year tags (from the container and from the audio stream:
// ID3v2 TDRC/TYER, MP4 ©nam/©ART/©alb/©day, Vorbis comments, RIFF INFO). Video streams
// are ignored. Reads the headers only (a few milliseconds even for a long mp3), except
// where the container merely estimates the length from its bit rate: then the packets
// are demuxed, not decoded, to count them.
//
// Thread contract: any thread; calls share nothing.

#include <QString>

namespace media {

struct AudioFileInfo;

class AudioFileProbe {
public:
    // Fills *info and returns true when the file opens and has a decodable audio stream
    // with a known length. Otherwise returns false, sets *error to a sentence for the
    // operator, and leaves *info as far as it got (hasAudio false).
    static bool probe(const QString& path, AudioFileInfo* info, QString* error);

    // Whether FFmpeg opens the file and finds an audio stream it can decode. Cheaper than
    // probe(): never measures the length.
    static bool isValidAudioFile(const QString& path);
};

} // namespace media
