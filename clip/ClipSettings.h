#pragma once

// The clip settings record: a string-keyed dictionary saying where a clip starts and ends
// in its file, how it fades, how loud it plays normally and ducked, whether it loops,
// which MIDI note fires it and which output it plays to. Documents save it per clip, the
// settings editor edits it and the clip reads it afresh whenever it starts, fades or ticks.
// Readers go through the typed accessors of ClipSettingsHolder (or clipSettingsBool() and
// friends below), which give fixed fallbacks for absent or unusable values.

#include <QString>
#include <QVariantMap>

// Flag (stored as bool; the settings editor writes int 0/1): the editor keeps the fade
// fields of the document's default record. The engine never reads it.
inline const QString settingsKey_UseDefaultSettings = QStringLiteral("Use Default Settings");
// int 0, 1 or 2: 0 fades on request only with at least 2 s left, 1 always fades, 2 never.
inline const QString settingsKey_FadeOutMode = QStringLiteral("FadeOut Mode");
// double, seconds from the start of the file.
inline const QString settingsKey_InPoint = QStringLiteral("In Point");
// double, seconds cut off the END of the file (0 plays to the end).
inline const QString settingsKey_OutPoint = QStringLiteral("Out Point");
// double, seconds; 0 starts at full level.
inline const QString settingsKey_FadeInDuration = QStringLiteral("FadeIn Duration");
// double, seconds.
inline const QString settingsKey_FadeOutDuration = QStringLiteral("FadeOut Duration");
// double, linear gain (1.0 = unity).
inline const QString settingsKey_NormalVolume = QStringLiteral("Volume");
// double, linear gain while ducked.
inline const QString settingsKey_DuckingVolume = QStringLiteral("Ducking Volume");
// double and double: carried through saving and loading unchanged; nothing acts on them.
inline const QString settingsKey_AutoChainLevel = QStringLiteral("AutoChain Level");
inline const QString settingsKey_AutoChainDuration = QStringLiteral("AutoChain Duration");
// bool: loop between the in and out points. Absent from the default record (reads NO).
inline const QString settingsKey_Loop = QStringLiteral("Loop");
// string, int, int: the MIDI trigger. A clip matches an event only when all three are
// present; the default record has no source name, so a clip made from it never matches.
inline const QString settingsKey_MIDISourceName = QStringLiteral("MIDI Source Name");
inline const QString settingsKey_MIDIChannel = QStringLiteral("MIDI Channel");
inline const QString settingsKey_MIDINote = QStringLiteral("MIDI Note");
// int 0..8: the output ("Output Settings %i") the clip plays to.
inline const QString settingsKey_OutputIndex = QStringLiteral("Output Index");

// The user-defaults key of the record new clips are made from.
inline const QString defaultsKey_DefaultClipSettings = QStringLiteral("Default Clip Settings");

// The factory default record: the thirteen keys above except "Loop" and "MIDI Source
// Name", with their types (bool, int or double) as stored. Any thread.
QVariantMap defaultClipSettings();

// The typed readings of one key of `record` with the fixed fallbacks (NO, 0.0, 0, "") for
// an absent key or a value that is neither a number nor text. Any thread.
bool clipSettingsBool(const QVariantMap& record, const QString& key);
double clipSettingsDouble(const QVariantMap& record, const QString& key);
int clipSettingsInt(const QVariantMap& record, const QString& key);
QString clipSettingsString(const QVariantMap& record, const QString& key);

// Whether `record` holds a MIDI trigger ("MIDI Note", "MIDI Channel" and "MIDI Source
// Name", all three) for this note on this channel from the source named `sourceName`.
// A cleared trigger (source name "") never matches, since no source has an empty name.
bool clipSettingsMatchMIDINote(const QVariantMap& record, const QString& sourceName, int channel,
                               int note);
