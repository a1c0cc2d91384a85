#include "tests/preset/PresetWindowTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/SharedOutputsController.h"
#include "clip/SoundClip.h"
#include "clip/StudioServices.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"

#include <QColor>

// ---- Recording services ----

void RecordingServices::clipHasStarted(SoundClip* clip) {
    calls << QStringLiteral("started %1").arg(clip->outputIndex());
}
void RecordingServices::pauseOutput(int outputIndex) {
    calls << QStringLiteral("paused %1").arg(outputIndex);
}
void RecordingServices::clipHasStopped(SoundClip* clip) {
    calls << QStringLiteral("stopped %1").arg(clip->outputIndex());
}
void RecordingServices::releasePauseForOutput(int outputIndex) {
    calls << QStringLiteral("release %1").arg(outputIndex);
}
void RecordingServices::stopOutput(int outputIndex) {
    calls << QStringLiteral("stop output %1").arg(outputIndex);
}
void RecordingServices::outputHasStopped(int outputIndex) {
    calls << QStringLiteral("output stopped %1").arg(outputIndex);
}
void RecordingServices::preListenClip(SoundClip* clip, bool atEnd) {
    preListened << clip;
    calls << (atEnd ? QStringLiteral("prelisten end") : QStringLiteral("prelisten start"));
}
int RecordingServices::findInterfaceIndexWithSerialNumber(const QString& serialNumber) const {
    return int(serialNumbers.indexOf(serialNumber));
}
void RecordingServices::setState(int interfaceIndex, bool state, int output) {
    calls << QStringLiteral("gpi %1 output %2 state %3")
                 .arg(interfaceIndex)
                 .arg(output)
                 .arg(state ? 1 : 0);
}
bool RecordingServices::editClipSettings(const QUrl&, const std::shared_ptr<QVariantMap>& settings,
                                         QVariantMap* oldSettings) {
    calls << QStringLiteral("edit");
    if (!acceptEdit) {
        return false;
    }
    if (oldSettings) {
        *oldSettings = *settings;
    }
    if (edit) {
        edit(*settings);
    }
    return true;
}
void RecordingServices::revealInFileManager(const QString& path) {
    calls << QStringLiteral("reveal ") + path;
}
void RecordingServices::openWithEditor(const QString& path, const QString& editorCommand) {
    calls << QStringLiteral("open %1 with %2").arg(path, editorCommand);
}

void RecordingServices::install() {
    StudioServices::setOutputsMonitor(this);
    StudioServices::setPreListenPlayer(this);
    StudioServices::setGpiTallyLines(this);
    StudioServices::setKeyStates(this);
    StudioServices::setClipSettingsEditor(this);
    StudioServices::setFileWorkspace(this);
    setSharedOutputsController(this);
}

void RecordingServices::uninstall() {
    StudioServices::clear();
    setSharedOutputsController(nullptr);
}

// ---- Alerts ----

int AnsweringAlerts::runAlert(const Alert& alert) {
    shown << alert.title;
    if (answers.isEmpty()) {
        return 0;
    }
    const qsizetype chosen = alert.buttons.indexOf(answers.takeFirst());
    return chosen < 0 ? 0 : int(chosen);
}

// ---- Pixels ----

LedColour ledColourAt(const QImage& image, const QPoint& centre) {
    // The average of a 3 × 3 patch, away from the LED's highlight and rim.
    int red = 0, green = 0, blue = 0;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const QColor colour = image.pixelColor(centre + QPoint(dx, dy));
            red += colour.red();
            green += colour.green();
            blue += colour.blue();
        }
    }
    red /= 9;
    green /= 9;
    blue /= 9;
    const int spread = std::max({red, green, blue}) - std::min({red, green, blue});
    if (spread < 24) {
        return LedColour::Grey;
    }
    if (green > red + 40 && green > blue + 40) {
        return LedColour::Green;
    }
    if (red > green + 60 && red > blue + 60) {
        return LedColour::Red;
    }
    if (red > blue + 60 && green > blue + 60) {
        return LedColour::Yellow;
    }
    return LedColour::Other;
}

const char* ledColourName(LedColour colour) {
    switch (colour) {
    case LedColour::Grey:
        return "grey";
    case LedColour::Green:
        return "green";
    case LedColour::Red:
        return "red";
    case LedColour::Yellow:
        return "yellow";
    case LedColour::Other:
        break;
    }
    return "other";
}

// ---- Fixture ----

void PresetWindowTest::SetUp() {
    ClipEngineTest::SetUp();
    defaults().registerDefaults({{QStringLiteral("Fader Stop In Cue Mode"), false},
                                 {QStringLiteral("Kestrel Serial Number"), QString()},
                                 {QStringLiteral("Default Editor"), QStringLiteral("audacity")},
                                 {QStringLiteral("Lock Window Positions"), false}});
    services.install();
    AlertPresenter::setCurrent(&alerts);
    tone = constantWav(QStringLiteral("tone.wav"), 3.0, 0.25f, 0.25f);
}

void PresetWindowTest::TearDown() {
    documents.clear();
    RecordingServices::uninstall();
    AlertPresenter::setCurrent(nullptr);
    ClipEngineTest::TearDown();
}

PresetDocument& PresetWindowTest::makeDocument() {
    auto document = std::make_unique<PresetDocument>();
    document->setController(std::make_unique<PresetController>(document.get()));
    documents.push_back(std::move(document));
    return *documents.back();
}

PresetController& PresetWindowTest::controllerOf(PresetDocument& document) {
    return *static_cast<PresetController*>(document.controller());
}

SoundClip* PresetWindowTest::place(PresetDocument& document, int index, const QString& path,
                                   const QVariantMap& overrides) {
    auto record = std::make_shared<QVariantMap>(defaultClipSettings());
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        record->insert(it.key(), it.value());
    }
    EXPECT_TRUE(controllerOf(document).setFile(path, index, record)) << qPrintable(path);
    engine().waitUntilIdle();
    return document.clipAtIndex(index);
}
