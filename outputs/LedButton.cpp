#include "outputs/LedButton.h"

#include "outputs/ResourceImages.h"

namespace {
const QSize kLedSize(12, 12);
}

LedButton::LedButton(QWidget* parent)
    : LedButton(QString(), parent) {}

LedButton::LedButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent)
    , _greenLed(ResourceImages::icon(QStringLiteral("GreenLED")))
    , _grayLed(ResourceImages::icon(QStringLiteral("GrayLED"))) {
    setIconSize(kLedSize);
    showStatus();
}

void LedButton::setStatus(bool status) {
    if (status == _status) {
        return;
    }
    _status = status;
    showStatus();
}

void LedButton::showStatus() {
    // Setting the icon repaints the button.
    setIcon(_status ? _greenLed : _grayLed);
}
