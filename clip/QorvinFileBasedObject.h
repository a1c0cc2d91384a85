#pragma once

// Something that refers to one file through a durable reference (BDAlias): the base of
// SoundClip. Every accessor derives from the reference; an object without one has no
// path, no URL and does not exist.
//
// An optional base path (the document's path, or its folder) lets the reference find a
// file whose folder moved together with the document; references made by setPath() and
// setURL() record their path relative to it.
//
// Thread contract: main thread only.

#include <QByteArray>
#include <QFileInfo>
#include <QString>
#include <QUrl>
#include <memory>

class BDAlias;

class QorvinFileBasedObject {
public:
    QorvinFileBasedObject();
    explicit QorvinFileBasedObject(const QString& path);
    explicit QorvinFileBasedObject(const QUrl& url);
    explicit QorvinFileBasedObject(const QByteArray& aliasData);
    virtual ~QorvinFileBasedObject();

    QorvinFileBasedObject(const QorvinFileBasedObject&) = delete;
    QorvinFileBasedObject& operator=(const QorvinFileBasedObject&) = delete;

    // Replaces the reference by one made from `path` ("" drops it).
    void setPath(const QString& path);
    // The reference's resolved full path; "" when there is none or it does not resolve.
    QString path() const;

    // Replaces the reference from a local file URL. Any other URL is refused with a
    // message and changes nothing.
    void setURL(const QUrl& url);
    // A file URL of the resolved path; an empty URL when there is none.
    QUrl url() const;

    // Replaces the reference by stored reference bytes (from a document).
    void setAliasData(const QByteArray& data);
    // The bytes to store in documents, unchanged from what was given; empty without one.
    QByteArray aliasData() const;
    // The reference itself; null without one.
    const BDAlias* alias() const { return _alias.get(); }

    // Where relative references are made from and resolved against ("" for none).
    void setBasePath(const QString& basePath);
    QString basePath() const { return _basePath; }

    // The name the file manager shows for the resolved file (its file name); "" when
    // there is no file.
    QString displayName() const;
    // The extension of the path (without the dot); of the recorded path when the file
    // cannot be found.
    QString extension() const;
    // The file's attributes (size, dates, permissions, type).
    QFileInfo fileAttributes() const;
    // False without a reference; otherwise whether a file exists at the resolved path.
    bool exists() const;

    // The path the reference was made for, resolved or not ("" without a reference).
    QString recordedPath() const;

private:
    std::unique_ptr<BDAlias> _alias;
    QString _basePath;
};
