#pragma once

// How a clip travels on the clipboard and in drags, between every kind of document
// window: the file's URL (text/uri-list, so other programs take the file) plus the
// private entry "ZelvoraStudio Clip", an XML property list {"Cell Index": the button or
// row the clip came from, "Settings": its settings record}. A file dropped from another
// program carries only the URL.
//
// Thread contract: main thread only (mime data).

#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class QMimeData;

class ClipPasteboard {
public:
    static const QString kClipType; // "ZelvoraStudio Clip"

    // What the private entry said: the settings (null when absent or unreadable) and the
    // index the clip came from (-1 when absent).
    struct Entry {
        std::shared_ptr<QVariantMap> settings;
        int sourceIndex = -1;
    };

    // Writes the clip's file and the private entry into `mimeData`; false (and nothing
    // written) when the entry cannot be serialised.
    static bool write(QMimeData& mimeData, const QUrl& url, int cellIndex,
                      const QVariantMap& settings);
    // Reads the private entry; an entry that does not read is logged and treated as absent.
    static Entry read(const QMimeData& mimeData);
    // The path of the first local file in `mimeData`; "" when there is none.
    static QString firstPath(const QMimeData& mimeData);
};
