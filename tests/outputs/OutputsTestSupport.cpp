#include "tests/outputs/OutputsTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/OfflineDriver.h"

#include <cstdlib>

OutputsFixture::OutputsFixture() = default;
OutputsFixture::~OutputsFixture() = default;

void OutputsFixture::SetUp() {
    ScratchHome::SetUp();
    QVariantMap registered{{defaultsKey_ReadID3Tags, true},
                           {defaultsKey_DefaultClipSettings, defaultClipSettings()}};
    for (int index = 0; index < outputSettingsCount; ++index) {
        registered.insert(outputSettingsKey(index), defaultOutputSettings(index));
    }
    defaults().registerDefaults(registered);

    media::AudioEngine::Options options;
    options.driver = std::make_unique<media::OfflineDriver>();
    options.periodFrames = 256;
    options.deviceWatchIntervalMs = 0;
    _engine = std::make_unique<media::AudioEngine>(std::move(options));
}

void OutputsFixture::TearDown() {
    _engine.reset();
    ScratchHome::TearDown();
}

QVariantMap OutputsFixture::storedOutput(int index) {
    return defaults().dictionaryForKey(outputSettingsKey(index));
}

void OutputsFixture::storeOutput(int index, const QVariantMap& record) {
    defaults().setObject(record, outputSettingsKey(index));
}

int OutputsFixture::pixelsNear(const QImage& image, const QRect& area, const QColor& colour,
                               int tolerance) {
    const QRect inside = area.intersected(image.rect());
    int count = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - colour.red()) <= tolerance &&
                std::abs(pixel.green() - colour.green()) <= tolerance &&
                std::abs(pixel.blue() - colour.blue()) <= tolerance) {
                ++count;
            }
        }
    }
    return count;
}
