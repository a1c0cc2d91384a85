// The controller: firing rules, letter keys, GPI inputs, blinking, the contextual menu and
// the clipboard and drop rules.

#include "tests/preset/PresetWindowTestSupport.h"

#include "clip/ClipPasteboard.h"
#include "clip/ClipSettings.h"
#include "clip/OutputSettings.h"
#include "clip/SoundClip.h"
#include "document/DocumentController.h"
#include "foundation/PropertyList.h"
#include "foundation/UserDefaults.h"
#include "outputs/OutputMenuStyle.h"
#include "preset/PresetButtonCell.h"
#include "preset/PresetController.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>

namespace {

// A document that only records being asked to stop (as a playlist would obey).
class StoppableDocument : public Document {
public:
    explicit StoppableDocument(int* stops)
        : _stops(stops) {}
    QString typeName() const override { return QStringLiteral("StoppableDocument"); }
    QByteArray dataRepresentation(QString*) const override { return {}; }
    bool loadDataRepresentation(const QByteArray&, QString*) override { return true; }
    QWidget* window() const override { return nullptr; }
    void stopDocument(Document*) override { ++*_stops; }

private:
    int* _stops;
};

class ControllerTest : public PresetWindowTest {
protected:
    PresetController& controller(PresetDocument& document) { return controllerOf(document); }

    static QKeyEvent key(const QString& text, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        return QKeyEvent(QEvent::KeyPress, 0, modifiers, text);
    }
};

} // namespace

TEST_F(ControllerTest, FiringStartsAndRestartsWithoutPressToStop) {
    PresetDocument& document = makeDocument();
    SoundClip* clip = place(document, 0, tone);
    controller(document).startPlayback(0, Qt::NoModifier);
    ASSERT_TRUE(clip->isPlaying());
    EXPECT_EQ(clip->controller(), &controller(document));
    services.calls.clear();
    controller(document).startPlayback(0, Qt::NoModifier);
    EXPECT_TRUE(clip->isPlaying()) << "pressing a sounding button restarts it";
    EXPECT_EQ(services.calls, (QStringList{"stopped 0", "started 0"}));
    controller(document).startPlayback(7, Qt::NoModifier); // empty: nothing happens
    clip->stopPlaying();
}

TEST_F(ControllerTest, CueModeStopsPausedClipsOnTheSameOutputOnly) {
    services.serialNumbers = {QStringLiteral("other"), QStringLiteral("K-42")};
    defaults().setObject(QStringLiteral("K-42"), QStringLiteral("Kestrel Serial Number"));
    PresetDocument& document = makeDocument();
    SoundClip* fired = place(document, 2, tone, {{settingsKey_OutputIndex, 3}});
    SoundClip* sameOutput = place(document, 5, tone, {{settingsKey_OutputIndex, 3}});
    SoundClip* otherOutput = place(document, 6, tone, {{settingsKey_OutputIndex, 4}});
    sameOutput->startPlaying(true);
    otherOutput->startPlaying(true);
    document.setCueMode(true);
    services.calls.clear();

    controller(document).startPlayback(2, Qt::NoModifier);
    EXPECT_FALSE(sameOutput->isPlaying());
    EXPECT_TRUE(otherOutput->isPaused());
    EXPECT_TRUE(fired->isPaused()) << "the fired clip waits for its fader";
    EXPECT_TRUE(services.calls.contains("gpi 1 output 3 state 0"));
    fired->stopPlaying();
    otherOutput->stopPlaying();
}

TEST_F(ControllerTest, CueModeBoxFollowsTheDocumentBothWays) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    const QVariantMap root{
        {QStringLiteral("Document Settings"), QVariantMap{{QStringLiteral("Cue Mode"), true}}}};
    QString error;
    ASSERT_TRUE(document.loadDataRepresentation(PropertyList::toXml(root), &error));
    EXPECT_TRUE(c.cueModeCheckBox()->isChecked()) << "a file read brings its cue mode";
    c.cueModeCheckBox()->click();
    EXPECT_FALSE(document.cueMode());
    c.toggleCueMode();
    EXPECT_TRUE(document.cueMode());
    EXPECT_TRUE(c.cueModeCheckBox()->isChecked());
}

TEST_F(ControllerTest, ShiftOrTheDocumentSettingAsksOtherDocumentsToStop) {
    DocumentController documentController;
    // Closing the edited untitled document at the end must not open a real save panel.
    documentController.setSavePanel([](const QString&, const QString&) { return QString(); });
    int stops = 0;
    documentController.registerDocumentType({QStringLiteral("PresetDocument"),
                                             PresetDocument::kMimeType, PresetDocument::kExtension,
                                             QStringLiteral("Preset"), [] {
                                                 return std::make_unique<PresetDocument>();
                                             }});
    documentController.registerDocumentType(
        {QStringLiteral("StoppableDocument"), QStringLiteral("application/x-test"),
         QStringLiteral("test"), QStringLiteral("Test"), [&stops] {
             return std::make_unique<StoppableDocument>(&stops);
         }});
    PresetDocument::setControllerFactory(
        [](PresetDocument* document) { return std::make_unique<PresetController>(document); });
    auto* document = static_cast<PresetDocument*>(documentController.newDocument());
    ASSERT_NE(document, nullptr);
    documentController.newDocument(QStringLiteral("StoppableDocument"));
    auto& presetController = *static_cast<PresetController*>(document->controller());
    ASSERT_TRUE(presetController.setFile(tone, 0, nullptr));

    presetController.startPlayback(0, Qt::NoModifier);
    EXPECT_EQ(stops, 0);
    presetController.startPlayback(0, Qt::ShiftModifier);
    EXPECT_EQ(stops, 1);
    services.shift = true;
    presetController.startPlayback(0, Qt::NoModifier);
    EXPECT_EQ(stops, 2) << "the latched Shift counts too";
    services.shift = false;
    document->setFadeOtherDocuments(true);
    presetController.startPlayback(0, Qt::NoModifier);
    EXPECT_EQ(stops, 3);
    document->clipAtIndex(0)->stopPlaying();
    PresetDocument::setControllerFactory(nullptr);
    alerts.answers = {QStringLiteral("Don't Save")};
    EXPECT_TRUE(documentController.closeAllDocuments());
}

TEST_F(ControllerTest, LetterKeysFireOnlyPlainLowercaseAToX) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    SoundClip* a = place(document, 0, tone);
    SoundClip* x = place(document, 23, tone);

    EXPECT_FALSE(c.performKey(key("y")));
    EXPECT_FALSE(c.performKey(key("A")));
    EXPECT_FALSE(c.performKey(key("a", Qt::ControlModifier)));
    EXPECT_FALSE(a->isPlaying());
    services.alt = true;
    EXPECT_FALSE(c.performKey(key("a"))) << "a latched modifier refuses the key";
    services.alt = false;

    EXPECT_TRUE(c.performKey(key("x")));
    EXPECT_TRUE(x->isPlaying());
    services.calls.clear();
    const QKeyEvent held(QEvent::KeyPress, 0, Qt::NoModifier, QStringLiteral("x"), true);
    EXPECT_TRUE(c.performKey(held)) << "a held letter is still the window's";
    EXPECT_TRUE(services.calls.isEmpty()) << "a held letter must not restart its clip";
    services.leftHeld = true;
    EXPECT_TRUE(c.performKey(key("a")));
    EXPECT_FALSE(a->isPlaying());
    EXPECT_EQ(services.preListened, QList<SoundClip*>{a});
    EXPECT_TRUE(services.calls.contains("prelisten start"));
    x->stopPlaying();
}

TEST_F(ControllerTest, GpiInputsFireButtonsOrWorkFaders) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    SoundClip* clip = place(document, 2, tone);
    c.gpiInputHasChanged(2, 0);
    EXPECT_FALSE(clip->isPlaying());
    c.gpiInputHasChanged(2, 1);
    EXPECT_TRUE(clip->isPlaying());
    clip->stopPlaying();

    document.setCueMode(true);
    services.calls.clear();
    c.gpiInputHasChanged(4, 1);
    c.gpiInputHasChanged(4, 0);
    EXPECT_EQ(services.calls, QStringList{"release 4"}) << "no fader stop by default";
    EXPECT_FALSE(clip->isPlaying()) << "in cue mode the input is an output, not a button";
    defaults().setObject(true, QStringLiteral("Fader Stop In Cue Mode"));
    c.gpiInputHasChanged(4, 0);
    EXPECT_EQ(services.calls.last(), "stop output 4");
}

TEST_F(ControllerTest, PausedButtonsBlinkAndPlayingOnesStayRed) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    EXPECT_TRUE(c.isBlinking());
    SoundClip* paused = place(document, 0, tone);
    SoundClip* playing = place(document, 1, tone);
    place(document, 2, tone);
    paused->startPlaying(true);
    playing->startPlaying(false);
    PresetMatrix& matrix = *c.matrix();

    const bool first = !c.blinkedState();
    c.blinkingTimer();
    EXPECT_EQ(matrix.cellAtIndex(0)->blinkedState(), first);
    EXPECT_FALSE(matrix.cellAtIndex(1)->blinkedState());
    c.blinkingTimer();
    EXPECT_EQ(matrix.cellAtIndex(0)->blinkedState(), !first);
    EXPECT_FALSE(matrix.cellAtIndex(2)->blinkedState());

    if (!matrix.cellAtIndex(0)->blinkedState()) {
        c.blinkingTimer();
    }
    ASSERT_TRUE(matrix.cellAtIndex(0)->blinkedState());
    paused->stopPlaying();
    EXPECT_FALSE(matrix.cellAtIndex(0)->blinkedState()) << "a stop ends the grey phase";
    playing->stopPlaying();
    c.stopBlinking();
    EXPECT_FALSE(c.isBlinking());
}

TEST_F(ControllerTest, MenuOffersOnlyChooseFileOnAnEmptyButton) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    PresetMatrix& matrix = *c.matrix();
    SoundClip* clip = place(document, 3, tone, {{settingsKey_Loop, true}});

    matrix.menuForPoint(matrix.cellFrame(0).center());
    EXPECT_TRUE(c.validateMenuItem(PresetController::SelectFile));
    for (auto action : {PresetController::ClearButton, PresetController::ConfigureButton,
                        PresetController::AssignMIDINote, PresetController::RevealInFileManager,
                        PresetController::OpenWithEditor, PresetController::LoopMenuItem,
                        PresetController::OutputSubmenu, PresetController::Stop}) {
        EXPECT_FALSE(c.validateMenuItem(action)) << action;
    }
    matrix.menuForPoint(matrix.cellFrame(3).center());
    for (int action = 0; action <= PresetController::Stop; ++action) {
        EXPECT_TRUE(c.validateMenuItem(PresetController::MenuAction(action))) << action;
    }
    EXPECT_TRUE(c.menuAction(PresetController::LoopMenuItem)->isChecked());
    clip->setIsLooping(false);
    c.validateMenuItem(PresetController::LoopMenuItem);
    EXPECT_FALSE(c.menuAction(PresetController::LoopMenuItem)->isChecked());
}

TEST_F(ControllerTest, MenuActionsWorkOnTheLastClickedButton) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    PresetMatrix& matrix = *c.matrix();
    SoundClip* clip = place(document, 3, tone);
    matrix.menuForPoint(matrix.cellFrame(3).center());

    c.menuAction(PresetController::LoopMenuItem)->trigger();
    EXPECT_TRUE(clip->isLooping());
    c.menuAction(PresetController::OpenWithEditor)->trigger();
    EXPECT_EQ(services.calls.last(), QStringLiteral("open %1 with audacity").arg(tone));
    EXPECT_EQ(clip->movie(), nullptr) << "the clip lets go of the file first";

    clip->startPlaying(false);
    services.calls.clear();
    c.outputSubmenuSelected(5);
    EXPECT_EQ(clip->outputIndex(), 5);
    EXPECT_EQ(services.calls, (QStringList{"stopped 0", "started 5"}));

    c.menuAction(PresetController::Stop)->trigger();
    EXPECT_FALSE(clip->isPlaying());
    c.menuAction(PresetController::RevealInFileManager)->trigger();
    EXPECT_EQ(services.calls.last(), QStringLiteral("reveal ") + tone);
    c.menuAction(PresetController::AssignMIDINote)->trigger();
    EXPECT_EQ(document.assigningButtonIndex(), 3);
    document.cancelAssignMIDINote();

    alerts.answers = {QStringLiteral("No")};
    c.menuAction(PresetController::ClearButton)->trigger();
    EXPECT_EQ(document.clipAtIndex(3), clip);
    alerts.answers = {QStringLiteral("Yes")};
    c.menuAction(PresetController::ClearButton)->trigger();
    EXPECT_EQ(document.clipAtIndex(3), nullptr);
    EXPECT_EQ(alerts.shown, (QStringList{"Warning!", "Warning!"}));

    // Choosing a file puts it on the button with the document's defaults.
    QVariantMap defaults = document.defaultClipSettings();
    defaults[settingsKey_FadeInDuration] = 2.5;
    document.setDefaultClipSettings(defaults);
    c.setFileChooser([this] { return tone; });
    c.menuAction(PresetController::SelectFile)->trigger();
    ASSERT_NE(document.clipAtIndex(3), nullptr);
    EXPECT_DOUBLE_EQ(document.clipAtIndex(3)->doubleValueForSettingsKey(settingsKey_FadeInDuration),
                     2.5);
    c.setFileChooser([] { return QString(); });
    c.menuAction(PresetController::SelectFile)->trigger();
    EXPECT_NE(document.clipAtIndex(3), nullptr) << "a cancelled panel changes nothing";
}

TEST_F(ControllerTest, ConfiguringMovesAPlayingClipToItsNewOutput) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    SoundClip* clip = place(document, 0, tone, {{settingsKey_OutputIndex, 1}});
    services.acceptEdit = false;
    c.configureButtonAtIndex(0);
    EXPECT_EQ(services.calls.filter("output stopped").size(), 0);

    services.acceptEdit = true;
    services.edit = [](QVariantMap& record) {
        record[settingsKey_OutputIndex] = 6;
    };
    clip->startPlaying(false);
    services.calls.clear();
    c.configureButtonAtIndex(0);
    EXPECT_EQ(services.calls, (QStringList{"edit", "output stopped 1", "started 6"}));
    EXPECT_EQ(clip->outputIndex(), 6);
    clip->stopPlaying();
}

TEST_F(ControllerTest, ClipboardCarriesTheFileAndThePrivateEntry) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    place(document, 4, tone, {{settingsKey_FadeInDuration, 1.5}});
    QMimeData data;
    c.copyClip(4, data);
    ASSERT_EQ(data.urls(), QList<QUrl>{QUrl::fromLocalFile(tone)});
    const QVariantMap entry = PropertyList::fromData(data.data(ClipPasteboard::kClipType)).toMap();
    EXPECT_EQ(entry.value("Cell Index"), QVariant(4));
    EXPECT_EQ(entry.value("Settings").toMap().value(settingsKey_FadeInDuration), QVariant(1.5));

    c.copyClipToClipboard(4);
    ASSERT_TRUE(c.pasteClipFromClipboard(9));
    ASSERT_NE(document.clipAtIndex(9), nullptr);
    EXPECT_NE(document.clipAtIndex(4), nullptr) << "a paste never clears the source";
    EXPECT_DOUBLE_EQ(document.clipAtIndex(9)->doubleValueForSettingsKey(settingsKey_FadeInDuration),
                     1.5);
}

TEST_F(ControllerTest, ForeignFileKeepsTheTargetsFadesButNotItsInAndOutPoints) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    place(document, 0, tone,
          {{settingsKey_FadeInDuration, 3.0},
           {settingsKey_InPoint, 0.5},
           {settingsKey_OutPoint, 0.5}});
    const QString other = constantWav(QStringLiteral("other.wav"), 2.0, 0.1f, 0.1f);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(other)});
    ASSERT_TRUE(c.takeClipFromPasteboard(data, false, 0));
    const SoundClip* placed = document.clipAtIndex(0);
    EXPECT_EQ(placed->url(), QUrl::fromLocalFile(other));
    EXPECT_DOUBLE_EQ(placed->doubleValueForSettingsKey(settingsKey_FadeInDuration), 3.0);
    EXPECT_FALSE(placed->hasInPoint());
    EXPECT_FALSE(placed->hasOutPoint());
}

TEST_F(ControllerTest, BadDropsAreRefusedAndChangeNothing) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    SoundClip* source = place(document, 1, tone);
    QMimeData entryOnly;
    c.copyClip(1, entryOnly);
    entryOnly.setUrls({});
    EXPECT_FALSE(c.takeClipFromPasteboard(entryOnly, true, 2))
        << "private data without a file is refused";
    EXPECT_EQ(document.clipAtIndex(1), source) << "the source is not cleared";
    EXPECT_EQ(document.clipAtIndex(2), nullptr);

    QMimeData notAudio;
    const QString text = folder() + QStringLiteral("/notes.txt");
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not audio");
    file.close();
    notAudio.setUrls({QUrl::fromLocalFile(text)});
    EXPECT_FALSE(c.takeClipFromPasteboard(notAudio, false, 2));
    EXPECT_EQ(document.clipAtIndex(2), nullptr);
}

TEST_F(ControllerTest, UserDefaultsChangeReloadsSettingsAndTheOutputsMenu) {
    PresetDocument& document = makeDocument();
    PresetController& c = controller(document);
    SoundClip* clip = place(document, 0, tone);
    QVariantMap output = defaults().dictionaryForKey(outputSettingsKey(0));
    output[QorvinPrefOutputName] = QStringLiteral("Studio A");
    defaults().setObject(output, outputSettingsKey(0));
    EXPECT_EQ(clip->outputName(), QStringLiteral("Studio A"));
    ASSERT_FALSE(c.outputsSubmenu()->actions().isEmpty());
    EXPECT_EQ(c.outputsSubmenu()->actions().first()->text(), QStringLiteral("Studio A"));
    EXPECT_EQ(c.outputsSubmenu()->actions().size(), 8) << "the pre-listen output is not offered";
    // Each item is drawn in its output's colour and picks its output.
    const QAction* second = c.outputsSubmenu()->actions().at(1);
    EXPECT_EQ(OutputMenuStyle::forMenu(c.outputsSubmenu())->titleColor(second->text()),
              defaultOutputColor(1));
    c.matrix()->menuForPoint(c.matrix()->cellFrame(0).center());
    c.outputsSubmenu()->actions().at(3)->trigger();
    EXPECT_EQ(clip->outputIndex(), 3);
}
