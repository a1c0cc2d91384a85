#include "editing/WaveformPeakReader.h"

#include "foundation/Logging.h"
#include "media/FfmpegAudioSource.h"

#include <QThreadPool>
#include <QTimer>
#include <mutex>
#include <vector>

// What the worker and the main thread share: the outline so far and the outcome.
struct WaveformPeakReader::Job {
    QString path;
    std::atomic<bool> cancelled{false};

    std::mutex mutex; // guards everything below
    WaveformPeaks peaks;
    int version = 0;
    bool finished = false;
    QString error;
};

namespace {

// A source that decodes the file at its own rate: the outline of the samples as they
// are, with no resampling to pay for.
std::unique_ptr<media::FfmpegAudioSource> openAtFileRate(const QString& path, QString* error) {
    constexpr int kAnyRate = 48000;
    std::unique_ptr<media::FfmpegAudioSource> source =
        media::FfmpegAudioSource::open(path, kAnyRate, error);
    if (!source || source->fileSampleRate() <= 0 || source->fileSampleRate() == kAnyRate) {
        return source;
    }
    return media::FfmpegAudioSource::open(path, source->fileSampleRate(), error);
}

} // namespace

WaveformPeakReader::WaveformPeakReader(QObject* parent)
    : QObject(parent)
    , _pollTimer(new QTimer(this)) {
    _pollTimer->setInterval(kPollMilliseconds);
    connect(_pollTimer, &QTimer::timeout, this, &WaveformPeakReader::poll);
}

WaveformPeakReader::~WaveformPeakReader() {
    cancel();
}

void WaveformPeakReader::read(const QString& path) {
    cancel();
    _job = std::make_shared<Job>();
    _job->path = path;
    _seenVersion = 0;
    std::shared_ptr<Job> job = _job;
    QThreadPool::globalInstance()->start([job] { run(job); });
    _pollTimer->start();
}

void WaveformPeakReader::cancel() {
    if (_job) {
        _job->cancelled.store(true);
        _job.reset();
    }
    _pollTimer->stop();
    _peaks.reset();
    _error.clear();
}

bool WaveformPeakReader::isReading() const {
    return _job != nullptr;
}

bool WaveformPeakReader::readBlocks(media::AudioSource& source, const std::atomic<bool>& cancelled,
                                    const BlockConsumer& consume) {
    const int channels = source.channels();
    std::vector<float> block(static_cast<size_t>(kFramesPerRead) * size_t(channels));
    while (!cancelled.load(std::memory_order_relaxed)) {
        const int frames = source.read(block.data(), kFramesPerRead);
        if (frames < 0) {
            return false;
        }
        if (frames == 0) {
            return true;
        }
        consume(block.data(), frames, channels);
    }
    return false;
}

void WaveformPeakReader::run(const std::shared_ptr<Job>& job) {
    QString error;
    const auto fail = [&job](const QString& message) {
        std::lock_guard lock(job->mutex);
        job->error = message;
        job->finished = true;
    };
    std::unique_ptr<media::FfmpegAudioSource> source = openAtFileRate(job->path, &error);
    if (!source) {
        fail(error);
        return;
    }
    {
        std::lock_guard lock(job->mutex);
        job->peaks = WaveformPeaks(source->sampleRate(), source->durationFrames());
    }
    // Each block goes into the shared outline under the lock (a few microseconds), so
    // the main thread's copy is never more than one block behind.
    const bool complete = readBlocks(*source, job->cancelled,
                                     [&job](const float* interleaved, int frames, int channels) {
                                         std::lock_guard lock(job->mutex);
                                         job->peaks.addFrames(interleaved, frames, channels);
                                         ++job->version;
                                     });
    if (!complete && !job->cancelled.load()) {
        fail(QStringLiteral("\"%1\" could not be decoded to the end").arg(job->path));
        return;
    }
    std::lock_guard lock(job->mutex);
    job->finished = true;
}

void WaveformPeakReader::poll() {
    if (!_job) {
        _pollTimer->stop();
        return;
    }
    bool changed = false;
    bool ended = false;
    {
        std::lock_guard lock(_job->mutex);
        if (_job->version != _seenVersion) {
            changed = true;
            _seenVersion = _job->version;
            _peaks = std::make_shared<const WaveformPeaks>(_job->peaks);
        }
        ended = _job->finished;
        _error = _job->error;
    }
    if (changed) {
        emit peaksChanged();
    }
    if (ended) {
        if (!_error.isEmpty()) {
            qCInfo(lcEditing).noquote() << "No waveform:" << _error;
        }
        _job.reset();
        _pollTimer->stop();
        emit finished();
    }
}
