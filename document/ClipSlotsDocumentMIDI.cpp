// ClipSlotsDocument: learning and answering MIDI notes, and the learning panel.

#include "document/ClipSlotsDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "document/ClipSlotsController.h"

#include <QLoggingCategory>

void ClipSlotsDocument::receiveMIDIEvent(const MIDIEvent& event) {
    if (_assigningButtonIndex >= 0) {
        learnMIDINote(event);
    } else {
        fireMatchingSlots(event);
    }
}

void ClipSlotsDocument::learnMIDINote(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    SoundClip* clip = clipAtIndex(_assigningButtonIndex);
    QVariantMap* settings = sourceName && clip ? triggerSettingsToLearn(*clip) : nullptr;
    if (settings) {
        settings->insert(settingsKey_MIDINote, event.note());
        settings->insert(settingsKey_MIDIChannel, event.channel());
        settings->insert(settingsKey_MIDISourceName, *sourceName);
        // The trigger is saved with the document.
        markEdited();
    }
    // Learning ends with the first note, learnt or not; that note plays nothing.
    endLearning();
}

QVariantMap* ClipSlotsDocument::triggerSettingsToLearn(SoundClip& clip) const {
    return clip.settings().get();
}

void ClipSlotsDocument::fireMatchingSlots(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    ClipSlotsController* controller = slotsController();
    if (!sourceName || !controller) {
        return;
    }
    // Every matching slot starts, in index order: one note may start several.
    for (int i = 0; i < kClipsCount; ++i) {
        const SoundClip* clip = clipAtIndex(i);
        if (clip && clip->settings() &&
            clipSettingsMatchMIDINote(*clip->settings(), *sourceName, event.channel(),
                                      event.note())) {
            controller->startPlayback(i);
        }
    }
}

void ClipSlotsDocument::assignMIDINoteToButton(int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _assigningButtonIndex = index;
    AssignMIDINotePanel* panel = makeAssignMIDINotePanel();
    panel->setText(learningPrompt(index));
    // Shown without a nested event loop: the MIDI tick that ends learning keeps running.
    placeAssignMIDINotePanel(panel);
    panel->show();
}

void ClipSlotsDocument::cancelAssignMIDINote() {
    endLearning();
}

void ClipSlotsDocument::clearMIDINote() {
    if (SoundClip* clip = clipAtIndex(_assigningButtonIndex); clip && clip->settings()) {
        QVariantMap& settings = *clip->settings();
        // No source has an empty name, so a cleared slot never matches.
        settings.insert(settingsKey_MIDINote, 0);
        settings.insert(settingsKey_MIDIChannel, 0);
        settings.insert(settingsKey_MIDISourceName, QString());
        markEdited();
    }
    qCInfo(logCategory()).noquote()
        << QStringLiteral("Clearing MIDI button %1").arg(_assigningButtonIndex);
    endLearning();
}

void ClipSlotsDocument::endLearning() {
    _assigningButtonIndex = -1;
    if (_assignMIDINotePanel) {
        _assignMIDINotePanel->hide();
    }
}

AssignMIDINotePanel* ClipSlotsDocument::makeAssignMIDINotePanel() {
    if (!_assignMIDINotePanel) {
        _assignMIDINotePanel = std::make_unique<AssignMIDINotePanel>();
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::clearRequested, this,
                &ClipSlotsDocument::clearMIDINote);
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::cancelled, this, [this] {
            if (_assigningButtonIndex >= 0) {
                cancelAssignMIDINote();
            }
        });
    }
    return _assignMIDINotePanel.get();
}

void ClipSlotsDocument::deleteAssignMIDINotePanel() {
    _assignMIDINotePanel.reset();
}
