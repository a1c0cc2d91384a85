#include "clip/BDAlias.h"

#include "clip/FileIdentitySearch.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>
#include <chrono>
#include <sys/stat.h>

namespace {

const QString kVersionKey = QStringLiteral("Version");
const QString kPathKey = QStringLiteral("Path");
const QString kRelativePathKey = QStringLiteral("Relative Path");
const QString kDeviceKey = QStringLiteral("Device");
const QString kInodeKey = QStringLiteral("Inode");
const QString kSizeKey = QStringLiteral("Size");
const QString kModifiedKey = QStringLiteral("Modified");

// A bare path stored as the whole record is at most this long.
constexpr qsizetype kMaxBarePathBytes = 4096;

qint64 steadyMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool isFileAt(const QString& path) {
    if (path.isEmpty()) {
        return false;
    }
    struct stat st {};
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool isFolderAt(const QString& path) {
    struct stat st {};
    return !path.isEmpty() && ::stat(QFile::encodeName(path).constData(), &st) == 0 &&
           S_ISDIR(st.st_mode);
}

// Paths are kept as the file system's bytes, so any file name survives the round trip.
QString pathFromValue(const QVariant& value) {
    if (value.typeId() == QMetaType::QByteArray) {
        return QFile::decodeName(value.toByteArray());
    }
    if (value.typeId() == QMetaType::QString) {
        return value.toString();
    }
    return QString();
}

std::optional<BDAlias::Record> recordFromPropertyList(const QByteArray& data) {
    const QVariant parsed = PropertyList::fromData(data);
    if (parsed.typeId() != QMetaType::QVariantMap) {
        return std::nullopt;
    }
    const QVariantMap map = parsed.toMap();
    const QVariant version = map.value(kVersionKey);
    bool versionIsNumber = false;
    const qlonglong versionNumber = version.toLongLong(&versionIsNumber);
    if (!versionIsNumber || versionNumber < 1) {
        return std::nullopt;
    }
    BDAlias::Record record;
    record.path = pathFromValue(map.value(kPathKey));
    if (record.path.isEmpty() || !QDir::isAbsolutePath(record.path)) {
        return std::nullopt;
    }
    record.relativePath = pathFromValue(map.value(kRelativePathKey));
    if (map.contains(kInodeKey) && map.contains(kDeviceKey)) {
        record.device = map.value(kDeviceKey).toULongLong();
        record.inode = map.value(kInodeKey).toULongLong();
        record.size = map.value(kSizeKey, -1).toLongLong();
        record.modifiedNs = map.value(kModifiedKey, 0).toLongLong();
    }
    return record;
}

} // namespace

BDAlias::BDAlias() = default;

BDAlias::BDAlias(const Record& record) {
    setAlias(record);
}

BDAlias::~BDAlias() = default;
BDAlias::BDAlias(const BDAlias&) = default;
BDAlias& BDAlias::operator=(const BDAlias&) = default;

BDAlias BDAlias::aliasWithData(const QByteArray& data) {
    BDAlias alias;
    alias.setAliasData(data);
    return alias;
}

BDAlias BDAlias::aliasWithPath(const QString& path) {
    return aliasWithPath(path, QString());
}

BDAlias BDAlias::aliasWithPath(const QString& path, const QString& relativeToPath) {
    if (path.isEmpty()) {
        return BDAlias();
    }
    return BDAlias(recordForPath(path, relativeToPath));
}

void BDAlias::setAlias(const Record& record) {
    _alias = record;
    _data = recordData(record);
    forgetResolution();
}

void BDAlias::setAliasData(const QByteArray& data) {
    _data = data;
    _alias = DataToHandle(data);
    if (!_alias && !data.isEmpty()) {
        qCInfo(lcClip) << "The stored file reference cannot be read; it refers to no file";
    }
    forgetResolution();
}

void BDAlias::forgetResolution() {
    _foundPath.clear();
    _foundForBase.clear();
    _failedSearchAtMs = -1;
    _failedSearchBase.clear();
}

QString BDAlias::fullPathRelativeToPath(const QString& basePath) const {
    if (!_alias) {
        return QString();
    }
    QString folder;
    if (!basePath.isEmpty()) {
        folder = baseFolder(basePath);
        if (!isFolderAt(folder)) {
            return QString();
        }
    }
    if (isFileAt(_alias->path)) {
        return _alias->path;
    }
    if (!folder.isEmpty() && !_alias->relativePath.isEmpty()) {
        const QString candidate = QDir::cleanPath(folder + QLatin1Char('/') + _alias->relativePath);
        if (isFileAt(candidate)) {
            return candidate;
        }
    }
    return searchByIdentity(folder);
}

QString BDAlias::searchByIdentity(const QString& folder) const {
    if (!_alias->hasIdentity()) {
        return QString();
    }
    if (!_foundPath.isEmpty() && _foundForBase == folder) {
        FileIdentitySearch::Identity now;
        if (FileIdentitySearch::identityOf(_foundPath, &now) && now.device == _alias->device &&
            now.inode == _alias->inode) {
            return _foundPath;
        }
        _foundPath.clear();
    }
    const qint64 nowMs = steadyMilliseconds();
    if (_failedSearchAtMs >= 0 && _failedSearchBase == folder &&
        nowMs - _failedSearchAtMs < kFailedSearchMemoryMs) {
        return QString();
    }

    // The original folder, or the nearest ancestor of it that is still there.
    QString original = QFileInfo(_alias->path).absolutePath();
    while (!isFolderAt(original) && original != QDir::rootPath()) {
        original = QFileInfo(original).absolutePath();
    }
    QStringList seeds{original};
    if (!folder.isEmpty()) {
        seeds << folder;
    }
    for (const QString& seed : QStringList(seeds)) {
        const QString parent = QFileInfo(seed).absolutePath();
        if (parent != seed && parent != QDir::rootPath()) {
            seeds << parent;
        }
    }

    FileIdentitySearch::Identity identity;
    identity.device = _alias->device;
    identity.inode = _alias->inode;
    identity.size = _alias->size;
    identity.modifiedNs = _alias->modifiedNs;
    identity.fileName = QFileInfo(_alias->path).fileName();
    const FileIdentitySearch::Result result = FileIdentitySearch::find(identity, seeds);
    if (result.path.isEmpty()) {
        if (result.cutShort) {
            qCInfo(lcClip).noquote()
                << QStringLiteral("Looking for the moved file \"%1\" stopped after %2 "
                                  "entries; it is taken as missing")
                       .arg(identity.fileName)
                       .arg(result.entriesRead);
        }
        _failedSearchAtMs = nowMs;
        _failedSearchBase = folder;
        return QString();
    }
    _foundPath = result.path;
    _foundForBase = folder;
    return _foundPath;
}

std::optional<BDAlias::Record> BDAlias::DataToHandle(const QByteArray& data) {
    if (data.isEmpty()) {
        return std::nullopt;
    }
    if (data.startsWith("bplist") || data.startsWith("<?xml") || data.startsWith("<plist")) {
        return recordFromPropertyList(data);
    }
    // A bare absolute path.
    if (data.startsWith('/') && data.size() <= kMaxBarePathBytes && !data.contains('\0') &&
        !data.contains('\n')) {
        Record record;
        record.path = QDir::cleanPath(QString::fromUtf8(data));
        return record;
    }
    return std::nullopt;
}

QByteArray BDAlias::recordData(const Record& record) {
    QVariantMap map{
        {kVersionKey, kVersion},
        {kPathKey, QFile::encodeName(record.path)},
    };
    if (!record.relativePath.isEmpty()) {
        map.insert(kRelativePathKey, QFile::encodeName(record.relativePath));
    }
    if (record.hasIdentity()) {
        map.insert(kDeviceKey, QVariant::fromValue(record.device));
        map.insert(kInodeKey, QVariant::fromValue(record.inode));
        map.insert(kSizeKey, qlonglong(record.size));
        map.insert(kModifiedKey, qlonglong(record.modifiedNs));
    }
    QString error;
    const QByteArray data = PropertyList::toBinary(map, &error);
    if (data.isEmpty()) {
        qCWarning(lcClip).noquote() << "A file reference could not be encoded:" << error;
    }
    return data;
}

BDAlias::Record BDAlias::recordForPath(const QString& path, const QString& basePath) {
    Record record;
    record.path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (!basePath.isEmpty()) {
        record.relativePath = QDir(baseFolder(basePath)).relativeFilePath(record.path);
    }
    FileIdentitySearch::Identity identity;
    if (FileIdentitySearch::identityOf(record.path, &identity)) {
        record.device = identity.device;
        record.inode = identity.inode;
        record.size = identity.size;
        record.modifiedNs = identity.modifiedNs;
    }
    return record;
}

QString BDAlias::baseFolder(const QString& basePath) {
    if (basePath.isEmpty()) {
        return QString();
    }
    const QFileInfo info(basePath);
    return QDir::cleanPath(isFolderAt(basePath) ? info.absoluteFilePath() : info.absolutePath());
}
