#pragma once

// Conversions of stored values (settings records, defaults, documents) to the type a
// reader asks for. Numbers convert the way C converts them (a bool reads as 0.0 or 1.0,
// a double read as an int is truncated toward zero); text converts by its leading number,
// as a lenient text field reads it; dictionaries, arrays, data and dates never convert.
// Any thread; no shared state.

#include <QStringView>
#include <QVariant>

// True when `value` holds a number: bool, an integer type, float or double.
bool isNumberValue(const QVariant& value);

// The value as a bool, double, int or string, or `fallback` when it holds neither a number
// nor text. Out-of-range doubles read as int saturate at INT_MIN/INT_MAX; NaN reads as 0.
bool boolFromValue(const QVariant& value, bool fallback = false);
double doubleFromValue(const QVariant& value, double fallback = 0.0);
int intFromValue(const QVariant& value, int fallback = 0);
QString stringFromValue(const QVariant& value, const QString& fallback = QString());

// Lenient readings of text: leading whitespace is skipped, then the longest leading
// number is read; text that does not start with one reads as 0.
// leadingDoubleValue accepts a sign, digits with an optional decimal point and an optional
// exponent ("  -6.5dB" -> -6.5, "1e3" -> 1000, "abc" -> 0, "-inf" -> 0).
double leadingDoubleValue(QStringView text);
// leadingIntValue accepts a sign and decimal digits and saturates at INT_MIN/INT_MAX
// ("3.7" -> 3, " -12x" -> -12).
int leadingIntValue(QStringView text);
// leadingBoolValue: after whitespace, an optional sign and leading zeros, true when the
// next character is Y, y, T, t or a digit 1-9 ("YES" -> true, "0" -> false, "007" -> true).
bool leadingBoolValue(QStringView text);

// Truncates toward zero, saturating at the int range; NaN gives 0.
int saturatingTruncate(double value);
