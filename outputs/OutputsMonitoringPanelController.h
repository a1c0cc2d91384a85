#pragma once

// The outputs monitoring panel: one floating panel for the whole program with a strip
// per output 0..8 (OutputMonitoringCell) and pause-all and stop-all buttons. Clips report
// their starts and stops here (ClipOutputsObserver); the document windows, the keyboard
// and the keypads stop, pause and release outputs through it (OutputsMonitor). Stopping
// or releasing an output turns its GPI tally line off.
//
// The panel never takes the keyboard (NonKeyPanel), keeps its position from one run to
// the next ("Outputs Window Position"), and with "Lock Window Positions" on goes back to
// its fixed place whenever it is moved. Strip titles and colours follow the output
// records ("Output Settings %i") whenever the user defaults change.
//
// The application creates one controller, installs it and shows its window:
//     _outputsPanel = std::make_unique<OutputsMonitoringPanelController>();
//     _outputsPanel->install();
//     _outputsPanel->showWindow();
// It must outlive every clip that reports to it (install() hands it to the clips the
// documents load from then on).
//
// Main thread only.

#include "clip/OutputsMonitor.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <memory>
#include <vector>

class LedButton;
class NonKeyPanel;
class OutputMonitoringCell;
class PlainButton;
class QKeyEvent;
class WindowFrameAutosave;

class OutputsMonitoringPanelController : public QObject, public OutputsMonitor {
    Q_OBJECT
public:
    static constexpr int kStripCount = 9;

    explicit OutputsMonitoringPanelController(QObject* parent = nullptr);
    // Uninstalls itself when it is still the installed panel.
    ~OutputsMonitoringPanelController() override;

    // Makes this the panel the program's clips and windows report to (StudioServices and
    // the shared outputs controller the documents give their clips).
    void install();

    // Shows the panel where it was saved (else at the top right of the main screen)
    // without activating it.
    void showWindow();
    NonKeyPanel* window() const { return _window.get(); }

    int cellCount() const { return int(_cells.size()); }
    // The strip of `index`; null outside 0..8.
    OutputMonitoringCell* cellAtIndex(int index) const;

    // ---- What clips report (ClipOutputsObserver) ----
    void clipHasStarted(SoundClip* clip) override;
    void clipHasStopped(SoundClip* clip) override;
    // Toggles the pause of the clip on `outputIndex` (a clip started paused, a keypad key).
    void pauseOutput(int outputIndex) override;

    // ---- Requests from windows, keyboard and keypads (OutputsMonitor) ----
    void releasePauseForOutput(int outputIndex) override;
    void stopOutput(int outputIndex) override;
    void outputHasStopped(int outputIndex) override;

    // Pause-all: pauses every output, or on the next push resumes them all.
    void pauseButtonPushed();
    bool isPaused() const { return _isPaused; }
    // Stop-all: stops every output and turns every tally line off.
    void stopButtonPushed();
    // The space bar: resumes every paused output and turns every tally line off, even
    // when nothing was paused.
    void spaceBarHasBeenDepressed();

    LedButton& pauseAllButton() const { return *_pauseButton; }
    PlainButton& stopAllButton() const { return *_stopButton; }

    // The panel handles no keys itself (the application routes space to it).
    bool performKey(const QKeyEvent& event);

    // Reads every strip's title ("Output Name") and colour ("Output Color") from its
    // output record; a strip without a record keeps what it shows.
    void updateCellColorsAndNames();

    // With "Lock Window Positions" on, puts the panel back at its fixed place.
    void windowDidMove();
    // The fixed place of a locked panel `panelWidth` wide on a screen of
    // `screenGeometry` whose free area is `visibleFrame`: x = 802 on screens wider than
    // 866, else flush with the right edge; the top of the free area.
    static QPoint lockedWindowPosition(const QRect& screenGeometry, const QRect& visibleFrame,
                                       int panelWidth);

    WindowFrameAutosave& frameAutosave() const { return *_frameAutosave; }

private:
    void buildWindow();
    void uninstall();

    std::unique_ptr<NonKeyPanel> _window;
    std::vector<OutputMonitoringCell*> _cells; // owned by the window
    LedButton* _pauseButton = nullptr;
    PlainButton* _stopButton = nullptr;
    bool _isPaused = false;
    std::unique_ptr<WindowFrameAutosave> _frameAutosave;
};
