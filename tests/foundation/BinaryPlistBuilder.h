#pragma once

// Builds binary property lists ("bplist00") object by object, for tests that need files
// our own writer never produces: hand-made input, dangling references, cycles, deep or
// exploding object graphs. Offsets and references are 4 bytes wide.

#include <QByteArray>
#include <QList>
#include <QString>

class BinaryPlistBuilder {
public:
    // Appends one encoded object and returns its index.
    int add(const QByteArray& object);
    // The whole file with `root` as the top object.
    QByteArray build(int root) const;

    static QByteArray ascii(const QByteArray& text);
    static QByteArray utf16(const QString& text);
    static QByteArray integer(qint64 value);
    static QByteArray real(double value);
    static QByteArray boolean(bool value);
    static QByteArray array(const QList<int>& items);
    static QByteArray dict(const QList<int>& keys, const QList<int>& values);

private:
    QList<QByteArray> _objects;
};
