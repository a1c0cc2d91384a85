#include "clip/QorvinFileBasedObject.h"

#include "clip/BDAlias.h"
#include "foundation/Logging.h"

QorvinFileBasedObject::QorvinFileBasedObject() = default;

QorvinFileBasedObject::QorvinFileBasedObject(const QString& path) {
    setPath(path);
}

QorvinFileBasedObject::QorvinFileBasedObject(const QUrl& url) {
    setURL(url);
}

QorvinFileBasedObject::QorvinFileBasedObject(const QByteArray& aliasData) {
    setAliasData(aliasData);
}

QorvinFileBasedObject::~QorvinFileBasedObject() = default;

void QorvinFileBasedObject::setPath(const QString& path) {
    if (path.isEmpty()) {
        _alias.reset();
        return;
    }
    _alias = std::make_unique<BDAlias>(BDAlias::aliasWithPath(path, _basePath));
}

QString QorvinFileBasedObject::path() const {
    return _alias ? _alias->fullPathRelativeToPath(_basePath) : QString();
}

void QorvinFileBasedObject::setURL(const QUrl& url) {
    if (url.isEmpty()) {
        _alias.reset();
        return;
    }
    if (!url.isLocalFile()) {
        qCWarning(lcClip).noquote()
            << QStringLiteral("\"%1\" is not a local file; the clip keeps its file")
                   .arg(url.toDisplayString());
        return;
    }
    setPath(url.toLocalFile());
}

QUrl QorvinFileBasedObject::url() const {
    const QString resolved = path();
    return resolved.isEmpty() ? QUrl() : QUrl::fromLocalFile(resolved);
}

void QorvinFileBasedObject::setAliasData(const QByteArray& data) {
    if (data.isEmpty()) {
        _alias.reset();
        return;
    }
    _alias = std::make_unique<BDAlias>(BDAlias::aliasWithData(data));
}

QByteArray QorvinFileBasedObject::aliasData() const {
    return _alias ? _alias->aliasData() : QByteArray();
}

void QorvinFileBasedObject::setBasePath(const QString& basePath) {
    _basePath = basePath;
}

QString QorvinFileBasedObject::displayName() const {
    const QString resolved = path();
    return resolved.isEmpty() ? QString() : QFileInfo(resolved).fileName();
}

QString QorvinFileBasedObject::extension() const {
    // A missing file still has the extension it was recorded with.
    const QString resolved = path();
    return QFileInfo(resolved.isEmpty() ? recordedPath() : resolved).suffix();
}

QFileInfo QorvinFileBasedObject::fileAttributes() const {
    const QString resolved = path();
    return resolved.isEmpty() ? QFileInfo() : QFileInfo(resolved);
}

bool QorvinFileBasedObject::exists() const {
    if (!_alias) {
        return false;
    }
    const QString resolved = path();
    return !resolved.isEmpty() && QFileInfo::exists(resolved);
}

QString QorvinFileBasedObject::recordedPath() const {
    return _alias && _alias->alias() ? _alias->alias()->path : QString();
}
