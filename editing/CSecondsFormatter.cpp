#include "editing/CSecondsFormatter.h"

#include "clip/ValueConversion.h"

#include <QRegularExpression>
#include <cmath>
#include <cstdlib>

namespace {

constexpr long long kMillisecondsPerMinute = 60 * 1000;
constexpr long long kMillisecondsPerHour = 60 * kMillisecondsPerMinute;
// Beyond this a double no longer holds whole milliseconds reliably.
constexpr double kLargestSeconds = 1.0e12;

} // namespace

QString CSecondsFormatter::stringForObjectValue(const QVariant& value) const {
    if (!isNumberValue(value)) {
        return QString();
    }
    const double seconds = doubleFromValue(value, 0.0);
    if (!std::isfinite(seconds) || std::fabs(seconds) > kLargestSeconds) {
        return QString();
    }
    const long long total = std::llabs(std::llround(seconds * 1000.0));
    const QString sign = total > 0 && seconds < 0 ? QStringLiteral("-") : QString();
    const long long hours = total / kMillisecondsPerHour;
    const long long minutes = total % kMillisecondsPerHour / kMillisecondsPerMinute;
    const long long wholeSeconds = total % kMillisecondsPerMinute / 1000;
    const long long milliseconds = total % 1000;
    if (hours > 0) {
        return sign + QString::asprintf("%lld:%02lld:%02lld.%03lld", hours, minutes, wholeSeconds,
                                        milliseconds);
    }
    return sign + QString::asprintf("%lld:%02lld.%03lld", minutes, wholeSeconds, milliseconds);
}

bool CSecondsFormatter::getObjectValue(QVariant* value, const QString& text, QString* error) const {
    // Optional sign, up to two colon-separated leading fields, then seconds with an
    // optional fraction.
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*([+-])?(?:(\d+):)?(?:(\d+):)?(\d*)(?:\.(\d*))?\s*$)"));
    const QRegularExpressionMatch match = pattern.match(text);
    // At least one digit of seconds, whole or fractional (".5" is half a second).
    bool valid = match.hasMatch() && !(match.captured(4) + match.captured(5)).isEmpty();
    double seconds = 0.0;
    if (valid) {
        // With one leading field it is minutes; with two, hours and minutes.
        const bool twoLeading = match.hasCaptured(3);
        const double hours = twoLeading ? match.captured(2).toDouble() : 0.0;
        const double minutes = twoLeading
                                   ? match.captured(3).toDouble()
                                   : (match.hasCaptured(2) ? match.captured(2).toDouble() : 0.0);
        const double wholeSeconds =
            match.captured(4).isEmpty() ? 0.0 : match.captured(4).toDouble();
        const bool hasMinutes = match.hasCaptured(2);
        valid = (!hasMinutes || wholeSeconds < 60.0) && (!twoLeading || minutes < 60.0);
        const QString fraction = match.captured(5);
        const double fractional =
            fraction.isEmpty() ? 0.0 : (QStringLiteral("0.") + fraction).toDouble();
        seconds = hours * 3600.0 + minutes * 60.0 + wholeSeconds + fractional;
        if (match.captured(1) == QLatin1String("-")) {
            seconds = -seconds;
        }
        valid = valid && std::isfinite(seconds) && std::fabs(seconds) <= kLargestSeconds;
    }
    if (!valid) {
        if (error) {
            *error = timeConversionError();
        }
        return false;
    }
    if (value) {
        *value = QVariant(seconds);
    }
    if (error) {
        error->clear();
    }
    return true;
}
