#include "preset/PresetController.h"

#include "clip/ApplicationKeyStates.h"
#include "clip/ClipOutputsObserver.h"
#include "clip/GpiTallyLines.h"
#include "clip/OutputsMonitor.h"
#include "clip/PreListenPlayer.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "outputs/EmptyRulerView.h"
#include "preset/PresetButtonCell.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollArea>
#include <QTimer>
#include <QUrl>

namespace {

const QString kFaderStopInCueModeKey = QStringLiteral("Fader Stop In Cue Mode");
const QString kKestrelSerialNumberKey = QStringLiteral("Kestrel Serial Number");

UserDefaults* defaults() {
    return UserDefaults::standard();
}

} // namespace

PresetController::PresetController(PresetDocument* document)
    : _document(document)
    , _fileChooser([this] {
        return QFileDialog::getOpenFileName(_window.get(), tr("Choose a Sound File"));
    }) {
    buildWindow();
    buildContextualMenu();
    _matrix->setDelegate(this);
    _matrix->setContextualMenu(_contextualButtonsMenu.get());
    updateOutputsSubmenu();

    if (UserDefaults* store = defaults()) {
        connect(store, &UserDefaults::defaultsChanged, this,
                &PresetController::userDefaultsHaveChanged);
    }
    // Paused buttons keep blinking while menus are open and modal panels run: Qt timers
    // fire in every nested event loop.
    _blinkingTimer = new QTimer(this);
    _blinkingTimer->setInterval(kBlinkIntervalMs);
    connect(_blinkingTimer, &QTimer::timeout, this, &PresetController::blinkingTimer);
    _blinkingTimer->start();
    qCDebug(lcPreset) << "Awake PresetController";
}

PresetController::~PresetController() {
    stopBlinking();
    _window->removeEventFilter(this);
    // The document still owns its clips; none may report to this controller any more.
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        if (SoundClip* clip = clipAt(index); clip && clip->controller() == this) {
            clip->setController(nullptr);
        }
    }
}

void PresetController::buildWindow() {
    _window = std::make_unique<QWidget>();
    auto* scrollArea = new QScrollArea;
    _matrix = new PresetMatrix;
    scrollArea->setWidget(_matrix);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setBackgroundRole(QPalette::Window);
    scrollArea->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    // The plain margin of the rulers round the grid.
    auto* grid = new QGridLayout(_window.get());
    grid->setContentsMargins(0, 0, 0, 8);
    grid->setSpacing(0);
    grid->addWidget(new EmptyRulerView(scrollArea, Qt::Horizontal), 0, 0, 1, 2);
    grid->addWidget(new EmptyRulerView(scrollArea, Qt::Vertical), 1, 0);
    grid->addWidget(scrollArea, 1, 1);

    _cueModeCheckBox = new QCheckBox(tr("Cue Mode"));
    _cueModeCheckBox->setChecked(_document && _document->cueMode());
    connect(_cueModeCheckBox, &QCheckBox::clicked, this,
            &PresetController::cueModeCheckBoxHasChanged);
    grid->addWidget(_cueModeCheckBox, 2, 1, Qt::AlignLeft);

    const int margin = EmptyRulerView::reservedThicknessForAccessoryView();
    scrollArea->setMinimumSize(_matrix->width() + margin, _matrix->height() + margin);
    _window->resize(_window->sizeHint());
    _window->setFocusProxy(_matrix);
    _window->installEventFilter(this);
}

bool PresetController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == _window.get() && event->type() == QEvent::KeyPress &&
        performKey(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

QWidget* PresetController::window() const {
    return _window.get();
}

SoundClip* PresetController::clipAt(int index) const {
    return _document ? _document->clipAtIndex(index) : nullptr;
}

void PresetController::redrawCell(int index) {
    _matrix->updateCellAtIndex(index);
}

void PresetController::redrawCellsOf(const SoundClip* clip) {
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        if (clip && _matrix->cellAtIndex(index)->clip() == clip) {
            redrawCell(index);
        }
    }
}

// ---- What the document asks ----

void PresetController::setCellClips() {
    // A document read from a file brings its own cue mode.
    _cueModeCheckBox->setChecked(_document->cueMode());
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        SoundClip* clip = clipAt(index);
        if (clip) {
            clip->setController(this);
        }
        _matrix->cellAtIndex(index)->setClip(clip);
    }
    updatePreset();
}

void PresetController::updatePreset() {
    _matrix->update();
}

void PresetController::stopBlinking() {
    if (_blinkingTimer) {
        _blinkingTimer->stop();
    }
}

bool PresetController::isBlinking() const {
    return _blinkingTimer && _blinkingTimer->isActive();
}

// ---- Firing ----

void PresetController::startPlayback(int index) {
    startPlayback(index, QGuiApplication::keyboardModifiers());
}

bool PresetController::shiftIsDown(Qt::KeyboardModifiers modifiers) const {
    const ApplicationKeyStates* keys = StudioServices::keyStates();
    return modifiers.testFlag(Qt::ShiftModifier) || (keys && keys->shiftKeyState());
}

void PresetController::startPlayback(int index, Qt::KeyboardModifiers modifiers) {
    SoundClip* clip = clipAt(index);
    if (!clip) {
        return;
    }
    if (_document->fadeOtherDocuments() || shiftIsDown(modifiers)) {
        _document->stopOtherDocuments();
    }
    clip->setController(this);
    if (_document->cueMode()) {
        stopPausedClipsOnOutput(clip->outputIndex());
        clip->startPlaying(true);
        lightTallyLine(clip->outputIndex());
    } else {
        // A sounding clip stops and starts again from its beginning.
        clip->startPlaying(false);
    }
    _matrix->cellAtIndex(index)->setBlinkedState(false);
    redrawCell(index);
}

void PresetController::stopPausedClipsOnOutput(int outputIndex) {
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        SoundClip* clip = clipAt(index);
        if (clip && clip->isPaused() && clip->outputIndex() == outputIndex) {
            clip->stopPlaying();
        }
    }
}

void PresetController::lightTallyLine(int outputIndex) {
    GpiTallyLines* gpi = StudioServices::gpiTallyLines();
    if (!gpi || !defaults()) {
        return;
    }
    const int interface =
        gpi->findInterfaceIndexWithSerialNumber(defaults()->stringForKey(kKestrelSerialNumberKey));
    if (interface >= 0) {
        gpi->setState(interface, false, outputIndex);
    }
}

void PresetController::stopPlayback(int index) {
    if (SoundClip* clip = clipAt(index)) {
        clip->stopPlaying();
    }
}

void PresetController::preListenClipAtIndex(int index, bool atEnd) {
    SoundClip* clip = clipAt(index);
    PreListenPlayer* player = StudioServices::preListenPlayer();
    if (clip && player) {
        player->preListenClip(clip, atEnd);
    }
}

bool PresetController::performKey(const QKeyEvent& event) {
    const ApplicationKeyStates* keys = StudioServices::keyStates();
    if (keys && (keys->shiftKeyState() || keys->altKeyState() || keys->commandKeyState() ||
                 keys->controlKeyState())) {
        return false;
    }
    if (event.modifiers() &
        (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        return false;
    }
    const QString text = event.text();
    if (text.isEmpty() || text[0] < u'a' || text[0] > u'x') {
        return false;
    }
    if (event.isAutoRepeat()) {
        return true; // a held key fires once: a repeat would restart the clip over and over
    }
    const int index = text[0].unicode() - u'a';
    if (keys && (keys->isLeftArrowDepressed() || keys->leftArrowKeyState())) {
        preListenClipAtIndex(index, false);
    } else if (keys && (keys->isRightArrowDepressed() || keys->rightArrowKeyState())) {
        preListenClipAtIndex(index, true);
    } else {
        startPlayback(index, event.modifiers());
    }
    return true;
}

void PresetController::gpiInputHasChanged(int input, int state) {
    if (!_document->cueMode()) {
        if (state != 0) {
            startPlayback(input, Qt::NoModifier);
        }
        return;
    }
    // In cue mode an input is the fader of the output with its number.
    OutputsMonitor* outputs = StudioServices::outputsMonitor();
    if (!outputs) {
        return;
    }
    if (state != 0) {
        outputs->releasePauseForOutput(input);
    } else if (defaults() && defaults()->boolForKey(kFaderStopInCueModeKey)) {
        outputs->stopOutput(input);
    }
}

// ---- Clip news and blinking ----

void PresetController::updateClipCell(SoundClip* clip) {
    redrawCellsOf(clip);
}

void PresetController::clipHasStopped(SoundClip* clip) {
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        PresetButtonCell* cell = _matrix->cellAtIndex(index);
        if (clip && cell->clip() == clip) {
            cell->setBlinkedState(false);
            redrawCell(index);
        }
    }
}

void PresetController::blinkingTimer() {
    _blinkedState = !_blinkedState;
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        const SoundClip* clip = clipAt(index);
        if (!clip) {
            continue;
        }
        // A cell redraws itself when its phase changes, so a steadily playing button
        // costs nothing here.
        if (clip->isPaused()) {
            _matrix->cellAtIndex(index)->setBlinkedState(_blinkedState);
        } else if (clip->isPlaying()) {
            _matrix->cellAtIndex(index)->setBlinkedState(false);
        }
    }
}

// ---- Buttons ----

bool PresetController::setFile(const QString& path, int index,
                               std::shared_ptr<QVariantMap> settings) {
    PresetButtonCell* cell = _matrix->cellAtIndex(index);
    if (!cell || !_document) {
        qCWarning(lcPreset) << "no button" << index;
        return false;
    }
    if (SoundClip* old = clipAt(index)) {
        old->stopPlaying();
    }
    if (path.isNull()) {
        cell->setClip(nullptr);
        _document->setClip(nullptr, index);
        redrawCell(index);
        return false;
    }
    if (!settings) {
        settings = std::make_shared<QVariantMap>(_document->defaultClipSettings());
    }
    auto clip = std::make_unique<SoundClip>(std::move(settings));
    clip->setOutputsController(sharedOutputsController());
    clip->setController(this);
    if (!clip->setFileURL(QUrl::fromLocalFile(path)) && !clip->isOffline()) {
        // The document keeps (and saves) what it had; the button shows empty.
        qCWarning(lcPreset) << "cannot place" << path << "on button" << index;
        cell->setClip(nullptr);
        redrawCell(index);
        return false;
    }
    SoundClip* placed = clip.get();
    cell->setClip(placed);
    _document->setClip(std::move(clip), index);
    cell->setBlinkedState(false);
    redrawCell(index);
    return true;
}

QString PresetController::pathForCell(int index) const {
    const SoundClip* clip = clipAt(index);
    return clip ? clip->url().toLocalFile() : QString();
}

void PresetController::cueModeCheckBoxHasChanged() {
    _document->setCueMode(_cueModeCheckBox->isChecked());
}

void PresetController::toggleCueMode() {
    _cueModeCheckBox->setChecked(!_cueModeCheckBox->isChecked());
    cueModeCheckBoxHasChanged();
}

void PresetController::userDefaultsHaveChanged() {
    _document->loadDefaultClipSettings();
    updateOutputsSubmenu();
    for (int index = 0; index < PresetMatrix::kCellCount; ++index) {
        if (SoundClip* clip = clipAt(index)) {
            clip->settingsHaveChanged();
            redrawCell(index);
        }
    }
}
