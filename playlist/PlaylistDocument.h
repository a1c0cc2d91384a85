#pragma once

// The playlist: up to 24 clips (slot 0..23, an empty slot holds none) shown as the rows
// of a table, the playlist's own default clip settings, and four document settings:
// ducking volume, document volume, "Fade Other Documents" and "Use ScrollWheel". It reads
// and writes the playlist file, answers MIDI notes (learning a slot's trigger, or asking
// the controller to start every slot whose trigger matches), and fades its current clip
// out when another document fires with "Fade Other Documents" or Shift.
//
// The file is an XML property list whose root holds "Document Settings", "Default Clip
// Settings", and for each occupied slot "Path %i" and "Settings %i" (i = 0..23 in
// decimal); empty slots leave no key, so slot numbers survive gaps. Reading accepts any
// well-formed property list with a dictionary at its root and treats missing or mistyped
// entries as absent: missing settings keep their values, a slot without "Settings %i"
// starts from the default clip settings, and a clip whose file does not load is dropped
// (its slot stays empty). Anything else is refused and changes nothing.
//
// Thread contract: main thread only (document I/O, and MIDI, which arrives on the MIDI
// controller's main-thread tick).

#include "document/ClipSlotsDocument.h"
#include "document/DocumentController.h"

#include <QVariantMap>
#include <memory>

class PlaylistDocumentController;
class SoundClip;

class PlaylistDocument : public ClipSlotsDocument {
    Q_OBJECT
public:
    static const QString kTypeName;  // "PlaylistDocument"
    static const QString kMimeType;  // "application/x-zelvora-playlist"
    static const QString kExtension; // "zplaylist"

    // The playlist as the document controller registers it: name, MIME type, extension,
    // the label "Playlist" and a factory making empty playlists.
    static DocumentController::DocumentType documentType();

    // The clip settings a new playlist starts from (whole fade-out of 2.0 s, unity
    // volume, ducking 0.6, no trigger). Not the user default: a playlist keeps its own.
    static QVariantMap initialClipSettings();

    // Empty slots, initialClipSettings(), ducking 0.4, volume 1.0, both options off;
    // registered with the default MIDI controller.
    explicit PlaylistDocument(QObject* parent = nullptr);
    // close(), if it has not run yet.
    ~PlaylistDocument() override;

    QString typeName() const override { return kTypeName; }

    // ---- Window and controller ----
    PlaylistDocumentController* controller() const { return _controller.get(); }
    // Takes `controller` as this document's and sets the window up from it.
    void setController(std::unique_ptr<PlaylistDocumentController> controller);
    // Makes the playlist window (a PlaylistController) once.
    void makeWindowControllers() override;
    // The window is ready: marks the document clean and shows the rows.
    void windowControllerDidLoadNib();

    // ---- Document settings ----
    // Applies each entry present through its setter; an option is on when its number,
    // taken as a whole number, is above 0. Null reads as empty.
    void loadSettingsFromDict(const QVariantMap* dict) override;

    // ---- Rules ----
    // Another document fired with "Fade Other Documents" or Shift: the current clip
    // fades out.
    void stopDocument(Document* sender) override;
    // Stops the controller and every clip, leaves the MIDI controller.
    void close() override;

protected:
    ClipSlotsController* slotsController() const override;
    QString fileKindName() const override;
    // Found by its path only; a clip whose file does not load is dropped.
    std::unique_ptr<SoundClip> loadClip(const QVariantMap& root, int index) const override;
    void showLoadedClips() override;
    // "… to assign it to row 4." (rows count from 1)
    QString learningPrompt(int index) const override;
    // A sheet over the playlist window (or the active window): that window waits, the
    // rest of the program runs on.
    void placeAssignMIDINotePanel(AssignMIDINotePanel* panel) override;
    const QLoggingCategory& logCategory() const override;

private:
    std::unique_ptr<PlaylistDocumentController> _controller;
};
