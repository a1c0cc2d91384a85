#pragma once

// A linear gain shown in decibels with one decimal ("-6.0" for 0.5, "-inf" for 0). Typed
// text is read leniently (leading number, else 0) as decibels; "-99" means silence.
// Typed text never fails.

#include "editing/CFormatter.h"

class CDBFormatter : public CFormatter {
public:
    // "" for a non-number.
    QString stringForObjectValue(const QVariant& value) const override;
    // A double gain; *error is left untouched. "-inf" has no leading number, so it reads
    // as 0 dB, that is unity; fields show it but should not re-read unedited text.
    bool getObjectValue(QVariant* value, const QString& text, QString* error) const override;
};
