// The buttons' contextual menu of PresetController: its items, which of them a button
// offers, and the actions, each on the last clicked button.

#include "preset/PresetController.h"

#include "clip/ClipOutputsObserver.h"
#include "clip/ClipSettings.h"
#include "clip/ClipSettingsEditing.h"
#include "clip/FileWorkspace.h"
#include "clip/OutputsMonitor.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "document/AlertPresenter.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "outputs/OutputSettingsCell.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>

namespace {

const QString kOutputItemTitle = QStringLiteral("Output");
const QString kDefaultEditorKey = QStringLiteral("Default Editor");

bool isSounding(const SoundClip* clip) {
    return clip->isPlaying() || clip->isPaused();
}

} // namespace

void PresetController::buildContextualMenu() {
    _contextualButtonsMenu = std::make_unique<QMenu>();
    QMenu* menu = _contextualButtonsMenu.get();
    const auto add = [&](MenuAction action, const QString& title,
                         void (PresetController::*slot)()) {
        QAction* item = menu->addAction(title);
        connect(item, &QAction::triggered, this, slot);
        _menuActions[size_t(action)] = item;
    };
    add(SelectFile, tr("Choose File..."), &PresetController::selectFile);
    add(ClearButton, tr("Clear"), &PresetController::clearButton);
    menu->addSeparator();
    add(CopyClip, tr("Copy"), &PresetController::copyLastClickedClip);
    add(PasteClip, tr("Paste"), &PresetController::pasteOnLastClickedButton);
    menu->addSeparator();
    add(ConfigureButton, tr("Configure..."), &PresetController::configureButton);
    add(AssignMIDINote, tr("Learn MIDI Note..."), &PresetController::assignMIDINote);
    add(RevealInFileManager, tr("Show in File Manager"), &PresetController::revealInFileManager);
    add(OpenWithEditor, tr("Open with Editor"), &PresetController::openWithEditor);
    menu->addSeparator();
    add(LoopMenuItem, tr("Loop"), &PresetController::loopMenuItemChanged);
    _menuActions[LoopMenuItem]->setCheckable(true);
    QAction* output = menu->addAction(kOutputItemTitle);
    output->setMenu(new QMenu(menu));
    _menuActions[OutputSubmenu] = output;
    menu->addSeparator();
    add(Stop, tr("Stop"), &PresetController::stop);
    connect(menu, &QMenu::aboutToShow, this, &PresetController::validateMenuItems);
}

QAction* PresetController::menuAction(MenuAction action) const {
    return action >= 0 && action < MenuActionCount ? _menuActions[size_t(action)] : nullptr;
}

QMenu* PresetController::outputsSubmenu() const {
    return _menuActions[OutputSubmenu]->menu();
}

void PresetController::validateMenuItems() {
    for (int action = 0; action < MenuActionCount; ++action) {
        _menuActions[size_t(action)]->setEnabled(validateMenuItem(MenuAction(action)));
    }
}

bool PresetController::validateMenuItem(MenuAction action) {
    const SoundClip* clip = lastClickedClip();
    if (action == PasteClip) {
        // Anything carrying a file can be offered; the drop rules refuse what is not audio.
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        return lastClickedIndex() >= 0 && data && data->hasUrls();
    }
    if (!clip) {
        // An empty button offers nothing but choosing a file.
        return action == SelectFile;
    }
    if (action == LoopMenuItem) {
        _menuActions[LoopMenuItem]->setChecked(clip->isLooping());
    }
    return true;
}

void PresetController::updateOutputsSubmenu() {
    QMenu* submenu = outputsSubmenu();
    submenu->clear();
    // Each output's name in its colour; the item's data is the output index.
    OutputSettingsCell::loadMenuWithOutputs(submenu, this,
                                            [this](int output) { outputSubmenuSelected(output); });
}

int PresetController::lastClickedIndex() const {
    return _matrix->lastClickedCellIndex();
}

SoundClip* PresetController::lastClickedClip() const {
    return lastClickedIndex() >= 0 ? clipAt(lastClickedIndex()) : nullptr;
}

void PresetController::selectFile() {
    const int index = lastClickedIndex();
    if (index < 0 || !_fileChooser) {
        return;
    }
    const QString path = _fileChooser();
    if (!path.isEmpty()) {
        // A chosen file starts from the document's default settings.
        setFile(path, index, nullptr);
    }
}

void PresetController::clearButton() {
    const int index = lastClickedIndex();
    if (index < 0) {
        return;
    }
    Alert alert;
    alert.style = Alert::Style::Informational;
    alert.title = tr("Warning!");
    alert.message = tr("Are you sure you want to clear this button?");
    alert.buttons = {tr("No"), tr("Yes")};
    alert.parent = _window.get();
    if (AlertPresenter::current().runAlert(alert) == 1) {
        setFile(QString(), index, nullptr);
    }
}

void PresetController::configureButton() {
    if (lastClickedIndex() >= 0) {
        configureButtonAtIndex(lastClickedIndex());
    }
}

void PresetController::configureButtonAtIndex(int index) {
    SoundClip* clip = clipAt(index);
    ClipSettingsEditing* editor = StudioServices::clipSettingsEditor();
    if (!clip || !editor) {
        return;
    }
    QVariantMap oldSettings;
    if (!editor->editClipSettings(clip->url(), clip->settings(), &oldSettings)) {
        return;
    }
    if (clip->isPlaying()) {
        clip->normalVolumeHasChanged();
    }
    if (OutputsMonitor* outputs = StudioServices::outputsMonitor()) {
        outputs->outputHasStopped(clipSettingsInt(oldSettings, settingsKey_OutputIndex));
    }
    clip->settingsHaveChanged();
    if (isSounding(clip) && clip->outputsController()) {
        // It shows again, on its possibly new output.
        clip->outputsController()->clipHasStarted(clip);
    }
    redrawCell(index);
}

void PresetController::assignMIDINote() {
    if (lastClickedIndex() >= 0) {
        _document->assignMIDINoteToButton(lastClickedIndex());
    }
}

void PresetController::revealInFileManager() {
    const QString path = pathForCell(lastClickedIndex());
    if (FileWorkspace* workspace = StudioServices::fileWorkspace(); workspace && !path.isEmpty()) {
        workspace->revealInFileManager(path);
    }
}

void PresetController::openWithEditor() {
    if (lastClickedIndex() >= 0) {
        openWithEditorItemAtIndex(lastClickedIndex());
    }
}

void PresetController::openWithEditorItemAtIndex(int index) {
    SoundClip* clip = clipAt(index);
    if (!clip) {
        return;
    }
    const QString path = pathForCell(index);
    // The editor may rewrite the file; the clip lets go of it first.
    clip->closeMovie();
    qCInfo(lcPreset) << "opening" << path << "with the editor";
    if (FileWorkspace* workspace = StudioServices::fileWorkspace()) {
        const UserDefaults* store = UserDefaults::standard();
        workspace->openWithEditor(path, store ? store->stringForKey(kDefaultEditorKey) : QString());
    }
}

void PresetController::loopMenuItemChanged() {
    if (lastClickedIndex() >= 0) {
        toggleLoopForItemAtIndex(lastClickedIndex());
    }
}

void PresetController::toggleLoopForItemAtIndex(int index) {
    if (SoundClip* clip = clipAt(index)) {
        clip->setIsLooping(!clip->isLooping());
        redrawCell(index);
    }
}

void PresetController::outputSubmenuSelected(int outputIndex) {
    const int index = lastClickedIndex();
    SoundClip* clip = lastClickedClip();
    if (!clip) {
        return;
    }
    ClipOutputsObserver* outputs = clip->outputsController();
    if (outputs) {
        outputs->clipHasStopped(clip);
    }
    clip->setOutputIndex(outputIndex);
    clip->settingsHaveChanged();
    if (outputs && isSounding(clip)) {
        outputs->clipHasStarted(clip);
    }
    redrawCell(index);
}

void PresetController::stop() {
    if (lastClickedIndex() >= 0) {
        stopPlayback(lastClickedIndex());
    }
}

void PresetController::copyLastClickedClip() {
    if (lastClickedIndex() >= 0) {
        copyClipToClipboard(lastClickedIndex());
    }
}

void PresetController::pasteOnLastClickedButton() {
    if (lastClickedIndex() >= 0) {
        pasteClipFromClipboard(lastClickedIndex());
    }
}
