#pragma once

// Structure check of a binary property list ("bplist00") before libplist reads it.
// libplist's binary reader recurses once per nesting level and expands an object each
// time it is referred to, so a small crafted file could exhaust the stack or the memory.
// This check walks the object graph without recursion and refuses such files: every
// offset and reference must lie inside the file, objects must fit before the trailer,
// nesting is bounded, and so is the number of values the file expands to.
// Any thread; no shared state.

#include <QByteArray>
#include <QString>

class PropertyListShape;

class BinaryPropertyListChecker {
public:
    // True when `data` is a sound binary property list of the types this program reads
    // (no UIDs, sets or nulls), nested at most `maxDepth` deep and expanding to at most
    // `maxObjects` values; its shape goes to *shape. Otherwise false with a one-line
    // reason in *error.
    static bool check(const QByteArray& data, int maxDepth, int maxObjects,
                      PropertyListShape* shape, QString* error);
};
