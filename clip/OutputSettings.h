#pragma once

// The output settings record: one dictionary per output 0..8 in user defaults under
// "Output Settings %i". Outputs 0..7 are the program outputs a clip picks by its
// "Output Index"; output 8 is the pre-listen output. Each names a device, a left and a
// right device channel (0x10000 + channel number), a display name and a colour.
//
// Colours are stored as data holding the text "#RRGGBBAA" (two upper-case hex digits per
// component, alpha last), which reads back exactly on every platform. Any thread.

#include <QByteArray>
#include <QColor>
#include <QString>
#include <QVariantMap>

// string: display name of the output.
inline const QString QorvinPrefOutputName = QStringLiteral("Output Name");
// string: name of the audio device ("Built-in Output" is the system's default device).
inline const QString QorvinPrefDeviceName = QStringLiteral("Device Name");
// int: device channel of the left side, 0x10000 + channel number.
inline const QString QorvinPrefLeftChannelOutputTag = QStringLiteral("Left Channel Output Tag");
// int: device channel of the right side.
inline const QString QorvinPrefRightChannelOutputTag = QStringLiteral("Right Channel Output Tag");
// data: the archived colour that marks the output's clips, menu items and strip.
inline const QString QorvinPrefOutputColor = QStringLiteral("Output Color");

inline const QString builtInOutputDeviceName = QStringLiteral("Built-in Output");

inline constexpr int outputSettingsCount = 9;
inline constexpr int preListenOutputIndex = 8;
inline constexpr int firstChannelOutputTag = 0x10000;

// "Output Settings %i" for `index`.
QString outputSettingsKey(int index);

// The factory record of output `index` (0..8): "Output 1".."Output 8" or "Pre-listen",
// "Built-in Output", tags 65536 and 65537, and the output's default colour archived.
// Empty for an index outside 0..8.
QVariantMap defaultOutputSettings(int index);

// The factory colour of output `index`: 0 a neutral grey (no marking), then red, orange,
// yellow, green, blue, purple, brown and, for pre-listen, white. Invalid outside 0..8.
QColor defaultOutputColor(int index);

// "#RRGGBBAA" as data; an invalid colour archives as empty data.
QByteArray archiveColor(const QColor& color);
// The colour archived in `data`, or an invalid colour (callers treat it as no colour)
// when the data is not exactly "#RRGGBBAA" with hex digits.
QColor unarchiveColor(const QByteArray& data);

// The colour stored in `record`, or an invalid colour when absent or not an archived colour.
QColor outputColor(const QVariantMap& record);
