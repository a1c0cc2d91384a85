#pragma once

// Draws one compiled image (ResourceImages) as an icon at whatever size and device pixel
// ratio it is shown, so buttons and window icons stay crisp on any screen. Disabled and
// other modes get the style's usual treatment of the drawn pixmap. Main thread only.

#include <QIconEngine>
#include <QString>

class ResourceIconEngine : public QIconEngine {
public:
    explicit ResourceIconEngine(const QString& name);

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override;
    QString key() const override;
    QString iconName() override;
    bool isNull() override;
    QIconEngine* clone() const override;

private:
    // The image fitted into `size` (keeping its proportions), at `scale`, in `mode`.
    QPixmap drawn(const QSize& size, QIcon::Mode mode, qreal scale) const;

    QString _name;
};
