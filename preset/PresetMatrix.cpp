#include "preset/PresetMatrix.h"

#include "clip/ApplicationKeyStates.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetButtonCell.h"
#include "preset/PresetMatrixDelegate.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

const char* const PresetMatrix::kDragSourceFormat = "application/x-zelvora-preset-drag-source";

namespace {

bool readsTags() {
    const UserDefaults* defaults = UserDefaults::standard();
    // The factory value is on: a grid made before the defaults exist is tall.
    return !defaults || !defaults->hasObjectForKey(defaultsKey_ReadID3Tags) ||
           defaults->boolForKey(defaultsKey_ReadID3Tags);
}

bool leftArrowHeld() {
    const ApplicationKeyStates* keys = StudioServices::keyStates();
    return keys && (keys->isLeftArrowDepressed() || keys->leftArrowKeyState());
}

bool rightArrowHeld() {
    const ApplicationKeyStates* keys = StudioServices::keyStates();
    return keys && (keys->isRightArrowDepressed() || keys->rightArrowKeyState());
}

// Ctrl alone asks for a move; Alt (with or without Ctrl) or nothing copies.
bool asksForMove(Qt::KeyboardModifiers modifiers) {
    return modifiers.testFlag(Qt::ControlModifier) && !modifiers.testFlag(Qt::AltModifier);
}

} // namespace

PresetMatrix::PresetMatrix(QWidget* parent)
    : QWidget(parent)
    , _dragToken(QByteArray::number(QApplication::applicationPid()) + ':' +
                 QByteArray::number(quintptr(this), 16)) {
    for (int index = 0; index < kCellCount; ++index) {
        auto cell = std::make_unique<PresetButtonCell>();
        cell->setTag(index);
        cell->setLetter(QString(QChar(u'A' + index)));
        cell->setControlView(this);
        _cells[size_t(index)] = std::move(cell);
    }
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setTallCells(readsTags());
    qCDebug(lcPreset) << "Awake PresetMatrix";
}

PresetMatrix::~PresetMatrix() = default;

void PresetMatrix::setTallCells(bool tall) {
    _cellSize = QSize(kCellWidth, tall ? kTallCellHeight : kShortCellHeight);
    resizeToCells();
    update();
}

void PresetMatrix::resizeToCells() {
    const int width = kColumns * _cellSize.width() + (kColumns - 1) * kSpacing;
    const int cellsHeight = kRows * _cellSize.height() + (kRows - 1) * kSpacing;
    const int height = _cellSize.height() == kShortCellHeight ? kShortGridHeight : cellsHeight;
    setFixedSize(width, height);
}

QSize PresetMatrix::sizeHint() const {
    return size();
}

PresetButtonCell* PresetMatrix::cellAtIndex(int index) const {
    if (index < 0 || index >= kCellCount) {
        return nullptr;
    }
    return _cells[size_t(index)].get();
}

QRect PresetMatrix::cellFrame(int index) const {
    if (index < 0 || index >= kCellCount) {
        return {};
    }
    const int row = index / kColumns;
    const int column = index % kColumns;
    return QRect(column * (_cellSize.width() + kSpacing), row * (_cellSize.height() + kSpacing),
                 _cellSize.width(), _cellSize.height());
}

int PresetMatrix::indexOfCellAt(const QPoint& point) const {
    if (point.x() < 0 || point.y() < 0) {
        return -1;
    }
    const int pitchX = _cellSize.width() + kSpacing;
    const int pitchY = _cellSize.height() + kSpacing;
    const int column = point.x() / pitchX;
    const int row = point.y() / pitchY;
    if (column >= kColumns || row >= kRows || point.x() % pitchX >= _cellSize.width() ||
        point.y() % pitchY >= _cellSize.height()) {
        return -1;
    }
    return row * kColumns + column;
}

void PresetMatrix::updateCellAtIndex(int index) {
    const QRect frame = cellFrame(index);
    if (!frame.isEmpty()) {
        // The offline mark of a short cell hangs 2 units below its frame.
        update(frame.adjusted(0, 0, 0, kSpacing));
    }
}

void PresetMatrix::setButtonHighlighted(int index, bool highlighted) {
    if (PresetButtonCell* cell = cellAtIndex(index)) {
        cell->setHighlighted(highlighted);
    }
}

void PresetMatrix::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect dirty = event->rect();
    for (int index = 0; index < kCellCount; ++index) {
        const QRect frame = cellFrame(index);
        if (frame.adjusted(0, 0, 0, kSpacing).intersects(dirty)) {
            _cells[size_t(index)]->drawWithFrame(painter, frame, this);
        }
    }
}

// ---- Clicks and keys ----

void PresetMatrix::buttonClicked(const QPoint& point, Qt::KeyboardModifiers modifiers) {
    const int index = indexOfCellAt(point);
    if (index < 0 || !_delegate) {
        return;
    }
    _lastClickedCellIndex = index;
    if (leftArrowHeld()) {
        _delegate->preListenClipAtIndex(index, false);
    } else if (rightArrowHeld()) {
        _delegate->preListenClipAtIndex(index, true);
    } else {
        _delegate->startPlayback(index, modifiers);
    }
    _lastClickedCellIndex = -1;
}

void PresetMatrix::configureButton(const QPoint& point) {
    const int index = indexOfCellAt(point);
    if (index >= 0 && _delegate) {
        _delegate->configureButtonAtIndex(index);
    }
}

QMenu* PresetMatrix::menuForPoint(const QPoint& point) {
    const int index = indexOfCellAt(point);
    const PresetButtonCell* cell = cellAtIndex(index);
    if (cell && cell->isEnabled() && _contextualMenu) {
        _lastClickedCellIndex = index;
        return _contextualMenu;
    }
    _lastClickedCellIndex = -1;
    return nullptr;
}

void PresetMatrix::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    const QPoint point = event->position().toPoint();
    const int index = indexOfCellAt(point);
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    if (modifiers & (Qt::ControlModifier | Qt::AltModifier)) {
        _lastMouseDown = point;
        const PresetButtonCell* cell = cellAtIndex(index);
        if (cell && cell->isEnabled()) {
            // Selected for dragging; the button does not fire.
            _selectedCellIndex = index;
            return;
        }
    }
    _trackedCellIndex = index;
    setButtonHighlighted(index, true);
}

void PresetMatrix::mouseMoveEvent(QMouseEvent* event) {
    const QPoint point = event->position().toPoint();
    if (_selectedCellIndex >= 0) {
        if ((point - _lastMouseDown).manhattanLength() >= QApplication::startDragDistance()) {
            const int index = _selectedCellIndex;
            _selectedCellIndex = -1;
            startDrag(index);
        }
        return;
    }
    if (_trackedCellIndex >= 0) {
        setButtonHighlighted(_trackedCellIndex, indexOfCellAt(point) == _trackedCellIndex);
    }
}

void PresetMatrix::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    _selectedCellIndex = -1;
    const int tracked = _trackedCellIndex;
    _trackedCellIndex = -1;
    if (tracked < 0) {
        return;
    }
    setButtonHighlighted(tracked, false);
    const QPoint point = event->position().toPoint();
    if (indexOfCellAt(point) == tracked) {
        buttonClicked(point, event->modifiers());
    }
}

void PresetMatrix::contextMenuEvent(QContextMenuEvent* event) {
    if (QMenu* menu = menuForPoint(event->pos())) {
        menu->exec(event->globalPos());
    }
}

void PresetMatrix::keyPressEvent(QKeyEvent* event) {
    if (_delegate && _delegate->performKey(*event)) {
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

// ---- Dragging from a button ----

std::unique_ptr<QMimeData> PresetMatrix::dragDataForCell(int index) const {
    const PresetButtonCell* cell = cellAtIndex(index);
    if (!cell || !cell->clip() || !_delegate) {
        return nullptr;
    }
    auto data = std::make_unique<QMimeData>();
    _delegate->copyClip(index, *data);
    if (!data->hasUrls()) {
        return nullptr;
    }
    data->setData(QString::fromLatin1(kDragSourceFormat), _dragToken);
    return data;
}

QPixmap PresetMatrix::dragImageForCell(int index) const {
    const PresetButtonCell* cell = cellAtIndex(index);
    if (!cell) {
        return {};
    }
    const QImage contents = cell->getImageOfContents(_cellSize, this);
    QImage faded(contents.size(), QImage::Format_ARGB32_Premultiplied);
    faded.setDevicePixelRatio(contents.devicePixelRatio());
    faded.fill(Qt::transparent);
    QPainter painter(&faded);
    painter.setOpacity(0.8);
    painter.drawImage(QPointF(0, 0), contents);
    painter.end();
    return QPixmap::fromImage(faded);
}

void PresetMatrix::startDrag(int index) {
    std::unique_ptr<QMimeData> data = dragDataForCell(index);
    if (!data) {
        return; // an empty button has nothing to drag
    }
    auto* drag = new QDrag(this);
    drag->setMimeData(data.release());
    drag->setPixmap(dragImageForCell(index));
    // The picture starts exactly over the button and follows the mouse from there.
    drag->setHotSpot(_lastMouseDown - cellFrame(index).topLeft());
    // A move inside this grid clears the source button in takeClipFromPasteboard, so
    // the outcome of the drag needs nothing more here.
    drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
}

// ---- Receiving a drag ----

bool PresetMatrix::isOwnDrag(const QMimeData* data) const {
    return data && data->data(QString::fromLatin1(kDragSourceFormat)) == _dragToken;
}

void PresetMatrix::highlightDropTarget(int index) {
    if (index == _dropTargetIndex) {
        return;
    }
    setButtonHighlighted(_dropTargetIndex, false);
    _dropTargetIndex = index;
    setButtonHighlighted(index, true);
}

void PresetMatrix::dragEnterEvent(QDragEnterEvent* event) {
    _dropTargetIndex = -1;
    if (!event->mimeData() || !event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    _dragSessionInProgress = true;
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void PresetMatrix::dragMoveEvent(QDragMoveEvent* event) {
    const int index = indexOfCellAt(event->position().toPoint());
    highlightDropTarget(index);
    if (index < 0) {
        event->ignore();
        return;
    }
    const bool move = isOwnDrag(event->mimeData()) && asksForMove(event->modifiers()) &&
                      event->possibleActions().testFlag(Qt::MoveAction);
    event->setDropAction(move ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
}

void PresetMatrix::dragLeaveEvent(QDragLeaveEvent* event) {
    _dragSessionInProgress = false;
    if (_dropTargetIndex >= 0) {
        setButtonHighlighted(_dropTargetIndex, false);
        _dropTargetIndex = -1;
    }
    event->accept();
}

void PresetMatrix::dropEvent(QDropEvent* event) {
    _dragSessionInProgress = false;
    const int target = _dropTargetIndex;
    const PresetButtonCell* cell = cellAtIndex(target);
    if (!cell || !cell->isHighlighted() || !_delegate || !event->mimeData()) {
        event->ignore();
        return;
    }
    setButtonHighlighted(target, false);
    // Only a Ctrl-drag inside this grid moves; anything from elsewhere is a copy.
    const bool deleteOriginal = isOwnDrag(event->mimeData()) && asksForMove(event->modifiers());
    if (!_delegate->takeClipFromPasteboard(*event->mimeData(), deleteOriginal, target)) {
        event->ignore();
        return;
    }
    event->setDropAction(deleteOriginal ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
}
