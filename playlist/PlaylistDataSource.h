#pragma once

// What the playlist table and its row cell ask of the window's controller: the rows and
// the texts, status and colour of each (by row index), and what the table hands over
// from the operator (the scroll wheel, rows dragged out, clips dropped in). The
// PlaylistController implements it; the cell's tests use a fake.
//
// Thread contract: main thread only.

#include <QColor>
#include <QString>

class QMimeData;
class QWheelEvent;

class PlaylistDataSource {
public:
    // What the row's LED shows.
    enum CellStatus { EmptyStatus = 0, LoadedStatus = 1, PlayingStatus = 2 };

    virtual ~PlaylistDataSource() = default;

    // ---- Rows ----
    virtual int numberOfRowsInTableView() const = 0;
    virtual bool cellIsSelected(int row) const = 0;
    virtual QString cellTitle(int row) const = 0;
    virtual QString cellSubTitle(int row) const = 0;
    virtual QString cellSubSubTitle(int row) const = 0;
    virtual QString cellDurationString(int row) const = 0;
    virtual int cellStatus(int row) const = 0;
    virtual QColor cellColor(int row) const = 0;

    // ---- Table events ----
    // A wheel turned over the table; true when the playlist used it (the table then does
    // not scroll).
    virtual bool scrollWheelHasMoved(const QWheelEvent& event) {
        (void)event;
        return false;
    }
    // Fills `mimeData` with the clip of `row` for a drag; leaves it empty for a row
    // without a clip.
    virtual void copyClip(int row, QMimeData& mimeData) {
        (void)row;
        (void)mimeData;
    }
    // Something was dropped on `row` (moved from this table when `deleteOriginal`);
    // true when it was placed.
    virtual bool takeClipFromPasteboard(const QMimeData& mimeData, bool deleteOriginal, int row) {
        (void)mimeData;
        (void)deleteOriginal;
        (void)row;
        return false;
    }
};
