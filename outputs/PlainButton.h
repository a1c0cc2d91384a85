#pragma once

// A push button with a plain, flat bezel: a filled face inside a thin border, darker while
// pressed or checked, with the label drawn by the style. Used where a row of small buttons
// should read as one quiet strip (stop, eject). Main thread only.

#include <QPushButton>

class PlainButton : public QPushButton {
    Q_OBJECT
public:
    explicit PlainButton(QWidget* parent = nullptr);
    explicit PlainButton(const QString& text, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void drawBezel(QPainter& painter) const;
};
