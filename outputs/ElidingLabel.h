#pragma once

// A one-line label that shows as much of its text as fits and ends it with "…" when the
// text is wider than the label, so a long clip title never widens the panel it sits in.
// text() keeps the whole text. Main thread only.

#include <QLabel>

class ElidingLabel : public QLabel {
    Q_OBJECT
public:
    explicit ElidingLabel(QWidget* parent = nullptr);

    // The text as it is drawn at the label's present width.
    QString shownText() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
