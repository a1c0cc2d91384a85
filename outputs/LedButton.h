#pragma once

// A push button that carries an on/off status (paused, ducked) and shows it as a small
// lamp beside its text: green when on, grey when off. Clicking does not change the status;
// whoever owns the state sets it. Main thread only.

#include <QIcon>
#include <QPushButton>

class LedButton : public QPushButton {
    Q_OBJECT
public:
    explicit LedButton(QWidget* parent = nullptr);
    explicit LedButton(const QString& text, QWidget* parent = nullptr);

    // Stores the status and shows it.
    void setStatus(bool status);
    bool status() const { return _status; }

private:
    void showStatus();

    QIcon _greenLed;
    QIcon _grayLed;
    bool _status = false;
};
