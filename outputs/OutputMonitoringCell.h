#pragma once

// One strip of the outputs monitoring panel: what plays on one output. A titled box in
// the output's name with a bar in the output's colour down its left side, the clip's
// title (or "<nothing playing>"), a progress bar whose colour warns of the end (green
// with more than 30 s left, orange from 30 s down to 10 s, red below), elapsed, duration
// and remaining time, a left and a right level meter, and pause, stop and ducking
// buttons. A level slider stands beside the meters and acts on nothing (see
// volumeSliderChanged).
//
// The strip is where the rule of one clip per output lives: a clip that starts on the
// output sends the clip shown so far its fade-out request (whatever clip that is, even
// the starting one itself) and takes its place at once; the old clip's stop report,
// arriving later, no longer matches and is ignored. While a clip is shown a 50 ms timer
// refreshes the strip; it notices a clip that stopped without telling anyone.
//
// The strip holds its clip without owning it: a clip that goes away while shown tells
// the panel (clipHasStopped) first. Main thread only.

#include "outputs/ProgressSeekReceiver.h"

#include <QColor>
#include <QGroupBox>
#include <QTimer>

class CProgressView;
class CVuMeterView;
class ElidingLabel;
class LedButton;
class PlainButton;
class QSlider;
class SoundClip;
class TimeField;

class OutputMonitoringCell : public QGroupBox, public ProgressSeekReceiver {
    Q_OBJECT
public:
    static constexpr int kRefreshMilliseconds = 50;
    // Progress colour states.
    static constexpr int kColorStatePlenty = 1;  // green: more than 30 s left
    static constexpr int kColorStateNearing = 2; // orange: 30 s down to 10 s
    static constexpr int kColorStateEnding = 3;  // red: less than 10 s
    // Ducking fades take this long both ways.
    static constexpr double kDuckingSeconds = 1.0;

    explicit OutputMonitoringCell(int index, QWidget* parent = nullptr);
    ~OutputMonitoringCell() override;

    // The output this strip shows (0..8).
    int index() const { return _index; }

    void setOutputColor(const QColor& color);
    QColor outputColor() const { return _outputColor; }

    // The clip shown; null while idle.
    SoundClip* currentClip() const { return _currentClip; }

    // A clip started on this output: the clip shown so far gets fadeOut(), the new one
    // is shown and the refresh starts.
    void clipStarted(SoundClip* clip);
    // A clip stopped. With a clip that is not the one shown, nothing happens; with the
    // clip shown, or with none (an unconditional clear), the strip goes idle.
    void clipStopped(SoundClip* clip);
    // The 50 ms refresh: times, progress and its colour, and the meters (these keep
    // their last reading while the clip is paused).
    void spendTime();
    // Whether the refresh timer runs.
    bool isRefreshing() const { return _updateTimer.isActive(); }

    // The colour state for `remaining` seconds left.
    static int colorStateForRemaining(double remaining);
    // Sets the progress bar's colour for a state; another value is stored and changes
    // no colour.
    void setProgressViewColorState(int state);
    int progressViewColorState() const { return _progressViewColorState; }

    // Pauses (true) or resumes (false) the clip shown and sets the pause lamp to match.
    void setIsPaused(bool paused);

    // The strip's buttons; each does nothing while the strip is idle.
    void pauseButtonPushed();
    void stopButtonPushed();
    void duckingButtonPushed();
    // The level slider's action. It changes nothing, on purpose: what an output plays is
    // as loud as its clip and its document make it, and the strip does not override them.
    void volumeSliderChanged();

    // Ctrl-click into the progress bar: moves the clip shown, playing or paused, to
    // that fraction of its length.
    void setMoviePosition(double fraction) override;

    // Turns the GPI tally line of `outputIndex` off on the box whose serial number is
    // stored under "Kestrel Serial Number"; nothing when that box is not connected.
    static void turnOffGPIOutput(int outputIndex);

    // What the strip shows, for whoever checks it.
    QString filenameText() const;
    QString durationText() const;
    QString elapsedText() const;
    QString remainingText() const;
    CProgressView& progressBar() const { return *_progressBar; }
    CVuMeterView& leftVuMeter() const { return *_leftVuMeter; }
    CVuMeterView& rightVuMeter() const { return *_rightVuMeter; }
    LedButton& pauseButton() const { return *_pauseButton; }
    LedButton& duckingButton() const { return *_duckingButton; }
    PlainButton& stopButton() const { return *_stopButton; }
    QSlider& volumeSlider() const { return *_volumeSlider; }

    // The text shown while nothing plays.
    static QString nothingPlayingText();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void buildContent();
    void showIdle();
    void showClipTitle(const QString& title);

    QColor progressColorForState(int state) const;

    ElidingLabel* _filenameField = nullptr;
    CProgressView* _progressBar = nullptr;
    TimeField* _durationTimeField = nullptr;
    TimeField* _elapsedTimeField = nullptr;
    TimeField* _remainingTimeField = nullptr;
    CVuMeterView* _leftVuMeter = nullptr;
    CVuMeterView* _rightVuMeter = nullptr;
    LedButton* _pauseButton = nullptr;
    PlainButton* _stopButton = nullptr;
    LedButton* _duckingButton = nullptr;
    QSlider* _volumeSlider = nullptr;

    int _index = 0;
    SoundClip* _currentClip = nullptr;
    QTimer _updateTimer;
    int _progressViewColorState = 0;
    QColor _outputColor;
};
