#include "tests/foundation/BinaryPlistBuilder.h"

#include <cstring>

namespace {

void appendBigEndian(QByteArray& out, quint64 value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        out.append(char((value >> (8 * i)) & 0xff));
    }
}

// A marker with its count; 15 and more follow as a 4-byte integer object.
QByteArray marker(quint8 type, qsizetype count) {
    QByteArray out;
    if (count < 15) {
        out.append(char((type << 4) | count));
    } else {
        out.append(char((type << 4) | 0x0f));
        out.append(char(0x12));
        appendBigEndian(out, quint64(count), 4);
    }
    return out;
}

QByteArray references(const QList<int>& items) {
    QByteArray out;
    for (int item : items) {
        appendBigEndian(out, quint64(item), 4);
    }
    return out;
}

} // namespace

int BinaryPlistBuilder::add(const QByteArray& object) {
    _objects.append(object);
    return int(_objects.size() - 1);
}

QByteArray BinaryPlistBuilder::build(int root) const {
    QByteArray out = "bplist00";
    QList<quint64> offsets;
    for (const QByteArray& object : _objects) {
        offsets.append(quint64(out.size()));
        out.append(object);
    }
    const quint64 tableOffset = quint64(out.size());
    for (quint64 offset : offsets) {
        appendBigEndian(out, offset, 4);
    }
    out.append(QByteArray(6, '\0'));
    out.append(char(4)); // offset size
    out.append(char(4)); // reference size
    appendBigEndian(out, quint64(_objects.size()), 8);
    appendBigEndian(out, quint64(root), 8);
    appendBigEndian(out, tableOffset, 8);
    return out;
}

QByteArray BinaryPlistBuilder::ascii(const QByteArray& text) {
    return marker(0x5, text.size()) + text;
}

QByteArray BinaryPlistBuilder::utf16(const QString& text) {
    QByteArray out = marker(0x6, text.size());
    for (QChar c : text) {
        appendBigEndian(out, c.unicode(), 2);
    }
    return out;
}

QByteArray BinaryPlistBuilder::integer(qint64 value) {
    QByteArray out;
    if (value >= 0 && value <= 0xffff) {
        out.append(char(0x11));
        appendBigEndian(out, quint64(value), 2);
    } else {
        out.append(char(0x13));
        appendBigEndian(out, quint64(value), 8);
    }
    return out;
}

QByteArray BinaryPlistBuilder::real(double value) {
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    QByteArray out(1, char(0x23));
    appendBigEndian(out, bits, 8);
    return out;
}

QByteArray BinaryPlistBuilder::boolean(bool value) {
    return QByteArray(1, value ? char(0x09) : char(0x08));
}

QByteArray BinaryPlistBuilder::array(const QList<int>& items) {
    return marker(0xA, items.size()) + references(items);
}

QByteArray BinaryPlistBuilder::dict(const QList<int>& keys, const QList<int>& values) {
    return marker(0xD, keys.size()) + references(keys) + references(values);
}
