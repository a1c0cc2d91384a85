#pragma once

// A durable reference to a file: it finds the file again after it was moved or renamed
// within its volume, or after its folder moved together with the document that refers
// to it. Documents store the reference as opaque bytes (aliasData()), which pass through
// loading and saving unchanged; resolving never rewrites them.
//
// The bytes are a versioned binary property list: "Version" (1), "Path" (the absolute
// path as the file system's bytes), and when known "Relative Path" (from the base folder
// the reference was made against), "Device", "Inode", "Size" and "Modified" (nanoseconds
// since the epoch). Bytes that hold just an absolute path (UTF-8) read as a reference to
// that path. Anything else does not resolve.
//
// Resolving tries, in order: the absolute path; the relative path against the base folder
// given; a search by identity in the folders where the file most likely went (its
// original folder, or the nearest one of its ancestors that still exists, the base
// folder, and the parents of both, each a few levels down), bounded by entry count and
// time. A found file is remembered, and a failed search is not repeated for thirty
// seconds: an offline clip is drawn and asked for its path often, and each of those must
// cost a stat or two, not a walk (the absolute and relative paths are still tried every
// time, so a file that comes back to its place is seen at once).
//
// A base path is a folder, or the path of a file (a document) whose folder is meant; a
// path that is not an existing folder counts as a file's path.
//
// Thread contract: one thread at a time per object (resolving caches its result).

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <optional>

class BDAlias {
public:
    // The reference record. Linux has no file-system reference handle: the record made
    // from a path stands for it.
    struct Record {
        QString path;         // absolute
        QString relativePath; // from the base folder; "" when made without one
        quint64 device = 0;   // identity when the file existed (inode 0: unknown)
        quint64 inode = 0;
        qint64 size = -1;
        qint64 modifiedNs = 0;

        bool hasIdentity() const { return inode != 0; }
    };

    static constexpr int kVersion = 1;
    // How long a failed identity search is trusted before the next resolve searches again.
    static constexpr int kFailedSearchMemoryMs = 30000;

    BDAlias();
    explicit BDAlias(const Record& record);
    ~BDAlias();
    BDAlias(const BDAlias&);
    BDAlias& operator=(const BDAlias&);

    static BDAlias aliasWithAliasHandle(const Record& record) { return BDAlias(record); }
    static BDAlias aliasWithData(const QByteArray& data);
    static BDAlias aliasWithPath(const QString& path);
    static BDAlias aliasWithPath(const QString& path, const QString& relativeToPath);

    // The record; none when the object is empty or its bytes do not hold one.
    const std::optional<Record>& alias() const { return _alias; }
    void setAlias(const Record& record);

    // The bytes to store: exactly the bytes this object was made from (setAliasData), or
    // the encoding of the record it was made from.
    QByteArray aliasData() const { return _data; }
    void setAliasData(const QByteArray& data);

    // The file's current path, or "" when it cannot be found.
    QString fullPath() const { return fullPathRelativeToPath(QString()); }
    // The same, trying the relative path against `basePath` second; "" as well when a
    // base path is given but its folder does not exist.
    QString fullPathRelativeToPath(const QString& basePath) const;

    // Bytes to record and back. DataToHandle gives none for bytes that hold no record.
    static std::optional<Record> DataToHandle(const QByteArray& data);
    static QByteArray recordData(const Record& record);
    // The record of `path` (made absolute), relative to `basePath` when one is given,
    // with the file's identity when it exists.
    static Record recordForPath(const QString& path, const QString& basePath = QString());
    // The folder meant by a base path ("" for "").
    static QString baseFolder(const QString& basePath);

private:
    QString searchByIdentity(const QString& baseFolder) const;
    void forgetResolution();

    std::optional<Record> _alias;
    QByteArray _data;

    // Resolution cache.
    mutable QString _foundPath;
    mutable QString _foundForBase;
    mutable qint64 _failedSearchAtMs = -1;
    mutable QString _failedSearchBase;
};
