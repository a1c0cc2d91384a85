#include "foundation/UserDefaults.h"

#include "foundation/AtomicFile.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

UserDefaults* s_standard = nullptr;

const QString kFileName = QStringLiteral("defaults.plist");

// Registered values may hold any numeric type; stored ones are bool, int, qlonglong,
// quint64 or double.
bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

bool isFloatingPoint(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

int clampToInt(double number) {
    if (std::isnan(number)) {
        return 0;
    }
    if (number >= double(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (number <= double(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return int(number); // truncates towards zero
}

int clampToInt(qlonglong number) {
    constexpr qlonglong kLowest = std::numeric_limits<int>::min();
    constexpr qlonglong kHighest = std::numeric_limits<int>::max();
    return int(std::clamp(number, kLowest, kHighest));
}

QStringView skipLeadingSpace(QStringView text) {
    while (!text.isEmpty() && text.front().isSpace()) {
        text = text.mid(1);
    }
    return text;
}

// Like NSString's boolValue: after white space, an optional sign and zeros, a leading
// Y, y, T, t or digit 1-9 means true.
bool leadingBool(QStringView text) {
    text = skipLeadingSpace(text);
    if (!text.isEmpty() && (text.front() == u'+' || text.front() == u'-')) {
        text = text.mid(1);
    }
    while (!text.isEmpty() && text.front() == u'0') {
        text = text.mid(1);
    }
    if (text.isEmpty()) {
        return false;
    }
    const QChar c = text.front();
    return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

// Like NSString's intValue: after white space, an optional sign and the digits that
// follow; 0 when there are none, clamped to the int range.
int leadingInteger(QStringView text) {
    text = skipLeadingSpace(text);
    bool negative = false;
    if (!text.isEmpty() && (text.front() == u'+' || text.front() == u'-')) {
        negative = text.front() == u'-';
        text = text.mid(1);
    }
    qlonglong magnitude = 0;
    constexpr qlonglong kCeiling = qlonglong(std::numeric_limits<int>::max()) + 1;
    for (QChar c : text) {
        if (c < u'0' || c > u'9') {
            break;
        }
        magnitude = qMin(kCeiling, magnitude * 10 + (c.unicode() - u'0'));
    }
    return clampToInt(negative ? -magnitude : magnitude);
}

// Like NSString's doubleValue: after white space, the longest leading decimal number
// (sign, digits, fraction, exponent); 0.0 when there is none, infinity on overflow.
double leadingDouble(QStringView text) {
    text = skipLeadingSpace(text);
    const QByteArray latin = text.left(400).toLatin1();
    const char* begin = latin.constData();
    const char* end = begin + latin.size();
    const bool negative = begin != end && *begin == '-';
    if (begin != end && (*begin == '+' || *begin == '-')) {
        ++begin;
    }
    // Only digits or a point may start the number: no "inf", "nan" or hex.
    if (begin == end || !(std::isdigit(static_cast<unsigned char>(*begin)) || *begin == '.')) {
        return 0.0;
    }
    double magnitude = 0.0;
    const auto [stop, ec] = std::from_chars(begin, end, magnitude, std::chars_format::general);
    if (ec == std::errc::result_out_of_range) {
        const QByteArray number(begin, stop - begin);
        const bool tiny = number.contains("e-") || number.contains("E-");
        magnitude = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (ec != std::errc()) {
        return 0.0;
    }
    return negative ? -magnitude : magnitude;
}

QString numberText(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::Float:
        return QString::number(value.toFloat(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        return QString::number(value.toULongLong());
    default:
        return QString::number(value.toLongLong());
    }
}

// What the value will be after a save and a restart: a QStringList comes back as a
// QVariantList, a float as a double, dates to the second. Invalid when a property list
// cannot hold the value; *error then says why.
QVariant asStoredValue(const QString& key, const QVariant& value, QString* error) {
    const QByteArray xml = PropertyList::toXml(QVariantMap{{key, value}}, error);
    if (xml.isEmpty()) {
        return {};
    }
    return PropertyList::fromData(xml, error).toMap().value(key);
}

} // namespace

UserDefaults::UserDefaults(const QString& directory, QObject* parent)
    : QObject(parent)
    , _directory(directory) {
    readUserValues();
}

UserDefaults::~UserDefaults() {
    if (s_standard == this) {
        s_standard = nullptr;
    }
}

QString UserDefaults::defaultDirectory() {
    // GenericConfigLocation is $XDG_CONFIG_HOME, or ~/.config when that is unset.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/zelvora-studio");
}

UserDefaults* UserDefaults::standard() {
    return s_standard;
}

void UserDefaults::setStandard(UserDefaults* defaults) {
    s_standard = defaults;
}

void UserDefaults::registerDefaults(const QVariantMap& values) {
    bool changed = false;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const auto existing = _registered.constFind(it.key());
        if (existing == _registered.cend() || !PropertyList::isIdentical(*existing, it.value())) {
            _registered.insert(it.key(), it.value());
            changed = true;
        }
    }
    if (changed) {
        emit defaultsChanged();
    }
}

QVariantMap UserDefaults::registeredDefaults() const {
    return _registered;
}

QVariant UserDefaults::objectForKey(const QString& key) const {
    const auto user = _userValues.constFind(key);
    if (user != _userValues.cend()) {
        return *user;
    }
    return _registered.value(key);
}

QString UserDefaults::stringForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString) {
        return value.toString();
    }
    return isNumber(value) ? numberText(value) : QString();
}

bool UserDefaults::boolForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString) {
        return leadingBool(value.toString());
    }
    if (isFloatingPoint(value)) {
        return value.toDouble() != 0.0; // NaN counts as non-zero, as in C
    }
    return isNumber(value) && value.toLongLong() != 0;
}

int UserDefaults::integerForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
    case QMetaType::QString:
        return leadingInteger(value.toString());
    case QMetaType::Double:
    case QMetaType::Float:
        return clampToInt(value.toDouble());
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        return value.toULongLong() > quint64(std::numeric_limits<int>::max())
                   ? std::numeric_limits<int>::max()
                   : int(value.toULongLong());
    default:
        return isNumber(value) ? clampToInt(value.toLongLong()) : 0;
    }
}

double UserDefaults::doubleForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString) {
        return leadingDouble(value.toString());
    }
    return isNumber(value) ? value.toDouble() : 0.0;
}

QVariantMap UserDefaults::dictionaryForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    // A registered value may also be a hash; a stored one is always a map.
    const bool isDict =
        value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantHash;
    return isDict ? value.toMap() : QVariantMap();
}

QVariantList UserDefaults::arrayForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    // A registered value may also be a string list; a stored one is always a list.
    const bool isArray =
        value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
    return isArray ? value.toList() : QVariantList();
}

QByteArray UserDefaults::dataForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QByteArray ? value.toByteArray() : QByteArray();
}

bool UserDefaults::hasObjectForKey(const QString& key) const {
    return _userValues.contains(key) || _registered.contains(key);
}

bool UserDefaults::setObject(const QVariant& value, const QString& key) {
    if (!value.isValid()) {
        removeObject(key);
        return false;
    }
    QString error;
    const QVariant stored = asStoredValue(key, value, &error);
    if (!stored.isValid()) {
        qCWarning(lcDefaults).noquote()
            << QStringLiteral("Setting \"%1\" was not changed: %2").arg(key, error);
        return false;
    }
    const auto existing = _userValues.constFind(key);
    if (existing != _userValues.cend() && PropertyList::isIdentical(*existing, stored)) {
        return true;
    }
    _userValues.insert(key, stored);
    writeUserValues();
    emit defaultsChanged();
    return true;
}

void UserDefaults::removeObject(const QString& key) {
    if (_userValues.remove(key) == 0) {
        return;
    }
    writeUserValues();
    emit defaultsChanged();
}

QString UserDefaults::filePath() const {
    return _directory + u'/' + kFileName;
}

QString UserDefaults::lastError() const {
    return _lastError;
}

void UserDefaults::readUserValues() {
    QFile file(filePath());
    if (!file.exists()) {
        return;
    }
    QString problem;
    QVariant values;
    if (!file.open(QIODevice::ReadOnly)) {
        problem = file.errorString();
    } else {
        // One byte more than is ever read, so an oversized file is refused as such.
        values = PropertyList::fromData(file.read(PropertyList::maxInputBytes + 1), &problem);
        if (values.isValid() && values.typeId() != QMetaType::QVariantMap) {
            problem = QStringLiteral("it holds a single %1 instead of a dict of settings")
                          .arg(QString::fromLatin1(values.typeName()));
        }
    }
    if (!problem.isEmpty()) {
        _badFileOnDisk = true;
        _lastError = QStringLiteral("cannot read %1: %2").arg(filePath(), problem);
        qCWarning(lcDefaults).noquote()
            << QStringLiteral("The settings file %1 cannot be read (%2); running on the factory "
                              "settings. It will be moved aside before a changed setting is saved.")
                   .arg(filePath(), problem);
        return;
    }
    _userValues = values.toMap();
}

bool UserDefaults::writeUserValues() {
    if (!QDir().mkpath(_directory)) {
        reportWriteError(QStringLiteral("cannot create the folder %1").arg(_directory));
        return false;
    }
    if (_badFileOnDisk && !moveBadFileAside()) {
        return false;
    }
    QString error;
    const QByteArray xml = PropertyList::toXml(_userValues, &error);
    if (xml.isEmpty()) {
        reportWriteError(error);
        return false;
    }
    if (!AtomicFile::write(filePath(), xml, &error)) {
        reportWriteError(error);
        return false;
    }
    _lastError.clear();
    return true;
}

bool UserDefaults::moveBadFileAside() {
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = filePath() + QStringLiteral(".bad-") + stamp;
    for (int n = 2; QFile::exists(target); ++n) {
        target = filePath() + QStringLiteral(".bad-%1-%2").arg(stamp).arg(n);
    }
    QFile file(filePath());
    if (!file.exists()) {
        _badFileOnDisk = false; // someone else removed it
        return true;
    }
    if (!file.rename(target)) {
        reportWriteError(QStringLiteral("the unreadable settings file cannot be moved aside "
                                        "to %1 (%2), so it is left as it is")
                             .arg(target, file.errorString()));
        return false;
    }
    _badFileOnDisk = false;
    qCWarning(lcDefaults).noquote()
        << QStringLiteral("Moved the unreadable settings file %1 aside to %2; the changed "
                          "settings are saved to a new file.")
               .arg(filePath(), target);
    return true;
}

// Each distinct failure is reported once, not again for every following change.
void UserDefaults::reportWriteError(const QString& message) {
    const QString text = QStringLiteral("Settings not saved: %1").arg(message);
    if (text != _lastError) {
        qCWarning(lcDefaults).noquote()
            << text + QStringLiteral("; changed settings are kept for this session only.");
    }
    _lastError = text;
}
