#pragma once

// Helpers the figure files share: a steady clock in nanoseconds, an audio engine on the
// null back end, and the three-minute mp3 files the document figures open.

#include <QStringList>
#include <memory>

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
