#pragma once

// A document made of 24 numbered clip slots (index 0..23, an empty slot holds none): the
// cart wall's buttons and the playlist's rows. It owns the clips, its own default clip
// settings and the settings every such document has (ducking volume, document volume,
// "Fade Other Documents", "Use ScrollWheel"); it reads and writes the file skeleton both
// kinds share, stops its clips when it closes, and is a client of the default MIDI
// controller from construction to close: it learns a slot's trigger from the next note
// (the learning panel shows meanwhile), or has the window's controller start every slot
// whose trigger matches a note.
//
// The file is an XML property list whose root holds "Document Settings", "Default Clip
// Settings", and for each slot whose clip has a file "Path %i" and "Settings %i" (i in
// decimal); empty slots leave no key, so slot numbers survive gaps. Reading accepts any
// well-formed property list with a dictionary at its root and treats missing or mistyped
// entries as absent; a slot without "Settings %i" starts from the default clip settings.
// Anything else is refused and changes nothing. A subclass adds its own keys, how a
// clip is found again, and what its window shows.
//
// Thread contract: main thread only (document I/O, and MIDI, which arrives on the MIDI
// controller's main-thread tick).

#include "clip/MIDIEventReceiver.h"
#include "document/Document.h"

#include <QVariantMap>
#include <array>
#include <memory>

class AssignMIDINotePanel;
class ClipSlotsController;
class QLoggingCategory;
class SoundClip;

class ClipSlotsDocument : public Document, public MIDIEventReceiver {
    Q_OBJECT
public:
    static constexpr int kClipsCount = 24;

    // Stops every clip and leaves the MIDI controller (close(), if it has not run yet).
    ~ClipSlotsDocument() override;

    // ---- Window ----
    // The controller's window; null without a controller.
    QWidget* window() const override;

    // ---- Clips ----
    int clipsCount() const { return kClipsCount; }
    // The clip of slot `index`; null for an empty slot or an index outside 0..23.
    SoundClip* clipAtIndex(int index) const;
    // Puts `clip` (may be null) into slot `index`, dropping the one there, and marks the
    // document edited. An index outside 0..23 is ignored.
    void setClip(std::unique_ptr<SoundClip> clip, int index);

    // ---- Default clip settings ----
    // A copy of the document's defaults; changing it changes nothing here.
    QVariantMap defaultClipSettings() const { return _defaultClipSettings; }
    // Replaces them as given; not an edit.
    void setDefaultClipSettings(const QVariantMap& settings) { _defaultClipSettings = settings; }

    // ---- Document settings (each setter stores as given and marks the document edited) --
    double duckingVolume() const { return _duckingVolume; }
    virtual void setDuckingVolume(double volume);
    double documentVolume() const { return _documentVolume; }
    virtual void setDocumentVolume(double volume);
    bool fadeOtherDocuments() const { return _fadeOtherDocuments; }
    void setFadeOtherDocuments(bool fade);
    bool useScrollWheelForVolume() const { return _useScrollWheelForVolume; }
    void setUseScrollWheelForVolume(bool use);

    // Writes the "Document Settings" entries into *dict: the two volumes as reals, the
    // two options as the integers 1 or 0.
    virtual void saveSettingsToDict(QVariantMap* dict) const;
    // Reads them back; null reads as empty. How options read and what absent entries
    // mean is the subclass's.
    virtual void loadSettingsFromDict(const QVariantMap* dict) = 0;

    // ---- File ----
    QByteArray dataRepresentation(QString* error) const override;
    bool loadDataRepresentation(const QByteArray& data, QString* error) override;

    // ---- Rules ----
    // Any clip playing or paused.
    bool hasPlayingClips() const override;
    // Stops every clip, leaves the MIDI controller and takes the learning panel down.
    // Runs once.
    void close() override;

    // ---- MIDI ----
    // Learns the note into the waiting slot's clip settings (when its source has a name),
    // else starts every slot whose trigger matches, in index order.
    void receiveMIDIEvent(const MIDIEvent& event) override;
    // Shows the learning panel and waits for the next note for slot `index`; an index
    // outside 0..23 is ignored.
    void assignMIDINoteToButton(int index);
    // The learning panel's buttons: give up, or forget the waiting slot's trigger.
    void cancelAssignMIDINote();
    void clearMIDINote();
    // The slot waiting for a note; -1 when none.
    int assigningButtonIndex() const { return _assigningButtonIndex; }
    // The learning panel (null until first shown).
    AssignMIDINotePanel* assignMIDINotePanel() const { return _assignMIDINotePanel.get(); }

protected:
    // Empty slots, `defaultClipSettings`, ducking 0.4, volume 1.0, both options off;
    // registered with the default MIDI controller.
    ClipSlotsDocument(const QVariantMap& defaultClipSettings, QObject* parent);

    // The controller of the window; null while there is none.
    virtual ClipSlotsController* slotsController() const = 0;

    void markEdited();
    bool isClosed() const { return _closed; }
    // Sets one entry of the default clip settings.
    void setDefaultClipSetting(const QString& key, const QVariant& value);

    // ---- Reading the document settings ----
    // How a document option stored as a number reads.
    using OptionRule = bool (*)(const QVariant& number);
    // Applies the two volumes and two options of `dict` that are numbers through their
    // setters, options read by `optionRule`; other entries leave the current values.
    void loadVolumesAndOptionsFromDict(const QVariantMap& dict, OptionRule optionRule);

    // ---- File hooks ----
    // What the refusal of a foreign file calls this kind ("playlist").
    virtual QString fileKindName() const = 0;
    // Writes the entries of the clip in slot `index`, whose file is at `path`, into *root:
    // "Path %i" and "Settings %i".
    virtual void saveClipToDict(QVariantMap* root, int index, const SoundClip& clip,
                                const QString& path) const;
    // The clip of slot `index` in the file's `root`, or null to leave the slot empty.
    virtual std::unique_ptr<SoundClip> loadClip(const QVariantMap& root, int index) const = 0;
    // The clip of slot `index` as `root` describes it, with its settings and the document's
    // folder as its base path but no file yet; null when the slot has no "Path %i". Sets
    // *path to that entry.
    std::unique_ptr<SoundClip> makeClipForSlot(const QVariantMap& root, int index,
                                               QString* path) const;
    // The file holds no "Default Clip Settings". Keeps the current ones by default.
    virtual void defaultClipSettingsMissingFromFile() {}
    // The file was read and every slot replaced: the window shows them.
    virtual void showLoadedClips() = 0;

    // Keys of the file's root entries for slot `index`.
    static QString pathKey(int index);
    static QString settingsKey(int index);

    // ---- MIDI hooks ----
    // The learning panel's line for slot `index`.
    virtual QString learningPrompt(int index) const = 0;
    // Gives the learning panel its owner and modality, just before it shows.
    virtual void placeAssignMIDINotePanel(AssignMIDINotePanel* panel) = 0;
    // The settings a learnt trigger goes into; null learns nothing. The clip's own by
    // default.
    virtual QVariantMap* triggerSettingsToLearn(SoundClip& clip) const;
    // Where "Clearing MIDI button %i" is logged.
    virtual const QLoggingCategory& logCategory() const = 0;
    // Deletes the learning panel now, before a window that may own it goes.
    void deleteAssignMIDINotePanel();

private:
    void learnMIDINote(const MIDIEvent& event);
    void fireMatchingSlots(const MIDIEvent& event);
    void endLearning();
    AssignMIDINotePanel* makeAssignMIDINotePanel();

    std::array<std::unique_ptr<SoundClip>, kClipsCount> _clips;
    QVariantMap _defaultClipSettings;
    bool _fadeOtherDocuments = false;
    bool _useScrollWheelForVolume = false;
    double _duckingVolume = 0.4;
    double _documentVolume = 1.0;
    int _assigningButtonIndex = -1;
    std::unique_ptr<AssignMIDINotePanel> _assignMIDINotePanel;
    bool _closed = false;
};
