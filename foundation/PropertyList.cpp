#include "foundation/PropertyList.h"

#include "foundation/BinaryPropertyListChecker.h"
#include "foundation/PropertyListShape.h"
#include "foundation/XmlPropertyListChecker.h"

#include <QDateTime>
#include <QMetaType>
#include <QStringList>
#include <clocale>
#include <cstdlib>
#include <limits>
#include <locale.h>
#include <memory>
#include <plist/plist.h>

namespace {

using Kind = PropertyListShape::Kind;

// Seconds between 1970-01-01 and 2001-01-01, the epoch of property-list dates.
constexpr qint64 kPropertyListEpoch = 978307200;

struct PlistFree {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// libplist formats and parses reals with the C library, which follows LC_NUMERIC; the
// application sets the user's locale, where the decimal point may be a comma. Every call
// into libplist runs under the "C" locale of this thread.
class CNumericLocale {
public:
    CNumericLocale()
        : _previous(uselocale(cLocale())) {}
    ~CNumericLocale() { uselocale(_previous); }
    CNumericLocale(const CNumericLocale&) = delete;
    CNumericLocale& operator=(const CNumericLocale&) = delete;

private:
    static locale_t cLocale() {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
        return c;
    }
    locale_t _previous;
};

// Messages quote pieces of the input, which may hold line breaks or control characters;
// a message stays one line of readable length.
QString oneLine(const QString& message) {
    constexpr qsizetype kLongest = 300;
    QString line = message.left(kLongest);
    for (QChar& c : line) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f) {
            c = u' ';
        }
    }
    return message.size() > kLongest ? line + QStringLiteral("...") : line;
}

void setError(QString* error, const QString& message) {
    if (error) {
        *error = oneLine(message);
    }
}

// ----- reading --------------------------------------------------------------------------

class NodeReader {
public:
    // Converts a whole tree, also building its shape; false with _error on a node this
    // program does not read.
    bool read(plist_t node, QVariant* value) { return readNode(node, 0, value); }
    const PropertyListShape& shape() const { return _shape; }
    const QString& error() const { return _error; }

private:
    bool readNode(plist_t node, int depth, QVariant* value) {
        if (depth > PropertyList::maxDepth) {
            return fail(QStringLiteral("dicts and arrays nest too deeply"));
        }
        switch (plist_get_node_type(node)) {
        case PLIST_DICT:
            return readDict(node, depth, value);
        case PLIST_ARRAY:
            return readArray(node, depth, value);
        case PLIST_STRING: {
            uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            *value = QString::fromUtf8(text, qsizetype(length));
            _shape.add(Kind::String);
            return true;
        }
        case PLIST_BOOLEAN: {
            uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            *value = flag != 0;
            _shape.add(Kind::Boolean);
            return true;
        }
        case PLIST_UINT:
            *value = readInteger(node);
            _shape.add(Kind::Integer);
            return true;
        case PLIST_REAL: {
            double real = 0;
            plist_get_real_val(node, &real);
            *value = real;
            _shape.add(Kind::Real);
            return true;
        }
        case PLIST_DATA: {
            uint64_t length = 0;
            const char* bytes = plist_get_data_ptr(node, &length);
            *value = QByteArray(bytes, qsizetype(length));
            _shape.add(Kind::Data);
            return true;
        }
        case PLIST_DATE: {
            // Whole seconds: see writeDate().
            int32_t seconds = 0;
            int32_t microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            *value = QDateTime::fromSecsSinceEpoch(qint64(seconds) + kPropertyListEpoch, Qt::UTC);
            _shape.add(Kind::Date);
            return true;
        }
        default:
            return fail(QStringLiteral("it holds a value of a kind this program does not read"));
        }
    }

    bool readDict(plist_t node, int depth, QVariant* value) {
        QVariantMap map;
        _shape.add(Kind::Dict, plist_dict_get_size(node));
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(node, &iter);
        std::unique_ptr<void, decltype(&std::free)> iterOwner(iter, &std::free);
        while (true) {
            char* rawKey = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, iter, &rawKey, &item);
            std::unique_ptr<char, decltype(&std::free)> key(rawKey, &std::free);
            if (!item) {
                break;
            }
            QVariant itemValue;
            if (!readNode(item, depth + 1, &itemValue)) {
                return false;
            }
            map.insert(QString::fromUtf8(key.get()), itemValue);
        }
        *value = map;
        return true;
    }

    bool readArray(plist_t node, int depth, QVariant* value) {
        const uint32_t size = plist_array_get_size(node);
        _shape.add(Kind::Array, size);
        QVariantList list;
        list.reserve(size);
        for (uint32_t i = 0; i < size; ++i) {
            QVariant itemValue;
            if (!readNode(plist_array_get_item(node, i), depth + 1, &itemValue)) {
                return false;
            }
            list.append(itemValue);
        }
        *value = list;
        return true;
    }

    // libplist keeps every integer as 64 bits plus a flag for "unsigned beyond the
    // signed range", which its API does not expose; the XML it writes for the node does
    // (a minus sign or not), and is asked only in that ambiguous upper half.
    static QVariant readInteger(plist_t node) {
        uint64_t raw = 0;
        plist_get_uint_val(node, &raw);
        if (raw > uint64_t(std::numeric_limits<qint64>::max()) && isUnsignedInteger(node)) {
            return QVariant::fromValue<quint64>(raw);
        }
        const qint64 signedValue = qint64(raw);
        if (signedValue >= std::numeric_limits<int>::min() &&
            signedValue <= std::numeric_limits<int>::max()) {
            return int(signedValue);
        }
        return QVariant::fromValue<qlonglong>(signedValue);
    }

    static bool isUnsignedInteger(plist_t node) {
        PlistPtr copy(plist_copy(node));
        char* xml = nullptr;
        uint32_t length = 0;
        plist_to_xml(copy.get(), &xml, &length);
        const QByteArray text(xml, qsizetype(length));
        plist_to_xml_free(xml);
        const qsizetype start = text.indexOf("<integer>");
        return start >= 0 && text.mid(start + 9, 1) != "-";
    }

    bool fail(const QString& reason) {
        _error = reason;
        return false;
    }

    PropertyListShape _shape;
    QString _error;
};

// ----- writing --------------------------------------------------------------------------

// "Output Settings 3/Output Color", "Items[2]/Name"; the top level has an empty path.
// A very deep path keeps its first and last steps.
QString describePath(const QStringList& path) {
    if (path.isEmpty()) {
        return QStringLiteral("the top level");
    }
    constexpr qsizetype kShownAtEachEnd = 4;
    QString text;
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (path.size() > 2 * kShownAtEachEnd + 1 && i == kShownAtEachEnd) {
            text += QStringLiteral("/...");
            i = path.size() - kShownAtEachEnd - 1;
            continue;
        }
        const QString& part = path.at(i);
        if (!part.startsWith(u'[') && !text.isEmpty()) {
            text += u'/';
        }
        text += part;
    }
    return u'"' + text + u'"';
}

// XML 1.0 carries tab, line feed, carriage return and the characters from U+0020 up,
// except surrogates that are not paired and U+FFFE / U+FFFF.
qsizetype firstUnwritableCharacter(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r') {
            return i;
        }
        if (c == 0xfffe || c == 0xffff) {
            return i;
        }
        if (QChar::isHighSurrogate(c)) {
            if (i + 1 >= text.size() || !QChar::isLowSurrogate(text.at(i + 1).unicode())) {
                return i;
            }
            ++i;
        } else if (QChar::isLowSurrogate(c)) {
            return i;
        }
    }
    return -1;
}

class NodeWriter {
public:
    PlistPtr write(const QVariant& value) { return writeNode(value, 0); }
    const QString& error() const { return _error; }

private:
    PlistPtr writeNode(const QVariant& value, int depth) {
        switch (value.typeId()) {
        case QMetaType::QVariantMap:
            return writeDict(value.toMap(), depth);
        case QMetaType::QVariantHash: {
            const QVariantHash hash = value.toHash();
            QVariantMap sorted;
            for (auto it = hash.cbegin(); it != hash.cend(); ++it) {
                sorted.insert(it.key(), it.value());
            }
            return writeDict(sorted, depth);
        }
        case QMetaType::QVariantList:
        case QMetaType::QStringList:
            return writeArray(value.toList(), depth);
        case QMetaType::QString:
            return writeString(value.toString());
        case QMetaType::Bool:
            return PlistPtr(plist_new_bool(value.toBool() ? 1 : 0));
        case QMetaType::Int:
        case QMetaType::Long:
        case QMetaType::LongLong:
        case QMetaType::Short:
        case QMetaType::SChar:
            return PlistPtr(plist_new_uint(uint64_t(value.toLongLong())));
        case QMetaType::UInt:
        case QMetaType::ULong:
        case QMetaType::ULongLong:
        case QMetaType::UShort:
        case QMetaType::UChar:
            return writeUnsigned(value.toULongLong());
        case QMetaType::Double:
        case QMetaType::Float:
            return PlistPtr(plist_new_real(value.toDouble()));
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            return PlistPtr(plist_new_data(bytes.constData(), uint64_t(bytes.size())));
        }
        case QMetaType::QDateTime:
            return writeDate(value.toDateTime());
        default:
            return fail(value.isValid() ? QStringLiteral("a %1 cannot be stored in a property list")
                                              .arg(QString::fromLatin1(value.typeName()))
                                        : QStringLiteral("an empty value cannot be stored in a "
                                                         "property list"));
        }
    }

    PlistPtr writeDict(const QVariantMap& map, int depth) {
        if (depth >= PropertyList::maxDepth) {
            return fail(QStringLiteral("dicts and arrays nest deeper than %1 levels")
                            .arg(PropertyList::maxDepth));
        }
        PlistPtr dict(plist_new_dict());
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            _path.append(it.key());
            if (firstUnwritableCharacter(it.key()) >= 0) {
                return fail(QStringLiteral("the key holds a character that XML cannot carry"));
            }
            PlistPtr item = writeNode(it.value(), depth + 1);
            if (!item) {
                return nullptr;
            }
            plist_dict_set_item(dict.get(), it.key().toUtf8().constData(), item.release());
            _path.removeLast();
        }
        return dict;
    }

    PlistPtr writeArray(const QVariantList& list, int depth) {
        if (depth >= PropertyList::maxDepth) {
            return fail(QStringLiteral("dicts and arrays nest deeper than %1 levels")
                            .arg(PropertyList::maxDepth));
        }
        PlistPtr array(plist_new_array());
        for (qsizetype i = 0; i < list.size(); ++i) {
            _path.append(QStringLiteral("[%1]").arg(i));
            PlistPtr item = writeNode(list.at(i), depth + 1);
            if (!item) {
                return nullptr;
            }
            plist_array_append_item(array.get(), item.release());
            _path.removeLast();
        }
        return array;
    }

    PlistPtr writeString(const QString& text) {
        const qsizetype bad = firstUnwritableCharacter(text);
        if (bad >= 0) {
            return fail(QStringLiteral("the text holds the character U+%1, which XML cannot carry")
                            .arg(text.at(bad).unicode(), 4, 16, QLatin1Char('0')));
        }
        return PlistPtr(plist_new_string(text.toUtf8().constData()));
    }

    // plist_new_uint() marks every value as signed, so one beyond the signed range would
    // come out negative; libplist's XML reader marks it unsigned.
    static PlistPtr writeUnsigned(quint64 number) {
        if (number <= quint64(std::numeric_limits<qint64>::max())) {
            return PlistPtr(plist_new_uint(number));
        }
        const QByteArray xml =
            "<plist><integer>" + QByteArray::number(number) + "</integer></plist>";
        plist_t node = nullptr;
        plist_from_xml(xml.constData(), uint32_t(xml.size()), &node);
        return PlistPtr(node);
    }

    // Dates are written in whole seconds (rounded down): XML cannot carry more, and
    // libplist's binary writer mangles fractions (and its reader negative ones).
    PlistPtr writeDate(const QDateTime& dateTime) {
        if (!dateTime.isValid()) {
            return fail(QStringLiteral("an invalid date cannot be stored in a property list"));
        }
        const qint64 msecs = dateTime.toMSecsSinceEpoch() - kPropertyListEpoch * 1000;
        const qint64 seconds = msecs >= 0 ? msecs / 1000 : -((-msecs + 999) / 1000);
        if (seconds < std::numeric_limits<int32_t>::min() ||
            seconds > std::numeric_limits<int32_t>::max()) {
            return fail(QStringLiteral("the date %1 lies outside 1932-12-13 .. 2069-01-19")
                            .arg(dateTime.toUTC().toString(Qt::ISODate)));
        }
        return PlistPtr(plist_new_date(int32_t(seconds), 0));
    }

    PlistPtr fail(const QString& reason) {
        _error =
            QStringLiteral("cannot write the value at %1: %2").arg(describePath(_path), reason);
        return nullptr;
    }

    QStringList _path;
    QString _error;
};

enum class Format { Xml, Binary };

QByteArray serialise(const QVariant& value, Format format, QString* error) {
    CNumericLocale cLocale;
    NodeWriter writer;
    PlistPtr root = writer.write(value);
    if (!root) {
        setError(error, writer.error());
        return {};
    }
    char* bytes = nullptr;
    uint32_t length = 0;
    if (format == Format::Xml) {
        plist_to_xml(root.get(), &bytes, &length);
    } else {
        plist_to_bin(root.get(), &bytes, &length);
    }
    if (!bytes || length == 0) {
        setError(error, QStringLiteral("libplist could not serialise the property list"));
        if (bytes) {
            std::free(bytes);
        }
        return {};
    }
    QByteArray result(bytes, qsizetype(length));
    if (format == Format::Xml) {
        plist_to_xml_free(bytes);
    } else {
        plist_to_bin_free(bytes);
    }
    if (error) {
        error->clear();
    }
    return result;
}

bool checkStructure(const QByteArray& data, bool binary, PropertyListShape* shape,
                    QString* reason) {
    if (binary) {
        return BinaryPropertyListChecker::check(data, PropertyList::maxDepth,
                                                PropertyList::maxObjects, shape, reason);
    }
    return XmlPropertyListChecker::check(data, PropertyList::maxDepth, shape, reason);
}

} // namespace

QVariant PropertyList::fromData(const QByteArray& input, QString* error) {
    if (input.isEmpty()) {
        setError(error, QStringLiteral("the property list is empty"));
        return {};
    }
    if (input.size() > maxInputBytes) {
        setError(error,
                 QStringLiteral("the property list is too large (%1 bytes; at most %2 are read)")
                     .arg(input.size())
                     .arg(maxInputBytes));
        return {};
    }
    // libplist does not skip a UTF-8 byte-order mark.
    const QByteArray data = input.startsWith("\xef\xbb\xbf") ? input.mid(3) : input;
    const bool binary = data.startsWith("bplist");
    const QString format = binary ? QStringLiteral("binary") : QStringLiteral("XML");

    PropertyListShape expectedShape;
    QString reason;
    if (!checkStructure(data, binary, &expectedShape, &reason)) {
        setError(error, QStringLiteral("malformed %1 property list: %2").arg(format, reason));
        return {};
    }

    CNumericLocale cLocale;
    plist_t rawRoot = nullptr;
    if (binary) {
        plist_from_bin(data.constData(), uint32_t(data.size()), &rawRoot);
    } else {
        plist_from_xml(data.constData(), uint32_t(data.size()), &rawRoot);
    }
    PlistPtr root(rawRoot);
    if (!root) {
        setError(
            error,
            QStringLiteral("malformed %1 property list: libplist could not read it").arg(format));
        return {};
    }
    NodeReader reader;
    QVariant value;
    if (!reader.read(root.get(), &value)) {
        setError(error,
                 QStringLiteral("unsupported %1 property list: %2").arg(format, reader.error()));
        return {};
    }
    if (!(reader.shape() == expectedShape)) {
        setError(error, QStringLiteral("malformed %1 property list: libplist reads its structure "
                                       "differently from how it is written")
                            .arg(format));
        return {};
    }
    if (error) {
        error->clear();
    }
    return value;
}

QByteArray PropertyList::toXml(const QVariant& value, QString* error) {
    return serialise(value, Format::Xml, error);
}

QByteArray PropertyList::toBinary(const QVariant& value, QString* error) {
    return serialise(value, Format::Binary, error);
}

bool PropertyList::isIdentical(const QVariant& a, const QVariant& b) {
    if (a.typeId() != b.typeId()) {
        return false;
    }
    switch (a.typeId()) {
    case QMetaType::QVariantMap: {
        const QVariantMap left = a.toMap();
        const QVariantMap right = b.toMap();
        if (left.size() != right.size()) {
            return false;
        }
        for (auto l = left.cbegin(), r = right.cbegin(); l != left.cend(); ++l, ++r) {
            if (l.key() != r.key() || !isIdentical(l.value(), r.value())) {
                return false;
            }
        }
        return true;
    }
    case QMetaType::QVariantList: {
        const QVariantList left = a.toList();
        const QVariantList right = b.toList();
        if (left.size() != right.size()) {
            return false;
        }
        for (qsizetype i = 0; i < left.size(); ++i) {
            if (!isIdentical(left.at(i), right.at(i))) {
                return false;
            }
        }
        return true;
    }
    default:
        return a == b;
    }
}
