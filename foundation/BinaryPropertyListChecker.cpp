#include "foundation/BinaryPropertyListChecker.h"

#include "foundation/PropertyListShape.h"

#include <optional>
#include <vector>

namespace {

using Kind = PropertyListShape::Kind;

constexpr quint64 kHeaderSize = 8; // "bplist00"
constexpr quint64 kTrailerSize = 32;

// Object markers: the high nibble is the type, the low one a size or count.
enum Marker : quint8 {
    kSpecial = 0x0, // 0x08 false, 0x09 true (null and fill are not read)
    kInteger = 0x1,
    kReal = 0x2,
    kDate = 0x3,
    kData = 0x4,
    kAsciiString = 0x5,
    kUtf16String = 0x6,
    kUid = 0x8,
    kArray = 0xA,
    kSet = 0xC,
    kDict = 0xD,
};

class BinaryWalk {
public:
    BinaryWalk(const QByteArray& data, int maxDepth, int maxObjects)
        : _bytes(reinterpret_cast<const quint8*>(data.constData()))
        , _size(quint64(data.size()))
        , _maxDepth(maxDepth)
        , _maxObjects(maxObjects) {}

    bool run() { return readTrailer() && walkFromRoot(); }
    const PropertyListShape& shape() const { return _shape; }
    const QString& error() const { return _error; }

private:
    struct Object {
        quint8 type = 0;
        quint64 count = 0;      // entries of a container, bytes/characters of a scalar
        quint64 payload = 0;    // offset of the bytes after the marker (and count)
        quint64 payloadEnd = 0; // one past its last byte
    };

    bool readTrailer() {
        if (_size < kHeaderSize + kTrailerSize + 1) {
            return fail(QStringLiteral("the file is too short (%1 bytes)").arg(_size));
        }
        _objectsEnd = _size - kTrailerSize;
        const quint64 trailer = _objectsEnd;
        _offsetSize = _bytes[trailer + 6];
        _refSize = _bytes[trailer + 7];
        _objectCount = readUnsigned(trailer + 8, 8);
        _root = readUnsigned(trailer + 16, 8);
        _tableOffset = readUnsigned(trailer + 24, 8);
        if (_offsetSize < 1 || _offsetSize > 8 || _refSize < 1 || _refSize > 8) {
            return fail(QStringLiteral("the trailer gives offset size %1 and reference size %2")
                            .arg(_offsetSize)
                            .arg(_refSize));
        }
        if (_objectCount == 0 || _objectCount > _objectsEnd) {
            return fail(QStringLiteral("the trailer gives %1 objects").arg(_objectCount));
        }
        if (_root >= _objectCount) {
            return fail(QStringLiteral("the top object %1 does not exist").arg(_root));
        }
        if (_tableOffset < kHeaderSize || _tableOffset >= _objectsEnd ||
            _objectCount > (_objectsEnd - _tableOffset) / _offsetSize) {
            return fail(QStringLiteral("the offset table lies outside the file"));
        }
        return true;
    }

    bool walkFromRoot() {
        struct Pending {
            quint64 index;
            int depth;
        };
        std::vector<Pending> stack{{_root, 0}};
        while (!stack.empty()) {
            const Pending next = stack.back();
            stack.pop_back();
            std::optional<Object> object = readObject(next.index);
            if (!object || !countValue()) {
                return false;
            }
            if (isString(*object) && !checkStringHasNoNul(*object, next.index)) {
                return false;
            }
            if (object->type != kArray && object->type != kDict) {
                _shape.add(scalarKind(*object));
                continue;
            }
            if (next.depth >= _maxDepth) {
                return fail(
                    QStringLiteral("dicts and arrays nest deeper than %1 levels").arg(_maxDepth));
            }
            _shape.add(object->type == kDict ? Kind::Dict : Kind::Array, object->count);
            // Values are pushed last to first so that they come off in file order.
            const quint64 firstValue = object->type == kDict ? object->count : 0;
            for (quint64 i = object->count; i-- > 0;) {
                const quint64 ref =
                    readUnsigned(object->payload + (firstValue + i) * _refSize, _refSize);
                if (!checkReference(ref, next.index)) {
                    return false;
                }
                stack.push_back({ref, next.depth + 1});
            }
            if (object->type == kDict && !checkDictKeys(*object, next.index)) {
                return false;
            }
        }
        return true;
    }

    bool checkDictKeys(const Object& dict, quint64 dictIndex) {
        for (quint64 i = 0; i < dict.count; ++i) {
            const quint64 ref = readUnsigned(dict.payload + i * _refSize, _refSize);
            if (!checkReference(ref, dictIndex)) {
                return false;
            }
            std::optional<Object> key = readObject(ref);
            if (!key || !countValue()) {
                return false;
            }
            if (!isString(*key)) {
                return fail(
                    QStringLiteral("a key of dict object %1 is not a string").arg(dictIndex));
            }
            if (!checkStringHasNoNul(*key, ref)) {
                return false;
            }
        }
        return true;
    }

    static bool isString(const Object& object) {
        return object.type == kAsciiString || object.type == kUtf16String;
    }

    // libplist asserts (aborts) on a dict key with a NUL character, and XML could not
    // carry one in any string, so none is read.
    bool checkStringHasNoNul(const Object& object, quint64 index) {
        const quint64 unit = object.type == kUtf16String ? 2 : 1;
        for (quint64 at = object.payload; at + unit <= object.payloadEnd; at += unit) {
            if (_bytes[at] == 0 && (unit == 1 || _bytes[at + 1] == 0)) {
                return fail(QStringLiteral("string object %1 holds a NUL character").arg(index));
            }
        }
        return true;
    }

    bool checkReference(quint64 ref, quint64 from) {
        if (ref >= _objectCount) {
            return fail(QStringLiteral("object %1 refers to object %2, which does not exist")
                            .arg(from)
                            .arg(ref));
        }
        return true;
    }

    // Every object read counts towards the limit, however often it is referred to.
    bool countValue() {
        if (++_visited > quint64(_maxObjects)) {
            return fail(QStringLiteral("the file expands to more than %1 values").arg(_maxObjects));
        }
        return true;
    }

    std::optional<Object> readObject(quint64 index) {
        const quint64 offset = readUnsigned(_tableOffset + index * _offsetSize, _offsetSize);
        if (offset < kHeaderSize || offset >= _objectsEnd) {
            fail(QStringLiteral("object %1 lies outside the file").arg(index));
            return std::nullopt;
        }
        Object object;
        const quint8 marker = _bytes[offset];
        object.type = marker >> 4;
        const quint8 low = marker & 0x0f;
        object.payload = offset + 1;
        quint64 payloadBytes = 0;
        switch (object.type) {
        case kSpecial:
            if (marker != 0x08 && marker != 0x09) {
                return unsupported(index, marker);
            }
            break;
        case kInteger:
            if (low > 4) {
                return unsupported(index, marker);
            }
            payloadBytes = quint64(1) << low;
            break;
        case kReal:
            if (low != 2 && low != 3) {
                return unsupported(index, marker);
            }
            payloadBytes = quint64(1) << low;
            break;
        case kDate:
            if (low != 3) {
                return unsupported(index, marker);
            }
            payloadBytes = 8;
            break;
        case kData:
        case kAsciiString:
        case kUtf16String:
        case kArray:
        case kDict: {
            if (!readCount(object, low, index)) {
                return std::nullopt;
            }
            const quint64 unit = object.type == kUtf16String ? 2
                                 : object.type == kArray     ? _refSize
                                 : object.type == kDict      ? 2 * _refSize
                                                             : 1;
            if (object.count > (_objectsEnd - object.payload) / unit) {
                fail(QStringLiteral("object %1 runs past the end of the file").arg(index));
                return std::nullopt;
            }
            payloadBytes = object.count * unit;
            break;
        }
        default: // UIDs (keyed archives), sets and reserved markers
            return unsupported(index, marker);
        }
        if (payloadBytes > _objectsEnd - object.payload) {
            fail(QStringLiteral("object %1 runs past the end of the file").arg(index));
            return std::nullopt;
        }
        object.payloadEnd = object.payload + payloadBytes;
        return object;
    }

    // A count of 15 or more follows the marker as an integer object of 1, 2, 4 or 8 bytes.
    bool readCount(Object& object, quint8 low, quint64 index) {
        if (low != 0x0f) {
            object.count = low;
            return true;
        }
        if (object.payload >= _objectsEnd) {
            return fail(QStringLiteral("object %1 runs past the end of the file").arg(index));
        }
        const quint8 countMarker = _bytes[object.payload];
        if ((countMarker >> 4) != kInteger || (countMarker & 0x0f) > 3) {
            return fail(QStringLiteral("object %1 has a malformed length").arg(index));
        }
        const quint64 width = quint64(1) << (countMarker & 0x0f);
        if (width > _objectsEnd - object.payload - 1) {
            return fail(QStringLiteral("object %1 runs past the end of the file").arg(index));
        }
        object.count = readUnsigned(object.payload + 1, int(width));
        object.payload += 1 + width;
        return true;
    }

    std::nullopt_t unsupported(quint64 index, quint8 marker) {
        const quint8 type = marker >> 4;
        const QString what = type == kUid   ? QStringLiteral("a UID (keyed archive)")
                             : type == kSet ? QStringLiteral("a set")
                                            : QStringLiteral("an unknown kind of value");
        fail(QStringLiteral("object %1 is %2 (marker 0x%3)")
                 .arg(index)
                 .arg(what)
                 .arg(marker, 2, 16, QLatin1Char('0')));
        return std::nullopt;
    }

    static Kind scalarKind(const Object& object) {
        switch (object.type) {
        case kSpecial:
            return Kind::Boolean;
        case kInteger:
            return Kind::Integer;
        case kReal:
            return Kind::Real;
        case kDate:
            return Kind::Date;
        case kData:
            return Kind::Data;
        default:
            return Kind::String;
        }
    }

    // Big-endian unsigned integer of `width` (1..8) bytes; callers check the bounds.
    quint64 readUnsigned(quint64 offset, int width) const {
        quint64 value = 0;
        for (int i = 0; i < width; ++i) {
            value = (value << 8) | _bytes[offset + quint64(i)];
        }
        return value;
    }

    bool fail(const QString& reason) {
        if (_error.isEmpty()) {
            _error = reason;
        }
        return false;
    }

    const quint8* _bytes;
    quint64 _size;
    int _maxDepth;
    int _maxObjects;

    quint64 _objectsEnd = 0; // the trailer starts here
    quint8 _offsetSize = 0;
    quint8 _refSize = 0;
    quint64 _objectCount = 0;
    quint64 _root = 0;
    quint64 _tableOffset = 0;

    quint64 _visited = 0;
    PropertyListShape _shape;
    QString _error;
};

} // namespace

bool BinaryPropertyListChecker::check(const QByteArray& data, int maxDepth, int maxObjects,
                                      PropertyListShape* shape, QString* error) {
    if (!data.startsWith("bplist00")) {
        if (error) {
            *error = data.startsWith("bplist")
                         ? QStringLiteral("binary property list version %1 is not supported")
                               .arg(QString::fromLatin1(data.mid(6, 2).toHex()))
                         : QStringLiteral("not a binary property list");
        }
        return false;
    }
    BinaryWalk walk(data, maxDepth, maxObjects);
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
