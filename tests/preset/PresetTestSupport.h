#pragma once

// Shared pieces of the preset document tests: the clip test fixture (scratch home with the
// output records, offline audio engine, generated WAV files) plus the factory "Default
// Clip Settings" and "Lock Window Positions", a fake window controller that records what
// the document asks of it, an alert presenter that answers from a script and records
// every alert, and MIDI sources that tests name.

#include "document/AlertPresenter.h"
#include "preset/PresetDocumentController.h"
#include "tests/clip/ClipTestSupport.h"

#include <QList>
#include <QStringList>
#include <QVariantMap>
#include <memory>

class PresetDocument;
class QWidget;

// Records the controller calls in order ("setCellClips", "updatePreset", "start 3",
// "stopBlinking") into a journal that outlives the controller.
class FakePresetController : public PresetDocumentController {
public:
    explicit FakePresetController(QStringList* journal);
    ~FakePresetController() override;

    void setCellClips() override { _journal->append(QStringLiteral("setCellClips")); }
    void updatePreset() override { _journal->append(QStringLiteral("updatePreset")); }
    void startPlayback(int index) override {
        _journal->append(QStringLiteral("start %1").arg(index));
    }
    void stopBlinking() override { _journal->append(QStringLiteral("stopBlinking")); }
    QWidget* window() const override { return _window.get(); }

private:
    QStringList* _journal;
    std::unique_ptr<QWidget> _window;
};

// Answers alerts with the titles queued in `answers` (by button title), the default
// button when the queue is empty, and records every alert shown.
class ScriptedAlerts : public AlertPresenter {
public:
    int runAlert(const Alert& alert) override;

    QStringList answers;
    QList<Alert> shown;
    QStringList titles() const;
};

class PresetTest : public ClipEngineTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A clip on `path` with the factory record and `overrides`, put on button `index`.
    SoundClip& putClip(PresetDocument& document, int index, const QString& path,
                       const QVariantMap& overrides = {});
    // Gives `document` a fake controller recording into `journal`.
    static void attachController(PresetDocument& document, QStringList* journal);
    // Writes `root` as an XML property list to `fileName` in the scratch folder.
    QString writePlist(const QString& fileName, const QVariantMap& root);
    static QVariantMap readPlist(const QString& path);
    static QByteArray fileBytes(const QString& path);
    // Empties the process note ring.
    static void drainNoteRing();

    ScriptedAlerts alerts;
    FakeMIDISources sources;
    QString tone;
};
