#include "clip/ValueConversion.h"

#include <QLocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale.h>

namespace {

bool isTextValue(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

bool isFloatingValue(const QVariant& value) {
    const int type = value.typeId();
    return type == QMetaType::Double || type == QMetaType::Float;
}

qsizetype skipSpace(QStringView text, qsizetype pos) {
    while (pos < text.size() && text[pos].isSpace()) {
        ++pos;
    }
    return pos;
}

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

qsizetype skipDigits(QStringView text, qsizetype pos) {
    while (pos < text.size() && isDigit(text[pos])) {
        ++pos;
    }
    return pos;
}

// strtod in the C locale: the application runs under the user's locale, where the decimal
// separator may be a comma, but stored and typed numbers always use a point.
double strtodInCLocale(const char* text) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    return strtod_l(text, nullptr, cLocale);
}

} // namespace

bool isNumberValue(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

int saturatingTruncate(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    const double truncated = std::trunc(value);
    if (truncated >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (truncated <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(truncated);
}

bool boolFromValue(const QVariant& value, bool fallback) {
    if (isTextValue(value)) {
        return leadingBoolValue(value.toString());
    }
    if (!isNumberValue(value)) {
        return fallback;
    }
    if (isFloatingValue(value)) {
        return value.toDouble() != 0.0;
    }
    return value.toLongLong() != 0 || value.toULongLong() != 0;
}

double doubleFromValue(const QVariant& value, double fallback) {
    if (isTextValue(value)) {
        return leadingDoubleValue(value.toString());
    }
    if (!isNumberValue(value)) {
        return fallback;
    }
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool() ? 1.0 : 0.0;
    }
    return value.toDouble();
}

int intFromValue(const QVariant& value, int fallback) {
    if (isTextValue(value)) {
        return leadingIntValue(value.toString());
    }
    if (!isNumberValue(value)) {
        return fallback;
    }
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool() ? 1 : 0;
    }
    if (isFloatingValue(value)) {
        return saturatingTruncate(value.toDouble());
    }
    if (value.typeId() == QMetaType::ULongLong || value.typeId() == QMetaType::ULong) {
        const qulonglong n = value.toULongLong();
        return n > static_cast<qulonglong>(std::numeric_limits<int>::max())
                   ? std::numeric_limits<int>::max()
                   : static_cast<int>(n);
    }
    const qlonglong n = value.toLongLong();
    if (n > std::numeric_limits<int>::max()) {
        return std::numeric_limits<int>::max();
    }
    if (n < std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(n);
}

QString stringFromValue(const QVariant& value, const QString& fallback) {
    if (isTextValue(value)) {
        return value.toString();
    }
    if (!isNumberValue(value)) {
        return fallback;
    }
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    }
    if (isFloatingValue(value)) {
        // The shortest text that reads back as the same double: 0.6 shows as "0.6".
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    }
    return value.toString();
}

double leadingDoubleValue(QStringView text) {
    const qsizetype start = skipSpace(text, 0);
    qsizetype pos = start;
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) {
        ++pos;
    }
    const qsizetype intEnd = skipDigits(text, pos);
    bool haveDigits = intEnd > pos;
    pos = intEnd;
    if (pos < text.size() && text[pos] == u'.') {
        const qsizetype fracEnd = skipDigits(text, pos + 1);
        haveDigits = haveDigits || fracEnd > pos + 1;
        pos = fracEnd;
    }
    if (!haveDigits) {
        return 0.0;
    }
    if (pos < text.size() && (text[pos] == u'e' || text[pos] == u'E')) {
        qsizetype expPos = pos + 1;
        if (expPos < text.size() && (text[expPos] == u'+' || text[expPos] == u'-')) {
            ++expPos;
        }
        const qsizetype expEnd = skipDigits(text, expPos);
        if (expEnd > expPos) {
            pos = expEnd;
        }
    }
    // The scanned span holds only an ASCII sign, digits, point and exponent, so strtod reads
    // all of it; out-of-range magnitudes become +-inf or 0 as strtod makes them.
    const QByteArray number = text.sliced(start, pos - start).toLatin1();
    return strtodInCLocale(number.constData());
}

int leadingIntValue(QStringView text) {
    qsizetype pos = skipSpace(text, 0);
    bool negative = false;
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) {
        negative = text[pos] == u'-';
        ++pos;
    }
    // Accumulate as a negative number so INT_MIN itself is representable.
    const long long limit = negative ? -static_cast<long long>(std::numeric_limits<int>::min())
                                     : std::numeric_limits<int>::max();
    long long magnitude = 0;
    for (; pos < text.size() && isDigit(text[pos]); ++pos) {
        magnitude = magnitude * 10 + (text[pos].unicode() - u'0');
        if (magnitude > limit) {
            return negative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        }
    }
    return static_cast<int>(negative ? -magnitude : magnitude);
}

bool leadingBoolValue(QStringView text) {
    qsizetype pos = skipSpace(text, 0);
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) {
        ++pos;
    }
    while (pos < text.size() && text[pos] == u'0') {
        ++pos;
    }
    if (pos >= text.size()) {
        return false;
    }
    const QChar c = text[pos];
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}
