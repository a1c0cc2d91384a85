// Figures of the whole program, on the null back end and the offscreen platform:
// - startup_ms: the real zelvora-studio started as a new process until its untitled cart
//   wall shows and the program answers on its command socket (so its event loop runs and
//   the window can fire). Asked every millisecond; the first start, which also writes the
//   demo cart wall and fills the disk cache, is left out and given in the detail.
// - key_to_sound_ms: the program's panels, controller and document session as the
//   program makes them, a cart wall with a three-minute mp3 on button A, and the letter A
//   handed to the window system layer of the toolkit (where the X11 plugin hands its key
//   events) until the clip's first frame is in the device buffer. Key presses fall at
//   random points of the audio period, so the figure includes the wait for the next one.

#include "app/CAppController.h"
#include "app/DemoCartWall.h"
#include "app/DocumentSession.h"
#include "app/InstanceChannel.h"
#include "app/StudioLaunch.h"
#include "app/ZelvoraApplication.h"
#include "bench/BenchFigure.h"
#include "bench/BenchSupport.h"
#include "clip/SoundClip.h"
#include "document/DocumentController.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "preset/PresetDocument.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <QWindow>
#include <cstdio>
#include <thread>

namespace {

constexpr long long kGiveUpNs = 20'000'000'000LL;

void sleepMicroseconds(int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

// ---- startup_ms ----

// Whether the program behind `socket` answers and shows an open document.
bool showsADocument(const QString& socket) {
    const std::optional<QJsonObject> state = InstanceChannel::request(
        socket, {{QStringLiteral("command"), QStringLiteral("state")}}, 200);
    if (!state) {
        return false;
    }
    for (const QJsonValue& document : state->value(QStringLiteral("documents")).toArray()) {
        if (document.toObject().value(QStringLiteral("shown")).toBool()) {
            return true;
        }
    }
    return false;
}

// One start of the program in `home` (its own settings, data and socket folders), timed
// until it shows its untitled cart wall; -1 when it never does. The program is ended
// after `afterReady` has run.
double timeOneStart(const QString& home, const std::function<void()>& afterReady = {}) {
    QTemporaryDir runtime;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("ZELVORA_AUDIO"), QStringLiteral("null"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());

    const QString socket = InstanceChannel::defaultName(
        home + QStringLiteral("/config/zelvora-studio"), runtime.path());

    QProcess program;
    program.setProcessEnvironment(environment);
    program.setStandardOutputFile(QProcess::nullDevice());
    program.setStandardErrorFile(QProcess::nullDevice());
    const long long start = steadyNs();
    program.start(QStringLiteral(ZELVORA_STUDIO_BINARY), {QStringLiteral("--test-hooks")});
    double milliseconds = -1.0;
    if (program.waitForStarted(5000)) {
        while (steadyNs() - start < kGiveUpNs && program.state() == QProcess::Running) {
            if (showsADocument(socket)) {
                milliseconds = double(steadyNs() - start) / 1e6;
                break;
            }
            sleepMicroseconds(1000);
        }
    }
    if (milliseconds >= 0.0 && afterReady) {
        afterReady();
    }
    program.terminate();
    if (!program.waitForFinished(5000)) {
        program.kill();
        program.waitForFinished(5000);
    }
    return milliseconds;
}

void measureStartup(const BenchOptions& options) {
    QTemporaryDir home;
    // The first start writes the demo cart wall on a worker thread; waiting for it keeps
    // that work out of the timed starts.
    const QString demo =
        home.path() + QStringLiteral("/data/zelvora-studio/Demo/") + DemoCartWall::kPresetFileName;
    const double first = timeOneStart(home.path(), [&] {
        const long long waitStart = steadyNs();
        while (!QFileInfo::exists(demo) && steadyNs() - waitStart < kGiveUpNs) {
            sleepMicroseconds(5000);
        }
    });
    if (first < 0.0) {
        std::fprintf(stderr, "startup_ms: the program did not show its untitled cart wall\n");
        return;
    }
    const int runs = options.quick ? 5 : 15;
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        const double milliseconds = timeOneStart(home.path());
        if (milliseconds < 0.0) {
            std::fprintf(stderr, "startup_ms: a start did not show its untitled cart wall\n");
            return;
        }
        times.push_back(milliseconds);
    }
    std::vector<double> sorted = times;
    const double slowest = percentileOf(sorted, 100.0);
    printFigure(QStringLiteral("startup_ms"), medianOf(times), QStringLiteral("ms"),
                QStringLiteral("max=%1 first_start_ms=%2 runs=%3 (new process, offscreen, null "
                               "back end, untitled cart wall shown and answering)")
                    .arg(slowest, 0, 'f', 1)
                    .arg(first, 0, 'f', 1)
                    .arg(runs));
}

// ---- key_to_sound_ms ----

// The program's own parts around a null engine: defaults, panels, application controller
// with its key interception, the document session, and a cart wall with `file` on
// button A, shown and active.
class RunningProgram {
public:
    explicit RunningProgram(const QString& file)
        : _defaults(ZelvoraApplication::factoryDefaults()) {
        _engine = std::make_unique<media::AudioEngine>();
        _launch.startBeforeDocuments();
        _session = std::make_unique<DocumentSession>();
        _launch.attach(*_session, false);
        const QString path = _dir.filePath(QStringLiteral("Key Bench.zpreset"));
        QString error;
        if (!DemoCartWall::writeCartWall(
                path, {{0, QFileInfo(file).fileName(), QStringLiteral("Bench"), 180.0, {}}}, {file},
                &error)) {
            std::fprintf(stderr, "key_to_sound_ms: %s\n", qPrintable(error));
            return;
        }
        document = dynamic_cast<PresetDocument*>(
            _session->documentController().openDocument(path, true, &error));
        if (!document || !document->window() || !document->clipAtIndex(0)) {
            std::fprintf(stderr, "key_to_sound_ms: the cart wall did not open: %s\n",
                         qPrintable(error));
            document = nullptr;
            return;
        }
        document->window()->activateWindow();
        if (!QTest::qWaitForWindowActive(document->window())) {
            std::fprintf(stderr, "key_to_sound_ms: the cart wall never became active\n");
            document = nullptr;
        }
    }
    ~RunningProgram() {
        _launch.detach();
        _session.reset();
    }

    int periodFrames() const { return _engine->periodFrames(); }
    int sampleRate() const { return _engine->sampleRate(); }

    PresetDocument* document = nullptr;

private:
    ScopedBenchDefaults _defaults;
    QTemporaryDir _dir;
    std::unique_ptr<media::AudioEngine> _engine;
    StudioLaunch _launch;
    std::unique_ptr<DocumentSession> _session;
};

// Waits (events handled) until `clip` can fire again; false when it never does.
bool waitUntilReady(const SoundClip& clip) {
    const long long start = steadyNs();
    while (clip.isPlaying() || !clip.movie() || !clip.movie()->isPrerollReady()) {
        if (steadyNs() - start > kGiveUpNs) {
            return false;
        }
        QCoreApplication::processEvents();
        sleepMicroseconds(200);
    }
    return true;
}

// One press of A through the toolkit's window system layer until the first frame of
// button A's clip is in the device buffer; -1 when it never sounds.
double pressUntilSound(QWindow* window, const media::Movie& movie) {
    const long long before = movie.firstFrameRenderedNs();
    const long long start = steadyNs();
    QTest::keyPress(window, Qt::Key_A);
    while (movie.firstFrameRenderedNs() == before) {
        if (steadyNs() - start > kGiveUpNs) {
            return -1.0;
        }
        sleepMicroseconds(20);
    }
    const double milliseconds = double(movie.firstFrameRenderedNs() - start) / 1e6;
    QTest::keyRelease(window, Qt::Key_A);
    return milliseconds;
}

void measureKeyToSound(const BenchOptions& options) {
    const QStringList files = benchMp3Copies(1);
    if (files.isEmpty()) {
        std::fprintf(stderr, "key_to_sound_ms: no benchmark file\n");
        return;
    }
    RunningProgram program(files.front());
    if (!program.document) {
        return;
    }
    SoundClip* clip = program.document->clipAtIndex(0);
    QWindow* window = program.document->window()->windowHandle();
    const double periodMs = 1000.0 * program.periodFrames() / program.sampleRate();
    const int runs = options.quick ? 40 : 200;
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        if (!waitUntilReady(*clip)) {
            std::fprintf(stderr, "key_to_sound_ms: button A never became ready\n");
            return;
        }
        // Land the press anywhere in the period.
        sleepMicroseconds(QRandomGenerator::global()->bounded(int(periodMs * 1000.0)));
        const double milliseconds = pressUntilSound(window, *clip->movie());
        if (milliseconds < 0.0) {
            std::fprintf(stderr, "key_to_sound_ms: button A did not sound\n");
            return;
        }
        times.push_back(milliseconds);
        clip->stopPlaying();
    }
    std::vector<double> sorted = times;
    const double p99 = percentileOf(sorted, 99.0);
    const double slowest = percentileOf(sorted, 100.0);
    printFigure(QStringLiteral("key_to_sound_ms"), p99, QStringLiteral("ms"),
                QStringLiteral("p99; median=%1 max=%2 runs=%3 period=%4 (%5 ms) target=%6 "
                               "source=mp3")
                    .arg(medianOf(times), 0, 'f', 3)
                    .arg(slowest, 0, 'f', 3)
                    .arg(runs)
                    .arg(program.periodFrames())
                    .arg(periodMs, 0, 'f', 2)
                    .arg(periodMs + 1.0, 0, 'f', 2));
}

} // namespace

ZELVORA_BENCH_FIGURE("app", measureStartup);
ZELVORA_BENCH_FIGURE("app", measureKeyToSound);
