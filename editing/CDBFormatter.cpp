#include "editing/CDBFormatter.h"

#include "clip/ValueConversion.h"

#include <cmath>

namespace {

// Typed as the floor of the level fields: reads as true silence rather than 10^(-99/20).
constexpr double silenceDecibels = -99.0;

} // namespace

QString CDBFormatter::stringForObjectValue(const QVariant& value) const {
    if (!isNumberValue(value)) {
        return QString();
    }
    const double gain = doubleFromValue(value, 0.0);
    if (gain == 0.0) {
        return QStringLiteral("-inf");
    }
    return QString::asprintf("%.*f", 1, 20.0 * std::log10(gain));
}

bool CDBFormatter::getObjectValue(QVariant* value, const QString& text, QString* error) const {
    Q_UNUSED(error);
    const double decibels = leadingDoubleValue(text);
    const double gain = decibels == silenceDecibels ? 0.0 : std::pow(10.0, decibels / 20.0);
    if (value) {
        *value = QVariant(gain);
    }
    return true;
}
