#pragma once

// A label that shows a number of seconds as a clock time "HH:MM:SS" (CTimeFormatter).
// Setting the same text again does nothing, so a 50 ms refresh repaints the field once
// a second. Main thread only.

#include <QLabel>

class TimeField : public QLabel {
    Q_OBJECT
public:
    explicit TimeField(Qt::Alignment alignment, QWidget* parent = nullptr);

    void setSeconds(double seconds);
};
