#include "editing/CFormatter.h"

#include "clip/ValueConversion.h"

#include <QCoreApplication>
#include <cmath>
#include <limits>

CFormatter::~CFormatter() = default;

QString CFormatter::timeConversionError() {
    return QCoreApplication::translate("CFormatter", "Couldn't convert to time");
}

float CFormatter::floatValue(const QVariant& value) {
    return static_cast<float>(doubleFromValue(value, 0.0));
}

int CFormatter::truncateToInt32(double value) {
    constexpr double limit = 2147483648.0; // 2^31
    const double truncated = std::trunc(value);
    if (std::isnan(truncated) || truncated >= limit || truncated < -limit) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(truncated);
}
