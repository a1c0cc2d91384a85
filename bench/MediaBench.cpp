// Figures of the media layer: how fast a movie sounds after a start (with and without a
// start position change just before), what mixing and decoding cost, how soon a document
// of 24 three-minute files can fire, and what an idle open movie costs in memory. All on
// the null back end at 48 kHz.

#include "bench/BenchFigure.h"
#include "bench/BenchSupport.h"
#include "media/AudioEngine.h"
#include "media/GeneratedSource.h"
#include "media/Movie.h"
#include "media/NullDriver.h"

#if __has_include("media/AudioFileWriter.h") && __has_include("media/AudioFileProbe.h")
#include "media/AudioFileInfo.h"
#include "media/AudioFileProbe.h"
#include "media/AudioFileWriter.h"
#include "media/ToneGenerator.h"
#define ZELVORA_BENCH_HAVE_FILES 1
#endif

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <fstream>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kRate = 48000;

double processCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long long size = 0;
    long long resident = 0;
    statm >> size >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

std::shared_ptr<const std::vector<float>> toneSamples(double seconds) {
    const auto frames = size_t(seconds * kRate);
    auto samples = std::make_shared<std::vector<float>>(frames * 2);
    for (size_t frame = 0; frame < frames; ++frame) {
        const auto value = float(0.3 * std::sin(2.0 * M_PI * 440.0 * double(frame) / kRate));
        (*samples)[frame * 2] = value;
        (*samples)[frame * 2 + 1] = value;
    }
    return samples;
}

// Starts the movie and waits (spinning briefly) until the callback rendered its first
// frame; the delay in milliseconds, or a negative value when it never sounded.
double timeToFirstFrame(media::Movie& movie) {
    const long long before = movie.firstFrameRenderedNs();
    const long long start = steadyNs();
    movie.start();
    const long long deadline = start + 1000000000LL;
    while (movie.firstFrameRenderedNs() == before) {
        if (steadyNs() > deadline) {
            return -1.0;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return double(movie.firstFrameRenderedNs() - start) / 1e6;
}

// Movies to fire: over an mp3 when the file writer is there (so a start position change
// costs a real decoder seek), else over generated audio.
std::vector<std::unique_ptr<media::Movie>> fireMovies(int count, QString* source) {
    std::vector<std::unique_ptr<media::Movie>> movies;
    const auto samples = toneSamples(20.0);
#ifdef ZELVORA_BENCH_HAVE_FILES
    const QStringList files = benchMp3Copies(1);
#endif
    *source = QStringLiteral("generated");
    for (int i = 0; i < count; ++i) {
        auto movie = std::make_unique<media::Movie>();
        bool opened = false;
#ifdef ZELVORA_BENCH_HAVE_FILES
        opened = !files.isEmpty() && movie->open(files.front());
        if (opened) {
            *source = QStringLiteral("mp3");
        }
#endif
        if (!opened) {
            movie->open(std::make_unique<media::GeneratedSource>(samples, 2, kRate));
        }
        movies.push_back(std::move(movie));
    }
    return movies;
}

void printLatency(const QString& name, std::vector<double>& samples, int silent,
                  const QString& source) {
    const double median = medianOf(samples);
    const double p99 = percentileOf(samples, 99.0);
    printFigure(name, p99, QStringLiteral("ms"),
                QStringLiteral("p99=%1 median=%2 max=%3 runs=%4 silent=%5 period=128 source=%6")
                    .arg(p99, 0, 'f', 3)
                    .arg(median, 0, 'f', 3)
                    .arg(samples.empty() ? 0.0 : samples.back(), 0, 'f', 3)
                    .arg(samples.size())
                    .arg(silent)
                    .arg(source));
}

void measureFireLatency(const BenchOptions& options) {
    auto engine = makeNullEngine(128);
    QString source;
    std::vector<std::unique_ptr<media::Movie>> movies = fireMovies(8, &source);
    engine->waitUntilIdle();
    std::mt19937 random(1);
    const int trials = options.quick ? 300 : 1500;

    // Fired at a prepared start position (its preroll ready).
    std::vector<double> prepared;
    int silent = 0;
    for (int trial = 0; trial < trials; ++trial) {
        media::Movie& movie = *movies[size_t(trial) % movies.size()];
        movie.stop();
        movie.setPosition(0.5);
        engine->waitUntilIdle();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000)); // random phase
        const double latency = timeToFirstFrame(movie);
        if (latency < 0) {
            ++silent;
        } else {
            prepared.push_back(latency);
        }
    }
    printLatency(QStringLiteral("fire_latency_ms"), prepared, silent, source);

    // Fired right after the start position changed (the preroll is refreshed meanwhile).
    std::vector<double> afterChange;
    silent = 0;
    for (int trial = 0; trial < trials; ++trial) {
        media::Movie& movie = *movies[size_t(trial) % movies.size()];
        movie.stop();
        engine->waitUntilIdle();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        movie.setPosition(double(random() % 15000) / 1000.0 + 1.0);
        const double latency = timeToFirstFrame(movie);
        if (latency < 0) {
            ++silent;
        } else {
            afterChange.push_back(latency);
        }
        engine->service();
        movie.service();
    }
    printLatency(QStringLiteral("fire_latency_after_seek_ms"), afterChange, silent, source);
}

// Percent of one core the whole process uses while 32 looping voices play over eight
// stereo outputs of one 16-channel device; `fromFile` decodes mp3s, else generated audio.
double mixerCpuPercent(bool fromFile, const BenchOptions& options, int* underruns) {
    auto engine = makeNullEngine(128, 16);
    std::vector<std::unique_ptr<media::Movie>> movies;
#ifdef ZELVORA_BENCH_HAVE_FILES
    const QStringList files = fromFile ? benchMp3Copies(1) : QStringList();
#else
    const QStringList files;
#endif
    const auto samples = toneSamples(30.0);
    for (int i = 0; i < 32; ++i) {
        auto movie = std::make_unique<media::Movie>();
        if (files.isEmpty() || !movie->open(files.front())) {
            movie->open(std::make_unique<media::GeneratedSource>(samples, 2, kRate));
        }
        const auto pair = quint32(i % 8) * 2;
        movie->setChannelTags(media::Movie::kChannelTagBase + pair,
                              media::Movie::kChannelTagBase + pair + 1);
        movie->setLooping(true);
        movie->setMeteringEnabled(true);
        movie->setPosition(double(i) * 0.7);
        movies.push_back(std::move(movie));
    }
    engine->waitUntilIdle();
    for (auto& movie : movies) {
        movie->start();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // settle
    std::vector<double> percents;
    const int rounds = options.quick ? 3 : 7;
    for (int round = 0; round < rounds; ++round) {
        const double cpuBefore = processCpuSeconds();
        const long long wallBefore = steadyNs();
        std::this_thread::sleep_for(std::chrono::milliseconds(options.quick ? 700 : 1500));
        const double cpu = processCpuSeconds() - cpuBefore;
        const double wall = double(steadyNs() - wallBefore) / 1e9;
        percents.push_back(100.0 * cpu / wall);
        for (auto& movie : movies) {
            movie->service();
        }
    }
    *underruns = 0;
    for (auto& movie : movies) {
        *underruns += movie->underrunCount();
    }
    return medianOf(percents);
}

void measureMixerCpu(const BenchOptions& options) {
    int mixUnderruns = 0;
    const double mixOnly = mixerCpuPercent(false, options, &mixUnderruns);
    int underruns = 0;
#ifdef ZELVORA_BENCH_HAVE_FILES
    const double withDecoding = mixerCpuPercent(true, options, &underruns);
    const QString source = QStringLiteral("mp3-44.1kHz-resampled");
#else
    const double withDecoding = mixOnly;
    const QString source = QStringLiteral("generated");
#endif
    printFigure(QStringLiteral("mixer_cpu_percent"), withDecoding, QStringLiteral("%"),
                QStringLiteral("voices=32 outputs=8 period=128 source=%1 underruns=%2 "
                               "mixing_only=%3%")
                    .arg(source)
                    .arg(underruns + mixUnderruns)
                    .arg(mixOnly, 0, 'f', 3));
}

#ifdef ZELVORA_BENCH_HAVE_FILES
void measureDocumentReady(const BenchOptions& options) {
    const QStringList files = benchMp3Copies(24);
    if (files.size() != 24) {
        std::fprintf(stderr, "doc_ready_ms: no benchmark files\n");
        return;
    }
    auto engine = makeNullEngine(256);
    std::vector<double> times;
    const int runs = options.quick ? 3 : 9;
    for (int run = 0; run < runs; ++run) {
        const long long start = steadyNs();
        std::vector<std::unique_ptr<media::Movie>> movies;
        for (const QString& path : files) {
            media::AudioFileInfo info;
            QString error;
            media::AudioFileProbe::probe(path, &info, &error);
            auto movie = std::make_unique<media::Movie>();
            movie->open(path, &error);
            movies.push_back(std::move(movie));
        }
        bool ready = false;
        while (!ready) {
            ready = std::all_of(movies.begin(), movies.end(),
                                [](const auto& movie) { return movie->isPrerollReady(); });
            if (!ready) {
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        }
        times.push_back(double(steadyNs() - start) / 1e6);
        movies.clear();
        engine->service();
    }
    printFigure(QStringLiteral("doc_ready_ms"), medianOf(times), QStringLiteral("ms"),
                QStringLiteral("files=24 length=180s format=mp3 runs=%1").arg(runs));
}

void measureIdleMemory(const BenchOptions&) {
    const QStringList files = benchMp3Copies(1);
    if (files.isEmpty()) {
        return;
    }
    auto engine = makeNullEngine(256);
    std::vector<std::unique_ptr<media::Movie>> movies;
    auto warmUp = std::make_unique<media::Movie>();
    warmUp->open(files.front());
    engine->waitUntilIdle();
    const double before = residentMegabytes();
    for (int i = 0; i < 100; ++i) {
        auto movie = std::make_unique<media::Movie>();
        movie->open(files.front());
        movies.push_back(std::move(movie));
    }
    engine->waitUntilIdle();
    const double after = residentMegabytes();
    printFigure(QStringLiteral("rss_mb_per_idle_clip"), (after - before) / 100.0,
                QStringLiteral("MB"),
                QStringLiteral("movies=100 format=mp3 preroll=1s rss_before=%1MB rss_after=%2MB")
                    .arg(before, 0, 'f', 1)
                    .arg(after, 0, 'f', 1));
}
#endif

} // namespace

ZELVORA_BENCH_FIGURE("media", measureFireLatency);
ZELVORA_BENCH_FIGURE("media", measureMixerCpu);
#ifdef ZELVORA_BENCH_HAVE_FILES
ZELVORA_BENCH_FIGURE("media", measureDocumentReady);
ZELVORA_BENCH_FIGURE("media", measureIdleMemory);
#endif
