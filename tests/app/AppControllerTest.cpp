// The application controller over a real document session: the key-state rule, the
// function-key documents, Tab between documents, the latched states the windows see,
// the GPI targets, the silence cycle, the desktop's file services and the decoding
// library's version check.

#include "app/CAppController.h"
#include "app/ClipButtonTarget.h"
#include "app/DesktopFileWorkspace.h"
#include "app/DocumentGPITargets.h"
#include "app/DocumentSession.h"
#include "app/FfmpegVersionCheck.h"
#include "app/SilenceCycle.h"
#include "app/ZelvoraApplication.h"
#include "app/hid/GPIInputReceiver.h"
#include "clip/OutputSettings.h"
#include "clip/StudioServices.h"
#include "document/AlertPresenter.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"
#include "media/Movie.h"
#include "playlist/PlaylistDocument.h"
#include "preset/PresetDocument.h"
#include "tests/support/ScratchHome.h"

#include <QApplication>
#include <QDialog>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

// Records what the rule asks of a document's buttons, as "name index".
class RecordingButtons : public ClipButtonTarget {
public:
    void configureButtonAtIndex(int index) override {
        calls << QStringLiteral("configure %1").arg(index);
    }
    void openWithEditorItemAtIndex(int index) override {
        calls << QStringLiteral("edit %1").arg(index);
    }
    void stopPlayback(int index) override { calls << QStringLiteral("stop %1").arg(index); }
    void toggleLoopForItemAtIndex(int index) override {
        calls << QStringLiteral("loop %1").arg(index);
    }
    void startPlayback(int index) override { calls << QStringLiteral("start %1").arg(index); }
    void preListenClipAtIndex(int index, bool atEnd) override {
        calls << QStringLiteral("prelisten %1 %2").arg(index).arg(atEnd ? "end" : "start");
    }
    void toggleCueMode() override { calls << QStringLiteral("cue"); }
    QStringList calls;
};

struct RuleResult {
    QStringList pressed;
    QStringList front;
};

RuleResult applyRule(const CAppController::KeyStates& states, int index = 4) {
    RecordingButtons pressed, front;
    CAppController::applyKeyStateRule(states, index, pressed, front);
    return {pressed.calls, front.calls};
}

class RecordingAlerts : public AlertPresenter {
public:
    int runAlert(const Alert& alert) override {
        shown.push_back(alert);
        return 0;
    }
    std::vector<Alert> shown;
};

class AppControllerTest : public ScratchHome {
protected:
    void SetUp() override {
        ScratchHome::SetUp();
        ZelvoraApplication::initialize(defaults());
        AlertPresenter::setCurrent(&alerts);
        session = std::make_unique<DocumentSession>();
        session->documentController().registerDocumentType(PlaylistDocument::documentType());
        controller = std::make_unique<CAppController>(*session);
    }
    void TearDown() override {
        controller.reset();
        session.reset();
        AlertPresenter::setCurrent(nullptr);
        StudioServices::clear();
        ScratchHome::TearDown();
    }
    DocumentController& documents() { return session->documentController(); }

    RecordingAlerts alerts;
    std::unique_ptr<DocumentSession> session;
    std::unique_ptr<CAppController> controller;
};

} // namespace

TEST(KeyStateRule, WithoutStatesTheFrontDocumentStartsTheButton) {
    const RuleResult result = applyRule({});
    EXPECT_TRUE(result.pressed.isEmpty());
    EXPECT_EQ(result.front, QStringList{"start 4"}) << "the front document, not the one pressed";
}

TEST(KeyStateRule, LoopAndStopTogetherStopThenToggleTheLoop) {
    CAppController::KeyStates states;
    states.stop = true;
    states.loop = true;
    const RuleResult result = applyRule(states);
    EXPECT_EQ(result.pressed, (QStringList{"stop 4", "loop 4"}));
    EXPECT_TRUE(result.front.isEmpty());
}

TEST(KeyStateRule, EveryStateThatIsSetActsInItsOrderAndNoneStarts) {
    CAppController::KeyStates states;
    states.config = true;
    states.edit = true;
    states.stop = true;
    EXPECT_EQ(applyRule(states).pressed, (QStringList{"configure 4", "edit 4", "stop 4"}));
    EXPECT_TRUE(applyRule(states).front.isEmpty());

    CAppController::KeyStates loopOnly;
    loopOnly.loop = true;
    loopOnly.leftArrow = true;
    EXPECT_EQ(applyRule(loopOnly).pressed, QStringList{"loop 4"});
    EXPECT_TRUE(applyRule(loopOnly).front.isEmpty()) << "loop ends the rule";
}

TEST(KeyStateRule, ArrowStatesPreListenOnTheFrontDocument) {
    CAppController::KeyStates left;
    left.leftArrow = true;
    EXPECT_EQ(applyRule(left, 0).front, QStringList{"prelisten 0 start"});
    CAppController::KeyStates right;
    right.rightArrow = true;
    EXPECT_EQ(applyRule(right, 23).front, QStringList{"prelisten 23 end"});
    CAppController::KeyStates both = right;
    both.leftArrow = true;
    EXPECT_EQ(applyRule(both, 1).front, QStringList{"prelisten 1 start"}) << "left wins";
}

TEST_F(AppControllerTest, KeyStatesStartOffAndAreWhatTheWindowsSee) {
    controller->install();
    ASSERT_EQ(StudioServices::keyStates(), controller.get());
    const ApplicationKeyStates& seen = *StudioServices::keyStates();
    EXPECT_FALSE(seen.shiftKeyState() || seen.commandKeyState() || seen.altKeyState() ||
                 seen.controlKeyState() || seen.leftArrowKeyState() || seen.rightArrowKeyState());
    controller->setShiftKeyState(true);
    controller->setControlKeyState(true);
    controller->setRightArrowKeyState(true);
    controller->setLoopKeyState(true);
    EXPECT_TRUE(seen.shiftKeyState());
    EXPECT_TRUE(seen.controlKeyState());
    EXPECT_FALSE(seen.commandKeyState());
    EXPECT_FALSE(seen.altKeyState());
    EXPECT_TRUE(seen.rightArrowKeyState());
    EXPECT_TRUE(controller->loopKeyState());
    EXPECT_FALSE(controller->stopKeyState());
    controller->setShiftKeyState(false);
    EXPECT_FALSE(seen.shiftKeyState());
    controller.reset();
    EXPECT_EQ(StudioServices::keyStates(), nullptr) << "uninstalled with the controller";
}

TEST_F(AppControllerTest, UnsetFunctionKeyIsConsumedAndOpensNothing) {
    EXPECT_TRUE(controller->openFunctionKeyDocumentAtIndex(5));
    EXPECT_TRUE(documents().documents().isEmpty());
    EXPECT_TRUE(alerts.shown.empty()) << "no complaint about an empty path";
    EXPECT_FALSE(controller->openFunctionKeyDocumentAtIndex(13));
}

TEST_F(AppControllerTest, FunctionKeyOpensItsDocumentOnce) {
    Document* saved = documents().newDocument();
    const QString path = this->path() + QStringLiteral("/news.zpreset");
    ASSERT_TRUE(documents().saveDocumentTo(saved, path));
    documents().closeDocument(saved);
    ASSERT_TRUE(documents().documents().isEmpty());

    defaults().setObject(path, QStringLiteral("Function Key 3"));
    EXPECT_TRUE(controller->openFunctionKeyDocumentAtIndex(3));
    ASSERT_EQ(documents().documents().size(), 1);
    EXPECT_EQ(documents().documents().first()->filePath(), path);
    EXPECT_TRUE(controller->openFunctionKeyDocumentAtIndex(3));
    EXPECT_EQ(documents().documents().size(), 1) << "an open document comes to the front";

    defaults().setObject(path + QStringLiteral(".gone"), QStringLiteral("Function Key 4"));
    EXPECT_TRUE(controller->openFunctionKeyDocumentAtIndex(4)) << "consumed even when it fails";
    EXPECT_EQ(documents().documents().size(), 1);
}

TEST_F(AppControllerTest, TabShowsTheNextOpenDocumentAndWraps) {
    EXPECT_FALSE(controller->switchToNextOpenDocument()) << "no document: Tab passes on";

    Document* first = documents().newDocument();
    QApplication::setActiveWindow(first->window());
    EXPECT_TRUE(controller->switchToNextOpenDocument()) << "one document shows itself again";
    EXPECT_EQ(documents().currentDocument(), first);

    Document* second = documents().newDocument(PlaylistDocument::kTypeName);
    ASSERT_NE(second, nullptr);
    QApplication::setActiveWindow(first->window());
    ASSERT_EQ(documents().currentDocument(), first);
    EXPECT_TRUE(controller->switchToNextOpenDocument());
    EXPECT_TRUE(second->window()->isVisible());
    QApplication::setActiveWindow(second->window());
    EXPECT_TRUE(controller->switchToNextOpenDocument());
    EXPECT_TRUE(QTest::qWaitForWindowActive(first->window())) << "from the last to the first";
}

TEST_F(AppControllerTest, CartWallsTakeContactsAndOtherDocumentsDoNot) {
    DocumentGPITargets targets(documents());
    EXPECT_EQ(targets.targetDocumentController(), nullptr);

    Document* preset = documents().newDocument();
    GPIInputReceiver* receiver = targets.targetDocumentController();
    ASSERT_NE(receiver, nullptr) << "the only document";
    EXPECT_EQ(targets.documentControllerAt(0), receiver) << "one receiver per document";
    receiver->gpiInputHasChanged(0, 1); // an empty button: nothing to start, nothing breaks

    Document* playlist = documents().newDocument(PlaylistDocument::kTypeName);
    QApplication::setActiveWindow(playlist->window());
    EXPECT_EQ(targets.openDocumentsCount(), 2);
    EXPECT_EQ(targets.currentDocumentController(), nullptr);
    EXPECT_EQ(targets.documentControllerAt(1), nullptr);
    EXPECT_EQ(targets.documentControllerAt(2), nullptr);
    QApplication::setActiveWindow(preset->window());
    EXPECT_EQ(targets.targetDocumentController(), receiver);
}

TEST_F(AppControllerTest, ValidatesItsMenuItems) {
    EXPECT_TRUE(controller->validateMenuItem(CAppController::MenuItem::NewPreset));
    EXPECT_TRUE(controller->validateMenuItem(CAppController::MenuItem::NewPlaylist));
    EXPECT_FALSE(controller->validateMenuItem(CAppController::MenuItem::CheckForMissingClips));
    EXPECT_FALSE(controller->validateMenuItem(CAppController::MenuItem::Preferences));
    int opened = 0;
    controller->setPreferencesOpener([&] { ++opened; });
    EXPECT_TRUE(controller->validateMenuItem(CAppController::MenuItem::Preferences));
    controller->editPreferences();
    EXPECT_EQ(opened, 1);

    controller->newPlaylistDocument();
    EXPECT_FALSE(controller->validateMenuItem(CAppController::MenuItem::CheckForMissingClips))
        << "a playlist has no missing-clips check";
    controller->newPresetDocument();
    ASSERT_EQ(documents().documents().size(), 2);
    EXPECT_EQ(documents().documents()[0]->typeName(), PlaylistDocument::kTypeName);
    EXPECT_EQ(documents().documents()[1]->typeName(), PresetDocument::kTypeName);
    EXPECT_TRUE(controller->validateMenuItem(CAppController::MenuItem::CheckForMissingClips));

    // The version line names the build's version, and 0.0.0 for a build without one.
    const QString saved = QApplication::applicationVersion();
    for (const QString& build : {QStringLiteral("2.4.1"), QString()}) {
        QApplication::setApplicationVersion(build);
        controller->orderFrontStandardAboutPanel();
        ASSERT_NE(controller->aboutPanel(), nullptr);
        EXPECT_TRUE(controller->aboutPanel()->isVisible());
        auto* version =
            controller->aboutPanel()->findChild<QWidget*>(QStringLiteral("aboutVersionField"));
        ASSERT_NE(version, nullptr);
        EXPECT_EQ(version->property("text").toString(), build.isEmpty()
                                                            ? QStringLiteral("version 0.0.0")
                                                            : QStringLiteral("version 2.4.1"));
    }
    QApplication::setApplicationVersion(saved);
}

TEST_F(AppControllerTest, UntitledCartWallAtStartFollowsThePreference) {
    EXPECT_TRUE(controller->applicationShouldOpenUntitledFile());
    defaults().setObject(false, QStringLiteral("Should Open Untitled Preset"));
    EXPECT_FALSE(controller->applicationShouldOpenUntitledFile());
}

TEST_F(AppControllerTest, QuittingStopsTheSilenceOnlyWhenTheProgramMayQuit) {
    media::AudioEngine engine;
    SilenceCycle cycle;
    ASSERT_TRUE(cycle.start());
    controller->setSilenceCycle(&cycle);
    Document* document = documents().newDocument();
    document->updateChangeCount(Document::ChangeKind::Done);

    // The save question's default answer is Save; cancelling its file panel keeps the
    // document open.
    documents().setSavePanel([](const QString&, const QString&) { return QString(); });
    EXPECT_FALSE(controller->shouldTerminate());
    EXPECT_TRUE(cycle.isRunning());
    EXPECT_EQ(documents().documents().size(), 1);

    document->updateChangeCount(Document::ChangeKind::Cleared);
    EXPECT_TRUE(controller->shouldTerminate());
    EXPECT_FALSE(cycle.isRunning());
    EXPECT_EQ(cycle.silenceMovie(), nullptr);
    EXPECT_TRUE(documents().documents().isEmpty());
}

TEST_F(AppControllerTest, SilenceVisitsOutputsZeroToEightAndWraps) {
    media::AudioEngine engine;
    for (int index = 0; index < outputSettingsCount; ++index) {
        QVariantMap settings = defaultOutputSettings(index);
        settings.insert(QorvinPrefLeftChannelOutputTag, firstChannelOutputTag + 2 * index);
        settings.insert(QorvinPrefRightChannelOutputTag, firstChannelOutputTag + 2 * index + 1);
        defaults().setObject(settings, outputSettingsKey(index));
    }
    SilenceCycle cycle;
    ASSERT_TRUE(cycle.start());
    EXPECT_TRUE(cycle.isRunning());
    ASSERT_NE(cycle.silenceMovie(), nullptr);
    QList<int> visited;
    for (int tick = 0; tick < 11; ++tick) {
        EXPECT_EQ(cycle.outputPair(), tick % 9);
        cycle.silencePlaybackTimerAction();
        const media::Movie& movie = *cycle.silenceMovie();
        EXPECT_EQ(movie.rightChannelTag(), movie.leftChannelTag() + 1);
        visited << int(movie.leftChannelTag() - firstChannelOutputTag) / 2;
    }
    EXPECT_EQ(visited, (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 0, 1}));
    EXPECT_EQ(cycle.outputPair(), 2);
}

TEST(SilenceCycleWithoutEngine, RunsNoTimer) {
    ASSERT_EQ(media::AudioEngine::instance(), nullptr);
    SilenceCycle cycle;
    EXPECT_FALSE(cycle.start());
    EXPECT_FALSE(cycle.isRunning());
    cycle.silencePlaybackTimerAction(); // nothing to play, nothing breaks
}

TEST(DesktopFileWorkspace, StartsTheEditorCommandWithTheFileAndSaysWhenItCannot) {
    RecordingAlerts alerts;
    AlertPresenter::setCurrent(&alerts);
    DesktopFileWorkspace workspace;
    QString program;
    QStringList arguments;
    bool starts = true;
    workspace.setProcessStarter([&](const QString& started, const QStringList& with) {
        program = started;
        arguments = with;
        return starts;
    });
    workspace.openWithEditor(QStringLiteral("/music/a b.wav"),
                             QStringLiteral("flatpak run \"org.audacityteam.Audacity\""));
    EXPECT_EQ(program, QStringLiteral("flatpak"));
    EXPECT_EQ(arguments, (QStringList{"run", "org.audacityteam.Audacity", "/music/a b.wav"}));
    EXPECT_TRUE(alerts.shown.empty());

    starts = false;
    workspace.openWithEditor(QStringLiteral("/music/a.wav"), QStringLiteral("no-such-editor"));
    ASSERT_EQ(alerts.shown.size(), 1u);
    EXPECT_TRUE(alerts.shown[0].message.contains(QStringLiteral("no-such-editor")));
    program.clear();
    workspace.openWithEditor(QStringLiteral("/music/a.wav"), QString());
    EXPECT_TRUE(program.isEmpty()) << "an empty command starts nothing";
    EXPECT_EQ(alerts.shown.size(), 2u);
    AlertPresenter::setCurrent(nullptr);
}

TEST(DesktopFileWorkspace, WithoutAFileManagerOnTheBusTheFolderOpens) {
    DesktopFileWorkspace workspace;
    workspace.setUseFileManagerBus(false);
    QList<QUrl> opened;
    workspace.setFolderOpener([&](const QUrl& folder) { opened << folder; });
    workspace.revealInFileManager(QStringLiteral("/music/jingles/news.wav"));
    workspace.revealInFileManager(QString());
    EXPECT_EQ(opened, QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/music/jingles"))});

    workspace.install();
    EXPECT_EQ(StudioServices::fileWorkspace(), &workspace);
}

TEST(FfmpegVersionCheck, RefusesALibraryOlderThanTheHeadersWithItsAlert) {
    const unsigned required = FfmpegVersionCheck::requiredVersion();
    EXPECT_TRUE(FfmpegVersionCheck::isRecentEnough(required, required));
    EXPECT_TRUE(FfmpegVersionCheck::isRecentEnough(required + 1, required));
    EXPECT_FALSE(FfmpegVersionCheck::isRecentEnough(required - 1, required));
    EXPECT_TRUE(FfmpegVersionCheck::isRecentEnough(FfmpegVersionCheck::runtimeVersion(), required))
        << "this machine's library is the one the program was built against";

    const Alert alert = FfmpegVersionCheck::incorrectVersionAlert((61u << 16) | (7u << 8));
    EXPECT_EQ(alert.style, Alert::Style::Critical);
    EXPECT_EQ(alert.title, QStringLiteral("Incorrect FFmpeg version!"));
    EXPECT_EQ(alert.message, QStringLiteral("This application requires FFmpeg (libavformat 61.7) "
                                            "or later. Please update FFmpeg  and try again."));
    EXPECT_EQ(alert.buttons, QStringList{QStringLiteral("OK")});
}
