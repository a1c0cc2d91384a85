#include "tests/outputs/PanelTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/UserDefaults.h"
#include "outputs/OutputMonitoringCell.h"
#include "outputs/OutputsMonitoringPanelController.h"

void OutputsPanelTest::SetUp() {
    ClipEngineTest::SetUp();
    defaults().registerDefaults({{QStringLiteral("Kestrel Serial Number"), QString()},
                                 {QStringLiteral("Lock Window Positions"), false}});
    _panel = std::make_unique<OutputsMonitoringPanelController>();
    _panel->install();
}

void OutputsPanelTest::TearDown() {
    // Clips report their stop to the panel as they go, so they go first.
    _clips.clear();
    _panel.reset();
    EXPECT_EQ(StudioServices::outputsMonitor(), nullptr) << "the panel uninstalls itself";
    EXPECT_EQ(sharedOutputsController(), nullptr);
    StudioServices::clear();
    ClipEngineTest::TearDown();
}

SoundClip& OutputsPanelTest::clipOn(int output, const QString& path, const QVariantMap& overrides) {
    QVariantMap settings = overrides;
    settings.insert(settingsKey_OutputIndex, output);
    SoundClip& clip = makeClip(path, settings);
    clip.setOutputsController(sharedOutputsController());
    return clip;
}

void OutputsPanelTest::connectTallyBox() {
    tally = std::make_unique<RecordingTallyLines>(QStringLiteral("K-7"), 1);
    StudioServices::setGpiTallyLines(tally.get());
    defaults().setObject(QStringLiteral("K-7"), QStringLiteral("Kestrel Serial Number"));
}

void OutputsPanelTest::tickAll(int ticks) {
    for (int tick = 0; tick < ticks; ++tick) {
        pull(clipaudio::kTickFrames);
        for (auto& clip : _clips) {
            clip->spendTime();
        }
        for (int index = 0; index < panel().cellCount(); ++index) {
            panel().cellAtIndex(index)->spendTime();
        }
    }
}
