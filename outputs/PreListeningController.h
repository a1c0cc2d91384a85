#pragma once

// The pre-listen player: one floating panel for the whole program that auditions a clip
// on the pre-listen output (output 8) without touching the clip in the document. An
// audition plays a copy: a new clip made from a copy of the clip's settings and the same
// file, routed to output 8, that the outputs panel never hears of. The copy carries all
// of the clip's settings, so it plays with the clip's level, fades and out point.
//
// The panel shows the copy's title, a position bar the operator can drag, play, stop
// (which pauses and keeps the position) and jump-back (2 s) buttons, and elapsed and
// remaining file time, refreshed every 0.2 s. Auditioning "at end" starts 15 s before
// the end of the file (at its start when the file is shorter). A new audition replaces
// the copy at once.
//
// The application creates one player, installs it and shows its window:
//     _preListenPlayer = std::make_unique<PreListeningController>();
//     _preListenPlayer->install();
//     _preListenPlayer->showWindow();
//
// Main thread only.

#include "clip/ClipObserver.h"
#include "clip/PreListenPlayer.h"

#include <QObject>
#include <QTimer>
#include <memory>

class ElidingLabel;
class NonKeyPanel;
class QPushButton;
class QSlider;
class SoundClip;
class TimeField;
class WindowFrameAutosave;

class PreListeningController : public QObject, public PreListenPlayer, public ClipObserver {
    Q_OBJECT
public:
    static constexpr int kRefreshMilliseconds = 200;
    // How far before the end an audition "at end" starts.
    static constexpr double kSecondsBeforeEnd = 15.0;
    // How far the jump-back button goes back.
    static constexpr double kJumpBackSeconds = 2.0;
    // Steps of the position bar.
    static constexpr int kPositionSteps = 1000;

    explicit PreListeningController(QObject* parent = nullptr);
    // Uninstalls itself when it is still the installed player.
    ~PreListeningController() override;

    // Makes this the player the document windows reach (StudioServices).
    void install();
    // Shows the panel where it was saved (else at the bottom right of the main screen)
    // without activating it.
    void showWindow();
    NonKeyPanel* window() const { return _window.get(); }

    // Auditions `clip` (not owned, never started, paused or moved) on the pre-listen
    // output, from its start or, with `atEnd`, from 15 s before the end of its file. A
    // clip whose file does not load leaves the panel empty.
    void preListenClip(SoundClip* clip, bool atEnd) override;

    // The transport (also driven by the keypad).
    void playButtonPushed();
    // Pauses; the position is kept.
    void stopButtonPushed();
    // Moves 2 s back, not before the start of the file.
    void jumpBackButtonPushed();
    // Moves to `fraction` (0..1) of the file, as dragging the position bar does.
    void setMoviePosition(double fraction);

    // The 0.2 s refresh: elapsed and remaining file time and the position bar; with no
    // copy the fields keep what they show.
    void updateCurrentMovieTime();

    // The copy being auditioned; null when idle.
    SoundClip* currentClip() const { return _currentClip.get(); }

    QString filenameText() const;
    QString elapsedText() const;
    QString remainingText() const;
    QSlider& positionBar() const { return *_positionBar; }
    QPushButton& playButton() const { return *_playButton; }
    QPushButton& stopButton() const { return *_stopButton; }
    QPushButton& jumpBackButton() const { return *_jumpBackButton; }

    WindowFrameAutosave& frameAutosave() const { return *_frameAutosave; }

    // ClipObserver: the copy paused, resumed or stopped.
    void updateClipCell(SoundClip* clip) override;
    void clipHasStopped(SoundClip* clip) override;

private:
    void buildWindow();
    void showEmpty();
    void seekTo(double seconds);
    void updateTransportButtons();
    // The position bar was dragged or clicked to `steps`.
    void positionBarMoved(int steps);
    double movieDuration() const;

    std::unique_ptr<NonKeyPanel> _window;
    ElidingLabel* _filenameField = nullptr;
    QSlider* _positionBar = nullptr;
    QPushButton* _jumpBackButton = nullptr;
    QPushButton* _playButton = nullptr;
    QPushButton* _stopButton = nullptr;
    TimeField* _elapsedTimeField = nullptr;
    TimeField* _remainingTimeField = nullptr;

    std::unique_ptr<SoundClip> _currentClip;
    QTimer _updateTimer;
    std::unique_ptr<WindowFrameAutosave> _frameAutosave;
};
