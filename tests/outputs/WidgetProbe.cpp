#include "tests/outputs/WidgetProbe.h"

#include <QEvent>
#include <QPalette>
#include <QTest>
#include <QWidget>

namespace widgetprobe {

QImage grabOnBlack(QWidget& widget) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::Window, Qt::black);
    widget.setPalette(palette);
    widget.setAutoFillBackground(true);
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QList<int> horizontalRuns(const QImage& image, int y, QColor colour) {
    QList<int> runs;
    int length = 0;
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, y).rgb() == colour.rgb()) {
            ++length;
        } else if (length > 0) {
            runs << length;
            length = 0;
        }
    }
    if (length > 0) {
        runs << length;
    }
    return runs;
}

QRgb colourAt(const QImage& image, int x, int y) {
    return image.pixel(x, y) | 0xff000000u;
}

void showAndSettle(QWidget& widget) {
    widget.show();
    if (!QTest::qWaitForWindowExposed(&widget)) {
        qWarning("widget was not exposed");
    }
    letPendingPaintsHappen();
}

void letPendingPaintsHappen() {
    // Repaints are delivered through the window's update request, which may be timed;
    // a few short turns of the event loop let it through.
    for (int turn = 0; turn < 5; ++turn) {
        QTest::qWait(20);
    }
}

PaintCounter::PaintCounter(QWidget& widget)
    : QObject(&widget) {
    widget.installEventFilter(this);
}

bool PaintCounter::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        ++_count;
    }
    return false;
}

} // namespace widgetprobe
