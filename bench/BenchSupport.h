#pragma once

// Helpers the figure files share: a steady clock in nanoseconds, an audio engine on the
// null back end, the three-minute mp3 files the document figures open, and a user-defaults
// store of a figure's own.

#include <QStringList>
#include <QVariantMap>
#include <memory>

class QTemporaryDir;
class UserDefaults;

namespace media {
class AudioEngine;
}

long long steadyNs();

// A null-back-end engine on one device: stereo, or `channels` channels (16 for eight
// stereo outputs on one device). The device list is never polled.
std::unique_ptr<media::AudioEngine> makeNullEngine(int periodFrames, int channels = 2);

// `count` copies of one three-minute stereo mp3 (44.1 kHz), under different names. They
// are encoded once and kept in the temporary folder between runs; an empty list when the
// file cannot be written.
QStringList benchMp3Copies(int count);

// A user-defaults store in a temporary folder with `registered` as its factory values
// (the nine output records always among them), installed as the standard store while it
// lives, so a figure never touches the user's settings.
class ScopedBenchDefaults {
public:
    explicit ScopedBenchDefaults(const QVariantMap& registered = {});
    ~ScopedBenchDefaults();
    ScopedBenchDefaults(const ScopedBenchDefaults&) = delete;
    ScopedBenchDefaults& operator=(const ScopedBenchDefaults&) = delete;

private:
    std::unique_ptr<QTemporaryDir> _dir;
    std::unique_ptr<UserDefaults> _defaults;
    UserDefaults* _previous = nullptr;
};
