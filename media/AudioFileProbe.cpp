#include "media/AudioFileProbe.h"

#include "media/AudioFileInfo.h"
#include "media/FfmpegDemuxer.h"

#include <QFileInfo>

namespace media {

namespace {

void setError(QString* error, const QString& text) {
    if (error) {
        *error = text;
    }
}

} // namespace

bool AudioFileProbe::probe(const QString& path, AudioFileInfo* info, QString* error) {
    AudioFileInfo result;
    FfmpegDemuxer demuxer;
    if (!demuxer.open(path, error)) {
        if (info) {
            *info = result;
        }
        return false;
    }
    result.title = demuxer.tag({"title"});
    result.artist = demuxer.tag({"artist", "album_artist"});
    result.album = demuxer.tag({"album"});
    // ID3v2.3 TYER and v2.4 TDRC both arrive as "date", as do MP4 ©day and Vorbis DATE.
    result.year = demuxer.tag({"date", "year", "TYER", "TDRC"});

    const QString name = QFileInfo(path).fileName();
    bool valid = false;
    if (!demuxer.audioStream()) {
        setError(error, QStringLiteral("“%1” has no audio that can be played.").arg(name));
    } else {
        result.channels = demuxer.channels();
        result.sampleRate = demuxer.sampleRate();
        const long long samples = demuxer.exactLengthInSamples();
        if (samples > 0) {
            result.hasAudio = true;
            result.durationSeconds = static_cast<double>(samples) / result.sampleRate;
            valid = true;
        } else {
            setError(error, QStringLiteral("The length of “%1” cannot be read.").arg(name));
        }
    }
    if (info) {
        *info = result;
    }
    return valid;
}

bool AudioFileProbe::isValidAudioFile(const QString& path) {
    FfmpegDemuxer demuxer;
    return demuxer.open(path, nullptr) && demuxer.audioStream() != nullptr;
}

} // namespace media
