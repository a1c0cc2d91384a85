#pragma once

// Seconds with millisecond precision, for the points, fades and durations of the clip
// settings editor: "1:23.456", "0:02.000", "1:02:03.500" (hours only when there are
// any), and negative values with a leading minus ("-0:10.000"), because a clip whose in
// point lies beyond its out point has a negative length and must say so.
//
// Typed text reads as "[-][[H:]M:]S[.fraction]": "90", "1:30", "1:30.25", "0:01:30" and
// "-0:10" all work; minutes and seconds after a colon must be below 60. Anything else is
// refused with "Couldn't convert to time".

#include "editing/CFormatter.h"

class CSecondsFormatter : public CFormatter {
public:
    // "" for a non-number or a value that is not finite.
    QString stringForObjectValue(const QVariant& value) const override;
    // A double of seconds.
    bool getObjectValue(QVariant* value, const QString& text, QString* error) const override;
};
