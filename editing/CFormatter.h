#pragma once

// The common interface of the text formatters: number to text for display, and text to
// number when the operator has typed into a field. Numbers are QVariants holding a bool,
// an integer, a float or a double; anything else (text, an invalid variant) is not a
// number. Formatters are small value objects; main thread only, like the fields they serve.

#include <QString>
#include <QVariant>

class CFormatter {
public:
    CFormatter() = default;
    virtual ~CFormatter();

    CFormatter(const CFormatter&) = default;
    CFormatter& operator=(const CFormatter&) = default;

    // The text shown for `value`; each formatter says what a non-number shows.
    virtual QString stringForObjectValue(const QVariant& value) const = 0;

    // Reads `text`. On success stores the number in *value (when non-null) and returns
    // true; on refusal returns false, leaves *value alone and, when `error` is non-null,
    // puts the reason there. A formatter that cannot refuse may leave *error untouched.
    virtual bool getObjectValue(QVariant* value, const QString& text, QString* error) const = 0;

protected:
    // The message of a refused time: "Couldn't convert to time" (translatable).
    static QString timeConversionError();

    // The number as single precision, as a float field reads it.
    static float floatValue(const QVariant& value);

    // Truncation toward zero into 32 bits the way the processor converts: NaN and
    // out-of-range values give INT_MIN, which every range check below then rejects.
    static int truncateToInt32(double value);
};
