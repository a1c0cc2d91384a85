#pragma once

// The demo cart wall: a folder in the user's data directory
// ($XDG_DATA_HOME/zelvora-studio/Demo) with generated sounds (test tones, sweeps, a
// count-in, a looping bed, a jingle) and "Demo Cart Wall.zpreset" that puts them on
// buttons A to H, so a newcomer can fire something real without any audio files.
//
// The program writes it once, at the first start that finds no demo cart wall; the cart
// wall file goes last, so a start interrupted while writing the sounds writes them again
// next time. A demo the user has changed or moved sounds from is never overwritten.
//
// Thread contract: any one thread at a time per folder; the program writes its demo on a
// worker thread unless it opens it at once.

#include <QString>
#include <QVariantMap>
#include <vector>

class DemoCartWall {
public:
    // What ensureWritten() found or did.
    enum class State { AlreadyThere, Written, Failed };

    // One button of the demo: its sound file (in the demo folder) and its settings.
    struct Button {
        int index = 0;    // 0..23, button A..X
        QString fileName; // "Tone 440 Hz.flac"
        QString title;    // the tag title the button shows
        double seconds = 0.0;
        QVariantMap settings; // settings that differ from the factory clip settings
    };

    // The demo in `folder`; defaultFolder() for the program's own.
    explicit DemoCartWall(const QString& folder);

    // $XDG_DATA_HOME/zelvora-studio/Demo (~/.local/share/zelvora-studio/Demo).
    static QString defaultFolder();
    // "Demo Cart Wall.zpreset"
    static const QString kPresetFileName;

    QString folder() const { return _folder; }
    QString presetPath() const;
    // The buttons of the demo, in button order.
    static const std::vector<Button>& buttons();

    // "--demo"
    static const QString kOption;
    // What a start that names no document opens: with --demo in `arguments` the
    // program's demo, written first when it is not there yet; else nothing (the start
    // opens an untitled cart wall, as an operator expects) while the demo is written on
    // a worker thread, so that the first window need not wait for it.
    static QStringList documentsForStart(const QStringList& arguments);

    // Writes the sounds and the cart wall unless the cart wall is there already. On
    // failure *error says why and no cart wall file exists.
    State ensureWritten(QString* error = nullptr);

    // Writes a cart wall file at `presetPath` whose buttons play the given files with
    // the factory clip settings plus the buttons' own settings (the file paths in
    // `paths`, one per button). Atomic: an existing file is replaced whole or kept.
    static bool writeCartWall(const QString& presetPath, const std::vector<Button>& buttons,
                              const QStringList& paths, QString* error);

private:
    // ensureWritten() on the demo in `folder`, logging a failure.
    static bool writeLogged(const QString& folder);
    bool writeSounds(QString* error) const;

    QString _folder;
};
