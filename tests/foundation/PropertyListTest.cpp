// Property lists: exact typing on a round trip, both input formats, the integer
// boundaries, refused input with its message, and the limits against crafted files.

#include "foundation/PropertyList.h"

#include "tests/foundation/BinaryPlistBuilder.h"

#include <QColor>
#include <QDateTime>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QUrl>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

QVariantMap everyType() {
    QVariantMap nested{{"list", QVariantList{1, 2.5, QString("three"), QVariantMap{}}},
                       {"empty list", QVariantList{}},
                       {"empty dict", QVariantMap{}}};
    QByteArray allBytes;
    for (int i = 0; i < 256; ++i) {
        allBytes.append(char(i));
    }
    return {
        {"yes", true},
        {"no", false},
        {"int zero", 0},
        {"int one", 1},
        {"int negative", -7},
        {"int max", std::numeric_limits<int>::max()},
        {"int min", std::numeric_limits<int>::min()},
        {"long above int", QVariant::fromValue<qlonglong>(qlonglong(1) << 31)},
        {"long below int", QVariant::fromValue<qlonglong>(-(qlonglong(1) << 31) - 1)},
        {"long max", QVariant::fromValue<qlonglong>(std::numeric_limits<qlonglong>::max())},
        {"long min", QVariant::fromValue<qlonglong>(std::numeric_limits<qlonglong>::min())},
        {"unsigned top", QVariant::fromValue<quint64>(std::numeric_limits<quint64>::max())},
        {"unsigned 2^63", QVariant::fromValue<quint64>(quint64(1) << 63)},
        {"real one", 1.0},
        {"real zero", 0.0},
        {"real tenth", 0.1},
        {"real tiny", -2.5e-300},
        {"real huge", 1e300},
        {"real inf", std::numeric_limits<double>::infinity()},
        {"real -inf", -std::numeric_limits<double>::infinity()},
        {"string", QString("Jingle \"A\" <&> 'b'")},
        {"string empty", QString()},
        {"string unicode", QString::fromUtf8("Grüße € 😀 日本")},
        {"string spaces", QString("  tab\tline\nreturn\r  ")},
        {"data", allBytes},
        {"data empty", QByteArray()},
        {"date", QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), QTimeZone::utc())},
        {"nested", nested},
        {"key with <&> and ü", QString("value")},
    };
}

void expectType(const QVariantMap& map, const char* key, QMetaType::Type type) {
    EXPECT_EQ(map.value(key).typeId(), int(type)) << key << " is " << map.value(key).typeName();
}

QVariant readXmlText(const QByteArray& body, QString* error = nullptr) {
    return PropertyList::fromData("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<plist version=\"1.0\">" +
                                      body + "</plist>\n",
                                  error);
}

TEST(PropertyListRoundTrip, EveryTypeSurvivesXmlAndBinary) {
    const QVariantMap original = everyType();
    for (bool binary : {false, true}) {
        QString error;
        const QByteArray bytes = binary ? PropertyList::toBinary(original, &error)
                                        : PropertyList::toXml(original, &error);
        ASSERT_FALSE(bytes.isEmpty()) << error.toStdString();
        EXPECT_EQ(bytes.startsWith("bplist00"), binary);
        const QVariant back = PropertyList::fromData(bytes, &error);
        ASSERT_TRUE(back.isValid()) << error.toStdString();
        EXPECT_TRUE(error.isEmpty());
        EXPECT_TRUE(PropertyList::isIdentical(back, original)) << bytes.toStdString();

        // Spelled out, so that a fault shared by the writer and isIdentical shows too.
        const QVariantMap map = back.toMap();
        expectType(map, "yes", QMetaType::Bool);
        expectType(map, "int one", QMetaType::Int);
        expectType(map, "int min", QMetaType::Int);
        expectType(map, "long above int", QMetaType::LongLong);
        expectType(map, "long below int", QMetaType::LongLong);
        expectType(map, "unsigned top", QMetaType::ULongLong);
        expectType(map, "real one", QMetaType::Double);
        expectType(map, "real zero", QMetaType::Double);
        expectType(map, "data empty", QMetaType::QByteArray);
        expectType(map, "string empty", QMetaType::QString);
        expectType(map, "date", QMetaType::QDateTime);
        EXPECT_EQ(map.value("unsigned top").toULongLong(), std::numeric_limits<quint64>::max());
        EXPECT_EQ(map.value("long min").toLongLong(), std::numeric_limits<qlonglong>::min());
        EXPECT_EQ(map.value("date").toDateTime().timeSpec(), Qt::UTC);
        const QVariantList list = map.value("nested").toMap().value("list").toList();
        ASSERT_EQ(list.size(), 4);
        EXPECT_EQ(list.at(0).typeId(), QMetaType::Int);
        EXPECT_EQ(list.at(1).typeId(), QMetaType::Double);
        EXPECT_EQ(list.at(3).typeId(), QMetaType::QVariantMap);
    }
}

TEST(PropertyListRoundTrip, ScalarsAtTheTopAndNotANumber) {
    for (const QVariant& value : {QVariant(true), QVariant(42), QVariant(QString("x")),
                                  QVariant(QVariantList{}), QVariant(QByteArray("\0", 1))}) {
        const QVariant back = PropertyList::fromData(PropertyList::toXml(value));
        EXPECT_TRUE(PropertyList::isIdentical(back, value)) << value.typeName();
    }
    const QVariant nan =
        PropertyList::fromData(PropertyList::toXml(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(nan.typeId(), QMetaType::Double);
    EXPECT_TRUE(std::isnan(nan.toDouble()));
}

TEST(PropertyListRoundTrip, OtherQtTypesAreWrittenAsTheirPropertyListKind) {
    const QVariantHash hash{{"b", 2}, {"a", 1}};
    const QVariantMap written{{"hash", hash},
                              {"strings", QStringList{"x", "y"}},
                              {"float", 0.5f},
                              {"uint", 7u},
                              {"short", QVariant::fromValue<short>(-3)}};
    const QVariantMap back = PropertyList::fromData(PropertyList::toXml(written)).toMap();
    EXPECT_TRUE(PropertyList::isIdentical(back.value("hash"), QVariantMap{{"a", 1}, {"b", 2}}));
    EXPECT_TRUE(PropertyList::isIdentical(back.value("strings"), QVariantList{"x", "y"}));
    EXPECT_TRUE(PropertyList::isIdentical(back.value("float"), 0.5));
    EXPECT_TRUE(PropertyList::isIdentical(back.value("uint"), 7));
    EXPECT_TRUE(PropertyList::isIdentical(back.value("short"), -3));
}

TEST(PropertyListRoundTrip, DatesKeepWholeSeconds) {
    for (const QDateTime& precise :
         {QDateTime(QDate(2010, 2, 3), QTime(4, 5, 6, 789), QTimeZone::utc()),
          QDateTime(QDate(1999, 2, 3), QTime(4, 5, 6, 789), QTimeZone::utc())}) {
        const QDateTime fromXml = PropertyList::fromData(PropertyList::toXml(precise)).toDateTime();
        const QDateTime fromBinary =
            PropertyList::fromData(PropertyList::toBinary(precise)).toDateTime();
        EXPECT_EQ(fromXml, precise.addMSecs(-789));
        EXPECT_EQ(fromBinary, precise.addMSecs(-789));
    }

    // A local time is the same instant, read back in UTC.
    const QDateTime zoned(QDate(2020, 7, 1), QTime(12, 0), QTimeZone(3600 * 5));
    const QDateTime back = PropertyList::fromData(PropertyList::toXml(zoned)).toDateTime();
    EXPECT_EQ(back.toMSecsSinceEpoch(), zoned.toMSecsSinceEpoch());
    EXPECT_EQ(back.time(), QTime(7, 0));
}

TEST(PropertyListRoundTrip, IsIdenticalTellsTypesApart) {
    EXPECT_FALSE(PropertyList::isIdentical(1, 1.0));
    EXPECT_FALSE(PropertyList::isIdentical(true, 1));
    EXPECT_FALSE(PropertyList::isIdentical(QVariantMap{{"a", 1}}, QVariantMap{{"a", 1.0}}));
    EXPECT_FALSE(PropertyList::isIdentical(QVariantList{1, 2}, QVariantList{1}));
    EXPECT_FALSE(PropertyList::isIdentical(QVariantMap{{"a", 1}}, QVariantMap{{"b", 1}}));
    EXPECT_TRUE(PropertyList::isIdentical(QVariantList{QVariantMap{{"a", "x"}}},
                                          QVariantList{QVariantMap{{"a", "x"}}}));
}

TEST(PropertyListXml, TagsDecideTheType) {
    const QVariantMap map = readXmlText("<dict><key>real</key><real>1</real>"
                                        "<key>integer</key><integer>1</integer>"
                                        "<key>bool</key><true/>"
                                        "<key>padded</key><integer>\n  -5 \n</integer>"
                                        "<key>hex</key><integer>0x1F</integer></dict>")
                                .toMap();
    expectType(map, "real", QMetaType::Double);
    expectType(map, "integer", QMetaType::Int);
    expectType(map, "bool", QMetaType::Bool);
    EXPECT_EQ(map.value("padded").toInt(), -5);
    EXPECT_EQ(map.value("hex").toInt(), 31);
    // And the writer keeps a whole real a real.
    EXPECT_TRUE(PropertyList::toXml(1.0).contains("<real>1"));
}

TEST(PropertyListXml, IntegerBoundaries) {
    struct Case {
        const char* text;
        QMetaType::Type type;
    };
    for (const Case& c :
         {Case{"2147483647", QMetaType::Int}, Case{"-2147483648", QMetaType::Int},
          Case{"2147483648", QMetaType::LongLong}, Case{"-2147483649", QMetaType::LongLong},
          Case{"9223372036854775807", QMetaType::LongLong},
          Case{"-9223372036854775808", QMetaType::LongLong},
          Case{"9223372036854775808", QMetaType::ULongLong},
          Case{"18446744073709551615", QMetaType::ULongLong}}) {
        QString error;
        const QVariant value = readXmlText(QByteArray("<integer>") + c.text + "</integer>", &error);
        ASSERT_TRUE(value.isValid()) << c.text << ": " << error.toStdString();
        EXPECT_EQ(value.typeId(), int(c.type)) << c.text;
        EXPECT_EQ(value.toString(), QString(c.text));
    }
    for (const char* outOfRange : {"18446744073709551616", "-9223372036854775809"}) {
        QString error;
        EXPECT_FALSE(
            readXmlText(QByteArray("<integer>") + outOfRange + "</integer>", &error).isValid());
        EXPECT_TRUE(error.contains("out of range") || error.contains("not an integer"))
            << error.toStdString();
    }
}

TEST(PropertyListXml, DatesAndDataFromText) {
    const QVariantMap map = readXmlText("<dict><key>d</key><date>2024-05-06T07:08:09Z</date>"
                                        "<key>b</key><data>\n\tSGVs\n\tbG8=\n</data></dict>")
                                .toMap();
    EXPECT_EQ(map.value("d").toDateTime(),
              QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), QTimeZone::utc()));
    EXPECT_EQ(map.value("b").toByteArray(), QByteArray("Hello"));
}

// Switches LC_NUMERIC to a locale with a decimal comma: an installed one, else one that
// localedef compiles into `scratch` (glibc reads LOCPATH on every setlocale). Returns its
// name, or null when there is none to be had.
const char* useDecimalCommaLocale(const QTemporaryDir& scratch) {
    auto hasComma = [] {
        return std::string(std::localeconv()->decimal_point) == ",";
    };
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"}) {
        if (std::setlocale(LC_NUMERIC, name) && hasComma()) {
            return name;
        }
    }
    if (QStandardPaths::findExecutable("localedef").isEmpty()) {
        return nullptr;
    }
    QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", scratch.filePath("de_DE.UTF-8")});
    qputenv("LOCPATH", scratch.path().toUtf8());
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && hasComma()) {
        return "de_DE.UTF-8";
    }
    return nullptr;
}

// The application runs under the user's locale; one with a decimal comma must not change
// how reals are written or read (libplist reads them with the C library).
TEST(PropertyListXml, RealsIgnoreTheDecimalCommaOfTheLocale) {
    const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    const bool hadLocPath = qEnvironmentVariableIsSet("LOCPATH");
    const QByteArray previousLocPath = qgetenv("LOCPATH");
    QTemporaryDir scratch;
    const char* comma = useDecimalCommaLocale(scratch);
    const QByteArray xml = PropertyList::toXml(QVariantMap{{"gain", 0.25}});
    const QVariant back = readXmlText("<real>2.5</real>");
    std::setlocale(LC_NUMERIC, previous.c_str());
    if (hadLocPath) {
        qputenv("LOCPATH", previousLocPath);
    } else {
        qunsetenv("LOCPATH");
    }
    if (!comma) {
        GTEST_SKIP() << "no locale with a decimal comma is installed or can be made";
    }
    EXPECT_TRUE(xml.contains("<real>0.25</real>")) << comma << ": " << xml.toStdString();
    EXPECT_EQ(back, QVariant(2.5)) << comma;
}

TEST(PropertyListXml, ByteOrderMarkIsSkipped) {
    const QVariant value = PropertyList::fromData("\xef\xbb\xbf" + PropertyList::toXml(5));
    EXPECT_EQ(value, QVariant(5));
}

TEST(PropertyListBinary, ReadsAHandBuiltFile) {
    // {"name": "Jingle", "count": 300, "gain": 0.5, "on": true, "list": [-1]}
    BinaryPlistBuilder b;
    const int name = b.add(BinaryPlistBuilder::ascii("name"));
    const int count = b.add(BinaryPlistBuilder::ascii("count"));
    const int gain = b.add(BinaryPlistBuilder::ascii("gain"));
    const int on = b.add(BinaryPlistBuilder::ascii("on"));
    const int list = b.add(BinaryPlistBuilder::ascii("list"));
    const int jingle = b.add(BinaryPlistBuilder::utf16(QString::fromUtf8("Jingle ü")));
    const int three = b.add(BinaryPlistBuilder::integer(300));
    const int half = b.add(BinaryPlistBuilder::real(0.5));
    const int yes = b.add(BinaryPlistBuilder::boolean(true));
    const int minusOne = b.add(BinaryPlistBuilder::integer(-1));
    const int array = b.add(BinaryPlistBuilder::array({minusOne}));
    const int root = b.add(
        BinaryPlistBuilder::dict({name, count, gain, on, list}, {jingle, three, half, yes, array}));
    QString error;
    const QVariant value = PropertyList::fromData(b.build(root), &error);
    ASSERT_TRUE(value.isValid()) << error.toStdString();
    const QVariantMap expected{{"name", QString::fromUtf8("Jingle ü")},
                               {"count", 300},
                               {"gain", 0.5},
                               {"on", true},
                               {"list", QVariantList{-1}}};
    EXPECT_TRUE(PropertyList::isIdentical(value, expected));
}

TEST(PropertyListMalformed, EachFaultHasAOneLineMessage) {
    struct Case {
        QByteArray input;
        const char* expected; // part of the message
    };
    const QByteArray validBinary = PropertyList::toBinary(QVariantMap{{"a", 1}});
    QByteArray badVersion = validBinary;
    badVersion[7] = '1';
    BinaryPlistBuilder uid;
    const int uidRoot = uid.add(QByteArray("\x80\x01", 2));
    BinaryPlistBuilder nulKey;
    const int key = nulKey.add(BinaryPlistBuilder::ascii(QByteArray("a\0b", 3)));
    const int one = nulKey.add(BinaryPlistBuilder::integer(1));
    const int nulKeyRoot = nulKey.add(BinaryPlistBuilder::dict({key}, {one}));
    const Case cases[] = {
        {"", "empty"},
        {"hello", "malformed XML"},
        {"<plist version=\"1.0\"><dict><key>a</key><integer>1</integer>", "malformed XML"},
        {"<plist><dict><key>a</key></dict></plist>", "\"a\" has no value"},
        {"<plist><dict><key>a</key><key>b</key><true/></dict></plist>", "\"a\" has no value"},
        {"<plist><integer>abc</integer></plist>", "\"abc\" is not an integer"},
        {"<plist><integer>010</integer></plist>", "leading zero"},
        {"<plist><real>1,5</real></plist>", "not a real number"},
        {"<plist><date>yesterday</date></plist>", "not a date"},
        {"<plist><date>2024-02-30T00:00:00Z</date></plist>", "not a valid date"},
        {"<plist><date>1900-01-01T00:00:00Z</date></plist>", "out of range"},
        {"<plist><data>!!!!</data></plist>", "base64"},
        {"<plist><data>QUJDRA</data></plist>", "padded"},
        {"<plist><true>yes</true></plist>", "holds text"},
        {"<plist><integer>1</integer><integer>2</integer></plist>", "more than one value"},
        {"<plist></plist>", "holds no value"},
        {"<plist><color>red</color></plist>", "unknown element <color>"},
        {"<plist><array><key>k</key></array></plist>", "<key> outside a <dict>"},
        {"<plist><dict><key>k</key><true/><key>k</key><false/></dict></plist>", "appears twice"},
        {"<plist><array>stray<true/></array></plist>", "outside a value"},
        {"<plist><string>a<b/>c</string></plist>", "malformed XML"},
        {"<dict></dict>", "not <plist>"},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><true/></plist>", "only UTF-8"},
        {"<plist><true/></plist><extra/>", "malformed XML"},
        {validBinary.left(validBinary.size() - 1), "malformed binary"},
        {"bplist00", "too short"},
        {badVersion, "version"},
        {uid.build(uidRoot), "UID"},
        {nulKey.build(nulKeyRoot), "NUL character"},
    };
    for (const Case& c : cases) {
        QString error = "untouched";
        const QVariant value = PropertyList::fromData(c.input, &error);
        EXPECT_FALSE(value.isValid()) << c.input.toStdString();
        EXPECT_TRUE(error.contains(QString::fromUtf8(c.expected)))
            << c.input.toStdString() << " -> " << error.toStdString();
        EXPECT_FALSE(error.contains(u'\n')) << error.toStdString();
    }
}

TEST(PropertyListMalformed, EveryTruncationIsRefused) {
    const QVariantMap original = everyType();
    const QByteArray xml = PropertyList::toXml(original).trimmed();
    const QByteArray binary = PropertyList::toBinary(original);
    for (const QByteArray& whole : {xml, binary}) {
        ASSERT_TRUE(PropertyList::fromData(whole).isValid());
        for (qsizetype length = 0; length < whole.size(); ++length) {
            QString error;
            EXPECT_FALSE(PropertyList::fromData(whole.left(length), &error).isValid())
                << "prefix of " << length << " bytes was accepted";
            EXPECT_FALSE(error.isEmpty());
        }
    }
}

TEST(PropertyListLimits, NestingIsBoundedBothWays) {
    auto nested = [](int depth) {
        QVariant value = QVariantList{};
        for (int i = 1; i < depth; ++i) {
            value = QVariantList{value};
        }
        return value;
    };
    QString error;
    const QByteArray deepest = PropertyList::toXml(nested(PropertyList::maxDepth), &error);
    ASSERT_FALSE(deepest.isEmpty()) << error.toStdString();
    EXPECT_TRUE(PropertyList::fromData(deepest).isValid());
    EXPECT_TRUE(
        PropertyList::fromData(PropertyList::toBinary(nested(PropertyList::maxDepth))).isValid());

    EXPECT_TRUE(PropertyList::toXml(nested(PropertyList::maxDepth + 1), &error).isEmpty());
    EXPECT_TRUE(error.contains("nest deeper")) << error.toStdString();

    const QByteArray tooDeep = "<plist><array>" +
                               deepest.mid(deepest.indexOf("<array>"), -1).replace("</plist>", "") +
                               "</array></plist>";
    EXPECT_FALSE(PropertyList::fromData(tooDeep, &error).isValid());
    EXPECT_TRUE(error.contains("nest deeper")) << error.toStdString();

    // Far beyond any stack: refused by the structure check before libplist recurses.
    QByteArray abyss = "<plist>";
    abyss += QByteArray("<array>").repeated(200000);
    abyss += QByteArray("</array>").repeated(200000);
    abyss += "</plist>";
    EXPECT_FALSE(PropertyList::fromData(abyss, &error).isValid());
    EXPECT_TRUE(error.contains("nest deeper")) << error.toStdString();
}

TEST(PropertyListLimits, CraftedBinaryGraphsAreRefused) {
    QString error;
    // A chain of 100000 arrays, each holding the next.
    BinaryPlistBuilder chain;
    constexpr int kLinks = 100000;
    for (int i = 0; i < kLinks; ++i) {
        chain.add(i + 1 < kLinks ? BinaryPlistBuilder::array({i + 1})
                                 : BinaryPlistBuilder::array({}));
    }
    EXPECT_FALSE(PropertyList::fromData(chain.build(0), &error).isValid());
    EXPECT_TRUE(error.contains("nest deeper")) << error.toStdString();

    // An array that holds itself.
    BinaryPlistBuilder loop;
    loop.add(BinaryPlistBuilder::array({0}));
    EXPECT_FALSE(PropertyList::fromData(loop.build(0), &error).isValid());
    EXPECT_FALSE(error.isEmpty());

    // 40 levels of [next, next]: a small file that expands to 2^40 values.
    BinaryPlistBuilder doubling;
    for (int i = 0; i < 40; ++i) {
        doubling.add(BinaryPlistBuilder::array({i + 1, i + 1}));
    }
    doubling.add(BinaryPlistBuilder::integer(1));
    EXPECT_FALSE(PropertyList::fromData(doubling.build(0), &error).isValid());
    EXPECT_TRUE(error.contains("expands to more than")) << error.toStdString();

    // A reference past the last object, and a string longer than the file.
    BinaryPlistBuilder dangling;
    dangling.add(BinaryPlistBuilder::array({7}));
    EXPECT_FALSE(PropertyList::fromData(dangling.build(0), &error).isValid());
    EXPECT_TRUE(error.contains("does not exist")) << error.toStdString();

    BinaryPlistBuilder overlong;
    overlong.add(QByteArray("\x5f\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 10));
    EXPECT_FALSE(PropertyList::fromData(overlong.build(0), &error).isValid());
    EXPECT_TRUE(error.contains("past the end")) << error.toStdString();
}

TEST(PropertyListLimits, OversizedInputIsRefusedUnread) {
    QByteArray huge(PropertyList::maxInputBytes + 1, ' ');
    QString error;
    EXPECT_FALSE(PropertyList::fromData(huge, &error).isValid());
    EXPECT_TRUE(error.contains("too large")) << error.toStdString();
}

TEST(PropertyListWrite, UnsupportedValuesNameTheirPath) {
    struct Case {
        QVariant value;
        const char* path;
        const char* what;
    };
    const Case cases[] = {
        {QVariantMap{{"Output Settings 3", QVariantMap{{"Output Color", QColor(Qt::red)}}}},
         "\"Output Settings 3/Output Color\"", "QColor"},
        {QVariantMap{{"Items", QVariantList{1, 2, QVariant()}}}, "\"Items[2]\"", "empty value"},
        {QVariantList{QVariantList{QUrl("file:///x")}}, "\"[0][0]\"", "QUrl"},
        {QColor(Qt::blue), "the top level", "QColor"},
        {QVariantMap{{"Name", QString("bell\x07")}}, "\"Name\"", "U+0007"},
        {QVariantMap{{"Name", QString(QChar(0xd800))}}, "\"Name\"", "U+d800"},
        {QVariantMap{{QString("key\x01"), 1}}, "key", "key holds a character"},
        {QVariantMap{{"When", QDateTime(QDate(1900, 1, 1), QTime(0, 0), QTimeZone::utc())}},
         "\"When\"", "outside"},
        {QVariantMap{{"When", QDateTime()}}, "\"When\"", "invalid date"},
    };
    for (const Case& c : cases) {
        for (bool binary : {false, true}) {
            QString error;
            const QByteArray bytes = binary ? PropertyList::toBinary(c.value, &error)
                                            : PropertyList::toXml(c.value, &error);
            EXPECT_TRUE(bytes.isEmpty());
            EXPECT_TRUE(error.contains(c.path)) << error.toStdString();
            EXPECT_TRUE(error.contains(c.what)) << error.toStdString();
        }
    }
}

} // namespace
