#pragma once

// A plain tinted surface: fills its whole area with the style's selection colour at 70 %
// opacity. The preferences window lays it behind the output block the operator picked,
// so the block stands out among the nine. Main thread only.

#include <QWidget>

class CColorCustomView : public QWidget {
    Q_OBJECT
public:
    explicit CColorCustomView(QWidget* parent = nullptr);

    // The colour the view fills with: the palette's highlight at alpha 0.7.
    QColor fillColor() const;

protected:
    void paintEvent(QPaintEvent* event) override;
};
