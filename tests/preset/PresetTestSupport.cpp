#include "tests/preset/PresetTestSupport.h"

#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/MIDINoteRing.h"
#include "clip/SoundClip.h"
#include "foundation/PropertyList.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "preset/PresetDocument.h"

#include <QFile>
#include <QWidget>

FakePresetController::FakePresetController(QStringList* journal)
    : _journal(journal)
    , _window(std::make_unique<QWidget>()) {}

FakePresetController::~FakePresetController() = default;

int ScriptedAlerts::runAlert(const Alert& alert) {
    shown << alert;
    if (answers.isEmpty()) {
        return 0;
    }
    const QString answer = answers.takeFirst();
    const int index = static_cast<int>(alert.buttons.indexOf(answer));
    EXPECT_GE(index, 0) << "the alert \"" << alert.title.toStdString() << "\" has no button \""
                        << answer.toStdString() << "\"";
    return index < 0 ? 0 : index;
}

QStringList ScriptedAlerts::titles() const {
    QStringList result;
    for (const Alert& alert : shown) {
        result << alert.title;
    }
    return result;
}

void PresetTest::SetUp() {
    ClipEngineTest::SetUp();
    defaults().registerDefaults({{defaultsKey_DefaultClipSettings, ::defaultClipSettings()},
                                 {QStringLiteral("Lock Window Positions"), false}});
    AlertPresenter::setCurrent(&alerts);
    // The process controller is made before any source list is installed, so its own
    // tick never runs and the tests drain the ring tick by tick themselves.
    MIDIController::defaultMIDIController();
    MIDIController::setSourceList(&sources);
    drainNoteRing();
    tone = constantWav(QStringLiteral("tone.wav"), 1.0, 0.25f, 0.25f);
}

void PresetTest::TearDown() {
    MIDIController::setSourceList(nullptr);
    AlertPresenter::setCurrent(nullptr);
    ClipEngineTest::TearDown();
}

SoundClip& PresetTest::putClip(PresetDocument& document, int index, const QString& path,
                               const QVariantMap& overrides) {
    QVariantMap settings = ::defaultClipSettings();
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        settings.insert(it.key(), it.value());
    }
    auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
    EXPECT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path))) << path.toStdString();
    SoundClip& placed = *clip;
    engine().waitUntilIdle(); // the preroll of the in point is ready, as in the clip tests
    document.setClip(std::move(clip), index);
    return placed;
}

void PresetTest::attachController(PresetDocument& document, QStringList* journal) {
    document.setController(std::make_unique<FakePresetController>(journal));
}

QString PresetTest::writePlist(const QString& fileName, const QVariantMap& root) {
    const QString path = folder() + QLatin1Char('/') + fileName;
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(PropertyList::toXml(root));
    return path;
}

QVariantMap PresetTest::readPlist(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return PropertyList::fromData(file.readAll()).toMap();
}

QByteArray PresetTest::fileBytes(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void PresetTest::drainNoteRing() {
    int note = 0;
    int channel = 0;
    int source = 0;
    while (NextMIDINote(&note, &channel, &source)) {
    }
}
