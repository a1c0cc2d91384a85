#pragma once

// A horizontal slider over linear gains, 0.0 (silence) to unity. It keeps the exact gain
// it was given, so a level that was only shown (0.501187 typed as -6 dB, or a stored
// 1.4 above the slider's end) is written back unchanged; only the operator moving the
// knob sets a level from the knob's position (in steps of 1/1000). Main thread only.

#include <QSlider>

class LevelSlider : public QSlider {
    Q_OBJECT
public:
    static constexpr int kSteps = 1000;
    static constexpr double kMaximumLevel = 1.0;

    explicit LevelSlider(QWidget* parent = nullptr);

    double level() const { return _level; }
    // Shows `level` (the knob stops at the ends) without announcing it.
    void setLevel(double level);

signals:
    // The operator moved the knob to `level`.
    void levelMoved(double level);

private:
    void knobMoved(int position);

    double _level = 0.0;
    bool _showingLevel = false;
};
