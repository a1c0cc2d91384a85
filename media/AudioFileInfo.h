#pragma once

// What probing an audio file tells: whether it has sound, how long it is, its channels
// and rate, and its tags. Plain value; any thread.

#include <QString>

namespace media {

struct AudioFileInfo {
    bool hasAudio = false;
    double durationSeconds = 0.0; // exact, from decoded samples where the container only estimates
    int channels = 0;             // of the file's first audio stream
    int sampleRate = 0;           // of the file's first audio stream
    QString title;
    QString artist;
    QString album;
    QString year; // as tagged ("1998", "1998-04-01", ...); the clip parses it
};

} // namespace media
