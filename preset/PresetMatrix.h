#pragma once

// The cart wall grid of one preset window: a single widget painting 24 PresetButtonCells
// in 6 rows of 4 (letters "A".."D" on the first row, "U".."X" on the last), each 190 wide
// and 70 high when "Read ID3 Tags" is on (room for artist and album) or 45 high otherwise,
// 7 apart. The cell index is its tag, row by row from the top left.
//
// Mouse. A button fires when the mouse is released over it (pressed buttons draw sunken);
// while the Left or Right arrow is held (physically or latched by the application) it is
// pre-listened from its start or near its end instead. A right-click on a button offers
// the contextual menu (the controller's actions then work on lastClickedCellIndex()); on
// the gaps there is no menu.
//
// Dragging. Ctrl- or Alt-pressing a button selects it without firing; moving the mouse
// then drags its clip (file URL plus the private clip entry) with an 80 %-opaque picture
// of the button. An empty button starts no drag. Drops accept anything carrying file
// URLs, onto a button only, which is highlighted while it is the target. A drag inside one
// grid moves the clip when Ctrl alone is held at the drop and copies it otherwise; a drag
// from another window (another grid or another program) always copies.
//
// Thread contract: main thread only.

#include <QPoint>
#include <QWidget>
#include <array>
#include <memory>

class PresetButtonCell;
class PresetMatrixDelegate;
class QMenu;
class QMimeData;

class PresetMatrix : public QWidget {
    Q_OBJECT
public:
    static constexpr int kRows = 6;
    static constexpr int kColumns = 4;
    static constexpr int kCellCount = kRows * kColumns;
    static constexpr int kCellWidth = 190;
    static constexpr int kTallCellHeight = 70;
    static constexpr int kShortCellHeight = 45;
    static constexpr int kSpacing = 7;
    // The grid's height with the short cells.
    static constexpr int kShortGridHeight = 320;
    // The private format naming the grid a drag started from.
    static const char* const kDragSourceFormat;

    // The cell height follows "Read ID3 Tags" as it is now.
    explicit PresetMatrix(QWidget* parent = nullptr);
    ~PresetMatrix() override;

    void setDelegate(PresetMatrixDelegate* delegate) { _delegate = delegate; }
    PresetMatrixDelegate* delegate() const { return _delegate; }
    // The buttons' contextual menu (not owned).
    void setContextualMenu(QMenu* menu) { _contextualMenu = menu; }
    QMenu* contextualMenu() const { return _contextualMenu; }

    // Tall (70) or short (45) cells; the grid resizes to fit.
    void setTallCells(bool tall);
    QSize cellSize() const { return _cellSize; }

    PresetButtonCell* cellAtIndex(int index) const;
    // Redraws that cell only; an index outside 0..23 is ignored.
    void updateCellAtIndex(int index);
    void setButtonHighlighted(int index, bool highlighted);
    // The cell's frame in the grid; empty for an index outside 0..23.
    QRect cellFrame(int index) const;
    // The button under `point` (grid coordinates), or -1 on a gap or outside.
    int indexOfCellAt(const QPoint& point) const;

    // The button a menu or click refers to; -1 when none.
    int lastClickedCellIndex() const { return _lastClickedCellIndex; }
    // The contextual menu for a click at `point`: the menu on an enabled button (which
    // becomes the last clicked), none elsewhere (the last clicked becomes -1).
    QMenu* menuForPoint(const QPoint& point);
    // The button highlighted as a drop target; -1 when none.
    int dropTargetIndex() const { return _dropTargetIndex; }
    bool isDragSessionInProgress() const { return _dragSessionInProgress; }

    // Fires (or pre-listens, with an arrow held) the button under `point`; `modifiers`
    // are the keys held in the click.
    void buttonClicked(const QPoint& point, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    // Opens the settings of the button under `point`.
    void configureButton(const QPoint& point);
    // The drag data of button `index`: the delegate's clip entry and this grid's mark.
    std::unique_ptr<QMimeData> dragDataForCell(int index) const;
    // The 80 %-opaque picture of button `index` that follows the mouse.
    QPixmap dragImageForCell(int index) const;

    // b − a, component by component.
    static QPoint subtractPoints(const QPoint& a, const QPoint& b) { return b - a; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    bool isOwnDrag(const QMimeData* data) const;
    void highlightDropTarget(int index);
    void startDrag(int index);
    void resizeToCells();

    std::array<std::unique_ptr<PresetButtonCell>, kCellCount> _cells;
    PresetMatrixDelegate* _delegate = nullptr;
    QMenu* _contextualMenu = nullptr;
    QSize _cellSize;
    QByteArray _dragToken;
    QPoint _lastMouseDown;
    int _lastClickedCellIndex = -1;
    // Button under a plain press, fired when the mouse is released over it.
    int _trackedCellIndex = -1;
    // Button selected by a Ctrl- or Alt-press, which a mouse move drags.
    int _selectedCellIndex = -1;
    int _dropTargetIndex = -1;
    bool _dragSessionInProgress = false;
};
