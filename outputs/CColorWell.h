#pragma once

// A colour well: a button showing a colour swatch; clicking it opens the colour chooser,
// and a colour chosen there becomes the well's colour and is announced. Setting the
// colour from code announces nothing. Main thread only.

#include <QColor>
#include <QPushButton>
#include <functional>

class CColorWell : public QPushButton {
    Q_OBJECT
public:
    // Asks the operator for a colour, starting from `current`; an invalid colour when the
    // chooser was cancelled.
    using ColorChooser = std::function<QColor(const QColor& current, QWidget* parent)>;

    explicit CColorWell(QWidget* parent = nullptr);

    QColor color() const { return _color; }
    void setColor(const QColor& color);

    // Replaces the colour chooser (the platform's colour dialog by default).
    void setColorChooser(ColorChooser chooser);

    QSize sizeHint() const override;

signals:
    // The operator chose `color` in the chooser.
    void colorChosen(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void chooseColor();

    QColor _color;
    ColorChooser _chooser;
};
