// PresetDocument: learning and answering MIDI notes, and the learning panel.

#include "preset/PresetDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"
#include "preset/PresetDocumentController.h"

void PresetDocument::receiveMIDIEvent(const MIDIEvent& event) {
    if (_assigningButtonIndex >= 0) {
        learnMIDINote(event);
    } else {
        fireMatchingButtons(event);
    }
}

void PresetDocument::learnMIDINote(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    SoundClip* clip = clipAtIndex(_assigningButtonIndex);
    if (sourceName && clip) {
        if (!clip->settings()) {
            clip->setSettings(std::make_shared<QVariantMap>());
        }
        QVariantMap& settings = *clip->settings();
        settings.insert(settingsKey_MIDINote, event.note());
        settings.insert(settingsKey_MIDIChannel, event.channel());
        settings.insert(settingsKey_MIDISourceName, *sourceName);
        // The trigger is saved with the document.
        markEdited();
    }
    // Learning ends with the first note, learnt or not; that note plays nothing.
    endLearning();
}

void PresetDocument::fireMatchingButtons(const MIDIEvent& event) {
    const std::optional<QString> sourceName =
        MIDIController::sourceNameForIndex(event.sourceIndex());
    if (!sourceName || !_controller) {
        return;
    }
    // Every matching button fires, in index order: one note may start several.
    for (int i = 0; i < kClipsCount; ++i) {
        const SoundClip* clip = clipAtIndex(i);
        if (clip && clip->settings() &&
            clipSettingsMatchMIDINote(*clip->settings(), *sourceName, event.channel(),
                                      event.note())) {
            _controller->startPlayback(i);
        }
    }
}

void PresetDocument::assignMIDINoteToButton(int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _assigningButtonIndex = index;
    AssignMIDINotePanel* panel = makeAssignMIDINotePanel();
    panel->setText(QStringLiteral("Play a note on your MIDI device to assign it to button %1.")
                       .arg(QChar(u'A' + index)));
    // Application-modal without a nested event loop: the MIDI tick that ends learning
    // keeps running, and so does everything else.
    panel->setWindowModality(Qt::ApplicationModal);
    panel->show();
}

void PresetDocument::cancelAssignMIDINote() {
    endLearning();
}

void PresetDocument::clearMIDINote() {
    if (SoundClip* clip = clipAtIndex(_assigningButtonIndex); clip && clip->settings()) {
        QVariantMap& settings = *clip->settings();
        // No source has an empty name, so a cleared button never matches.
        settings.insert(settingsKey_MIDINote, 0);
        settings.insert(settingsKey_MIDIChannel, 0);
        settings.insert(settingsKey_MIDISourceName, QString());
        markEdited();
    }
    qCInfo(lcPreset).noquote()
        << QStringLiteral("Clearing MIDI button %1").arg(_assigningButtonIndex);
    endLearning();
}

void PresetDocument::endLearning() {
    _assigningButtonIndex = -1;
    if (_assignMIDINotePanel) {
        _assignMIDINotePanel->hide();
    }
}

AssignMIDINotePanel* PresetDocument::makeAssignMIDINotePanel() {
    if (!_assignMIDINotePanel) {
        _assignMIDINotePanel = std::make_unique<AssignMIDINotePanel>();
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::clearRequested, this,
                &PresetDocument::clearMIDINote);
        connect(_assignMIDINotePanel.get(), &AssignMIDINotePanel::cancelled, this, [this] {
            if (_assigningButtonIndex >= 0) {
                cancelAssignMIDINote();
            }
        });
    }
    return _assignMIDINotePanel.get();
}
