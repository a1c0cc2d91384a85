#include "clip/ClipSettings.h"

#include "clip/ValueConversion.h"

QVariantMap defaultClipSettings() {
    return {
        {settingsKey_UseDefaultSettings, true},
        {settingsKey_FadeOutMode, 0},
        {settingsKey_InPoint, 0.0},
        {settingsKey_OutPoint, 0.0},
        {settingsKey_FadeInDuration, 0.0},
        {settingsKey_FadeOutDuration, 2.0},
        {settingsKey_NormalVolume, 1.0},
        {settingsKey_DuckingVolume, 0.6},
        {settingsKey_AutoChainLevel, 0.4},
        {settingsKey_AutoChainDuration, 2.0},
        {settingsKey_MIDINote, 0},
        {settingsKey_MIDIChannel, 0},
        {settingsKey_OutputIndex, 0},
    };
}

bool clipSettingsBool(const QVariantMap& record, const QString& key) {
    return boolFromValue(record.value(key), false);
}

double clipSettingsDouble(const QVariantMap& record, const QString& key) {
    return doubleFromValue(record.value(key), 0.0);
}

int clipSettingsInt(const QVariantMap& record, const QString& key) {
    return intFromValue(record.value(key), 0);
}

QString clipSettingsString(const QVariantMap& record, const QString& key) {
    return stringFromValue(record.value(key), QString());
}

bool clipSettingsMatchMIDINote(const QVariantMap& record, const QString& sourceName, int channel,
                               int note) {
    if (!record.contains(settingsKey_MIDINote) || !record.contains(settingsKey_MIDIChannel) ||
        !record.contains(settingsKey_MIDISourceName)) {
        return false;
    }
    return clipSettingsString(record, settingsKey_MIDISourceName) == sourceName &&
           clipSettingsInt(record, settingsKey_MIDIChannel) == channel &&
           clipSettingsInt(record, settingsKey_MIDINote) == note;
}
