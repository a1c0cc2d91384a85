#include "outputs/TimeField.h"

#include "editing/CTimeFormatter.h"

TimeField::TimeField(Qt::Alignment alignment, QWidget* parent)
    : QLabel(parent) {
    setAlignment(alignment | Qt::AlignVCenter);
    setTextFormat(Qt::PlainText);
}

void TimeField::setSeconds(double seconds) {
    const QString shown = CTimeFormatter().stringForObjectValue(seconds);
    if (text() != shown) {
        setText(shown);
    }
}
