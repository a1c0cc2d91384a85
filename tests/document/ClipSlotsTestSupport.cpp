#include "tests/document/ClipSlotsTestSupport.h"

#include "document/ClipSlotsDocument.h"
#include "foundation/PropertyList.h"

#include <gtest/gtest.h>

QSet<QString> keysOf(const QVariantMap& map) {
    const QStringList keys = map.keys();
    return QSet<QString>(keys.begin(), keys.end());
}

QVariantMap saved(const ClipSlotsDocument& document) {
    QString error;
    const QByteArray bytes = document.dataRepresentation(&error);
    EXPECT_TRUE(bytes.startsWith("<?xml")) << error.toStdString();
    return PropertyList::fromData(bytes).toMap();
}

bool load(ClipSlotsDocument& document, const QVariantMap& root) {
    QString error;
    return document.loadDataRepresentation(PropertyList::toXml(root), &error);
}
