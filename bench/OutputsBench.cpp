// Figures of the outputs layer: what the outputs monitoring panel costs the main thread
// while 8 clips (three-minute mp3 files) play and its strips refresh every 50 ms (times,
// progress, meters) on a shown panel, on the null back end. The clips' own ticks run on
// the same thread and are part of the figure; a run with the same clips and no panel
// gives the panel's share.

#include "bench/BenchFigure.h"
#include "bench/BenchSupport.h"
#include "clip/ClipSettings.h"
#include "clip/SoundClip.h"
#include "media/AudioEngine.h"
#include "outputs/OutputsMonitoringPanelController.h"

#include <QEventLoop>
#include <QTimer>
#include <QUrl>
#include <cstdio>
#include <ctime>

namespace {

constexpr int kPeriodFrames = 128;
constexpr int kPlayingClips = 8;

double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Runs the event loop for `seconds` and answers the main thread's CPU use in percent of
// one core.
double mainThreadPercentOver(double seconds) {
    QEventLoop loop;
    QTimer::singleShot(int(seconds * 1000.0), &loop, &QEventLoop::quit);
    const double cpuStart = threadCpuSeconds();
    const long long wallStart = steadyNs();
    loop.exec();
    const double wall = double(steadyNs() - wallStart) / 1e9;
    return wall > 0.0 ? (threadCpuSeconds() - cpuStart) / wall * 100.0 : 0.0;
}

// Starts every clip, lets the strips settle, measures, and stops the clips.
double measureWhilePlaying(std::vector<std::unique_ptr<SoundClip>>& clips, double seconds) {
    for (auto& clip : clips) {
        clip->startPlaying(false);
    }
    mainThreadPercentOver(0.3);
    const double percent = mainThreadPercentOver(seconds);
    for (auto& clip : clips) {
        clip->stopPlaying();
    }
    return percent;
}

void measurePanelCpu(const BenchOptions& options) {
    ScopedBenchDefaults defaults(
        {{defaultsKey_ReadID3Tags, false}, {QStringLiteral("Lock Window Positions"), false}});
    auto engine = makeNullEngine(kPeriodFrames);
    const QStringList files = benchMp3Copies(kPlayingClips);
    if (files.size() != kPlayingClips) {
        return;
    }
    OutputsMonitoringPanelController panel;
    std::vector<std::unique_ptr<SoundClip>> clips;
    for (int output = 0; output < kPlayingClips; ++output) {
        auto record = std::make_shared<QVariantMap>(defaultClipSettings());
        record->insert(settingsKey_OutputIndex, output);
        auto clip = std::make_unique<SoundClip>(record);
        if (!clip->setFileURL(QUrl::fromLocalFile(files[output]))) {
            std::fprintf(stderr, "the panel benchmark file does not load\n");
            return;
        }
        clips.push_back(std::move(clip));
    }
    engine->waitUntilIdle();

    // The clips alone, then the same clips reporting to a shown panel.
    const double seconds = options.quick ? 3.0 : 10.0;
    const double clipsOnly = measureWhilePlaying(clips, seconds);
    panel.showWindow();
    for (auto& clip : clips) {
        clip->setOutputsController(&panel);
    }
    const double withPanel = measureWhilePlaying(clips, seconds);
    for (auto& clip : clips) {
        clip->setOutputsController(nullptr);
    }
    printFigure(QStringLiteral("panel_cpu_percent"), withPanel, QStringLiteral("%"),
                QStringLiteral("clips_only=%1 panel_share=%2 clips=%3 strips=%4 seconds=%5 "
                               "(main thread, % of one core, offscreen panel shown)")
                    .arg(clipsOnly, 0, 'f', 3)
                    .arg(withPanel - clipsOnly, 0, 'f', 3)
                    .arg(kPlayingClips)
                    .arg(panel.cellCount())
                    .arg(seconds, 0, 'f', 1));
}

} // namespace

ZELVORA_BENCH_FIGURE("outputs", measurePanelCpu);
