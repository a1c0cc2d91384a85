// PlaylistDocument: learning and answering MIDI notes, and the learning panel.

#include "playlist/PlaylistDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"
#include "playlist/PlaylistDocumentController.h"

#include <QApplication>
#include <QWidget>

void PlaylistDocument::receiveMIDIEvent(const MIDIEvent& event) {
    if (_assigningButtonIndex >= 0) {
        learnMIDINote(event);
    } else {
        fireMatchingSlots(event);
    }
}

void PlaylistDocument::learnMIDINote(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    SoundClip* clip = clipAtIndex(_assigningButtonIndex);
    if (sourceName && clip && clip->settings()) {
        QVariantMap& settings = *clip->settings();
        settings.insert(settingsKey_MIDINote, event.note());
        settings.insert(settingsKey_MIDIChannel, event.channel());
        settings.insert(settingsKey_MIDISourceName, *sourceName);
        // The trigger is part of the playlist's file.
        markEdited();
    }
    // The first note ends learning, whether it could be learnt or not; it plays nothing.
    endLearning();
}

void PlaylistDocument::fireMatchingSlots(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    if (!sourceName || !_controller) {
        return;
    }
    for (int i = 0; i < kClipsCount; ++i) {
        const SoundClip* clip = clipAtIndex(i);
        if (clip && clip->settings() &&
            clipSettingsMatchMIDINote(*clip->settings(), *sourceName, event.channel(),
                                      event.note())) {
            _controller->startPlayback(i);
        }
    }
}

void PlaylistDocument::assignMIDINoteToButton(int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _assigningButtonIndex = index;
    AssignMIDINotePanel* panel = makeAssignMIDINotePanel();
    panel->setText(
        QStringLiteral("Play a note on your MIDI device to assign it to row %1.").arg(index + 1));
    // A sheet over the playlist window: that window waits, the rest of the program (and
    // the MIDI tick that ends learning) runs on.
    QWidget* owner = window() ? window() : QApplication::activeWindow();
    if (owner && panel->parentWidget() != owner) {
        panel->setParent(owner, Qt::Sheet);
    }
    panel->setWindowModality(owner ? Qt::WindowModal : Qt::ApplicationModal);
    panel->show();
}

void PlaylistDocument::cancelAssignMIDINote() {
    endLearning();
}

void PlaylistDocument::clearMIDINote() {
    if (SoundClip* clip = clipAtIndex(_assigningButtonIndex); clip && clip->settings()) {
        QVariantMap& settings = *clip->settings();
        // No source has an empty name, so a cleared slot never matches.
        settings.insert(settingsKey_MIDINote, 0);
        settings.insert(settingsKey_MIDIChannel, 0);
        settings.insert(settingsKey_MIDISourceName, QString());
        markEdited();
    }
    qCInfo(lcPlaylist).noquote()
        << QStringLiteral("Clearing MIDI button %1").arg(_assigningButtonIndex);
    endLearning();
}

void PlaylistDocument::endLearning() {
    _assigningButtonIndex = -1;
    if (_assignMIDINotePanel) {
        _assignMIDINotePanel->hide();
    }
}

AssignMIDINotePanel* PlaylistDocument::makeAssignMIDINotePanel() {
    if (!_assignMIDINotePanel) {
        _assignMIDINotePanel = std::make_unique<AssignMIDINotePanel>();
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::clearRequested, this,
                &PlaylistDocument::clearMIDINote);
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::cancelled, this, [this] {
            if (_assigningButtonIndex >= 0) {
                cancelAssignMIDINote();
            }
        });
    }
    return _assignMIDINotePanel.get();
}
