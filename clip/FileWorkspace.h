#pragma once

// The desktop's file services as the document windows reach them: showing a file in the
// file manager and opening it with the user's sound editor. Installed by the application
// in StudioServices.
//
// Thread contract: main thread only.

#include <QString>

class FileWorkspace {
public:
    virtual ~FileWorkspace() = default;

    // Shows the file manager with the file at `path` selected.
    virtual void revealInFileManager(const QString& path) = 0;
    // Opens `path` with the program `editorCommand` (the "Default Editor" preference).
    virtual void openWithEditor(const QString& path, const QString& editorCommand) = 0;
};
