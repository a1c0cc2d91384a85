#pragma once

// The cart wall document: 24 clip buttons (index 0..23, an empty button holds none), the
// document-wide settings, the document's own copy of the default clip settings, and the
// window's frame. It reads and writes the preset file, answers MIDI notes (learning a
// button's trigger, or firing every button whose trigger matches), and keeps its window
// where the user default "Lock Window Positions" wants it. Buttons, menus and drawing
// belong to the window's controller (PresetDocumentController).
//
// The file is an XML property list whose root holds "Document Settings" (the settings
// below and the window frame), "Default Clip Settings", and for each button whose clip
// has a file "Alias Data %i", "Path %i" and "Settings %i" (i = 0..23 in decimal). Reading
// accepts any well-formed property list with a dictionary at its root and treats missing
// or mistyped entries as absent: a clip is found by its path, else by its alias; a clip
// whose file is missing stays on its button, offline; other clips that do not load are
// dropped. Anything that is not such a property list is refused and changes nothing.
//
// Thread contract: main thread only (document I/O, alerts, and MIDI, which arrives on
// the MIDI controller's main-thread tick).

#include "document/ClipSlotsDocument.h"

#include <QRectF>
#include <QVariantMap>
#include <functional>
#include <memory>

class PresetDocumentController;
class SoundClip;

class PresetDocument : public ClipSlotsDocument {
    Q_OBJECT
public:
    static const QString kTypeName;  // "PresetDocument"
    static const QString kMimeType;  // "application/x-zelvora-preset"
    static const QString kExtension; // "zpreset"

    // Makes the controller of a document's window (the window-side PresetController);
    // installed by the application. Without one a document has no window.
    using ControllerFactory =
        std::function<std::unique_ptr<PresetDocumentController>(PresetDocument*)>;
    static void setControllerFactory(ControllerFactory factory);

    // Empty buttons, the user default "Default Clip Settings" as the document's defaults
    // (ducking 0.4, volume 1.0, output 0, no fading of other documents, not in cue mode),
    // registered with the default MIDI controller.
    explicit PresetDocument(QObject* parent = nullptr);
    // Stops every clip, leaves the MIDI controller and tells the controller to stop
    // blinking (close(), if it has not run yet).
    ~PresetDocument() override;

    QString typeName() const override { return kTypeName; }

    // ---- Window and controller ----
    PresetDocumentController* controller() const { return _controller.get(); }
    // Takes `controller` as this document's (normally made by the installed factory)
    // and sets the window up from it.
    void setController(std::unique_ptr<PresetDocumentController> controller);
    // Makes the controller through the installed factory, then sets the window up.
    void makeWindowControllers() override;
    // The window is ready: clears the change count, has the controller show the clips,
    // and puts the window at the stored frame when it has a size (else it cascades).
    void windowControllerDidLoadNib();
    // The frame read from the file (window geometry: x, y, width, height).
    QRectF frame() const { return _windowFrame; }
    void setFrame(const QRectF& frame) { _windowFrame = frame; }

    // ---- Default clip settings ----
    // The defaults again from the user default "Default Clip Settings"; the values the
    // setters below wrote into them are lost, deliberately.
    void loadDefaultClipSettings();

    // ---- Document settings (each setter marks the document edited) ----
    bool cueMode() const { return _cueMode; }
    void setCueMode(bool cueMode);
    // Also the "Ducking Volume" of the defaults.
    void setDuckingVolume(double volume) override;
    // Also the "Volume" of the defaults.
    void setDocumentVolume(double volume) override;
    // "Use ScrollWheel" is stored and saved only.
    int outputIndex() const { return _outputIndex; }
    // Also the "Output Index" of the defaults.
    void setOutputIndex(int index);

    // Writes the "Document Settings" entries into *dict (the window keys from the
    // window's geometry when there is a window, else from the stored frame).
    void saveSettingsToDict(QVariantMap* dict) const override;
    // Reads them; absent or mistyped entries leave the current values (the frame then
    // defaults to 0, 0, 100 × 100); an option is on when its number is not 0. Null reads
    // as empty.
    void loadSettingsFromDict(const QVariantMap* dict) override;

    // ---- Rules ----
    // A preset document is never stopped by another document.
    void stopDocument(Document* sender) override { (void)sender; }
    // Counts the clips whose file no longer loads, redraws, and says what it found.
    void checkForMissingClips() override;
    bool checksForMissingClips() const override { return true; }
    // With clips playing or paused asks "Warning!" first; true when the window may close.
    bool windowShouldClose() override;
    // With "Lock Window Positions" on, puts the window back at the top left of the screen.
    void windowDidMove() override;
    // Stops every clip, leaves the MIDI controller, stops the controller's blinking.
    void close() override;

protected:
    ClipSlotsController* slotsController() const override;
    QString fileKindName() const override;
    // Also "Alias Data %i".
    void saveClipToDict(QVariantMap* root, int index, const SoundClip& clip,
                        const QString& path) const override;
    // Found by its path, else by its alias; a clip whose file is missing stays, offline.
    std::unique_ptr<SoundClip> loadClip(const QVariantMap& root, int index) const override;
    // Takes the user default "Default Clip Settings".
    void defaultClipSettingsMissingFromFile() override;
    void showLoadedClips() override;
    // "… to assign it to button E."
    QString learningPrompt(int index) const override;
    // Application-modal: every window waits for the note.
    void placeAssignMIDINotePanel(AssignMIDINotePanel* panel) override;
    // A clip without a settings record gets one to learn into.
    QVariantMap* triggerSettingsToLearn(SoundClip& clip) const override;
    const QLoggingCategory& logCategory() const override;

private:
    int _outputIndex = 0;
    QRectF _windowFrame;
    bool _cueMode = false;
    std::unique_ptr<PresetDocumentController> _controller;
};
