#include "editing/RoundToUnit.h"

#include <cmath>
#include <limits>

double RoundToUnit(double value, double unit) {
    const double quotient = value / unit;
    constexpr double longLimit = 9223372036854775808.0; // 2^63
    long rounded = std::numeric_limits<long>::min();
    if (!std::isnan(quotient) && std::fabs(quotient) < longLimit) {
        rounded = std::lround(quotient);
    }
    return unit * static_cast<double>(rounded);
}
