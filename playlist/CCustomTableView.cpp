#include "playlist/CCustomTableView.h"

#include "playlist/PlaylistCell.h"
#include "playlist/PlaylistDataSource.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

const QString CCustomTableView::kRowDragType = QStringLiteral("RowDragInfoType");
const QString CCustomTableView::kColumnIdentifier = QStringLiteral("Item");

CCustomTableView::CCustomTableView(QWidget* parent)
    : QAbstractScrollArea(parent)
    , _cell(std::make_unique<PlaylistCell>()) {
    setObjectName(kColumnIdentifier);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setAcceptDrops(true);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    verticalScrollBar()->setSingleStep(kRowHeight / 3);
}

CCustomTableView::~CCustomTableView() = default;

void CCustomTableView::setDataSource(PlaylistDataSource* dataSource) {
    _dataSource = dataSource;
    _cell->setDataSource(dataSource);
    reloadData();
}

int CCustomTableView::numberOfRows() const {
    return _dataSource ? _dataSource->numberOfRowsInTableView() : 0;
}

void CCustomTableView::reloadData() {
    if (_selectedRow >= numberOfRows()) {
        _selectedRow = -1;
    }
    updateScrollRange();
    viewport()->update();
}

void CCustomTableView::updateScrollRange() {
    const int contentHeight = numberOfRows() * kRowHeight;
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, std::max(0, contentHeight - viewport()->height()));
}

int CCustomTableView::rowAtPoint(const QPoint& viewportPoint) const {
    const int y = viewportPoint.y() + verticalScrollBar()->value();
    if (y < 0) {
        return -1;
    }
    const int row = y / kRowHeight;
    return row < numberOfRows() ? row : -1;
}

QRect CCustomTableView::rectOfRow(int row) const {
    return QRect(0, row * kRowHeight - verticalScrollBar()->value(), viewport()->width(),
                 kRowHeight);
}

void CCustomTableView::updateRow(int row) {
    if (row >= 0) {
        viewport()->update(rectOfRow(row));
    }
}

void CCustomTableView::selectRow(int row) {
    if (row == _selectedRow) {
        return;
    }
    updateRow(_selectedRow);
    _selectedRow = row;
    updateRow(_selectedRow);
}

QSize CCustomTableView::sizeHint() const {
    return QSize(320, kRowHeight * 7);
}

void CCustomTableView::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::TextAntialiasing);
    const int rows = numberOfRows();
    const QRect dirty = event->rect();
    const int first = std::max(0, rowAtPoint(dirty.topLeft()));
    const QColor separator = palette().color(QPalette::Midlight);
    for (int row = first; row < rows; ++row) {
        const QRect frame = rectOfRow(row);
        if (frame.top() > dirty.bottom()) {
            break;
        }
        _cell->setTag(row);
        _cell->drawInteriorWithFrame(painter, QRectF(frame));
        painter.setPen(separator);
        painter.drawLine(frame.bottomLeft(), frame.bottomRight());
    }
}

void CCustomTableView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    updateScrollRange();
}

void CCustomTableView::keyPressEvent(QKeyEvent* event) {
    // Deliberately not handled here: the playlist window's key handling decides.
    event->ignore();
}

void CCustomTableView::wheelEvent(QWheelEvent* event) {
    if (_dataSource && _dataSource->scrollWheelHasMoved(*event)) {
        event->accept();
        return;
    }
    QAbstractScrollArea::wheelEvent(event);
}

void CCustomTableView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    _pressedRow = rowAtPoint(event->position().toPoint());
    _pressPosition = event->position().toPoint();
    selectRow(_pressedRow);
}

void CCustomTableView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton) || _pressedRow < 0 ||
        (event->position().toPoint() - _pressPosition).manhattanLength() <
            QApplication::startDragDistance()) {
        return;
    }
    const int row = _pressedRow;
    _pressedRow = -1;
    startRowDrag(row);
}

void CCustomTableView::startRowDrag(int row) {
    if (!_dataSource) {
        return;
    }
    auto data = std::make_unique<QMimeData>();
    _dataSource->copyClip(row, *data);
    if (data->formats().isEmpty()) {
        return; // nothing to drag from an empty row
    }
    data->setData(kRowDragType, QByteArray::number(row));
    auto* drag = new QDrag(this);
    _cell->setTag(row);
    const QRect frame = rectOfRow(row);
    drag->setPixmap(
        QPixmap::fromImage(_cell->getImageOfContents(frame.size(), devicePixelRatioF())));
    drag->setHotSpot(_pressPosition - frame.topLeft());
    drag->setMimeData(data.release());
    drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
}

bool CCustomTableView::acceptsDrop(const QMimeData* data) const {
    return data && (data->hasUrls() || data->hasFormat(kRowDragType));
}

void CCustomTableView::dragEnterEvent(QDragEnterEvent* event) {
    if (acceptsDrop(event->mimeData())) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void CCustomTableView::dragMoveEvent(QDragMoveEvent* event) {
    if (acceptsDrop(event->mimeData()) && rowAtPoint(event->position().toPoint()) >= 0) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void CCustomTableView::dropEvent(QDropEvent* event) {
    const int row = rowAtPoint(event->position().toPoint());
    const bool fromThisTable = event->source() == this;
    const bool move = fromThisTable && event->dropAction() == Qt::MoveAction;
    if (_dataSource && row >= 0 &&
        _dataSource->takeClipFromPasteboard(*event->mimeData(), move, row)) {
        event->acceptProposedAction();
        viewport()->update();
    } else {
        event->ignore();
    }
}
