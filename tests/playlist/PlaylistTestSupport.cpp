#include "tests/playlist/PlaylistTestSupport.h"

#include "clip/SoundClip.h"
#include "media/AudioEngine.h"
#include "playlist/PlaylistController.h"
#include "playlist/PlaylistDocument.h"

#include <QWidget>

FakePlaylistController::FakePlaylistController(QStringList* journal)
    : _journal(journal)
    , _window(std::make_unique<QWidget>()) {}

FakePlaylistController::~FakePlaylistController() = default;

void PlaylistTest::SetUp() {
    PresetTest::SetUp();
    longTone = constantWav(QStringLiteral("long.wav"), 12.0, 0.25f, 0.25f, 1);
}

void PlaylistTest::TearDown() {
    // Clips go before the engine they play on.
    documents.clear();
    PresetTest::TearDown();
}

SoundClip& PlaylistTest::putClip(PlaylistDocument& document, int slot, const QString& path,
                                 const QVariantMap& overrides) {
    QVariantMap settings = PlaylistDocument::initialClipSettings();
    for (auto it = overrides.begin(); it != overrides.end(); ++it) {
        settings.insert(it.key(), it.value());
    }
    auto clip = std::make_unique<SoundClip>(std::make_shared<QVariantMap>(settings));
    EXPECT_TRUE(clip->setFileURL(QUrl::fromLocalFile(path))) << path.toStdString();
    SoundClip& placed = *clip;
    engine().waitUntilIdle(); // the in point's preroll is ready, as in the clip tests
    document.setClip(std::move(clip), slot);
    if (document.controller()) {
        document.controller()->reloadData();
    }
    return placed;
}

void PlaylistTest::attachFake(PlaylistDocument& document, QStringList* journal) {
    document.setController(std::make_unique<FakePlaylistController>(journal));
}

PlaylistDocument& PlaylistTest::makeWindowDocument() {
    documents.push_back(std::make_unique<PlaylistDocument>());
    documents.back()->makeWindowControllers();
    return *documents.back();
}

PlaylistController& PlaylistTest::controllerOf(PlaylistDocument& document) {
    return *static_cast<PlaylistController*>(document.controller());
}
