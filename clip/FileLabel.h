#pragma once

// The label colour a file carries in the file manager. On Linux desktops the labels live
// in the extended attribute "user.xdg.tags" as a comma-separated list of tag names; the
// tags named after a colour (Grey or Gray, Green, Purple, Blue, Yellow, Red, Orange, in
// any case) give the label numbers 1 to 7, the first such tag in the list winning. A file
// without such a tag has label 0, shown black.
//
// Thread contract: any thread; no shared state.

#include <QColor>
#include <QString>
#include <array>

class FileLabel {
public:
    static constexpr int kLabelColorCount = 9;
    static const char* const kTagsAttribute; // "user.xdg.tags"

    // Index = label number: 0 black (no label), 1 grey, 2 green, 3 purple, 4 blue,
    // 5 yellow, 6 red, 7 orange; the ninth slot is left empty (an invalid colour).
    static const std::array<QColor, kLabelColorCount>& labelColors();

    // The label number of a tag list ("Work, red" -> 6); 0 when no tag names a colour.
    static int labelNumberForTags(const QString& tags);
    // The tag list of the file; "" when it has none or the attribute cannot be read.
    static QString tagsForPath(const QString& path);
    // The label number of the file; 0 when it has none or on any failure.
    static int labelNumberForPath(const QString& path);
    // The table colour of the file's label; black on any failure.
    static QColor colorForPath(const QString& path);
};
