#include "editing/LevelSlider.h"

#include <algorithm>
#include <cmath>

LevelSlider::LevelSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent) {
    setRange(0, kSteps);
    setPageStep(kSteps / 20);
    connect(this, &QSlider::valueChanged, this, &LevelSlider::knobMoved);
}

void LevelSlider::setLevel(double level) {
    _level = level;
    const double position = std::isfinite(level) ? level / kMaximumLevel * kSteps : 0.0;
    _showingLevel = true;
    setValue(int(std::lround(std::clamp(position, 0.0, double(kSteps)))));
    _showingLevel = false;
}

void LevelSlider::knobMoved(int position) {
    if (_showingLevel) {
        return;
    }
    _level = double(position) / kSteps * kMaximumLevel;
    emit levelMoved(_level);
}
