#pragma once

// One playable clip: an audio file (through its durable reference), a settings record,
// and the movie that plays it. Preset buttons, playlist rows, the pre-listen player and
// the settings editor's preview all start, pause, stop, fade and duck audio through it.
//
// Playback. A clip plays its file from its in point to its out point at the level
// "Volume" × volume multiplier, driven by a 50 ms tick (a QTimer while playing, paused or
// not; tests call spendTime() directly after rendering 50 ms of audio). Each tick gives
// the movie its service call, refreshes the position, steps the running fade by one
// linear step, and at the out point loops back to the in point or asks for a fade-out by
// the clip's "FadeOut Mode". Levels reach the movie as the volume trunc(level × 255), and
// are read back as volume ÷ 255 (255, not 256, both ways).
//
// Instant start. While the clip is idle its movie sits at the clip's in point, whose
// first second the engine keeps decoded, so a start costs no file access and no decoding
// on the main thread. A stop puts the movie back there instead of reopening the file, and
// settingsHaveChanged() moves it when the in point of an idle clip changed.
//
// Routing and metering. The clip plays to the output of its "Output Index": the output
// settings record "Output Settings %i" in the user-defaults store names the device, the
// two device channels (tags 0x10000 + n) and the output's name and colour. The movie is
// both the routing target and the meter (there is no separate media handler).
//
// Observers. The document controller (ClipObserver) and the outputs monitoring panel
// (ClipOutputsObserver) are held without ownership and checked for null before each call.
//
// Thread contract: main thread only. The tick does no allocation and no file access
// (a diagnostic line is formatted only when it is actually logged).

#include "clip/ClipSettingsHolder.h"
#include "clip/QorvinFileBasedObject.h"

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QString>
#include <QUrl>
#include <array>
#include <functional>
#include <memory>
#include <optional>

class ClipObserver;
class ClipOutputsObserver;
class QTimer;

namespace media {
class Movie;
struct AudioFileInfo;
} // namespace media

// The user default that makes clips read the title, artist, album and year tags.
inline const QString defaultsKey_ReadID3Tags = QStringLiteral("Read ID3 Tags");

class SoundClip : public QorvinFileBasedObject, public ClipSettingsHolder {
public:
    static constexpr int kTickMilliseconds = 50;
    // Ticks per second: a fade of d seconds takes d × 20 steps.
    static constexpr double kTicksPerSecond = 20.0;
    // Level ↔ movie volume factor.
    static constexpr double kVolumeScale = 255.0;
    // Mode 0 fades on request only with at least this many seconds left.
    static constexpr double kModeZeroMinimumRemaining = 2.0;
    // Un-ducking and level changes always take this long.
    static constexpr double kLevelChangeSeconds = 1.0;
    // Meter hold values fall by these per reading (left and right differ on purpose).
    static constexpr double kLeftMeterFall = 8.0;
    static constexpr double kRightMeterFall = 12.0;

    // A device the clip can play to: its name as listed and its stable identifier.
    struct SoundOutputComponent {
        QString name;
        QString uid;
    };

    // What a pop-up of the output configuration lists (the outputs layer fills its
    // widgets from these).
    struct PopUpItem {
        QString title;
        int tag = 0;
    };
    struct PopUpChoices {
        QList<PopUpItem> items;
        int selectedIndex = -1;
        QString title; // the pop-up's title: the selected item's, or the fallback
    };

    // Shows an open panel for one file and gives the chosen path ("" when cancelled).
    using FileSelector = std::function<QString()>;

    // A clip holds `settings` by reference (shared, never copied). It starts offline,
    // stopped, unducked, without a fade, at volume multiplier 1.0, coloured black, and
    // reads its output assignment at once.
    explicit SoundClip(std::shared_ptr<QVariantMap> settings);
    // A clip destroyed while playing stops its movie and tells its outputs observer it
    // stopped (so the panel keeps no dangling clip); the controller, which owns the clip
    // and is tearing it down, is not called.
    ~SoundClip() override;

    // ---- Playback (SoundClip.cpp) ----

    // Starts from the in point: re-reads the output assignment, sets the loop, the
    // position and the level (or the fade-in), tells the outputs observer, and starts the
    // movie, or, when `startPaused`, leaves it halted and tells the outputs observer
    // pauseOutput(). A playing clip restarts; an offline clip does nothing.
    void startPlaying(bool startPaused);
    // Stops, rewinds (the movie back at the in point, the clip's position 0.0) and tells
    // the outputs observer, then the controller. Nothing happens unless the clip plays.
    void stopPlaying();
    // `resume` is the paused state as the caller sees it: true resumes, false pauses
    // (callers toggle by passing isPaused()). The tick keeps running while paused. The
    // controller hears updateClipCell(). Ignored while offline or not playing.
    void pausePlaying(bool resume);
    bool isPlaying() const { return _isPlaying; }
    bool isPaused() const { return _isPaused; }
    bool isDucked() const { return _isDucked; }
    // A reserved flag that no clip operation sets or reads.
    bool isCued() const { return _isCued; }
    void setIsCued(bool cued) { _isCued = cued; }

    // The 50 ms tick. Does nothing unless the clip plays.
    void spendTime();
    // Whether the tick timer runs (from a start until the stop, paused or not).
    bool isTicking() const;

    // ---- Fades ----
    void startFadeIn(double seconds, double targetVolume);
    void startFadeOut(double seconds, double targetVolume);
    // Starts a linear fade from the level the movie plays at now, replacing a running
    // one: one step per tick, direction +1 up or −1 down. It ends when the level reaches
    // or passes the target in its direction (a target on the other side is reached on
    // the first tick; so is any fade of zero length). A fade down to 0.0 stops the clip.
    void startFader(int direction, double seconds, double targetVolume);
    // The fade-out request by "FadeOut Mode": 0 fades over "FadeOut Duration" to
    // silence when at least 2.0 s remain, 1 always fades, any other mode never.
    void fadeOut();
    // Fades out to silence over `seconds`, whatever the mode.
    void fadeOut(double seconds);
    // Fades out to silence over "FadeOut Duration", whatever the mode.
    void forceFadeOut();
    // +1 fading up, −1 fading down, 0 no fade.
    int fadingDirection() const { return _myFadingDirection; }
    double fadingTargetVolume() const { return _myFadingTargetVolume; }

    // ---- Ducking and level ----
    // Fades down over `seconds` to "Ducking Volume" (not scaled by the multiplier).
    void duckIn(double seconds);
    // Fades back up to the normal level, always over 1.0 s (the argument is ignored).
    void duckOut(double seconds);
    // Fades over 1.0 s to the normal level when the movie plays at another level.
    void normalVolumeHasChanged();
    // Fades over 1.0 s to `level`, in the direction from the present level towards the
    // normal level (not towards `level`), so a target on the other side arrives at once.
    void duckingVolumeHasChanged(double level);
    // Stores the document's volume factor; follow with normalVolumeHasChanged() to hear it.
    void setVolumeMultiplier(double multiplier);
    double volumeMultiplier() const { return _volumeMultiplier; }
    // "Volume" × volume multiplier.
    double normalLevel() const;
    // The level the movie plays at now (its volume ÷ 255); 0.0 without a movie.
    double currentLevel() const;

    // ---- Positions and times (seconds) ----
    // Moves the movie to `seconds` of file time (clamped to the file).
    void setPosition(double seconds);
    // Moves to `fraction` (0..1) of the clip: fraction × duration() + "In Point".
    void setClipPosition(double fraction);
    // File time of the last tick; 0.0 when stopped.
    double currentPositionSeconds() const { return _currentPositionSeconds; }
    double fileDuration() const { return _fileDuration; }
    // File duration − "Out Point" − "In Point".
    double duration() const;
    // Position − "In Point".
    double elapsed() const;
    // (File duration − "Out Point") − position.
    double remaining() const;
    bool hasInPoint() const;
    bool hasOutPoint() const;
    // Writes "Loop" into the record and sets the movie's loop attribute.
    void setIsLooping(bool looping);
    bool isLooping() const;

    // ---- Observers (not owned) ----
    void setController(ClipObserver* controller) { _controller = controller; }
    ClipObserver* controller() const { return _controller; }
    void setOutputsController(ClipOutputsObserver* controller) { _outputsController = controller; }
    ClipOutputsObserver* outputsController() const { return _outputsController; }

    // ---- Routing and metering (SoundClipRouting.cpp) ----

    // Reads "Output Settings %i" for the clip's output from the user-defaults store and
    // applies, each when present: the name, the device, the two channel tags (both
    // needed) and the colour. An idle clip's movie also moves to the in point when that
    // changed. Send it after the record was replaced or changed.
    void settingsHaveChanged();
    // Writes "Output Index" (0..8) into the record only; follow with settingsHaveChanged().
    // Another index is refused with a message.
    void setOutputIndex(int index);
    int outputIndex() const;
    // Plays to the named device ("Built-in Output": the system default). A name that no
    // device has leaves the clip where it plays.
    void setClipOutputDevice(const QString& deviceName);
    // Lays the clip's left and right sides onto these device channels (0x10000 + n); a
    // mono clip plays on the left one only. Tags below 0x10000 are refused.
    void setClipOutputForLeftChannel(quint32 leftTag, quint32 rightTag);
    // Back to the default device, on its first two channels.
    void resetClipOutputDevice();
    QString outputDeviceName() const { return _outputDeviceName; }
    std::optional<SoundOutputComponent> outputComponent() const { return _myOutputComponent; }
    quint32 leftChannelOutputTag() const { return _leftChannelOutputTag; }
    quint32 rightChannelOutputTag() const { return _rightChannelOutputTag; }
    QString outputName() const { return _outputName; }
    void setOutputName(const QString& name) { _outputName = name; }
    QColor outputColor() const { return _outputColor; }
    void setOutputColor(const QColor& color) { _outputColor = color; }

    void enableSoundMetering();
    void disableSoundMetering();
    // The meter reading for the panel, 0..1 per side: the peak since the last reading
    // with instant attack and a linear release per reading (left −8, right −12 on the
    // 0..255 scale). 0.0 on both sides while paused (the hold values still fall); the
    // right side of a mono clip always 0.0.
    void getPeakLeftLevel(double* left, double* right);

    // Output configuration data (for the outputs layer's pop-ups), from the engine's
    // device listing. Main thread only.
    // Every device name ("Built-in Output" first), the one named `currentComponentName`
    // selected; when none is, the title is "Built-in Output".
    static PopUpChoices componentsPopUpChoices(const QString& currentComponentName);
    // "Output 1".."Output N" tagged 0x10000..0x10000 + N − 1 for the N channels of the
    // named device (at least 2); the item tagged `currentChannelTag` selected, else the
    // first.
    static PopUpChoices channelsPopUpChoices(quint32 currentChannelTag, const QString& deviceName);
    // The device of that name; none when no device has it.
    static std::optional<SoundOutputComponent> getSoundOutputComponentByName(const QString& name);
    // The stable identifier of the named device; false when no device has the name.
    static bool copyMyAudioDriverUID(const QString& name, QString* outUID);

    // ---- File loading and tags (SoundClipLoading.cpp) ----

    // Stops, takes `url` as the clip's file and loads it (getFileInformation). A URL that
    // is not a local file is refused with a message and changes nothing.
    bool setFileURL(const QUrl& url);
    // Takes stored reference bytes; loads the file when it exists.
    void setFileAliasData(const QByteArray& data);
    // Whether the file opens and holds decodable audio.
    static bool isValidAudioFile(const QString& path);
    // Asks the installed file selector for one file and takes it as the clip's file
    // without loading it; false when cancelled or when no selector is installed.
    bool selectFile();
    // Installed by the application (an open panel); tests install their own.
    static void setFileSelector(FileSelector selector);

    // A movie opened on `url` (a local file), or null with *error set.
    static std::unique_ptr<media::Movie> makeMovieWithURL(const QUrl& url,
                                                          QString* error = nullptr);
    // Releases the movie.
    void closeMovie();
    // Releases the movie and puts an empty, unopened one in its place.
    void reOpenMovie();
    // Makes the movie ready to fire: an open movie is stopped and put at the in point; a
    // closed one is opened again from the clip's file (the only case that reads the
    // file), routed and put at the in point.
    void resetMovie();
    // Loads the file: a missing file makes the clip offline, titled by its file name
    // when it has no title; a file without audio or of zero length leaves it offline;
    // otherwise the clip gets its duration, title (the file name, or the title tag when
    // "Read ID3 Tags" is on, with artist, album and year), label colour and mono flag,
    // and comes online. Returns whether the clip can play the file.
    bool getFileInformation(const QUrl& url);
    // Reads the title, artist, album and year tags of the clip's file.
    void readTags();
    // The colour of the file's label in the file manager; black when it has none.
    QColor getColorLabelForPath(const QString& path) const;
    static const std::array<QColor, 9>& labelColors();

    QString artist() const { return _artist; }
    void setArtist(const QString& artist) { _artist = artist; }
    QString title() const { return _title; }
    void setTitle(const QString& title) { _title = title; }
    QString album() const { return _album; }
    void setAlbum(const QString& album) { _album = album; }
    QString genre() const { return _genre; }
    void setGenre(const QString& genre) { _genre = genre; }
    int year() const { return _year; }
    void setYear(int year) { _year = year; }
    // The year as "%d".
    QString yearString() const;
    QColor color() const { return _color; }
    void setColor(const QColor& color) { _color = color; }
    bool isOffline() const { return _isOffline; }
    void setIsOffline(bool offline) { _isOffline = offline; }
    bool isMono() const { return _isMono; }
    // The movie; null when closed. Diagnostics and benchmarks read it.
    media::Movie* movie() const { return _myMovie.get(); }

private:
    bool hasOpenMovie() const;
    void applyLevel(double level);
    void stepFade();
    void startTimer();
    void stopTimer();
    void cueMovieAtInPoint();
    bool movieWrappedToFileStart(double inPoint) const;
    void applyOutputSettings();
    void applyRoutingToMovie();
    void applyTags(const media::AudioFileInfo& info);

    QString _artist;
    QString _title;
    QString _album;
    QString _genre;
    int _year = 0;
    QColor _color;
    QColor _outputColor;
    double _fileDuration = 0.0;
    double _currentPositionSeconds = 0.0;
    bool _isOffline = true;
    bool _isPlaying = false;
    bool _isPaused = false;
    bool _isDucked = false;
    bool _isCued = false;
    std::unique_ptr<media::Movie> _myMovie;
    std::unique_ptr<QTimer> _myTimer;
    std::optional<SoundOutputComponent> _myOutputComponent;
    double _prevLeftValue = 0.0;
    double _prevRightValue = 0.0;
    double _volumeMultiplier = 1.0;
    QString _outputDeviceName;
    QString _outputName;
    quint32 _leftChannelOutputTag = 0x10000;
    quint32 _rightChannelOutputTag = 0x10001;
    ClipObserver* _controller = nullptr;
    ClipOutputsObserver* _outputsController = nullptr;
    bool _isMono = false;
    int _myFadingDirection = 0;
    double _myFadingDuration = 0.0;
    double _myFadingTargetVolume = 0.0;
    double _myFadingVolumeStep = 0.0;
    double _myFadingCurrentVolume = 0.0;
    // Movie position at the previous tick (or the last jump), to see a whole-file loop.
    double _lastTickPosition = 0.0;
};
