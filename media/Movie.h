#pragma once

// A movie: the handle through which a clip plays one audio file (or generated audio) on
// one voice of the audio engine. It offers what a clip needs and nothing more: open,
// duration, channels, position, start/stop and rate 0 (pause), volume on the 0..32767
// scale where level = volume / 255.0, the loop attribute, the end test, the service
// call of the clip's tick, routing to a device and two device channels, and a peak
// meter per side.
//
// Every getter answers at once from mirrors and atomics; no call ever waits for the
// audio. A start plays from the pre-decoded first second after the start position (the
// position set while the movie is not playing; 0 after open), so it sounds within one
// device period; changing that position refreshes the preroll in the background.
//
// Thread contract: main thread only. The engine must outlive its movies' use; a movie
// whose engine is gone does nothing.

#include <QPointer>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace media {

class AudioEngine;
class AudioSource;
class Preroll;
class Voice;

class Movie {
public:
    // Device channel n is named by the tag kChannelTagBase + n.
    static constexpr quint32 kChannelTagBase = 0x10000;
    // Length of the preroll kept after the start position.
    static constexpr double kPrerollSeconds = 1.0;

    Movie();
    ~Movie();
    Movie(const Movie&) = delete;
    Movie& operator=(const Movie&) = delete;

    // Opens a file through the engine's decoder, at the engine's rate. False with
    // *error set (and the movie closed) when the file cannot be played.
    bool open(const QString& path, QString* error = nullptr);
    // Opens generated (or otherwise prepared) audio; its rate must be the engine's.
    bool open(std::unique_ptr<AudioSource> source, QString* error = nullptr,
              const QString& name = QString());
    // One second of generated silence, stereo: the "Silence" movie.
    bool openSilence(QString* error = nullptr);
    void close();
    bool isOpen() const { return _voice != nullptr; }

    double duration() const;
    long long durationFrames() const { return _durationFrames; }
    int channelCount() const { return _channels; }
    int sampleRate() const { return _sampleRate; }

    // Position in seconds of file time, clamped to 0..duration(). Set while not playing,
    // it becomes the start position (whose first second is pre-decoded); set while
    // playing to the start position it loops back gaplessly, anywhere else it seeks.
    double position() const;
    void setPosition(double seconds);

    void start();
    void stop();
    // 0 while stopped, paused or at the end; 1 while playing. Any rate but 0 starts.
    double rate() const;
    void setRate(double rate);

    // 0..32767; level = volume / 255.0 (255 plays at exactly unity gain).
    int volume() const { return _volume; }
    void setVolume(int volume);

    // At its end the movie goes on, gaplessly, from its start position (the position set
    // while it was not playing; the file's first frame when none was).
    bool isLooping() const { return _looping; }
    void setLooping(bool looping);

    // True once the movie played to its end (and does not loop), or sits at its end.
    bool isDone() const;

    // The clip's tick (every 50 ms): frees what the device callback has let go of.
    void service();

    // Routes to the named device ("Built-in Output" = the system default). False when
    // no device has that name: the movie stays on the device it had.
    bool setOutputDevice(const QString& deviceName);
    QString outputDevice() const { return _deviceName; }
    // The device channels of the movie's left and right side, as tags (kChannelTagBase
    // + n). A mono movie plays only on the left tag. A tag below the base is refused.
    bool setChannelTags(quint32 leftTag, quint32 rightTag);
    quint32 leftChannelTag() const { return _leftTag; }
    quint32 rightChannelTag() const { return _rightTag; }

    void setMeteringEnabled(bool enabled);
    bool isMeteringEnabled() const { return _metering; }
    // Peak of each side, 0..255, over everything rendered since the previous read;
    // both 0 while metering is off. A mono movie reads 0 on the right.
    void readPeakLevels(int* left, int* right);

    // --- Diagnostics (tests and benchmarks) ---
    // The preroll of the current start position is fully decoded.
    bool isPrerollReady() const;
    // Render periods that ran short of decoded audio.
    int underrunCount() const;
    // Steady-clock nanoseconds at which a device callback first rendered audio of the
    // latest start; 0 before.
    long long firstFrameRenderedNs() const;

private:
    bool isRunning() const;
    void settleEnded();
    long long clampedFrame(double seconds) const;
    void cueAt(long long frame);
    void useStartPosition(long long frame);
    void retirePreroll(std::shared_ptr<Preroll> preroll);
    uint64_t send(int type, uint64_t generation = 0, long long frame = 0,
                  const Preroll* preroll = nullptr);
    void sweepRetiredPrerolls();

    struct RetiredPreroll {
        uint64_t sequence; // freed once the callback acknowledged this command
        std::shared_ptr<Preroll> preroll;
    };

    QPointer<AudioEngine> _engine;
    std::shared_ptr<Voice> _voice;
    int _sampleRate = 0;
    int _channels = 0;
    long long _durationFrames = 0;

    long long _startFrame = 0;
    std::shared_ptr<Preroll> _preroll;         // of _startFrame
    std::shared_ptr<Preroll> _previousPreroll; // of the start position before
    std::vector<RetiredPreroll> _retired;

    uint64_t _sequence = 0;
    uint64_t _generation = 0;
    long long _requestedFrame = 0;
    uint64_t _positionSequence = 0;

    bool _playing = false;
    int _volume = 255;
    bool _looping = false;
    bool _metering = false;
    QString _deviceName;
    quint32 _leftTag = kChannelTagBase;
    quint32 _rightTag = kChannelTagBase + 1;
};

} // namespace media
