#include "app/CAppController.h"

#include "app/DocumentButtonTarget.h"
#include "app/DocumentSession.h"
#include "app/ModifierKeyPoster.h"
#include "app/SilenceCycle.h"
#include "clip/StudioServices.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/UserDefaults.h"
#include "outputs/NonKeyPanel.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PreListeningController.h"
#include "playlist/PlaylistDocument.h"
#include "preset/PresetDocument.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

namespace {

const QString kShouldOpenUntitledPresetKey = QStringLiteral("Should Open Untitled Preset");

QDialog* makeAboutPanel() {
    auto* panel = new QDialog;
    panel->setWindowTitle(QStringLiteral("About %1").arg(QApplication::applicationDisplayName()));
    auto* layout = new QVBoxLayout(panel);
    auto* name = new QLabel(QApplication::applicationDisplayName(), panel);
    QFont font = name->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.5);
    name->setFont(font);
    name->setAlignment(Qt::AlignCenter);
    const QString version = QApplication::applicationVersion();
    auto* versionField = new QLabel(QStringLiteral("version ") +
                                        (version.isEmpty() ? QStringLiteral("0.0.0") : version),
                                    panel);
    versionField->setObjectName(QStringLiteral("aboutVersionField"));
    versionField->setAlignment(Qt::AlignCenter);
    layout->addWidget(name);
    layout->addWidget(versionField);
    return panel;
}

} // namespace

CAppController::CAppController(DocumentSession& session, QObject* parent)
    : QObject(parent)
    , _session(session)
    , _keyInterceptor(std::make_unique<KeyInterceptor>(*this))
    , _modifierPoster(std::make_unique<ModifierKeyPoster>()) {}

CAppController::~CAppController() {
    if (StudioServices::keyStates() == this) {
        StudioServices::setKeyStates(nullptr);
    }
    if (_installed) {
        _session.setQuitRule(nullptr);
    }
}

void CAppController::install() {
    qApp->installEventFilter(_keyInterceptor.get());
    StudioServices::setKeyStates(this);
    // Whichever way the program is asked to quit, this rule decides and stops the silence.
    _session.setQuitRule([this] { return shouldTerminate(); });
    _installed = true;
}

DocumentController& CAppController::documents() const {
    return _session.documentController();
}

// ---- Key states ----

void CAppController::postModifier(int modifier, bool down) {
    _modifierPoster->post(ModifierKeyPoster::Modifier(modifier), down);
}

void CAppController::setShiftKeyState(bool state) {
    _states.shift = state;
    postModifier(int(ModifierKeyPoster::Modifier::Shift), state);
}

void CAppController::setControlKeyState(bool state) {
    _states.control = state;
    postModifier(int(ModifierKeyPoster::Modifier::Control), state);
}

void CAppController::setAltKeyState(bool state) {
    _states.alt = state;
    postModifier(int(ModifierKeyPoster::Modifier::Alt), state);
}

void CAppController::setCommandKeyState(bool state) {
    _states.command = state;
    postModifier(int(ModifierKeyPoster::Modifier::Command), state);
}

bool CAppController::isLeftArrowDepressed() const {
    return _keyInterceptor->isLeftArrowDepressed();
}

bool CAppController::isRightArrowDepressed() const {
    return _keyInterceptor->isRightArrowDepressed();
}

// ---- The front document ----

void CAppController::applyKeyStateRule(const KeyStates& states, int index,
                                       ClipButtonTarget& pressed, ClipButtonTarget& front) {
    if (states.config) {
        pressed.configureButtonAtIndex(index);
    }
    if (states.edit) {
        pressed.openWithEditorItemAtIndex(index);
    }
    if (states.stop) {
        pressed.stopPlayback(index);
    }
    if (states.loop) {
        pressed.toggleLoopForItemAtIndex(index);
        return;
    }
    if (states.config || states.edit || states.stop) {
        return;
    }
    if (states.leftArrow) {
        front.preListenClipAtIndex(index, false);
    } else if (states.rightArrow) {
        front.preListenClipAtIndex(index, true);
    } else {
        front.startPlayback(index);
    }
}

std::unique_ptr<ClipButtonTarget> CAppController::frontTarget() const {
    return std::make_unique<DocumentButtonTarget>(documents().currentDocument());
}

void CAppController::handleClipButtonPressed(int index, Document* document) {
    DocumentButtonTarget pressed(document);
    applyKeyStateRule(_states, index, pressed, *frontTarget());
}

void CAppController::handleClipButtonPressed(int index) {
    handleClipButtonPressed(index, documents().currentDocument());
}

void CAppController::startPlayback(int index) {
    KeyStates startOnly;
    startOnly.leftArrow = _states.leftArrow;
    startOnly.rightArrow = _states.rightArrow;
    std::unique_ptr<ClipButtonTarget> front = frontTarget();
    applyKeyStateRule(startOnly, index, *front, *front);
}

void CAppController::toggleCueMode() {
    frontTarget()->toggleCueMode();
}

bool CAppController::switchToNextOpenDocument() {
    if (QApplication::activeModalWidget()) {
        return false;
    }
    const QList<Document*> open = documents().documents();
    const qsizetype position = open.indexOf(documents().currentDocument());
    if (position < 0) {
        return false;
    }
    open.at((position + 1) % open.size())->showWindows();
    return true;
}

bool CAppController::openFunctionKeyDocumentAtIndex(int index) {
    const UserDefaults* defaults = UserDefaults::standard();
    if (!defaults || index < 1 || index > kFunctionKeyCount) {
        return false;
    }
    const QVariant stored = defaults->objectForKey(QStringLiteral("Function Key %1").arg(index));
    if (!stored.isValid()) {
        return false;
    }
    // An unset key (the factory "") is consumed and opens nothing; a path that does not
    // open is reported by the document controller and consumed as well.
    const QString path = stored.toString();
    if (!path.isEmpty()) {
        documents().openDocument(path, true);
    }
    return true;
}

// ---- The outputs panel and the pre-listen player ----

bool CAppController::presetOrPanelInFront() const {
    QWidget* keyWindow = QApplication::activeWindow();
    if (!keyWindow) {
        return false;
    }
    if (_outputsPanel && _outputsPanel->window() == keyWindow) {
        return true;
    }
    for (Document* document : documents().documents()) {
        if (document->window() == keyWindow) {
            return qobject_cast<PresetDocument*>(document) != nullptr;
        }
    }
    return false;
}

void CAppController::spaceBarHasBeenDepressed() {
    if (_outputsPanel) {
        _outputsPanel->spaceBarHasBeenDepressed();
    }
}

void CAppController::stopOutput(int outputIndex) {
    if (_outputsPanel) {
        _outputsPanel->stopOutput(outputIndex);
    }
}

void CAppController::pauseOutput(int outputIndex) {
    if (_outputsPanel) {
        _outputsPanel->pauseOutput(outputIndex);
    }
}

void CAppController::stopButtonPushed() {
    if (_outputsPanel) {
        _outputsPanel->stopButtonPushed();
    }
}

void CAppController::pauseButtonPushed() {
    if (_outputsPanel) {
        _outputsPanel->pauseButtonPushed();
    }
}

void CAppController::preListenStopButtonPushed() {
    if (_preListener) {
        _preListener->stopButtonPushed();
    }
}

void CAppController::preListenPlayButtonPushed() {
    if (_preListener) {
        _preListener->playButtonPushed();
    }
}

void CAppController::preListenJumpBackButtonPushed() {
    if (_preListener) {
        _preListener->jumpBackButtonPushed();
    }
}

// ---- Start and quit ----

bool CAppController::applicationShouldOpenUntitledFile() const {
    const UserDefaults* defaults = UserDefaults::standard();
    return !defaults || defaults->boolForKey(kShouldOpenUntitledPresetKey);
}

bool CAppController::shouldTerminate() {
    if (!_session.shouldTerminate()) {
        return false;
    }
    if (_silenceCycle) {
        _silenceCycle->stop();
    }
    return true;
}

// ---- Menus ----

void CAppController::newPresetDocument() {
    documents().newDocument(PresetDocument::kTypeName);
}

void CAppController::newPlaylistDocument() {
    if (documents().typeNamed(PlaylistDocument::kTypeName)) {
        documents().newDocument(PlaylistDocument::kTypeName);
    }
}

void CAppController::checkForMissingClips() {
    if (Document* document = documents().currentDocument()) {
        document->checkForMissingClips();
    }
}

void CAppController::editPreferences() {
    if (_openPreferences) {
        _openPreferences();
    }
}

void CAppController::orderFrontStandardAboutPanel() {
    // Made afresh each time, so it shows the version of this very build.
    _aboutPanel.reset(makeAboutPanel());
    _aboutPanel->adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame = _aboutPanel->frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        _aboutPanel->move(frame.topLeft());
    }
    _aboutPanel->show();
    _aboutPanel->raise();
}

bool CAppController::validateMenuItem(MenuItem item) const {
    switch (item) {
    case MenuItem::NewPreset:
    case MenuItem::About:
        return true;
    case MenuItem::NewPlaylist:
        return documents().typeNamed(PlaylistDocument::kTypeName) != nullptr;
    case MenuItem::CheckForMissingClips: {
        const Document* current = documents().currentDocument();
        return current && current->checksForMissingClips();
    }
    case MenuItem::Preferences:
        return bool(_openPreferences);
    }
    return false;
}

void CAppController::addApplicationMenu(QMenuBar* menuBar) {
    QMenu* menu = menuBar->addMenu(QStringLiteral("&Studio"));
    struct Entry {
        MenuItem item;
        QString text;
        QKeySequence shortcut;
        void (CAppController::*action)();
    };
    const Entry entries[] = {
        {MenuItem::NewPreset, QStringLiteral("New Preset"), QKeySequence(),
         &CAppController::newPresetDocument},
        {MenuItem::NewPlaylist, QStringLiteral("New Playlist"), QKeySequence(),
         &CAppController::newPlaylistDocument},
        {MenuItem::Preferences, QStringLiteral("Preferences…"), QKeySequence::Preferences,
         &CAppController::editPreferences},
        {MenuItem::About, QStringLiteral("About Zelvora Studio"), QKeySequence(),
         &CAppController::orderFrontStandardAboutPanel},
    };
    for (const Entry& entry : entries) {
        QAction* action = menu->addAction(entry.text, this, entry.action);
        action->setShortcut(entry.shortcut);
        action->setData(int(entry.item));
    }
    // Validated each time the menu opens, as the current document may have changed.
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        for (QAction* action : menu->actions()) {
            action->setEnabled(validateMenuItem(MenuItem(action->data().toInt())));
        }
    });
}
