// PresetDocument: how a button learns its MIDI note.

#include "preset/PresetDocument.h"

#include "clip/SoundClip.h"
#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"

QString PresetDocument::learningPrompt(int index) const {
    return QStringLiteral("Play a note on your MIDI device to assign it to button %1.")
        .arg(QChar(u'A' + index));
}

void PresetDocument::placeAssignMIDINotePanel(AssignMIDINotePanel* panel) {
    panel->setWindowModality(Qt::ApplicationModal);
}

QVariantMap* PresetDocument::triggerSettingsToLearn(SoundClip& clip) const {
    if (!clip.settings()) {
        clip.setSettings(std::make_shared<QVariantMap>());
    }
    return clip.settings().get();
}

const QLoggingCategory& PresetDocument::logCategory() const {
    return lcPreset();
}
