// Figures of the cart wall window, on the null back end and the offscreen platform:
// - window_ready_ms: a document of 24 three-minute mp3 files opened through the document
//   controller until its window is shown and painted and every button can fire (each
//   clip's first second decoded);
// - grid_repaint_ms: one full repaint of the filled grid;
// - blink_tick_us: one tick of the blink timer with paused and playing buttons, the
//   repaint of the cells it changed included (the tick alone in the detail).

#include "app/ZelvoraApplication.h"
#include "bench/BenchFigure.h"
#include "bench/BenchSupport.h"
#include "clip/SoundClip.h"
#include "document/DocumentController.h"
#include "foundation/AtomicFile.h"
#include "foundation/PropertyList.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>
#include <thread>

namespace {

constexpr int kPeriodFrames = 256;

// The program's registered defaults in a store of its own, installed while a figure runs.
class ProgramDefaults : public ScopedBenchDefaults {
public:
    ProgramDefaults()
        : ScopedBenchDefaults(ZelvoraApplication::factoryDefaults()) {}
};

// The cart wall document type with its real window controller, as the program installs
// it, and the file of a document holding `files` on its first buttons.
class CartWalls {
public:
    explicit CartWalls(const QStringList& files) {
        documents.registerDocumentType({PresetDocument::kTypeName, PresetDocument::kMimeType,
                                        PresetDocument::kExtension, QStringLiteral("Cart Wall"),
                                        [] {
                                            return std::make_unique<PresetDocument>();
                                        }});
        PresetDocument::setControllerFactory(
            [](PresetDocument* document) { return std::make_unique<PresetController>(document); });
        QVariantMap root;
        for (int index = 0; index < files.size(); ++index) {
            root.insert(QStringLiteral("Path %1").arg(index), files[index]);
        }
        path = _dir.filePath(QStringLiteral("bench.zpreset"));
        QString error;
        if (!AtomicFile::write(path, PropertyList::toXml(root, &error), &error)) {
            std::fprintf(stderr, "cannot write the benchmark cart wall: %s\n", qPrintable(error));
            path.clear();
        }
    }
    ~CartWalls() {
        documents.closeAllDocuments(true);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        PresetDocument::setControllerFactory(nullptr);
    }

    PresetDocument* open() { return static_cast<PresetDocument*>(documents.openDocument(path)); }
    void close(PresetDocument* document) {
        documents.closeDocument(document, true);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    DocumentController documents;
    QString path;

private:
    QTemporaryDir _dir;
};

bool everyButtonCanFire(const PresetDocument& document, int buttons) {
    for (int index = 0; index < buttons; ++index) {
        const SoundClip* clip = document.clipAtIndex(index);
        if (!clip || !clip->movie() || !clip->movie()->isPrerollReady()) {
            return false;
        }
    }
    return true;
}

// Counts the paint events of one widget.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return false;
    }
    int paints = 0;
};

PresetMatrix* matrixOf(const PresetDocument& document) {
    return static_cast<PresetController*>(document.controller())->matrix();
}

// Paints whatever the window has pending, as the event loop would.
void deliverPendingPaints(QWidget* window) {
    QCoreApplication::sendPostedEvents(window, QEvent::UpdateRequest);
}

void measureWindowReady(const BenchOptions& options) {
    const QStringList files = benchMp3Copies(PresetDocument::kClipsCount);
    if (files.size() != PresetDocument::kClipsCount) {
        std::fprintf(stderr, "window_ready_ms: no benchmark files\n");
        return;
    }
    ProgramDefaults defaults;
    auto engine = makeNullEngine(kPeriodFrames);
    CartWalls cartWalls(files);
    const int runs = options.quick ? 3 : 9;
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        const long long start = steadyNs();
        PresetDocument* document = cartWalls.open();
        if (!document || !document->window()) {
            std::fprintf(stderr, "window_ready_ms: the document did not open\n");
            return;
        }
        PaintCounter painted(matrixOf(*document));
        while (!document->window()->isVisible() || painted.paints == 0 ||
               !everyButtonCanFire(*document, PresetDocument::kClipsCount)) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        times.push_back(double(steadyNs() - start) / 1e6);
        cartWalls.close(document);
        engine->service();
    }
    const double first = times.front();
    printFigure(QStringLiteral("window_ready_ms"), medianOf(times), QStringLiteral("ms"),
                QStringLiteral("files=24 length=180s format=mp3 runs=%1 first_run_ms=%2")
                    .arg(runs)
                    .arg(first, 0, 'f', 1));
}

// A shown cart wall with 24 ready clips (four playing, four paused) on the program's
// defaults and a null engine; no document when the files cannot be made.
class FilledGrid {
public:
    FilledGrid() {
        const QStringList files = benchMp3Copies(PresetDocument::kClipsCount);
        if (files.size() != PresetDocument::kClipsCount) {
            return;
        }
        _engine = makeNullEngine(kPeriodFrames);
        _cartWalls = std::make_unique<CartWalls>(files);
        document = _cartWalls->open();
        if (!document || !document->window()) {
            document = nullptr;
            return;
        }
        while (!everyButtonCanFire(*document, PresetDocument::kClipsCount)) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        for (int index = 0; index < 8; ++index) {
            document->clipAtIndex(index)->startPlaying(index % 2 == 0);
        }
        QCoreApplication::processEvents();
    }
    ~FilledGrid() {
        for (int index = 0; document && index < PresetDocument::kClipsCount; ++index) {
            document->clipAtIndex(index)->stopPlaying();
        }
    }

    PresetDocument* document = nullptr;

private:
    ProgramDefaults _defaults;
    std::unique_ptr<media::AudioEngine> _engine;
    std::unique_ptr<CartWalls> _cartWalls;
};

void measureGridRepaint(const BenchOptions& options) {
    FilledGrid grid;
    if (!grid.document) {
        std::fprintf(stderr, "grid_repaint_ms: no filled grid\n");
        return;
    }
    PresetMatrix* matrix = matrixOf(*grid.document);
    const int runs = options.quick ? 200 : 1000;
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        const long long start = steadyNs();
        matrix->repaint();
        times.push_back(double(steadyNs() - start) / 1e6);
    }
    const double p99 = percentileOf(times, 99.0);
    printFigure(QStringLiteral("grid_repaint_ms"), medianOf(times), QStringLiteral("ms"),
                QStringLiteral("p99=%1 cells=24 size=%2x%3 playing=4 paused=4 runs=%4")
                    .arg(p99, 0, 'f', 3)
                    .arg(matrix->width())
                    .arg(matrix->height())
                    .arg(runs));
}

void measureBlinkTick(const BenchOptions& options) {
    FilledGrid grid;
    if (!grid.document) {
        std::fprintf(stderr, "blink_tick_us: no filled grid\n");
        return;
    }
    auto* controller = static_cast<PresetController*>(grid.document->controller());
    controller->stopBlinking(); // ticks are driven here
    PaintCounter painted(controller->matrix());
    const int runs = options.quick ? 200 : 1000;
    std::vector<double> withPaint;
    std::vector<double> tickOnly;
    for (int run = 0; run < runs; ++run) {
        const long long start = steadyNs();
        controller->blinkingTimer();
        const long long ticked = steadyNs();
        deliverPendingPaints(grid.document->window());
        const long long end = steadyNs();
        tickOnly.push_back(double(ticked - start) / 1e3);
        withPaint.push_back(double(end - start) / 1e3);
    }
    printFigure(QStringLiteral("blink_tick_us"), medianOf(withPaint), QStringLiteral("us"),
                QStringLiteral("p99=%1 tick_only_us=%2 paused=4 playing=4 paints=%3 runs=%4")
                    .arg(percentileOf(withPaint, 99.0), 0, 'f', 1)
                    .arg(medianOf(tickOnly), 0, 'f', 1)
                    .arg(painted.paints)
                    .arg(runs));
}

} // namespace

ZELVORA_BENCH_FIGURE("preset", measureWindowReady);
ZELVORA_BENCH_FIGURE("preset", measureGridRepaint);
ZELVORA_BENCH_FIGURE("preset", measureBlinkTick);
