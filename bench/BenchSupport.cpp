#include "bench/BenchSupport.h"

#include "clip/OutputSettings.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/AudioFileWriter.h"
#include "media/NullDriver.h"
#include "media/ToneGenerator.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <chrono>
#include <cstdio>

long long steadyNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::unique_ptr<media::AudioEngine> makeNullEngine(int periodFrames, int channels) {
    media::AudioDeviceInfo device = media::NullDriver::defaultDevice();
    device.outputChannels = channels;
    media::AudioEngine::Options options;
    options.driver = std::make_unique<media::NullDriver>(std::vector{device});
    options.periodFrames = periodFrames;
    options.deviceWatchIntervalMs = 0;
    return std::make_unique<media::AudioEngine>(std::move(options));
}

namespace {

// The one three-minute mp3 the copies are made from.
QString benchMp3() {
    const QString folder = QDir::tempPath() + QStringLiteral("/zelvora-bench-cache");
    QDir().mkpath(folder);
    const QString path = folder + QStringLiteral("/three-minutes.mp3");
    if (QFile::exists(path)) {
        return path;
    }
    media::ToneGenerator generator = media::ToneGenerator::stereoSine(440.0, 660.0, 0.4, 44100);
    media::AudioFileWriter::Options options;
    options.sampleRate = 44100;
    options.channels = 2;
    QString error;
    if (!media::AudioFileWriter::writeFile(path, options, generator, 180LL * 44100, &error)) {
        std::fprintf(stderr, "cannot write the benchmark mp3: %s\n", qPrintable(error));
        return QString();
    }
    return path;
}

} // namespace

QStringList benchMp3Copies(int count) {
    const QString original = benchMp3();
    QStringList paths;
    if (original.isEmpty()) {
        return paths;
    }
    for (int i = 0; i < count; ++i) {
        const QString copy = QFileInfo(original).path() + QStringLiteral("/clip-%1.mp3").arg(i);
        if (!QFile::exists(copy)) {
            QFile::copy(original, copy);
        }
        paths.append(copy);
    }
    return paths;
}

ScopedBenchDefaults::ScopedBenchDefaults(const QVariantMap& registered)
    : _dir(std::make_unique<QTemporaryDir>())
    , _defaults(std::make_unique<UserDefaults>(_dir->path()))
    , _previous(UserDefaults::standard()) {
    QVariantMap values = registered;
    for (int index = 0; index < outputSettingsCount; ++index) {
        values.insert(outputSettingsKey(index), defaultOutputSettings(index));
    }
    _defaults->registerDefaults(values);
    UserDefaults::setStandard(_defaults.get());
}

ScopedBenchDefaults::~ScopedBenchDefaults() {
    UserDefaults::setStandard(_previous);
}
