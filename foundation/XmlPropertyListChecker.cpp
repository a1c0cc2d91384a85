#include "foundation/XmlPropertyListChecker.h"

#include "foundation/PropertyListShape.h"

#include <QDate>
#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTime>
#include <QXmlStreamReader>
#include <charconv>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Kind = PropertyListShape::Kind;

// Seconds between 1970-01-01 and 2001-01-01, the epoch of property-list dates.
constexpr qint64 kPropertyListEpoch = 978307200;

// libplist skips only ASCII white space around numbers and dates.
QStringView trimAsciiSpace(QStringView text) {
    auto isSpace = [](QChar c) {
        return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
    };
    while (!text.isEmpty() && isSpace(text.front())) {
        text = text.mid(1);
    }
    while (!text.isEmpty() && isSpace(text.back())) {
        text.chop(1);
    }
    return text;
}

QString quoted(QStringView text) {
    constexpr int kShown = 40;
    QString shown = text.left(kShown).toString();
    shown.replace(u'\n', u' ');
    return u'"' + shown + (text.size() > kShown ? QStringLiteral("...\"") : QStringLiteral("\""));
}

bool isDecimalDigits(QStringView text) {
    if (text.isEmpty()) {
        return false;
    }
    for (QChar c : text) {
        if (c < u'0' || c > u'9') {
            return false;
        }
    }
    return true;
}

// An <integer> holds an optional sign and decimal digits (no leading zeros: libplist
// would read them as octal) or 0x and hex digits, within the 64-bit range.
QString integerTextProblem(QStringView text) {
    text = trimAsciiSpace(text);
    bool negative = false;
    QStringView digits = text;
    if (!digits.isEmpty() && (digits.front() == u'-' || digits.front() == u'+')) {
        negative = digits.front() == u'-';
        digits = digits.mid(1);
    }
    bool ok = false;
    quint64 magnitude = 0;
    if (digits.startsWith(u"0x", Qt::CaseInsensitive)) {
        magnitude = digits.mid(2).toULongLong(&ok, 16);
        ok = ok && digits.size() > 2 && digits.mid(2).front() != u'+' &&
             digits.mid(2).front() != u'-';
    } else if (isDecimalDigits(digits)) {
        if (digits.size() > 1 && digits.front() == u'0') {
            return QStringLiteral("integer %1 has a leading zero").arg(quoted(text));
        }
        magnitude = digits.toULongLong(&ok, 10);
    }
    if (!ok) {
        return QStringLiteral("%1 is not an integer").arg(quoted(text));
    }
    constexpr quint64 kMostNegative = quint64(std::numeric_limits<qint64>::max()) + 1;
    if (negative && magnitude > kMostNegative) {
        return QStringLiteral("integer %1 is out of range").arg(quoted(text));
    }
    return {};
}

// A <real> is a decimal floating-point number, or nan / inf / infinity with a sign.
QString realTextProblem(QStringView text) {
    text = trimAsciiSpace(text);
    QByteArray latin = text.toLatin1();
    const char* begin = latin.constData();
    const char* end = begin + latin.size();
    if (begin != end && *begin == '+') {
        ++begin;
    }
    double value = 0;
    auto [stop, ec] = std::from_chars(begin, end, value);
    // Out of range still reads (as infinity or zero); anything unparsed is a fault.
    if (begin == end || stop != end ||
        (ec != std::errc() && ec != std::errc::result_out_of_range)) {
        return QStringLiteral("%1 is not a real number").arg(quoted(text));
    }
    return {};
}

// A <date> is 2024-05-06T07:08:09Z (optionally with a fraction of a second) within the
// 32-bit seconds around 2001 that the format can hold.
QString dateTextProblem(QStringView text) {
    static const QRegularExpression pattern(
        QStringLiteral(R"(^(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)(\.\d+)?Z$)"));
    text = trimAsciiSpace(text);
    const QRegularExpressionMatch match = pattern.match(text.toString());
    if (!match.hasMatch()) {
        return QStringLiteral("%1 is not a date of the form 2024-05-06T07:08:09Z")
            .arg(quoted(text));
    }
    auto field = [&](int n) {
        return match.capturedView(n).toInt();
    };
    const QDate date(field(1), field(2), field(3));
    const QTime time(field(4), field(5), field(6));
    if (!date.isValid() || !time.isValid()) {
        return QStringLiteral("%1 is not a valid date").arg(quoted(text));
    }
    const qint64 seconds = QDateTime(date, time, Qt::UTC).toSecsSinceEpoch() - kPropertyListEpoch;
    if (seconds < std::numeric_limits<qint32>::min() ||
        seconds > std::numeric_limits<qint32>::max()) {
        return QStringLiteral("date %1 is out of range").arg(quoted(text));
    }
    return {};
}

// <data> is padded base64, white space allowed anywhere.
QString dataTextProblem(QStringView text) {
    QByteArray compact;
    compact.reserve(text.size());
    for (QChar c : text) {
        if (c == u' ' || c == u'\t' || c == u'\n' || c == u'\r') {
            continue;
        }
        if (c.unicode() > 0x7f) {
            return QStringLiteral("<data> holds a character that is not base64");
        }
        compact.append(char(c.unicode()));
    }
    if (compact.size() % 4 != 0) {
        return QStringLiteral("<data> is not padded base64 (its length is not a multiple of 4)");
    }
    if (!QByteArray::fromBase64Encoding(compact, QByteArray::AbortOnBase64DecodingErrors)) {
        return QStringLiteral("<data> is not valid base64");
    }
    return {};
}

class XmlWalk {
public:
    XmlWalk(const QByteArray& data, int maxDepth)
        : _reader(data)
        , _maxDepth(maxDepth) {}

    bool run() {
        if (!expectRootElement()) {
            return false;
        }
        QXmlStreamReader::TokenType token = nextTag();
        if (token == QXmlStreamReader::EndElement) {
            return fail(QStringLiteral("<plist> holds no value"));
        }
        if (token != QXmlStreamReader::StartElement || !checkValue(0)) {
            return fail();
        }
        token = nextTag();
        if (token == QXmlStreamReader::StartElement) {
            return fail(QStringLiteral("<plist> holds more than one value"));
        }
        if (token != QXmlStreamReader::EndElement) {
            return fail();
        }
        if (nextTag() != QXmlStreamReader::EndDocument) {
            return fail(QStringLiteral("content after </plist>"));
        }
        return true;
    }

    PropertyListShape shape() const {
        PropertyListShape shape;
        for (const auto& [kind, count] : _values) {
            shape.add(kind, count);
        }
        return shape;
    }

    QString error() const { return _error; }

private:
    bool expectRootElement() {
        QXmlStreamReader::TokenType token = nextTag();
        if (token == QXmlStreamReader::EndDocument) {
            return fail(QStringLiteral("no <plist> element"));
        }
        if (token != QXmlStreamReader::StartElement) {
            return fail();
        }
        if (_reader.name() != u"plist") {
            return fail(QStringLiteral("the root element is <%1>, not <plist>")
                            .arg(_reader.name().toString()));
        }
        return true;
    }

    // libplist reads UTF-8 only.
    bool checkEncoding() {
        const QStringView encoding = _reader.documentEncoding();
        if (!encoding.isEmpty() && encoding.compare(u"UTF-8", Qt::CaseInsensitive) != 0) {
            return fail(
                QStringLiteral("the encoding is %1; only UTF-8 is read").arg(encoding.toString()));
        }
        return true;
    }

    // Moves to the next start or end element (or the end of the document), passing over
    // comments, processing instructions and white space. Other text is a fault.
    QXmlStreamReader::TokenType nextTag() {
        while (!_reader.atEnd()) {
            const QXmlStreamReader::TokenType token = _reader.readNext();
            switch (token) {
            case QXmlStreamReader::StartElement:
            case QXmlStreamReader::EndElement:
            case QXmlStreamReader::EndDocument:
                return token;
            case QXmlStreamReader::Characters:
                if (!_reader.isWhitespace()) {
                    fail(QStringLiteral("text %1 outside a value").arg(quoted(_reader.text())));
                    return QXmlStreamReader::Invalid;
                }
                break;
            case QXmlStreamReader::EntityReference:
                fail(QStringLiteral("unknown entity &%1;").arg(_reader.name().toString()));
                return QXmlStreamReader::Invalid;
            case QXmlStreamReader::Invalid:
                return token;
            case QXmlStreamReader::StartDocument:
                if (!checkEncoding()) {
                    return QXmlStreamReader::Invalid;
                }
                break;
            default: // DTD, comments, processing instructions
                break;
            }
        }
        return _reader.hasError() ? QXmlStreamReader::Invalid : QXmlStreamReader::EndDocument;
    }

    // The reader stands on the start element of a value.
    bool checkValue(int depth) {
        const QStringView name = _reader.name();
        if (name == u"dict" || name == u"array") {
            if (depth >= _maxDepth) {
                return fail(
                    QStringLiteral("dicts and arrays nest deeper than %1 levels").arg(_maxDepth));
            }
            return name == u"dict" ? checkDict(depth) : checkArray(depth);
        }
        if (name == u"key") {
            return fail(QStringLiteral("<key> outside a <dict>"));
        }
        if (name == u"true" || name == u"false") {
            return checkBoolean();
        }
        static const std::pair<QStringView, Kind> kScalars[] = {
            {u"string", Kind::String}, {u"integer", Kind::Integer}, {u"real", Kind::Real},
            {u"date", Kind::Date},     {u"data", Kind::Data},
        };
        for (const auto& [elementName, kind] : kScalars) {
            if (name == elementName) {
                return checkScalar(kind);
            }
        }
        return fail(QStringLiteral("unknown element <%1>").arg(name.toString()));
    }

    bool checkDict(int depth) {
        const std::size_t slot = openContainer(Kind::Dict);
        QSet<QString> keys;
        while (true) {
            QXmlStreamReader::TokenType token = nextTag();
            if (token == QXmlStreamReader::EndElement) {
                return true;
            }
            if (token != QXmlStreamReader::StartElement) {
                return false;
            }
            if (_reader.name() != u"key") {
                return fail(QStringLiteral("<%1> in a <dict> where a <key> belongs")
                                .arg(_reader.name().toString()));
            }
            const QString key = readText();
            if (_reader.hasError()) {
                return false;
            }
            if (keys.contains(key)) {
                return fail(QStringLiteral("key %1 appears twice in one <dict>").arg(quoted(key)));
            }
            keys.insert(key);
            token = nextTag();
            if (token == QXmlStreamReader::EndElement ||
                (token == QXmlStreamReader::StartElement && _reader.name() == u"key")) {
                return fail(QStringLiteral("key %1 has no value").arg(quoted(key)));
            }
            if (token != QXmlStreamReader::StartElement || !checkValue(depth + 1)) {
                return false;
            }
            ++_values[slot].second;
        }
    }

    bool checkArray(int depth) {
        const std::size_t slot = openContainer(Kind::Array);
        while (true) {
            const QXmlStreamReader::TokenType token = nextTag();
            if (token == QXmlStreamReader::EndElement) {
                return true;
            }
            if (token != QXmlStreamReader::StartElement || !checkValue(depth + 1)) {
                return false;
            }
            ++_values[slot].second;
        }
    }

    bool checkBoolean() {
        _values.emplace_back(Kind::Boolean, 0);
        const QString name = _reader.name().toString();
        const QString text = readText();
        if (_reader.hasError()) {
            return false;
        }
        if (!trimAsciiSpace(text).isEmpty()) {
            return fail(QStringLiteral("<%1/> holds text %2").arg(name, quoted(text)));
        }
        return true;
    }

    bool checkScalar(Kind kind) {
        _values.emplace_back(kind, 0);
        const QString text = readText();
        if (_reader.hasError()) {
            return false;
        }
        QString problem;
        switch (kind) {
        case Kind::Integer:
            problem = integerTextProblem(text);
            break;
        case Kind::Real:
            problem = realTextProblem(text);
            break;
        case Kind::Date:
            problem = dateTextProblem(text);
            break;
        case Kind::Data:
            problem = dataTextProblem(text);
            break;
        default:
            break;
        }
        return problem.isEmpty() || fail(problem);
    }

    std::size_t openContainer(Kind kind) {
        _values.emplace_back(kind, 0);
        return _values.size() - 1;
    }

    // The text of a scalar element; a child element in it is a fault.
    QString readText() {
        const QString text = _reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
        if (_reader.hasError()) {
            fail();
        }
        return text;
    }

    // Records the first fault with its position; without a reason, the reader's own.
    bool fail(const QString& reason = {}) {
        if (!_error.isEmpty()) {
            return false;
        }
        const QString why = !reason.isEmpty()    ? reason
                            : _reader.hasError() ? _reader.errorString()
                                                 : QStringLiteral("unexpected content");
        _error = QStringLiteral("line %1, column %2: %3")
                     .arg(_reader.lineNumber())
                     .arg(_reader.columnNumber())
                     .arg(why);
        return false;
    }

    QXmlStreamReader _reader;
    int _maxDepth;
    std::vector<std::pair<Kind, quint64>> _values; // in document order
    QString _error;
};

} // namespace

bool XmlPropertyListChecker::check(const QByteArray& data, int maxDepth, PropertyListShape* shape,
                                   QString* error) {
    XmlWalk walk(data, maxDepth);
    if (!walk.run()) {
        if (error) {
            *error = walk.error();
        }
        return false;
    }
    if (shape) {
        *shape = walk.shape();
    }
    return true;
}
