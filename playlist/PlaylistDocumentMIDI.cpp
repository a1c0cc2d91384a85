// PlaylistDocument: how a row learns its MIDI note.

#include "playlist/PlaylistDocument.h"

#include "document/AssignMIDINotePanel.h"
#include "foundation/Logging.h"

#include <QApplication>
#include <QWidget>

QString PlaylistDocument::learningPrompt(int index) const {
    return QStringLiteral("Play a note on your MIDI device to assign it to row %1.").arg(index + 1);
}

void PlaylistDocument::placeAssignMIDINotePanel(AssignMIDINotePanel* panel) {
    QWidget* owner = window() ? window() : QApplication::activeWindow();
    if (owner && panel->parentWidget() != owner) {
        panel->setParent(owner, Qt::Sheet);
    }
    panel->setWindowModality(owner ? Qt::WindowModal : Qt::ApplicationModal);
}

const QLoggingCategory& PlaylistDocument::logCategory() const {
    return lcPlaylist();
}
