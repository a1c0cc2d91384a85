#pragma once

// Audio files for tests, generated on the spot into a temporary folder that lives as long
// as the AudioFixtures object: tones of every format the writer knows (with tags), mono
// files, a 4-second stereo tone with a different frequency on each side, and broken
// files (empty, random bytes, text named .mp3, a truncated mp3, video without audio).
// Nothing is downloaded or copied from elsewhere.
//
// Each helper returns the new file's path, or an empty string after recording a test
// failure when the file could not be made.

#include "media/AudioFileWriter.h"

#include <QString>
#include <QTemporaryDir>
#include <vector>

namespace media {
class ToneGenerator;
}

class AudioFixtures {
public:
    static constexpr int kRate = 44100;
    static constexpr double kToneFrequency = 1000.0;
    static constexpr double kToneAmplitude = 0.5;
    static constexpr double kLeftFrequency = 440.0;
    static constexpr double kRightFrequency = 660.0;

    AudioFixtures();

    QString folder() const { return _dir.path(); }
    // A path in the folder that does not exist yet.
    QString pathFor(const QString& fileName) const;

    // "Fixture Tone", "Zelvora Tests", "Generated Album", "1998".
    static media::AudioFileWriter::Tags standardTags();

    // `frames` frames of `generator` written as `fileName` (format by extension).
    QString write(const QString& fileName, media::ToneGenerator generator, long long frames,
                  media::AudioFileWriter::Options options = {});
    // A stereo kToneFrequency tone at kRate, kToneAmplitude, with the standard tags.
    QString toneFile(const QString& extension, long long frames = kRate,
                     media::AudioFileWriter::Options options = {});
    // The same tone in one channel.
    QString monoFile(const QString& extension, long long frames = kRate);
    // Four seconds, kLeftFrequency on the left and kRightFrequency on the right.
    QString stereoFourSeconds(const QString& extension = QStringLiteral("wav"));

    // A 16-bit WAV with one constant level per channel (as many channels as levels);
    // with a non-zero `channelMask` it is a WAVE_FORMAT_EXTENSIBLE file naming the
    // speaker positions (0x3F = 5.1), without one the positions are unknown.
    QString multichannelWav(const QString& fileName, const std::vector<double>& levels,
                            quint32 channelMask, int frames = kRate / 10);

    QString emptyFile(const QString& fileName = QStringLiteral("empty.mp3"));
    // Reproducible noise bytes (the same for the same size).
    QString randomBytesFile(const QString& fileName = QStringLiteral("random.mp3"),
                            int size = 64 * 1024);
    QString textNamedMp3();
    // An mp3 cut off in the middle of its audio (the Xing header still claims it all).
    QString truncatedMp3();
    // A copy of `path` with `count` bytes at `offset` overwritten with noise.
    QString damagedCopy(const QString& path, qint64 offset, int count);
    // Two seconds of MPEG-4 video in an .mp4, without an audio stream.
    QString videoOnlyFile();
    // Two seconds of MPEG-4 video with a stereo AAC tone (kToneFrequency) in an .mp4.
    QString videoWithAudioFile();

private:
    QString writeBytes(const QString& fileName, const QByteArray& bytes);
    QString writeVideo(const QString& fileName, bool withAudio);

    QTemporaryDir _dir;
};
