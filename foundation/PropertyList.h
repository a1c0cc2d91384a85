#pragma once

// Property lists <-> Qt values. Used for documents, the clipboard clip format and the
// user-defaults file. Any thread; no shared state.
//
// Type mapping (both directions, exact on a round trip):
//   dict <-> QVariantMap      array <-> QVariantList    string <-> QString
//   integer <-> int (qlonglong when it does not fit; quint64 above that)
//   real <-> double           true/false <-> bool       data <-> QByteArray
//   date <-> QDateTime (UTC)
// A QVariant of another type cannot be written; toXml() then fails with a message.

#include <QByteArray>
#include <QString>
#include <QVariant>

class PropertyList {
public:
    // Parses an XML or binary property list. On failure returns an invalid QVariant and
    // puts a one-line reason in *error (when error is non-null); never a partial result.
    static QVariant fromData(const QByteArray& data, QString* error = nullptr);

    // Serialises to an XML property list. On failure returns an empty array and puts the
    // reason in *error.
    static QByteArray toXml(const QVariant& value, QString* error = nullptr);
};
