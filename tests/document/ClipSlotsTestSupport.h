#pragma once

// Shared pieces of the tests of clip slot documents (the shared base, the playlist): a
// document's file as the property list it writes, and a property list read back into a
// document.

#include <QSet>
#include <QString>
#include <QVariantMap>

class ClipSlotsDocument;

// The keys of `map`, in no order.
QSet<QString> keysOf(const QVariantMap& map);
// The document's file, which must be an XML property list, read back.
QVariantMap saved(const ClipSlotsDocument& document);
// Reads `root`, written as an XML property list, into `document`.
bool load(ClipSlotsDocument& document, const QVariantMap& root);
