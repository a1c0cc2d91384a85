#pragma once

// Property lists <-> Qt values. Used for documents, the clipboard clip format and the
// user-defaults file. Any thread; no shared state.
//
// Type mapping (both directions, exact on a round trip):
//   dict <-> QVariantMap      array <-> QVariantList    string <-> QString
//   integer <-> int (qlonglong when it does not fit; quint64 above that)
//   real <-> double           true/false <-> bool       data <-> QByteArray
//   date <-> QDateTime (UTC)
// Also written, but read back as the types above: QVariantHash (as a dict), QStringList
// (as an array), the other integer types and float. A QVariant of any other type (a
// QColor, a QUrl, an invalid QVariant) cannot be written; toXml() then fails with a
// message naming the key path of the value.
//
// Dates keep whole seconds (fractions are dropped), and the range is that of the
// format's signed 32-bit seconds around 2001-01-01:
// 1932-12-13T20:45:52Z .. 2069-01-19T03:14:07Z.
// Strings and keys must consist of characters that XML 1.0 can carry: no control
// characters other than tab, line feed and carriage return.

#include <QByteArray>
#include <QString>
#include <QVariant>

class PropertyList {
public:
    // Larger input is refused before parsing.
    static constexpr qsizetype maxInputBytes = 64 * 1024 * 1024;
    // Dicts and arrays nest at most this deep, both ways.
    static constexpr int maxDepth = 128;
    // A binary property list may expand to at most this many values (shared objects
    // count once per use, so a small file cannot expand into millions of values).
    static constexpr int maxObjects = 1 << 20;

    // Parses an XML or binary property list. On failure returns an invalid QVariant and
    // puts a one-line reason in *error (when error is non-null); never a partial result.
    static QVariant fromData(const QByteArray& data, QString* error = nullptr);

    // Serialises to an XML property list. On failure returns an empty array and puts the
    // reason in *error.
    static QByteArray toXml(const QVariant& value, QString* error = nullptr);
    // Serialises to a binary property list ("bplist00"); failures as for toXml().
    static QByteArray toBinary(const QVariant& value, QString* error = nullptr);

    // True when the two values are the same property list: same types all the way down
    // (an int 1 is not a double 1.0, unlike QVariant's own comparison) and equal values.
    static bool isIdentical(const QVariant& a, const QVariant& b);
};
