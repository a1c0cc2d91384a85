#pragma once

// Video timecode "HH:MM:SS:FF" of a number of seconds at mFramesPerSecond (29.97 unless a
// field is set up otherwise). The fraction of a second is snapped to the nearest frame.
// Display lets hours run to 99 and lets a frame equal to the rate through (a fraction
// rounded up can show frame 30 of a 30 fps code); typed text is stricter: hours to 23 and
// frames below the rate. Typed text never fails: fields that do not fit become 0.

#include "editing/CFormatter.h"

class CTimeCodeFormatter : public CFormatter {
public:
    CTimeCodeFormatter();

    // "" for a non-number; 0 shows "00:00:00:00", or "" when displayZero() is off.
    QString stringForObjectValue(const QVariant& value) const override;
    // Always succeeds, clearing *error. "01020304" and "1:2:3:4" are 1 h 2 min 3 s frame 4;
    // fewer fields are taken from the right (frames last). The result is a double
    // holding a single-precision number of seconds.
    bool getObjectValue(QVariant* value, const QString& text, QString* error) const override;

    // Stored as given, without any check.
    double framesPerSecond() const { return mFramesPerSecond; }
    void setFramesPerSecond(double framesPerSecond) { mFramesPerSecond = framesPerSecond; }
    bool displayZero() const { return mDisplayZero; }
    void setDisplayZero(bool displayZero) { mDisplayZero = displayZero; }

private:
    double mFramesPerSecond;
    bool mDisplayZero;
};
