// The grid: geometry, clicks and keys into the controller, the contextual menu, drops and
// drags.

#include "tests/preset/PresetWindowTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "preset/PresetButtonCell.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMimeData>
#include <QTest>

namespace {

using MatrixTest = PresetWindowTest;

QPoint centreOf(const PresetMatrix& matrix, int index) {
    return matrix.cellFrame(index).center();
}

// Sends a drag over `matrix`: enter at `point`, then a move to it. Answers whether the
// move was accepted, and the action.
bool dragOver(PresetMatrix& matrix, const QMimeData& data, const QPoint& point,
              Qt::KeyboardModifiers modifiers, Qt::DropAction* action = nullptr) {
    QDragMoveEvent move(point, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, modifiers);
    QCoreApplication::sendEvent(&matrix, &move);
    if (action) {
        *action = move.dropAction();
    }
    return move.isAccepted();
}

bool enter(PresetMatrix& matrix, const QMimeData& data, const QPoint& point) {
    QDragEnterEvent event(point, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(&matrix, &event);
    return event.isAccepted();
}

bool drop(PresetMatrix& matrix, const QMimeData& data, const QPoint& point,
          Qt::KeyboardModifiers modifiers) {
    QDropEvent event(point, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, modifiers);
    QCoreApplication::sendEvent(&matrix, &event);
    return event.isAccepted();
}

} // namespace

TEST_F(MatrixTest, GridGeometryFollowsReadTagsAndLettersRunRowByRow) {
    defaults().setObject(true, defaultsKey_ReadID3Tags);
    PresetMatrix tall;
    EXPECT_EQ(tall.cellSize(), QSize(190, 70));
    EXPECT_EQ(tall.size(), QSize(4 * 190 + 3 * 7, 6 * 70 + 5 * 7));

    defaults().setObject(false, defaultsKey_ReadID3Tags);
    PresetMatrix shortGrid;
    EXPECT_EQ(shortGrid.cellSize(), QSize(190, 45));
    EXPECT_EQ(shortGrid.height(), 320);
    EXPECT_EQ(shortGrid.cellAtIndex(0)->letter(), QStringLiteral("A"));
    EXPECT_EQ(shortGrid.cellAtIndex(3)->letter(), QStringLiteral("D"));
    EXPECT_EQ(shortGrid.cellAtIndex(23)->letter(), QStringLiteral("X"));
    EXPECT_EQ(shortGrid.cellFrame(4).topLeft(), QPoint(0, 52)) << "second row starts with E";
    EXPECT_EQ(shortGrid.indexOfCellAt(QPoint(190 + 7 + 1, 1)), 1);
    EXPECT_EQ(shortGrid.indexOfCellAt(QPoint(192, 10)), -1) << "the gap between A and B";
    EXPECT_EQ(shortGrid.indexOfCellAt(QPoint(10, 47)), -1) << "the gap between A and E";
    EXPECT_EQ(shortGrid.cellAtIndex(24), nullptr);
}

TEST_F(MatrixTest, ClickFiresOnReleaseOverTheSameButtonOnly) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();
    SoundClip* clip = place(document, 5, tone);

    QTest::mousePress(&matrix, Qt::LeftButton, {}, centreOf(matrix, 5));
    EXPECT_FALSE(clip->isPlaying()) << "a press alone does not fire";
    EXPECT_TRUE(matrix.cellAtIndex(5)->isHighlighted());
    QTest::mouseRelease(&matrix, Qt::LeftButton, {}, centreOf(matrix, 5));
    EXPECT_TRUE(clip->isPlaying());
    EXPECT_FALSE(matrix.cellAtIndex(5)->isHighlighted());
    clip->stopPlaying();

    QTest::mousePress(&matrix, Qt::LeftButton, {}, centreOf(matrix, 5));
    QTest::mouseRelease(&matrix, Qt::LeftButton, {}, centreOf(matrix, 6));
    EXPECT_FALSE(clip->isPlaying()) << "released elsewhere";
}

TEST_F(MatrixTest, ClickWithAnArrowHeldPreListensInstead) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();
    SoundClip* clip = place(document, 2, tone);

    services.rightHeld = true;
    matrix.buttonClicked(centreOf(matrix, 2));
    EXPECT_EQ(services.calls.filter("prelisten"), QStringList{"prelisten end"});
    EXPECT_EQ(services.preListened, QList<SoundClip*>{clip});
    EXPECT_FALSE(clip->isPlaying());
    EXPECT_EQ(matrix.lastClickedCellIndex(), -1);

    services.rightHeld = false;
    services.leftLatched = true;
    matrix.buttonClicked(centreOf(matrix, 2));
    EXPECT_EQ(services.calls.filter("prelisten").last(), "prelisten start");
    EXPECT_FALSE(clip->isPlaying());
}

TEST_F(MatrixTest, ContextMenuOnlyOnAButton) {
    PresetDocument& document = makeDocument();
    PresetController& controller = controllerOf(document);
    PresetMatrix& matrix = *controller.matrix();
    EXPECT_EQ(matrix.menuForPoint(centreOf(matrix, 7)), controller.contextualButtonsMenu());
    EXPECT_EQ(matrix.lastClickedCellIndex(), 7);
    EXPECT_EQ(matrix.menuForPoint(QPoint(192, 10)), nullptr);
    EXPECT_EQ(matrix.lastClickedCellIndex(), -1);
}

TEST_F(MatrixTest, LetterKeysReachTheController) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();
    SoundClip* clip = place(document, 23, tone);
    QTest::keyClick(&matrix, Qt::Key_X, Qt::NoModifier);
    EXPECT_TRUE(clip->isPlaying());
    clip->stopPlaying();
}

TEST_F(MatrixTest, DropsNeedFilesAndAButtonUnderTheMouse) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();

    QMimeData text;
    text.setText(QStringLiteral("a text clipping"));
    EXPECT_FALSE(enter(matrix, text, centreOf(matrix, 0)));
    EXPECT_FALSE(matrix.isDragSessionInProgress());

    QMimeData file;
    file.setUrls({QUrl::fromLocalFile(tone)});
    ASSERT_TRUE(enter(matrix, file, centreOf(matrix, 0)));
    EXPECT_TRUE(matrix.isDragSessionInProgress());
    Qt::DropAction action = Qt::IgnoreAction;
    EXPECT_TRUE(dragOver(matrix, file, centreOf(matrix, 0), Qt::ControlModifier, &action));
    EXPECT_EQ(action, Qt::CopyAction) << "a file from elsewhere is always copied";
    EXPECT_TRUE(matrix.cellAtIndex(0)->isHighlighted());

    EXPECT_FALSE(dragOver(matrix, file, QPoint(192, 10), Qt::NoModifier)) << "over a gap";
    EXPECT_FALSE(matrix.cellAtIndex(0)->isHighlighted());
    EXPECT_EQ(matrix.dropTargetIndex(), -1);
    EXPECT_TRUE(dragOver(matrix, file, centreOf(matrix, 0), Qt::NoModifier));
    EXPECT_TRUE(matrix.cellAtIndex(0)->isHighlighted()) << "back on the button";

    EXPECT_TRUE(drop(matrix, file, centreOf(matrix, 0), Qt::NoModifier));
    EXPECT_FALSE(matrix.cellAtIndex(0)->isHighlighted());
    EXPECT_FALSE(matrix.isDragSessionInProgress());
    ASSERT_NE(document.clipAtIndex(0), nullptr);
    EXPECT_EQ(matrix.cellAtIndex(0)->clip(), document.clipAtIndex(0));
}

TEST_F(MatrixTest, CtrlDragInsideOneGridMovesAndAltDragCopies) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();
    place(document, 1, tone, {{settingsKey_FadeInDuration, 3.0}});

    std::unique_ptr<QMimeData> altDrag = matrix.dragDataForCell(1);
    ASSERT_TRUE(altDrag);
    ASSERT_TRUE(enter(matrix, *altDrag, centreOf(matrix, 5)));
    ASSERT_TRUE(dragOver(matrix, *altDrag, centreOf(matrix, 5), Qt::AltModifier));
    ASSERT_TRUE(drop(matrix, *altDrag, centreOf(matrix, 5), Qt::AltModifier));
    EXPECT_NE(document.clipAtIndex(1), nullptr) << "B keeps its clip";
    ASSERT_NE(document.clipAtIndex(5), nullptr);
    EXPECT_DOUBLE_EQ(document.clipAtIndex(5)->doubleValueForSettingsKey(settingsKey_FadeInDuration),
                     3.0);

    std::unique_ptr<QMimeData> ctrlDrag = matrix.dragDataForCell(1);
    ASSERT_TRUE(enter(matrix, *ctrlDrag, centreOf(matrix, 6)));
    Qt::DropAction action = Qt::IgnoreAction;
    ASSERT_TRUE(dragOver(matrix, *ctrlDrag, centreOf(matrix, 6), Qt::ControlModifier, &action));
    EXPECT_EQ(action, Qt::MoveAction);
    ASSERT_TRUE(drop(matrix, *ctrlDrag, centreOf(matrix, 6), Qt::ControlModifier));
    EXPECT_EQ(document.clipAtIndex(1), nullptr) << "B is emptied by the move";
    EXPECT_EQ(matrix.cellAtIndex(1)->clip(), nullptr);
    EXPECT_NE(document.clipAtIndex(6), nullptr);
}

TEST_F(MatrixTest, DragFromAnotherGridNeverClearsItsSource) {
    PresetDocument& source = makeDocument();
    PresetDocument& target = makeDocument();
    place(source, 1, tone);
    PresetMatrix& targetMatrix = *controllerOf(target).matrix();
    std::unique_ptr<QMimeData> data = controllerOf(source).matrix()->dragDataForCell(1);
    ASSERT_TRUE(data);
    ASSERT_TRUE(enter(targetMatrix, *data, centreOf(targetMatrix, 1)));
    ASSERT_TRUE(dragOver(targetMatrix, *data, centreOf(targetMatrix, 1), Qt::ControlModifier));
    ASSERT_TRUE(drop(targetMatrix, *data, centreOf(targetMatrix, 1), Qt::ControlModifier));
    EXPECT_NE(source.clipAtIndex(1), nullptr);
    EXPECT_NE(target.clipAtIndex(1), nullptr);
}

TEST_F(MatrixTest, EmptyButtonStartsNoDragAndTheDragImageIsTranslucent) {
    PresetDocument& document = makeDocument();
    PresetMatrix& matrix = *controllerOf(document).matrix();
    EXPECT_EQ(matrix.dragDataForCell(0), nullptr);

    place(document, 0, tone);
    const QImage opaque = matrix.cellAtIndex(0)->getImageOfContents(matrix.cellSize(), &matrix);
    const QImage faded = matrix.dragImageForCell(0).toImage();
    const QPoint inside(matrix.cellSize().width() / 2, matrix.cellSize().height() / 2);
    ASSERT_EQ(qAlpha(opaque.pixel(inside)), 255);
    EXPECT_NEAR(qAlpha(faded.pixel(inside)), 204, 2);
}
