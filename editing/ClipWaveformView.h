#pragma once

// The position bar of the clip settings editor: the file's waveform across the whole
// width, the part outside the in and out points dimmed, the in point marked in green and
// the out point in red, and the playhead. Pressing or dragging anywhere asks for the
// playhead to go there. Draws at any width from the outline (WaveformPeaks); until the
// outline arrives it draws a plain centre line. Without a file it draws an empty bar and
// no playhead. Main thread only.

#include <QWidget>
#include <memory>

class WaveformPeaks;

class ClipWaveformView : public QWidget {
    Q_OBJECT
public:
    explicit ClipWaveformView(QWidget* parent = nullptr);
    ~ClipWaveformView() override;

    // Length of the whole file, seconds; 0 means no file.
    void setFileDuration(double seconds);
    double fileDuration() const { return _fileDuration; }
    void setPeaks(std::shared_ptr<const WaveformPeaks> peaks);
    // A text drawn over the bar instead of the waveform (for a file that cannot be read).
    void setMessage(const QString& message);

    // Seconds from the start of the file.
    void setInPoint(double seconds);
    double inPoint() const { return _inPoint; }
    // Seconds cut off the end of the file.
    void setOutPoint(double secondsFromEnd);
    double outPoint() const { return _outPoint; }
    // The playhead, seconds from the start; shown only while there is a file.
    void setPlayheadPosition(double seconds);
    double playheadPosition() const { return _playhead; }
    bool showsPlayhead() const { return _fileDuration > 0.0; }

    // Where a time falls across the bar, and back (clamped to the file).
    int xForSeconds(double seconds) const;
    double secondsForX(int x) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    // The operator pressed or dragged to this time of the file.
    void positionRequested(double seconds);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QRect waveArea() const;
    void drawWaveform(QPainter& painter, const QRect& area) const;
    void drawMark(QPainter& painter, const QRect& area, double seconds, const QColor& color,
                  const QString& label, bool labelLeft) const;
    void drawPlayhead(QPainter& painter, const QRect& area) const;
    void drawMessage(QPainter& painter, const QRect& area) const;
    void requestPositionAt(int x);

    std::shared_ptr<const WaveformPeaks> _peaks;
    QString _message;
    double _fileDuration = 0.0;
    double _inPoint = 0.0;
    double _outPoint = 0.0;
    double _playhead = 0.0;
};
