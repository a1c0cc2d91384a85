#include "outputs/OutputsMonitoringPanelController.h"

#include "clip/OutputSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "clip/ValueConversion.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "outputs/LedButton.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/PlainButton.h"
#include "outputs/WindowFrameAutosave.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

namespace {

const QString kAutosaveName = QStringLiteral("Outputs Window Position");
const QString kLockWindowPositionsKey = QStringLiteral("Lock Window Positions");

// The locked panel's place on screens wide enough for it.
constexpr int kLockedX = 802;
constexpr int kWideScreen = 866;

constexpr int kStripWidth = 214;
constexpr int kStripHeight = 78;

} // namespace

OutputsMonitoringPanelController::OutputsMonitoringPanelController(QObject* parent)
    : QObject(parent) {
    buildWindow();
    _frameAutosave = std::make_unique<WindowFrameAutosave>(_window.get(), kAutosaveName);
    connect(_window.get(), &NonKeyPanel::moved, this, [this] {
        _frameAutosave->windowMoved();
        windowDidMove();
    });
    if (UserDefaults* defaults = UserDefaults::standard()) {
        connect(defaults, &UserDefaults::defaultsChanged, this,
                &OutputsMonitoringPanelController::updateCellColorsAndNames);
    }
    updateCellColorsAndNames();
}

OutputsMonitoringPanelController::~OutputsMonitoringPanelController() {
    uninstall();
}

void OutputsMonitoringPanelController::buildWindow() {
    _window = std::make_unique<NonKeyPanel>();
    _window->setWindowTitle(tr("Outputs"));

    auto* layout = new QVBoxLayout(_window.get());
    layout->setContentsMargins(2, 2, 2, 4);
    layout->setSpacing(1);
    for (int index = 0; index < kStripCount; ++index) {
        auto* cell = new OutputMonitoringCell(index, _window.get());
        cell->setFixedSize(kStripWidth, kStripHeight);
        cell->setTitle(tr("Output %1").arg(index + 1));
        layout->addWidget(cell);
        _cells.push_back(cell);
    }

    _pauseButton = new LedButton(tr("Pause All"), _window.get());
    _stopButton = new PlainButton(tr("Stop All"), _window.get());
    connect(_pauseButton, &QPushButton::clicked, this,
            &OutputsMonitoringPanelController::pauseButtonPushed);
    connect(_stopButton, &QPushButton::clicked, this,
            &OutputsMonitoringPanelController::stopButtonPushed);
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(4, 3, 4, 0);
    buttons->addWidget(_pauseButton);
    buttons->addWidget(_stopButton);
    layout->addLayout(buttons);

    layout->setSizeConstraint(QLayout::SetFixedSize);
    _window->refuseFocusForChildren();
}

void OutputsMonitoringPanelController::install() {
    StudioServices::setOutputsMonitor(this);
    setSharedOutputsController(this);
}

void OutputsMonitoringPanelController::uninstall() {
    if (StudioServices::outputsMonitor() == this) {
        StudioServices::setOutputsMonitor(nullptr);
    }
    if (sharedOutputsController() == this) {
        setSharedOutputsController(nullptr);
    }
}

OutputMonitoringCell* OutputsMonitoringPanelController::cellAtIndex(int index) const {
    if (index < 0 || index >= cellCount()) {
        return nullptr;
    }
    return _cells[size_t(index)];
}

// ---- Clips ----

void OutputsMonitoringPanelController::clipHasStarted(SoundClip* clip) {
    if (!clip) {
        return;
    }
    if (OutputMonitoringCell* cell = cellAtIndex(clip->outputIndex())) {
        cell->clipStarted(clip);
    }
}

void OutputsMonitoringPanelController::clipHasStopped(SoundClip* clip) {
    if (!clip) {
        return;
    }
    if (OutputMonitoringCell* cell = cellAtIndex(clip->outputIndex())) {
        cell->clipStopped(clip);
    }
}

void OutputsMonitoringPanelController::pauseOutput(int outputIndex) {
    OutputMonitoringCell* cell = cellAtIndex(outputIndex);
    if (cell && cell->currentClip()) {
        cell->setIsPaused(!cell->currentClip()->isPaused());
    }
}

// ---- Requests ----

void OutputsMonitoringPanelController::releasePauseForOutput(int outputIndex) {
    if (OutputMonitoringCell* cell = cellAtIndex(outputIndex)) {
        cell->setIsPaused(false);
    }
    OutputMonitoringCell::turnOffGPIOutput(outputIndex);
}

void OutputsMonitoringPanelController::stopOutput(int outputIndex) {
    OutputMonitoringCell* cell = cellAtIndex(outputIndex);
    if (cell && cell->currentClip()) {
        cell->currentClip()->stopPlaying();
    }
    OutputMonitoringCell::turnOffGPIOutput(outputIndex);
}

void OutputsMonitoringPanelController::outputHasStopped(int outputIndex) {
    if (OutputMonitoringCell* cell = cellAtIndex(outputIndex)) {
        cell->clipStopped(nullptr);
    }
}

void OutputsMonitoringPanelController::pauseButtonPushed() {
    _isPaused = !_isPaused;
    for (OutputMonitoringCell* cell : _cells) {
        cell->setIsPaused(_isPaused);
    }
    _pauseButton->setStatus(_isPaused);
}

void OutputsMonitoringPanelController::stopButtonPushed() {
    for (int index = 0; index < cellCount(); ++index) {
        stopOutput(index);
    }
}

void OutputsMonitoringPanelController::spaceBarHasBeenDepressed() {
    for (int index = 0; index < cellCount(); ++index) {
        releasePauseForOutput(index);
    }
}

bool OutputsMonitoringPanelController::performKey(const QKeyEvent& event) {
    (void)event;
    return false;
}

// ---- Titles and colours ----

void OutputsMonitoringPanelController::updateCellColorsAndNames() {
    const UserDefaults* defaults = UserDefaults::standard();
    if (!defaults) {
        return;
    }
    for (OutputMonitoringCell* cell : _cells) {
        const QVariantMap record = defaults->dictionaryForKey(outputSettingsKey(cell->index()));
        if (record.isEmpty()) {
            continue;
        }
        if (record.contains(QorvinPrefOutputName)) {
            cell->setTitle(stringFromValue(record.value(QorvinPrefOutputName)));
        }
        const QColor color = outputColor(record);
        if (color.isValid()) {
            cell->setOutputColor(color);
        }
    }
}

// ---- Placement ----

void OutputsMonitoringPanelController::showWindow() {
    _frameAutosave->showWindow(Qt::TopRightCorner);
    windowDidMove();
}

QPoint OutputsMonitoringPanelController::lockedWindowPosition(const QRect& screenGeometry,
                                                              const QRect& visibleFrame,
                                                              int panelWidth) {
    const int x = visibleFrame.width() > kWideScreen ? kLockedX : visibleFrame.width() - panelWidth;
    return QPoint(screenGeometry.left() + x, visibleFrame.top());
}

void OutputsMonitoringPanelController::windowDidMove() {
    const UserDefaults* defaults = UserDefaults::standard();
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!defaults || !screen || !defaults->boolForKey(kLockWindowPositionsKey)) {
        return;
    }
    const QPoint locked = lockedWindowPosition(screen->geometry(), screen->availableGeometry(),
                                               _window->frameGeometry().width());
    if (_window->pos() != locked) {
        _window->move(locked);
    }
}
