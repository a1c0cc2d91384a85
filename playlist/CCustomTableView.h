#pragma once

// The playlist's table: one column of rows ("Item"), each drawn by the table's single
// PlaylistCell with the row as its tag, scrolled vertically. A click selects one row.
// The table never handles keys itself, deliberately: arrows, letters and Escape travel on
// to the playlist window, whose controller decides. The scroll wheel goes to the data
// source first and scrolls only when the playlist does not use it. Rows with a clip can
// be dragged out (the clip's file and the private clip entry, with the row under
// "RowDragInfoType"); files and rows dropped on a row are offered to the data source.
//
// Thread contract: main thread only.

#include <QAbstractScrollArea>
#include <QPoint>
#include <memory>

class PlaylistCell;
class PlaylistDataSource;
class QMimeData;

class CCustomTableView : public QAbstractScrollArea {
    Q_OBJECT
public:
    // The drag type of rows moved within the table.
    static const QString kRowDragType;      // "RowDragInfoType"
    static const QString kColumnIdentifier; // "Item"
    static constexpr int kRowHeight = 62;

    explicit CCustomTableView(QWidget* parent = nullptr);
    ~CCustomTableView() override;

    // The source of the rows (not owned); handed to the cell as well.
    void setDataSource(PlaylistDataSource* dataSource);
    PlaylistDataSource* dataSource() const { return _dataSource; }
    // The cell that draws every row.
    PlaylistCell* cell() const { return _cell.get(); }

    // Reads the number of rows again and redraws.
    void reloadData();
    int numberOfRows() const;
    // The row under `viewportPoint`; -1 below the last row.
    int rowAtPoint(const QPoint& viewportPoint) const;
    // Where row `row` is drawn, in the viewport's coordinates.
    QRect rectOfRow(int row) const;
    // Redraws one row.
    void updateRow(int row);

    bool isRowSelected(int row) const { return row >= 0 && row == _selectedRow; }
    int selectedRow() const { return _selectedRow; }
    // Selects `row` (-1: none) and redraws what changed.
    void selectRow(int row);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void updateScrollRange();
    void startRowDrag(int row);
    bool acceptsDrop(const QMimeData* data) const;

    std::unique_ptr<PlaylistCell> _cell;
    PlaylistDataSource* _dataSource = nullptr;
    int _selectedRow = -1;
    int _pressedRow = -1;
    QPoint _pressPosition;
};
