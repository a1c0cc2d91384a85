#pragma once

// Readable failure messages for Qt values in GoogleTest assertions: a QString prints as
// its text rather than as a dump of 16-bit units. Include it in a test file that compares
// QStrings or QVariants.

#include <QString>
#include <QVariant>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QVariant& value, std::ostream* os) {
    *os << value.typeName() << '(' << value.toString().toStdString() << ')';
}
