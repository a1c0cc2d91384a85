// Figures of the clip layer: what the 50 ms tick of 24 playing clips costs the main thread,
// and how soon a clip sounds after startPlaying() — measured the way the media layer
// measures a Movie start, so the two figures can be compared (the clip adds no latency).
// All on the null back end at 48 kHz with 128-frame periods.

#include "bench/BenchFigure.h"
#include "bench/BenchSupport.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "media/AudioEngine.h"
#include "media/AudioFileWriter.h"
#include "media/Movie.h"
#include "media/NullDriver.h"
#include "media/ToneGenerator.h"

#include <QTemporaryDir>
#include <QUrl>
#include <chrono>
#include <cstdio>
#include <random>
#include <thread>

namespace {

constexpr int kRate = 48000;
constexpr int kPeriodFrames = 128;
constexpr int kPlayingClips = 24;

// A stereo tone of `seconds` in `folder`, named `name`; "" when it cannot be written.
QString writeTone(const QString& folder, const QString& name, double seconds) {
    const QString path = folder + QLatin1Char('/') + name;
    media::ToneGenerator generator = media::ToneGenerator::stereoSine(440.0, 660.0, 0.3, kRate);
    media::AudioFileWriter::Options options;
    options.sampleRate = kRate;
    QString error;
    if (!media::AudioFileWriter::writeFile(path, options, generator, (long long)(seconds * kRate),
                                           &error)) {
        std::fprintf(stderr, "cannot write the clip benchmark file: %s\n", qPrintable(error));
        return QString();
    }
    return path;
}

std::unique_ptr<SoundClip> loadClip(const QString& path, const QVariantMap& overrides) {
    auto record = std::make_shared<QVariantMap>(defaultClipSettings());
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        record->insert(it.key(), it.value());
    }
    auto clip = std::make_unique<SoundClip>(record);
    if (!clip->setFileURL(QUrl::fromLocalFile(path))) {
        return nullptr;
    }
    return clip;
}

void measureClipTick(const BenchOptions& options) {
    ScopedBenchDefaults defaults({{defaultsKey_ReadID3Tags, true}});
    auto engine = makeNullEngine(kPeriodFrames);
    QTemporaryDir folder;
    const QString path = writeTone(folder.path(), QStringLiteral("tick.wav"), 10.0);
    if (path.isEmpty()) {
        return;
    }
    // Looping, so none ends during the run; half of them in a long fade-in, so their tick
    // also changes the level.
    std::vector<std::unique_ptr<SoundClip>> clips;
    for (int i = 0; i < kPlayingClips; ++i) {
        QVariantMap overrides{{settingsKey_Loop, true}, {settingsKey_InPoint, double(i) * 0.2}};
        if (i % 2 == 1) {
            overrides.insert(settingsKey_FadeInDuration, 60.0);
        }
        std::unique_ptr<SoundClip> clip = loadClip(path, overrides);
        if (!clip) {
            std::fprintf(stderr, "the clip benchmark file does not load\n");
            return;
        }
        clips.push_back(std::move(clip));
    }
    engine->waitUntilIdle();
    for (auto& clip : clips) {
        clip->startPlaying(false);
    }

    // The tick timers never fire here (no event loop runs): the ticks are called directly,
    // a few milliseconds apart, while the engine plays the clips in real time.
    const int rounds = options.quick ? 200 : 1000;
    std::vector<double> perClipUs;
    perClipUs.reserve(size_t(rounds));
    for (int round = 0; round < rounds; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const long long start = steadyNs();
        for (auto& clip : clips) {
            clip->spendTime();
        }
        perClipUs.push_back(double(steadyNs() - start) / 1000.0 / kPlayingClips);
    }
    int stillPlaying = 0;
    for (auto& clip : clips) {
        stillPlaying += clip->isPlaying() ? 1 : 0;
        clip->stopPlaying();
    }
    const double median = medianOf(perClipUs);
    const double p99 = percentileOf(perClipUs, 99.0);
    printFigure(QStringLiteral("tick_us_per_clip"), median, QStringLiteral("us"),
                QStringLiteral("p99=%1 max=%2 clips=%3 playing=%4 rounds=%5")
                    .arg(p99, 0, 'f', 3)
                    .arg(perClipUs.back(), 0, 'f', 3)
                    .arg(kPlayingClips)
                    .arg(stillPlaying)
                    .arg(rounds));
}

// Starts the clip and waits (spinning briefly) until the callback rendered the first frame
// of its movie; the delay in milliseconds, or a negative value when it never sounded.
double timeToFirstFrame(SoundClip& clip, double* callMs) {
    media::Movie* movie = clip.movie();
    const long long before = movie ? movie->firstFrameRenderedNs() : 0;
    const long long start = steadyNs();
    clip.startPlaying(false);
    *callMs = double(steadyNs() - start) / 1e6;
    movie = clip.movie();
    if (!movie) {
        return -1.0;
    }
    const long long deadline = start + 1000000000LL;
    while (movie->firstFrameRenderedNs() == before) {
        if (steadyNs() > deadline) {
            return -1.0;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return double(movie->firstFrameRenderedNs() - start) / 1e6;
}

void measureClipFireLatency(const BenchOptions& options) {
    ScopedBenchDefaults defaults({{defaultsKey_ReadID3Tags, true}});
    auto engine = makeNullEngine(kPeriodFrames);
    QTemporaryDir folder;
    const QString path = writeTone(folder.path(), QStringLiteral("fire.mp3"), 20.0);
    if (path.isEmpty()) {
        return;
    }
    std::vector<std::unique_ptr<SoundClip>> clips;
    for (int i = 0; i < 8; ++i) {
        std::unique_ptr<SoundClip> clip = loadClip(path, {{settingsKey_InPoint, 0.5}});
        if (!clip) {
            std::fprintf(stderr, "the clip benchmark file does not load\n");
            return;
        }
        clips.push_back(std::move(clip));
    }
    engine->waitUntilIdle();
    std::mt19937 random(1);
    const int trials = options.quick ? 300 : 1500;
    std::vector<double> latencies;
    std::vector<double> calls;
    int silent = 0;
    for (int trial = 0; trial < trials; ++trial) {
        SoundClip& clip = *clips[size_t(trial) % clips.size()];
        clip.stopPlaying(); // back at the in point, its preroll kept
        engine->waitUntilIdle();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000)); // random phase
        double callMs = 0.0;
        const double latency = timeToFirstFrame(clip, &callMs);
        calls.push_back(callMs);
        if (latency < 0) {
            ++silent;
        } else {
            latencies.push_back(latency);
        }
    }
    for (auto& clip : clips) {
        clip->stopPlaying();
    }
    const double p99 = percentileOf(latencies, 99.0);
    const double median = medianOf(latencies);
    const double callMedian = medianOf(calls);
    printFigure(QStringLiteral("clip_fire_latency_ms"), p99, QStringLiteral("ms"),
                QStringLiteral("p99=%1 median=%2 max=%3 runs=%4 silent=%5 period=%6 "
                               "start_call_median_ms=%7 start_call_p99_ms=%8 source=mp3 "
                               "(compare fire_latency_ms)")
                    .arg(p99, 0, 'f', 3)
                    .arg(median, 0, 'f', 3)
                    .arg(latencies.empty() ? 0.0 : latencies.back(), 0, 'f', 3)
                    .arg(latencies.size())
                    .arg(silent)
                    .arg(kPeriodFrames)
                    .arg(callMedian, 0, 'f', 3)
                    .arg(percentileOf(calls, 99.0), 0, 'f', 3));
}

} // namespace

ZELVORA_BENCH_FIGURE("clip", measureClipTick);
ZELVORA_BENCH_FIGURE("clip", measureClipFireLatency);
