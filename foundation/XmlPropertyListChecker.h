#pragma once

// Structure check of an XML property list before libplist reads it. libplist's own XML
// reader is lenient: it turns <integer>abc</integer> into 0, keeps a dict whose last key
// has no value, ignores a second root value and reads a leading-zero integer as octal.
// This check refuses all of that, with the line and column of the fault, so that a bad
// file is rejected as a whole instead of loading as something else. It also bounds the
// nesting depth. The values themselves are still taken from libplist.
// Any thread; no shared state.

#include <QByteArray>
#include <QString>

class PropertyListShape;

class XmlPropertyListChecker {
public:
    // True when `data` is a well-formed XML property list (UTF-8, one <plist> root
    // holding exactly one value, dicts of key/value pairs with distinct keys, well-formed
    // scalar texts, at most `maxDepth` nested dicts/arrays), with its shape in *shape.
    // Otherwise false with a one-line reason in *error.
    static bool check(const QByteArray& data, int maxDepth, PropertyListShape* shape,
                      QString* error);
};
