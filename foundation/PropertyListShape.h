#pragma once

// A fingerprint of the shape of a property list: the kinds of its values in document
// order and the sizes of its dicts and arrays, without the values themselves. The
// structure checks compute it from the file, the reader from what libplist built; the
// two must agree, so a file that libplist reads differently from how it is written
// (a quirk of its lenient reader) is refused instead of loading as something else.
// Any thread; a value type.

#include <QtGlobal>

class PropertyListShape {
public:
    enum class Kind : quint8 { Dict, Array, String, Integer, Real, Boolean, Date, Data };

    // Adds one value; `count` is the number of entries of a dict or array, else 0.
    void add(Kind kind, quint64 count = 0) {
        mix(static_cast<quint64>(kind) + 1);
        mix(count);
        ++_values;
    }

    quint64 fingerprint() const { return _hash; }
    quint64 values() const { return _values; }
    bool operator==(const PropertyListShape& other) const {
        return _hash == other._hash && _values == other._values;
    }

private:
    // FNV-1a over the eight bytes of `word`.
    void mix(quint64 word) {
        for (int byte = 0; byte < 8; ++byte) {
            _hash ^= (word >> (8 * byte)) & 0xff;
            _hash *= 0x100000001b3ULL;
        }
    }

    quint64 _hash = 0xcbf29ce484222325ULL;
    quint64 _values = 0;
};
