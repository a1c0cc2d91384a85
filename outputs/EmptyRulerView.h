#pragma once

// An empty ruler beside a scrolled view: it shows no marks and no rule, only reserves a
// 10-pixel strip (the room a ruler keeps for accessories) filled with the window frame's
// colour, which gives the cart wall grid a plain margin. Horizontal rulers are 10 high and
// stretch across; vertical ones are 10 wide and stretch down. Main thread only.

#include <QAbstractScrollArea>
#include <QPointer>
#include <QWidget>

class EmptyRulerView : public QWidget {
    Q_OBJECT
public:
    // `scrollView` is the view the ruler stands beside (not owned; may be null).
    EmptyRulerView(QAbstractScrollArea* scrollView, Qt::Orientation orientation,
                   QWidget* parent = nullptr);

    QAbstractScrollArea* scrollView() const { return _scrollView; }
    Qt::Orientation orientation() const { return _orientation; }

    // Room kept for accessories, markers and the rule itself; the strip's thickness is
    // their sum.
    static int reservedThicknessForAccessoryView() { return 10; }
    static int reservedThicknessForMarkers() { return 0; }
    static int ruleThickness() { return 0; }
    int requiredThickness() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPointer<QAbstractScrollArea> _scrollView;
    Qt::Orientation _orientation;
};
