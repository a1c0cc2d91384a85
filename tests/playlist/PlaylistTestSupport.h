#pragma once

// Shared pieces of the playlist tests: the preset tests' fixture (scratch home with the
// output records, offline audio engine, generated WAV files, scripted alerts, named MIDI
// sources), a fake window controller that records what the document asks of it, and
// playlists with a real window.

#include "playlist/PlaylistDocumentController.h"
#include "tests/preset/PresetTestSupport.h"

#include <QStringList>
#include <memory>
#include <vector>

class PlaylistController;
class PlaylistDocument;

// Records the controller calls in order ("reload", "start 3", "stop", "fade") into a
// journal that outlives the controller.
class FakePlaylistController : public PlaylistDocumentController {
public:
    explicit FakePlaylistController(QStringList* journal);
    ~FakePlaylistController() override;

    void reloadData() override { _journal->append(QStringLiteral("reload")); }
    void startPlayback(int index) override {
        _journal->append(QStringLiteral("start %1").arg(index));
    }
    void stopPlayback() override { _journal->append(QStringLiteral("stop")); }
    void stopPlaybackWithFade() override { _journal->append(QStringLiteral("fade")); }
    QWidget* window() const override { return _window.get(); }

private:
    QStringList* _journal;
    std::unique_ptr<QWidget> _window;
};

class PlaylistTest : public PresetTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A clip on `path` with the playlist's initial record and `overrides`, in slot `slot`.
    SoundClip& putClip(PlaylistDocument& document, int slot, const QString& path,
                       const QVariantMap& overrides = {});
    // Gives `document` a fake controller recording into `journal`.
    static void attachFake(PlaylistDocument& document, QStringList* journal);
    // A playlist with its real window and controller, kept by the fixture.
    PlaylistDocument& makeWindowDocument();
    static PlaylistController& controllerOf(PlaylistDocument& document);

    // A mono file of 12 s, for times counted from its end.
    QString longTone;
    std::vector<std::unique_ptr<PlaylistDocument>> documents;
};
