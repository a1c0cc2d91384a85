#pragma once

// The fixture of the output configuration tests (and of the windows that edit outputs):
// a scratch home with the nine output records, "Read ID3 Tags" and the default clip
// settings registered, an audio engine on the offline back end (the default stereo
// "Offline Output" and the four-channel "Test Device 4ch"), helpers to read and store
// one output record, and a pixel counter for grabbed images.

#include "tests/support/ScratchHome.h"

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>
#include <QVariantMap>
#include <memory>

namespace media {
class AudioEngine;
} // namespace media

inline const QString kFourChannelDevice = QStringLiteral("Test Device 4ch");

class OutputsFixture : public ScratchHome {
public:
    // Pixels of `area` whose red, green and blue each lie within `tolerance` of `colour`.
    // Public, so tests of plain widgets can count pixels too.
    static int pixelsNear(const QImage& image, const QRect& area, const QColor& colour,
                          int tolerance);

protected:
    OutputsFixture();
    ~OutputsFixture() override;

    void SetUp() override;
    void TearDown() override;

    media::AudioEngine& engine() { return *_engine; }

    // The record stored under "Output Settings %i" (empty when there is none).
    QVariantMap storedOutput(int index);
    void storeOutput(int index, const QVariantMap& record);

private:
    std::unique_ptr<media::AudioEngine> _engine;
};
