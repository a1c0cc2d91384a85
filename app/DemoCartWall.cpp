#include "app/DemoCartWall.h"

#include "clip/ClipSettings.h"
#include "foundation/AtomicFile.h"
#include "foundation/Logging.h"
#include "foundation/PropertyList.h"
#include "media/AudioFileWriter.h"
#include "media/ToneGenerator.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThreadPool>
#include <algorithm>
#include <cmath>

using media::ToneGenerator;

namespace {

constexpr int kSampleRate = 44100;
// Short ramps at both ends of every sound, so nothing starts or ends with a click.
constexpr double kRampSeconds = 0.01;

// Interleaved stereo samples of one sound.
using Samples = std::vector<float>;

Samples silence(double seconds) {
    return Samples(size_t(std::lround(seconds * kSampleRate)) * 2, 0.0f);
}

// Adds `seconds` of `generator` to `out` from `start` on, shaped by a linear attack and a
// release of `release` seconds (an exponential decay when `decays`, for struck notes).
void addSound(Samples& out, ToneGenerator generator, double start, double seconds,
              double release = kRampSeconds, bool decays = false) {
    const int channels = generator.channels();
    const long long first = std::lround(start * kSampleRate);
    const int frames = int(std::lround(seconds * kSampleRate));
    std::vector<float> rendered(size_t(frames) * size_t(channels));
    generator.render(rendered.data(), frames);
    const long long available = static_cast<long long>(out.size() / 2) - first;
    const int count = int(std::min<long long>(frames, std::max(0LL, available)));
    for (int frame = 0; frame < count; ++frame) {
        const double t = double(frame) / kSampleRate;
        double gain = std::min(1.0, t / kRampSeconds);
        gain *= std::clamp((seconds - t) / release, 0.0, 1.0);
        if (decays) {
            gain *= std::exp(-3.0 * t / seconds);
        }
        const size_t at = size_t(first + frame) * 2;
        out[at] += float(gain * rendered[size_t(frame) * channels]);
        out[at + 1] += float(gain * rendered[size_t(frame) * channels + channels - 1]);
    }
}

Samples steady(ToneGenerator generator, double seconds) {
    Samples out = silence(seconds);
    addSound(out, std::move(generator), 0.0, seconds);
    return out;
}

// Four beats at 120 beats per minute, the first one higher.
Samples countIn() {
    Samples out = silence(2.0);
    for (int beat = 0; beat < 4; ++beat) {
        const double frequency = beat == 0 ? 1760.0 : 880.0;
        addSound(out, ToneGenerator::sine(frequency, 0.5, kSampleRate), beat * 0.5, 0.08, 0.04);
    }
    return out;
}

// A soft A major chord that loops without a seam: every partial fits a whole number of
// cycles into the sound's length, and the ramps are left out.
Samples bed(double seconds) {
    Samples out = silence(seconds);
    for (const double frequency : {110.0, 220.0, 277.0, 330.0}) {
        ToneGenerator partial = ToneGenerator::sine(frequency, 0.09, kSampleRate);
        std::vector<float> mono(out.size() / 2);
        partial.render(mono.data(), int(mono.size()));
        for (size_t frame = 0; frame < mono.size(); ++frame) {
            out[frame * 2] += mono[frame];
            out[frame * 2 + 1] += mono[frame];
        }
    }
    return out;
}

// A rising arpeggio ending on its chord.
Samples jingle() {
    const double notes[] = {523.25, 659.25, 783.99, 1046.5};
    Samples out = silence(2.2);
    for (int note = 0; note < 4; ++note) {
        addSound(out, ToneGenerator::sine(notes[note], 0.3, kSampleRate), note * 0.18, 0.3, 0.1,
                 true);
    }
    for (const double note : notes) {
        addSound(out, ToneGenerator::sine(note, 0.15, kSampleRate), 0.72, 1.45, 0.3, true);
    }
    return out;
}

Samples render(int index, double seconds) {
    switch (index) {
    case 0:
        return steady(ToneGenerator::sine(440.0, 0.25, kSampleRate), seconds);
    case 1:
        return steady(ToneGenerator::sine(1000.0, 0.25, kSampleRate), seconds);
    case 2:
        return steady(ToneGenerator::stereoSine(440.0, 660.0, 0.25, kSampleRate), seconds);
    case 3:
        return steady(ToneGenerator::sweep(20.0, 20000.0, seconds, 0.25, kSampleRate), seconds);
    case 4:
        return steady(ToneGenerator::sweep(20000.0, 20.0, seconds, 0.25, kSampleRate), seconds);
    case 5:
        return countIn();
    case 6:
        return bed(seconds);
    default:
        return jingle();
    }
}

QVariantMap settingsOf(const DemoCartWall::Button& button) {
    QVariantMap settings = defaultClipSettings();
    settings.insert(settingsKey_UseDefaultSettings, false);
    for (auto it = button.settings.begin(); it != button.settings.end(); ++it) {
        settings.insert(it.key(), it.value());
    }
    return settings;
}

} // namespace

const QString DemoCartWall::kPresetFileName = QStringLiteral("Demo Cart Wall.zpreset");
const QString DemoCartWall::kOption = QStringLiteral("--demo");

DemoCartWall::DemoCartWall(const QString& folder)
    : _folder(folder) {}

QString DemoCartWall::defaultFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/zelvora-studio/Demo");
}

QString DemoCartWall::presetPath() const {
    return QDir(_folder).filePath(kPresetFileName);
}

const std::vector<DemoCartWall::Button>& DemoCartWall::buttons() {
    static const std::vector<Button> list{
        {0, QStringLiteral("Tone 440 Hz.flac"), QStringLiteral("Tone 440 Hz"), 10.0, {}},
        {1, QStringLiteral("Tone 1 kHz.flac"), QStringLiteral("Tone 1 kHz"), 10.0, {}},
        {2,
         QStringLiteral("Left 440 Hz, Right 660 Hz.flac"),
         QStringLiteral("Left 440 Hz, Right 660 Hz"),
         10.0,
         {}},
        {3, QStringLiteral("Sweep Up.flac"), QStringLiteral("Sweep Up"), 8.0, {}},
        {4, QStringLiteral("Sweep Down.flac"), QStringLiteral("Sweep Down"), 8.0, {}},
        {5,
         QStringLiteral("Count-In.flac"),
         QStringLiteral("Count-In"),
         2.0,
         {{settingsKey_FadeOutMode, 2}}},
        {6,
         QStringLiteral("Bed.flac"),
         QStringLiteral("Bed (loops)"),
         20.0,
         {{settingsKey_Loop, true}, {settingsKey_FadeInDuration, 1.0}}},
        {7,
         QStringLiteral("Jingle.flac"),
         QStringLiteral("Jingle"),
         2.2,
         {{settingsKey_OutputIndex, 1}}},
    };
    return list;
}

QStringList DemoCartWall::documentsForStart(const QStringList& arguments) {
    if (!arguments.contains(kOption)) {
        // Encoding the sounds takes a moment that the first window should not wait for.
        // The folder is read here: the environment belongs to this thread's start.
        const QString folder = defaultFolder();
        QThreadPool::globalInstance()->start([folder] { writeLogged(folder); });
        return {};
    }
    const QString folder = defaultFolder();
    return writeLogged(folder) ? QStringList{DemoCartWall(folder).presetPath()} : QStringList{};
}

bool DemoCartWall::writeLogged(const QString& folder) {
    DemoCartWall demo(folder);
    QString error;
    if (demo.ensureWritten(&error) == State::Failed) {
        qCWarning(lcApp) << "the demo cart wall could not be written:" << error;
        return false;
    }
    return true;
}

DemoCartWall::State DemoCartWall::ensureWritten(QString* error) {
    if (QFileInfo::exists(presetPath())) {
        return State::AlreadyThere;
    }
    if (!QDir().mkpath(_folder)) {
        if (error) {
            *error = QStringLiteral("The folder “%1” cannot be created.").arg(_folder);
        }
        return State::Failed;
    }
    if (!writeSounds(error)) {
        return State::Failed;
    }
    QStringList paths;
    for (const Button& button : buttons()) {
        paths << QDir(_folder).filePath(button.fileName);
    }
    if (!writeCartWall(presetPath(), buttons(), paths, error)) {
        return State::Failed;
    }
    qCInfo(lcApp) << "wrote the demo cart wall" << presetPath();
    return State::Written;
}

bool DemoCartWall::writeSounds(QString* error) const {
    for (const Button& button : buttons()) {
        const Samples samples = render(button.index, button.seconds);
        media::AudioFileWriter writer;
        media::AudioFileWriter::Options options;
        options.sampleRate = kSampleRate;
        options.channels = 2;
        options.tags.title = button.title;
        options.tags.artist = QStringLiteral("Zelvora Studio");
        options.tags.album = QStringLiteral("Demo Cart Wall");
        const QString path = QDir(_folder).filePath(button.fileName);
        if (!writer.open(path, options, error) ||
            !writer.write(samples.data(), int(samples.size() / 2), error) ||
            !writer.finish(error)) {
            return false;
        }
    }
    return true;
}

bool DemoCartWall::writeCartWall(const QString& presetPath, const std::vector<Button>& buttons,
                                 const QStringList& paths, QString* error) {
    QVariantMap root;
    for (size_t i = 0; i < buttons.size() && int(i) < paths.size(); ++i) {
        const QString index = QString::number(buttons[i].index);
        root.insert(QStringLiteral("Path ") + index, paths[int(i)]);
        root.insert(QStringLiteral("Settings ") + index, settingsOf(buttons[i]));
    }
    const QByteArray bytes = PropertyList::toXml(root, error);
    return !bytes.isEmpty() && AtomicFile::write(presetPath, bytes, error);
}
