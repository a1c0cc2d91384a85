#pragma once

// Shared pieces of the SoundClip tests: a scratch home with the nine output records and
// "Read ID3 Tags" registered, an audio engine on the offline back end ("Offline Output",
// stereo and default; "Test Device 4ch"), 48 kHz float WAV files whose samples come back
// exactly, a tick that renders 50 ms and then calls spendTime(), observers that record
// what a clip tells them, a capture of the clip's log lines, and MIDI sources that tests
// name.

#include "clip/ClipObserver.h"
#include "clip/ClipOutputsObserver.h"
#include "clip/MIDISourceList.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchHome.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class SoundClip;

namespace media {
class AudioEngine;
class OfflineDriver;
} // namespace media

namespace clipaudio {
constexpr int kRate = 48000;
constexpr int kPeriod = 256;
constexpr int kTickFrames = kRate / 20;
// Every frame carries its index: left = (index mod 65536) / 65536 + 1/131072, right the
// negative; exact in float and never zero, so a test reads back which frame played.
float indexedValue(long long frame);
// The frame an indexed left sample came from (mod 65536).
long long frameOfIndexedValue(float left);
} // namespace clipaudio

// Records the observer calls in order: "started", "paused 3", "cell", "stopped"; with a
// journal, also as "<name> <call>" in the journal, which several recorders can share.
class RecordingObservers : public ClipObserver, public ClipOutputsObserver {
public:
    explicit RecordingObservers(QStringList* journal = nullptr, const QString& name = QString())
        : _journal(journal)
        , _name(name) {}

    void updateClipCell(SoundClip*) override { record(QStringLiteral("cell")); }
    void clipHasStarted(SoundClip*) override { record(QStringLiteral("started")); }
    void pauseOutput(int outputIndex) override {
        record(QStringLiteral("paused %1").arg(outputIndex));
    }
    void clipHasStopped(SoundClip*) override { record(QStringLiteral("stopped")); }

    QStringList calls;

private:
    void record(const QString& call) {
        calls << call;
        if (_journal) {
            *_journal << _name + QLatin1Char(' ') + call;
        }
    }

    QStringList* _journal;
    QString _name;
};

// Collects the lines written to the clip's logging category while it lives.
class ClipLogCapture : public LogCapture {
public:
    ClipLogCapture()
        : LogCapture("zelvora.clip") {}
};

// Sources by name; a source whose name is none cannot be read.
class FakeMIDISources : public MIDISourceList {
public:
    int count() const override { return static_cast<int>(names.size()); }
    bool name(int index, QString* name) const override;

    QList<std::optional<QString>> names;
};

class ClipEngineTest : public ScratchHome {
protected:
    ClipEngineTest();
    ~ClipEngineTest() override;

    void SetUp() override;
    void TearDown() override;

    media::AudioEngine& engine() { return *_engine; }
    QString folder() const { return _files.path(); }

    // A 48 kHz float WAV of `frames` frames made by `sample(frame, channel)`.
    QString writeWav(const QString& name, long long frames, int channels,
                     const std::function<float(long long, int)>& sample);
    QString constantWav(const QString& name, double seconds, float left, float right,
                        int channels = 2);
    QString indexedWav(const QString& name, double seconds);

    // A clip from the default record with `overrides`, on `path` (loaded). It is kept
    // by the fixture and destroyed before the engine.
    SoundClip& makeClip(const QString& path, const QVariantMap& overrides = {});

    // Renders `frames` frames of the device, letting the decoders keep up.
    std::vector<float> pull(int frames, const QString& device = QStringLiteral("Offline Output"));
    // One tick of time: renders 50 ms of the device, then the clip's tick. The rendered
    // frames come back.
    std::vector<float> tick(SoundClip& clip,
                            const QString& device = QStringLiteral("Offline Output"));

    // The sample of `channel` at `frame` of an interleaved buffer.
    static float at(const std::vector<float>& buffer, int channels, long long frame, int channel);
    // The last frame's sample of `channel`, where any ramp has settled.
    static float settled(const std::vector<float>& buffer, int channels, int channel);
    static bool isSilent(const std::vector<float>& buffer, int channels, int channel);

    std::vector<std::unique_ptr<SoundClip>> _clips;

private:
    QTemporaryDir _files;
    std::unique_ptr<media::AudioEngine> _engine;
    media::OfflineDriver* _driver = nullptr;
};
