#pragma once

// Clock time "HH:MM:SS" of a number of seconds. Display rounds with a 0.4 s bias, so a
// time shows one second higher only once its fraction passes 0.6 (59.6 s shows 00:00:59,
// 59.7 s shows 00:01:00); an hour above 99, or a negative part, shows as 00.
// Typed text reads as "%2d:%2d:%2d" with every field in 0..23 (minutes and seconds above
// 23 are refused, a limit kept from the fields this formatter has always served).

#include "editing/CFormatter.h"

class CTimeFormatter : public CFormatter {
public:
    // "" for a non-number.
    QString stringForObjectValue(const QVariant& value) const override;
    // A float of seconds; refuses with "Couldn't convert to time".
    bool getObjectValue(QVariant* value, const QString& text, QString* error) const override;

    // The biased "HH:MM:SS" split of `seconds` (shared with the countdown).
    static QString timeOfDayString(float seconds);
};
