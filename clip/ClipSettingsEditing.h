#pragma once

// The clip settings editor as the document windows reach it. Installed by the
// application in StudioServices.
//
// Thread contract: main thread only.

#include <QUrl>
#include <QVariantMap>
#include <memory>

class ClipSettingsEditing {
public:
    virtual ~ClipSettingsEditing() = default;

    // Runs the editor modally on the record `settings` of the clip playing `url` (may be
    // empty). Answers whether the user accepted; only then is `settings` changed, in
    // place, and *oldSettings (when given) receives the record as it was before the edit.
    virtual bool editClipSettings(const QUrl& url, const std::shared_ptr<QVariantMap>& settings,
                                  QVariantMap* oldSettings) = 0;
};
