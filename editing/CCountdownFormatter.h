#pragma once

// The time left, "HH:MM:SS", coloured by how close the end is: dark grey with plenty of
// time, amber from 29 s, red for the last 9 s (and for any negative value). Nothing
// counting (zero or less after rounding) shows "00:00:00"; more than an hour shows
// "--:--:--". Typed text is a whole number of seconds.

#include "editing/CFormatter.h"

#include <QColor>

class CCountdownFormatter : public CFormatter {
public:
    // The text of a value together with the colour it is drawn in.
    struct ColoredString {
        QString text;
        QColor color;
    };

    // "00:00:00" for a non-number.
    QString stringForObjectValue(const QVariant& value) const override;
    // An int of seconds; refuses anything sscanf("%d") does not read.
    bool getObjectValue(QVariant* value, const QString& text, QString* error) const override;

    // stringForObjectValue() with colorForObjectValue().
    ColoredString attributedStringForObjectValue(const QVariant& value) const;

    // The colour for the value truncated to whole seconds (no rounding bias: 9.9 s is
    // already red while its text reads 00:00:10).
    static QColor colorForObjectValue(const QVariant& value);
};
