#pragma once

// The small panel a document shows while it learns a MIDI note for one of its buttons or
// rows: a line saying what to do, "Clear" (forget the trigger) and "Cancel". It is shown
// without a nested event loop, so the MIDI tick that ends learning keeps running; the
// document hides it when learning ends, whichever way. Cancel, Escape and the window's
// close box all say cancelled().
//
// Thread contract: main thread only.

#include <QDialog>

class QLabel;

class AssignMIDINotePanel : public QDialog {
    Q_OBJECT
public:
    explicit AssignMIDINotePanel(QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const;

signals:
    // "Clear" was chosen.
    void clearRequested();
    // Learning was given up (Cancel, Escape or the close box).
    void cancelled();

private:
    QLabel* _text = nullptr;
};
