#pragma once

// Output colours are chosen to mark clips, not to be read: yellow or green names on a
// white menu, or the unmarked light grey of output 1, would all but vanish. Text drawn
// in an output colour therefore keeps the colour's hue but is darkened (on a light
// background) or lightened (on a dark one) until it stands out enough to be read.
// Any thread.

#include <QColor>

// The contrast ratio of two colours by relative luminance, 1 (none) to 21 (black on
// white).
double contrastRatio(const QColor& first, const QColor& second);

// `color` itself when its contrast with `background` is at least `minimumContrast`,
// otherwise the same hue at the nearest lightness that reaches it. An invalid colour
// stays invalid.
QColor legibleTextColor(const QColor& color, const QColor& background,
                        double minimumContrast = 3.0);
