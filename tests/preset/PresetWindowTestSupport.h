#pragma once

// Shared pieces of the cart wall window tests: the clip test fixture (scratch home with the
// output records, offline audio engine, generated WAV files), recording stand-ins for the
// application's services (outputs panel, pre-listen player, GPI tally lines, key states,
// settings editor, file manager), an alert presenter that answers from a script, and
// helpers that read the colours of a rendered button.

#include "clip/ApplicationKeyStates.h"
#include "clip/ClipSettingsEditing.h"
#include "clip/FileWorkspace.h"
#include "clip/GpiTallyLines.h"
#include "clip/OutputsMonitor.h"
#include "clip/PreListenPlayer.h"
#include "document/AlertPresenter.h"
#include "preset/PresetDocument.h"
#include "tests/clip/ClipTestSupport.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QStringList>
#include <functional>
#include <memory>

class PresetController;

// Every service the window reaches, recording its calls as short lines in `calls`
// ("release 2", "stop output 1", "gpi 0 output 3 state 0", "prelisten 4 end", ...).
class RecordingServices : public OutputsMonitor,
                          public PreListenPlayer,
                          public GpiTallyLines,
                          public ApplicationKeyStates,
                          public ClipSettingsEditing,
                          public FileWorkspace {
public:
    // Outputs panel.
    void clipHasStarted(SoundClip* clip) override;
    void pauseOutput(int outputIndex) override;
    void clipHasStopped(SoundClip* clip) override;
    void releasePauseForOutput(int outputIndex) override;
    void stopOutput(int outputIndex) override;
    void outputHasStopped(int outputIndex) override;
    // Pre-listen player.
    void preListenClip(SoundClip* clip, bool atEnd) override;
    // GPI boxes: connected interfaces by serial number.
    int findInterfaceIndexWithSerialNumber(const QString& serialNumber) const override;
    void setState(int interfaceIndex, bool state, int output) override;
    // Key states.
    bool shiftKeyState() const override { return shift; }
    bool altKeyState() const override { return alt; }
    bool commandKeyState() const override { return command; }
    bool controlKeyState() const override { return control; }
    bool leftArrowKeyState() const override { return leftLatched; }
    bool rightArrowKeyState() const override { return rightLatched; }
    bool isLeftArrowDepressed() const override { return leftHeld; }
    bool isRightArrowDepressed() const override { return rightHeld; }
    // Settings editor: runs `edit` on the record and answers `accept`.
    bool editClipSettings(const QUrl& url, const std::shared_ptr<QVariantMap>& settings,
                          QVariantMap* oldSettings) override;
    // File manager and editor.
    void revealInFileManager(const QString& path) override;
    void openWithEditor(const QString& path, const QString& editorCommand) override;

    // Installs this object as every service (and as the clips' outputs controller).
    void install();
    static void uninstall();

    QStringList calls;
    // The clips the pre-listen player was given.
    QList<SoundClip*> preListened;
    QStringList serialNumbers;
    bool shift = false, alt = false, command = false, control = false;
    bool leftLatched = false, rightLatched = false, leftHeld = false, rightHeld = false;
    bool acceptEdit = true;
    std::function<void(QVariantMap&)> edit;
};

// Answers alerts with the button titles queued in `answers`, the default button when the
// queue is empty, and records the titles of the alerts shown.
class AnsweringAlerts : public AlertPresenter {
public:
    int runAlert(const Alert& alert) override;
    QStringList answers;
    QStringList shown;
};

// What a status LED looks like where its colour is strongest.
enum class LedColour { Grey, Green, Red, Yellow, Other };
LedColour ledColourAt(const QImage& image, const QPoint& centre);
const char* ledColourName(LedColour colour);

class PresetWindowTest : public ClipEngineTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A document with a real controller and window.
    PresetDocument& makeDocument();
    PresetController& controllerOf(PresetDocument& document);
    // A clip on `path` with the factory record and `overrides`, placed on button `index`
    // through the controller.
    SoundClip* place(PresetDocument& document, int index, const QString& path,
                     const QVariantMap& overrides = {});

    RecordingServices services;
    AnsweringAlerts alerts;
    QString tone;
    std::vector<std::unique_ptr<PresetDocument>> documents;
};
