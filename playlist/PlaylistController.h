#pragma once

// The controller of one playlist window. It builds the window: the table of rows (30 of
// them, deliberately more than the 24 slots, so rows 24 to 29 always show empty), the
// transport strip of the current clip (progress bar, elapsed, remaining and duration
// fields, left and right level meters, pause and ducking buttons), the document's volume
// and ducking sliders with their decibel fields, the "Fade Other Documents" and scroll
// wheel options and the output pop-up. It is the rows' data source and relays transport
// commands to the current clip.
//
// The current clip. Everything that acts on a clip acts on the one in slot
// currentClip(), and does nothing while there is none (-1). Starting a row, advancing to
// the next row and loading files into rows are not part of the playlist yet: the entry
// points for them (startPlayback, setFile, selectFile, clearButton, configureButton,
// assignMIDINote, ...) exist because every document controller receives them, and do
// nothing. setCurrentClip() is where a start action hands over its clip: from then on
// the transport strip follows it every 50 ms and every control works on it.
//
// Keys. The playlist swallows every key without modifiers, deliberately: Up and Down
// change the volume by 0.1 (linear, not decibels), Escape fades the current clip out,
// "a" to "x" ask for their slot to start, and every other plain key does nothing. A key
// with Shift, Control, Alt or Meta is not the playlist's. The scroll wheel changes the
// volume by a hundredth per notch when the document's option is on, and scrolls the
// table otherwise. Up, Down and the wheel change the ducking level while ducked.
//
// Thread contract: main thread only.

#include "clip/ClipObserver.h"
#include "editing/CTimeFormatter.h"
#include "playlist/PlaylistDataSource.h"
#include "playlist/PlaylistDocumentController.h"

#include <QObject>
#include <QVariantMap>
#include <memory>

class CCustomTableView;
class CProgressView;
class LedButton;
class PlaylistDocument;
class QCheckBox;
class QComboBox;
class QKeyEvent;
class QLineEdit;
class QSlider;
class QTimer;
class SoundClip;

class PlaylistController : public QObject,
                           public PlaylistDocumentController,
                           public PlaylistDataSource,
                           public ClipObserver {
    Q_OBJECT
public:
    static constexpr int kNumberOfRows = 30;
    static constexpr int kUpdateIntervalMs = 50;
    // Sliders hold linear gains 0..1 in thousandths.
    static constexpr int kSliderSteps = 1000;
    // The level step of Up and Down.
    static constexpr double kVolumeKeyStep = 0.1;
    // A field entry of this many decibels means silence.
    static constexpr double kSilenceDecibels = -99.0;

    // Colour bands of the progress bar by the current clip's remaining time.
    enum ProgressColorState { NoColorState = 0, GreenState = 1, OrangeState = 2, RedState = 3 };

    // Builds the window for `document` (not owned; it owns this controller) and shows the
    // document's settings in it.
    explicit PlaylistController(PlaylistDocument* document);
    ~PlaylistController() override;

    // ---- What the document asks ----
    void reloadData() override;
    // Reserved: starting a row is not part of the playlist yet.
    void startPlayback(int index) override;
    // The current clip stops at once.
    void stopPlayback() override;
    // The current clip fades out over its fade-out duration, whatever its fade-out mode.
    void stopPlaybackWithFade() override;
    QWidget* window() const override;

    // ---- The current clip ----
    int currentClip() const { return _currentClip; }
    // Makes slot `slot` (-1: none) the current clip: the duration field shows its length
    // and the transport strip follows it every 50 ms.
    void setCurrentClip(int slot);
    bool isPaused() const { return _paused; }
    bool isDucked() const { return _ducked; }
    // Pauses or resumes the current clip; the pause button shows the new state.
    void pausePlayback();
    // Ducks the current clip down to its ducking level over 1 s, or back up; the ducking
    // button shows the new state.
    void duckPlayback();
    // The periodic update of the transport strip from the current clip.
    void spendTime();
    int progressViewColorState() const { return _progressViewColorState; }
    // Stores `state` and colours the progress bar: 1 green, 2 orange, 3 red; any other
    // state keeps the colour.
    void setProgressViewColorState(int state);

    // ---- Reserved entry points (no effect) ----
    void clearButton() {}
    void configureButton() {}
    void assignMIDINote() {}
    void selectFile() {}
    void configureButtonAtIndex(int index) { (void)index; }
    void playbackHasStopped() {}
    void soundOutputHasChanged() {}
    // Loading a file into a row is not part of the playlist yet: answers false.
    bool setFile(const QString& path, int index, std::shared_ptr<QVariantMap> settings);
    // Every menu item is enabled.
    bool validateMenuItem() const { return true; }

    // ---- Keys, wheel and volume ----
    // Whether the key was the playlist's (see the class comment).
    bool performKey(const QKeyEvent& event);
    bool scrollWheelHasMoved(const QWheelEvent& event) override;
    // Wheel notches of `event`, up positive.
    static double verticalDelta(const QWheelEvent& event);
    // Adds `step` (linear gain) to the document volume, or to the ducking level while
    // ducked, through the slider (which keeps the level within 0..1).
    void increaseDecreaseVolume(double step);
    void documentVolumeSliderHasChanged();
    void documentVolumeFieldHasChanged();
    void duckingVolumeSliderHasChanged();
    void duckingVolumeFieldHasChanged();
    void fadeOtherDocumentsCheckBoxHasChanged();
    void useScrollWheelCheckBoxHasChanged();
    // A level as its field shows it: whole decibels, "-inf" for silence.
    static QString decibelString(double level);

    // ---- Rows ----
    // The path of the clip's file; null for an empty slot.
    QString pathForCell(int slot) const;
    int numberOfRowsInTableView() const override { return kNumberOfRows; }
    bool cellIsSelected(int row) const override;
    QString cellTitle(int row) const override;
    QString cellSubTitle(int row) const override;
    QString cellSubSubTitle(int row) const override;
    QString cellDurationString(int row) const override;
    int cellStatus(int row) const override;
    QColor cellColor(int row) const override;

    // ---- Clipboard and drags ----
    // Puts the clip of `slot` into `mimeData`: its file and the private clip entry
    // {"Cell Index", "Settings"} (the format of the cart wall's clips).
    void copyClip(int slot, QMimeData& mimeData) override;
    // Places what was dropped or pasted on row `target` through setFile() (so, for now,
    // nothing is placed); answers whether it was.
    bool takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                int target) override;

    // ---- Clip news ----
    void updateClipCell(SoundClip* clip) override;
    void clipHasStopped(SoundClip* clip) override;

    // ---- The window's parts ----
    CCustomTableView* tableView() const { return _tableView; }
    LedButton* pauseButton() const { return _pauseButton; }
    LedButton* duckingButton() const { return _duckingButton; }
    CProgressView* progressView() const { return _progressView; }
    CProgressView* leftLevelMeter() const { return _leftLevelMeter; }
    CProgressView* rightLevelMeter() const { return _rightLevelMeter; }
    QLineEdit* durationTimeField() const { return _durationTimeField; }
    QLineEdit* elapsedTimeField() const { return _elapsedTimeField; }
    QLineEdit* remainingTimeField() const { return _remainingTimeField; }
    QComboBox* soundOutputButton() const { return _soundOutputButton; }
    QSlider* documentVolumeSlider() const { return _documentVolumeSlider; }
    QSlider* duckingVolumeSlider() const { return _duckingVolumeSlider; }
    QLineEdit* documentVolumeField() const { return _documentVolumeField; }
    QLineEdit* duckingVolumeField() const { return _duckingVolumeField; }
    QCheckBox* fadeOtherDocumentsCheckBox() const { return _fadeOtherDocumentsCheckBox; }
    QCheckBox* useScrollWheelCheckBox() const { return _useScrollWheelCheckBox; }
    bool isUpdating() const;

    // The linear gain a level slider shows, and setting it (clamped to the slider's range)
    // without running its handler.
    static double sliderValue(const QSlider* slider);
    static void setSliderValue(QSlider* slider, double value);

protected:
    // The window's keys and wheel turns that no control took.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    SoundClip* clipAt(int slot) const;
    SoundClip* currentSoundClip() const;
    void buildWindow();
    QWidget* buildTransportStrip();
    QWidget* buildVolumeControls();
    void awakeFromNib();
    void fillSoundOutputButton();
    void showTime(QLineEdit* field, double seconds);
    void setDocumentVolumeEverywhere(double level);
    void setDuckingVolumeEverywhere(double level);
    void updateRowsOf(const SoundClip* clip);

    PlaylistDocument* _document;
    std::unique_ptr<QWidget> _window;
    CCustomTableView* _tableView = nullptr;
    LedButton* _pauseButton = nullptr;
    LedButton* _duckingButton = nullptr;
    CProgressView* _progressView = nullptr;
    CProgressView* _leftLevelMeter = nullptr;
    CProgressView* _rightLevelMeter = nullptr;
    QLineEdit* _durationTimeField = nullptr;
    QLineEdit* _elapsedTimeField = nullptr;
    QLineEdit* _remainingTimeField = nullptr;
    QComboBox* _soundOutputButton = nullptr;
    QSlider* _duckingVolumeSlider = nullptr;
    QSlider* _documentVolumeSlider = nullptr;
    QLineEdit* _duckingVolumeField = nullptr;
    QLineEdit* _documentVolumeField = nullptr;
    QCheckBox* _fadeOtherDocumentsCheckBox = nullptr;
    QCheckBox* _useScrollWheelCheckBox = nullptr;
    CTimeFormatter _timeFormatter;
    QTimer* _updateTimer = nullptr;
    int _currentClip = -1;
    bool _paused = false;
    bool _ducked = false;
    int _progressViewColorState = NoColorState;
};
