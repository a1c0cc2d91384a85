#include "editing/CTimeFormatter.h"

#include "clip/ValueConversion.h"

#include <cstdint>
#include <cstdio>

namespace {

// Parts are range-checked as unsigned, so a negative part fails the check too.
int inRangeOrZero(int part, unsigned maximum) {
    return static_cast<unsigned>(part) > maximum ? 0 : part;
}

// hours * 3600 in 32-bit arithmetic, wrapping as the 32-bit product does for times
// beyond 596523 hours (those show as zeros).
int hoursInSeconds(int hours) {
    return static_cast<int>(static_cast<std::uint32_t>(hours) * 3600u);
}

bool isTimeField(int field) {
    return field >= 0 && field <= 23;
}

} // namespace

QString CTimeFormatter::timeOfDayString(float seconds) {
    // The 0.4 bias (not 0.5) is deliberate: it keeps a counting display from running ahead.
    const double t = static_cast<double>(seconds) + 0.4;
    const int hours = truncateToInt32(t / 3600.0);
    const int rest = truncateToInt32(t - static_cast<double>(hoursInSeconds(hours)));
    const int minutes = rest / 60;
    const int secs = rest - minutes * 60;
    return QString::asprintf("%02d:%02d:%02d", inRangeOrZero(hours, 99), inRangeOrZero(minutes, 59),
                             inRangeOrZero(secs, 59));
}

QString CTimeFormatter::stringForObjectValue(const QVariant& value) const {
    if (!isNumberValue(value)) {
        return QString();
    }
    return timeOfDayString(floatValue(value));
}

bool CTimeFormatter::getObjectValue(QVariant* value, const QString& text, QString* error) const {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    const QByteArray bytes = text.toUtf8();
    const int fields = std::sscanf(bytes.constData(), "%2d:%2d:%2d", &hours, &minutes, &seconds);
    if (fields != 3 || !isTimeField(hours) || !isTimeField(minutes) || !isTimeField(seconds)) {
        if (error) {
            *error = timeConversionError();
        }
        return false;
    }
    if (value) {
        *value = QVariant(static_cast<float>(hours * 3600 + minutes * 60 + seconds));
    }
    if (error) {
        *error = QString();
    }
    return true;
}
