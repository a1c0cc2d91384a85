#include "editing/CCountdownFormatter.h"

#include "clip/ValueConversion.h"
#include "editing/CTimeFormatter.h"

#include <cmath>
#include <cstdio>

namespace {

constexpr int oneHour = 3600;

// lround of the biased value, with the values lround cannot represent made explicit:
// NaN and huge negatives count as nothing, huge positives as more than an hour.
long roundedSeconds(float seconds) {
    const double biased = static_cast<double>(seconds) + 0.4;
    if (std::isnan(biased) || biased <= -1.0e18) {
        return 0;
    }
    if (biased >= 1.0e18) {
        return oneHour + 1;
    }
    return std::lround(biased);
}

} // namespace

QString CCountdownFormatter::stringForObjectValue(const QVariant& value) const {
    if (!isNumberValue(value)) {
        return QStringLiteral("00:00:00");
    }
    const float seconds = floatValue(value);
    const long rounded = roundedSeconds(seconds);
    if (rounded <= 0) {
        return QStringLiteral("00:00:00");
    }
    if (rounded > oneHour) {
        return QStringLiteral("--:--:--");
    }
    return CTimeFormatter::timeOfDayString(seconds);
}

bool CCountdownFormatter::getObjectValue(QVariant* value, const QString& text,
                                         QString* error) const {
    int seconds = 0;
    const QByteArray bytes = text.toUtf8();
    if (std::sscanf(bytes.constData(), "%d", &seconds) != 1) {
        if (error) {
            *error = timeConversionError();
        }
        return false;
    }
    if (value) {
        *value = QVariant(seconds);
    }
    if (error) {
        *error = QString();
    }
    return true;
}

CCountdownFormatter::ColoredString
CCountdownFormatter::attributedStringForObjectValue(const QVariant& value) const {
    return {stringForObjectValue(value), colorForObjectValue(value)};
}

QColor CCountdownFormatter::colorForObjectValue(const QVariant& value) {
    const int seconds = intFromValue(value, 0);
    if (seconds > 29 || seconds == 0) {
        return QColor::fromRgbF(0.25f, 0.25f, 0.25f, 1.0f); // dark grey: nothing urgent
    }
    if (seconds >= 10) {
        return QColor::fromRgbF(1.0f, 0.84f, 0.0f, 1.0f); // amber: end approaching
    }
    return QColor::fromRgbF(1.0f, 0.0f, 0.0f, 1.0f); // red: last seconds, or overrun
}
