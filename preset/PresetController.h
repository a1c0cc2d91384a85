#pragma once

// The controller of one preset window: it builds the window (the grid, its margin rulers
// and the "Cue Mode" check box) and turns button presses from the mouse, the letter keys
// "a".."x", MIDI notes, GPI inputs and keypads into clip playback by the firing rules:
//
// - Firing an empty button does nothing. With the document's "Fade Other Documents" on,
//   or Shift held (in the event or latched by the application), the other documents are
//   asked to stop (only playlists do).
// - In cue mode the paused clips of this document on the fired clip's output are stopped,
//   the fired clip is loaded paused at its start (a fader releases it), and the output's
//   GPI tally line lights. Otherwise the clip starts; a sounding clip starts again.
// - Paused buttons blink (yellow and grey LED) every 0.5 s; playing ones show steady red.
//
// It also carries out the buttons' contextual menu (choose file, clear, configure, learn
// MIDI note, show in the file manager, open with the editor, loop, output, stop, copy,
// paste) and moves clips through drags and the clipboard in two formats at once
// (ClipPasteboard): the file's URL (text/uri-list) and the private "ZelvoraStudio Clip"
// entry, an XML property list {"Cell Index", "Settings"}. A file from another program keeps the
// target button's settings except its in and out points.
//
// The application's services (outputs panel, pre-listen player, GPI manager, key states,
// settings editor, file manager) are reached through StudioServices; a service that is
// not installed makes its operations do nothing. Questions go through AlertPresenter.
//
// Thread contract: main thread only.

#include "clip/ClipObserver.h"
#include "preset/PresetDocumentController.h"
#include "preset/PresetMatrixDelegate.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <array>
#include <functional>
#include <memory>

class PresetDocument;
class PresetMatrix;
class QAction;
class QCheckBox;
class QMenu;
class QTimer;
class SoundClip;

class PresetController : public QObject,
                         public PresetDocumentController,
                         public PresetMatrixDelegate,
                         public ClipObserver {
    Q_OBJECT
public:
    static constexpr int kBlinkIntervalMs = 500;

    // The actions of the buttons' contextual menu.
    enum MenuAction {
        SelectFile,
        ClearButton,
        ConfigureButton,
        AssignMIDINote,
        RevealInFileManager,
        OpenWithEditor,
        LoopMenuItem,
        OutputSubmenu,
        Stop,
        CopyClip,
        PasteClip,
        MenuActionCount
    };

    // Shows an open panel for one file; answers the chosen path, "" when cancelled.
    using FileChooser = std::function<QString()>;

    // Builds the window for `document` (not owned; it owns this controller) and starts the
    // blink timer.
    explicit PresetController(PresetDocument* document);
    ~PresetController() override;

    PresetMatrix* matrix() const { return _matrix; }
    QCheckBox* cueModeCheckBox() const { return _cueModeCheckBox; }
    QMenu* contextualButtonsMenu() const { return _contextualButtonsMenu.get(); }
    QAction* menuAction(MenuAction action) const;
    // The submenu of the "Output" item.
    QMenu* outputsSubmenu() const;
    void setFileChooser(FileChooser chooser) { _fileChooser = std::move(chooser); }

    // ---- What the document asks ----
    void setCellClips() override;
    void updatePreset() override;
    void startPlayback(int index) override;
    void stopBlinking() override;
    QWidget* window() const override;

    // ---- Playback ----
    // Fires button `index` with `modifiers` as the event's keyboard state.
    void startPlayback(int index, Qt::KeyboardModifiers modifiers) override;
    void stopPlayback(int index);
    void preListenClipAtIndex(int index, bool atEnd) override;
    bool performKey(const QKeyEvent& event) override;
    // GPI input `input` went to `state`: fires button `input`, or in cue mode works the
    // fader of output `input`.
    void gpiInputHasChanged(int input, int state);

    // ---- Clip news ----
    void updateClipCell(SoundClip* clip) override;
    void clipHasStopped(SoundClip* clip) override;

    // ---- Buttons ----
    // Puts the file `path` on button `index` with `settings` (null: the document's
    // defaults); a null path empties the button. Answers whether a clip is now there.
    bool setFile(const QString& path, int index, std::shared_ptr<QVariantMap> settings);
    // The path of the clip's file; null for an empty button.
    QString pathForCell(int index) const;
    void configureButtonAtIndex(int index) override;
    void openWithEditorItemAtIndex(int index);
    void toggleLoopForItemAtIndex(int index);
    void cueModeCheckBoxHasChanged();
    void toggleCueMode();
    void updateOutputsSubmenu();
    void userDefaultsHaveChanged();
    // Whether `action` is offered for the last clicked button (the loop item's check mark
    // follows the clip).
    bool validateMenuItem(MenuAction action);

    // ---- Menu actions on the last clicked button ----
    void selectFile();
    void clearButton();
    void configureButton();
    void assignMIDINote();
    void revealInFileManager();
    void openWithEditor();
    void loopMenuItemChanged();
    void outputSubmenuSelected(int outputIndex);
    void stop();
    void copyLastClickedClip();
    void pasteOnLastClickedButton();

    // ---- Clipboard and drags ----
    void copyClip(int index, QMimeData& mimeData) override;
    bool takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal,
                                int target) override;
    // Copies button `index`'s clip to the system clipboard.
    void copyClipToClipboard(int index);
    // Places the clipboard's clip (or audio file) on button `index`.
    bool pasteClipFromClipboard(int index);

    // ---- Blinking ----
    // One tick of the blink timer.
    void blinkingTimer();
    bool blinkedState() const { return _blinkedState; }
    bool isBlinking() const;

protected:
    // Letter keys pressed anywhere in the window (the cue mode box may have the focus)
    // reach performKey() once the focused widget has passed them on.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    SoundClip* clipAt(int index) const;
    SoundClip* lastClickedClip() const;
    int lastClickedIndex() const;
    void redrawCell(int index);
    void redrawCellsOf(const SoundClip* clip);
    bool shiftIsDown(Qt::KeyboardModifiers modifiers) const;
    void stopPausedClipsOnOutput(int outputIndex);
    void lightTallyLine(int outputIndex);
    void buildWindow();
    void buildContextualMenu();
    void validateMenuItems();

    PresetDocument* _document;
    std::unique_ptr<QWidget> _window;
    PresetMatrix* _matrix = nullptr;
    QCheckBox* _cueModeCheckBox = nullptr;
    std::unique_ptr<QMenu> _contextualButtonsMenu;
    std::array<QAction*, MenuActionCount> _menuActions{};
    QTimer* _blinkingTimer = nullptr;
    bool _blinkedState = true;
    FileChooser _fileChooser;
};
