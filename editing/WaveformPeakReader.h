#pragma once

// Reads the outline (WaveformPeaks) of an audio file on a worker thread, so the clip
// settings editor opens at once and its waveform fills in while the file decodes.
//
// Thread contract: the reader object lives on the main thread. The decoding runs on a
// thread of Qt's global pool and shares only a small mutex-guarded state with it; the
// main thread picks up progress on a 50 ms timer (never waiting on the worker) and
// announces it. Dropping the reader or starting another file cancels the running read,
// which stops at its next block; the worker never touches the reader itself.

#include "editing/WaveformPeaks.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>

class QTimer;

namespace media {
class AudioSource;
}

class WaveformPeakReader : public QObject {
    Q_OBJECT
public:
    static constexpr int kPollMilliseconds = 50;
    static constexpr int kFramesPerRead = 8192;

    explicit WaveformPeakReader(QObject* parent = nullptr);
    ~WaveformPeakReader() override;

    // Starts reading `path` (cancelling any read in progress).
    void read(const QString& path);
    // Cancels the read in progress and forgets its outline.
    void cancel();

    // The outline as far as it has been read; null before the first progress.
    std::shared_ptr<const WaveformPeaks> peaks() const { return _peaks; }
    bool isReading() const;
    // Why the last read failed; empty while reading or after success.
    QString errorString() const { return _error; }

    // Hands every block of `source`, from where it stands to its end, to `consume`
    // (interleaved frames, frame count, channels). Stops early, returning false, when
    // `cancelled` is set or the decoder fails. Any thread.
    using BlockConsumer = std::function<void(const float* interleaved, int frames, int channels)>;
    static bool readBlocks(media::AudioSource& source, const std::atomic<bool>& cancelled,
                           const BlockConsumer& consume);

signals:
    // More of the outline is there (peaks() has it).
    void peaksChanged();
    // The read ended: complete, or failed (errorString() says why).
    void finished();

private:
    struct Job;

    void poll();
    static void run(const std::shared_ptr<Job>& job);

    std::shared_ptr<Job> _job;
    std::shared_ptr<const WaveformPeaks> _peaks;
    QString _error;
    int _seenVersion = 0;
    QTimer* _pollTimer = nullptr;
};
