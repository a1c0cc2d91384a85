#include "editing/CTimeCodeFormatter.h"

#include "clip/ValueConversion.h"
#include "editing/RoundToUnit.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

// The integral seconds as an unsigned 32-bit count, converted through a 64-bit integer as
// the processor does: a negative count wraps, one beyond 64 bits reads as 0.
std::uint32_t secondsCount(double integral) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (std::isnan(integral) || integral >= limit || integral < -limit) {
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(integral));
}

struct TypedFields {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
};

// sscanf's fields taken from the right: the last converted field is always frames.
TypedFields assignFromTheRight(int converted, const int (&read)[4]) {
    TypedFields fields;
    switch (converted) {
    case 1:
        fields.frames = read[0];
        break;
    case 2:
        fields.seconds = read[0];
        fields.frames = read[1];
        break;
    case 3:
        fields.minutes = read[0];
        fields.seconds = read[1];
        fields.frames = read[2];
        break;
    case 4:
        fields.hours = read[0];
        fields.minutes = read[1];
        fields.seconds = read[2];
        fields.frames = read[3];
        break;
    default: // nothing converted, or a read error
        break;
    }
    return fields;
}

// Signed comparisons: a negative typed field is kept as it is.
void zeroFieldsOutOfRange(TypedFields& fields, double framesPerSecond) {
    if (fields.hours > 23) {
        fields.hours = 0;
    }
    if (fields.minutes > 59) {
        fields.minutes = 0;
    }
    if (fields.seconds > 59) {
        fields.seconds = 0;
    }
    if (static_cast<double>(fields.frames) >= framesPerSecond) {
        fields.frames = 0;
    }
}

} // namespace

CTimeCodeFormatter::CTimeCodeFormatter()
    : mFramesPerSecond(29.97)
    , mDisplayZero(true) {}

QString CTimeCodeFormatter::stringForObjectValue(const QVariant& value) const {
    if (!isNumberValue(value)) {
        return QString();
    }
    const double v = doubleFromValue(value, 0.0);
    if (v == 0.0) {
        return mDisplayZero ? QStringLiteral("00:00:00:00") : QString();
    }
    double integral = 0.0;
    const double fraction = std::modf(v, &integral);
    const std::uint32_t count = secondsCount(integral);
    std::uint32_t hours = count / 3600;
    const std::uint32_t minutes = (count % 3600) / 60;
    const std::uint32_t seconds = (count % 3600) % 60;
    // Snap to the nearest frame first, so a fraction never shows as half a frame.
    int frames = truncateToInt32(RoundToUnit(fraction, 1.0 / mFramesPerSecond) * mFramesPerSecond);
    if (hours > 99) {
        hours = 0;
    }
    if (frames < 0 || static_cast<double>(frames) > mFramesPerSecond) {
        frames = 0;
    }
    return QString::asprintf("%02d:%02d:%02d:%02d", static_cast<int>(hours),
                             static_cast<int>(minutes), static_cast<int>(seconds), frames);
}

bool CTimeCodeFormatter::getObjectValue(QVariant* value, const QString& text,
                                        QString* error) const {
    if (error) {
        *error = QString();
    }
    if (text.isEmpty()) {
        if (value) {
            *value = QVariant(0.0f);
        }
        return true;
    }
    const bool separated = text.split(QLatin1Char(':')).size() > 1;
    const char* pattern = separated ? "%02d:%02d:%02d:%02d" : "%02d%02d%02d%02d";
    int read[4] = {0, 0, 0, 0};
    const QByteArray bytes = text.toUtf8();
    const int converted =
        std::sscanf(bytes.constData(), pattern, &read[0], &read[1], &read[2], &read[3]);
    TypedFields fields = assignFromTheRight(converted, read);
    zeroFieldsOutOfRange(fields, mFramesPerSecond);
    const double seconds = fields.hours * 3600 + fields.minutes * 60 + fields.seconds +
                           fields.frames / mFramesPerSecond;
    if (value) {
        *value = QVariant(static_cast<double>(static_cast<float>(seconds)));
    }
    return true;
}
