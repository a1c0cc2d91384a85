#include "outputs/LegibleTextColor.h"

#include <algorithm>
#include <cmath>

namespace {

double linearComponent(double value) {
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double relativeLuminance(const QColor& color) {
    const QColor rgb = color.toRgb();
    return 0.2126 * linearComponent(rgb.redF()) + 0.7152 * linearComponent(rgb.greenF()) +
           0.0722 * linearComponent(rgb.blueF());
}

} // namespace

double contrastRatio(const QColor& first, const QColor& second) {
    const double a = relativeLuminance(first);
    const double b = relativeLuminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor legibleTextColor(const QColor& color, const QColor& background, double minimumContrast) {
    if (!color.isValid() || !background.isValid() ||
        contrastRatio(color, background) >= minimumContrast) {
        return color;
    }
    // Walk the lightness away from the background's in small steps; the first that reads
    // well is the one closest to the chosen colour.
    const bool darken = relativeLuminance(background) > 0.5;
    const QColor hsl = color.toHsl();
    constexpr int kSteps = 64;
    for (int step = 1; step <= kSteps; ++step) {
        const double fraction = double(step) / kSteps;
        const double start = hsl.lightnessF();
        const double lightness =
            darken ? start * (1.0 - fraction) : start + (1.0 - start) * fraction;
        QColor candidate =
            QColor::fromHslF(hsl.hslHueF(), hsl.hslSaturationF(), float(lightness), hsl.alphaF());
        if (contrastRatio(candidate, background) >= minimumContrast) {
            return candidate.toRgb();
        }
    }
    return darken ? QColor(Qt::black) : QColor(Qt::white);
}
