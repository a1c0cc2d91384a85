// PresetDocument: learning and answering MIDI notes, and the learning panel.

#include "preset/PresetDocument.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDIEvent.h"
#include "clip/SoundClip.h"
#include "foundation/Logging.h"
#include "preset/PresetDocumentController.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace {
bool hasTrigger(const QVariantMap& settings) {
    return settings.contains(settingsKey_MIDINote) && settings.contains(settingsKey_MIDIChannel) &&
           settings.contains(settingsKey_MIDISourceName);
}
} // namespace

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
        if (!clip || !clip->settings() || !hasTrigger(*clip->settings())) {
            continue;
        }
        const QVariantMap& settings = *clip->settings();
        if (clipSettingsString(settings, settingsKey_MIDISourceName) == *sourceName &&
            clipSettingsInt(settings, settingsKey_MIDIChannel) == event.channel() &&
            clipSettingsInt(settings, settingsKey_MIDINote) == event.note()) {
            _controller->startPlayback(i);
        }
    }
}

void PresetDocument::assignMIDINoteToButton(int index) {
    if (index < 0 || index >= kClipsCount) {
        return;
    }
    _assigningButtonIndex = index;
    QDialog* panel = makeAssignMIDINotePanel();
    if (auto* label = panel->findChild<QLabel*>(QStringLiteral("assignMIDINoteText"))) {
        label->setText(QStringLiteral("Play a note on your MIDI device to assign it to button %1.")
                           .arg(QChar(u'A' + index)));
    }
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

QDialog* PresetDocument::makeAssignMIDINotePanel() {
    if (_assignMIDINotePanel) {
        return _assignMIDINotePanel.get();
    }
    auto panel = std::make_unique<QDialog>();
    panel->setWindowTitle(QStringLiteral("Assign MIDI Note"));
    auto* layout = new QVBoxLayout(panel.get());
    auto* text = new QLabel(panel.get());
    text->setObjectName(QStringLiteral("assignMIDINoteText"));
    text->setWordWrap(true);
    layout->addWidget(text);
    auto* buttons = new QDialogButtonBox(panel.get());
    QPushButton* clear = buttons->addButton(QStringLiteral("Clear"), QDialogButtonBox::ResetRole);
    QPushButton* cancel =
        buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setDefault(true);
    layout->addWidget(buttons);
    QObject::connect(clear, &QPushButton::clicked, this, [this] { clearMIDINote(); });
    QObject::connect(cancel, &QPushButton::clicked, this, [this] { cancelAssignMIDINote(); });
    // Escape or the window's close box cancel as well.
    QObject::connect(panel.get(), &QDialog::rejected, this, [this] {
        if (_assigningButtonIndex >= 0) {
            cancelAssignMIDINote();
        }
    });
    _assignMIDINotePanel = std::move(panel);
    return _assignMIDINotePanel.get();
}
