#pragma once

// The application's controller: the ten latched key states (set by a keypad's keys) that
// turn a grid-button press into configure, edit, stop, loop or pre-listen; what the
// intercepted keys do (function-key documents, Tab to the next document, space through
// the outputs panel); the keypad's other actions on the front document, the outputs
// panel and the pre-listen player; whether an untitled cart wall opens at start and
// whether the program may quit; and the application's menu commands.
//
// It is installed as the program's ApplicationKeyStates, so the windows see the latched
// states and the physical arrow keys it tracks.
//
// Thread contract: main thread only.

#include "app/KeyInterceptor.h"
#include "app/hid/XKeysActions.h"
#include "clip/ApplicationKeyStates.h"

#include <QObject>
#include <functional>
#include <memory>

class ClipButtonTarget;
class Document;
class DocumentController;
class DocumentSession;
class ModifierKeyPoster;
class OutputsMonitoringPanelController;
class PreListeningController;
class QDialog;
class QMenuBar;
class SilenceCycle;

class CAppController : public QObject,
                       public ApplicationKeyStates,
                       public XKeysActions,
                       public KeyInterceptor::Target {
    Q_OBJECT
public:
    static constexpr int kFunctionKeyCount = 12;

    // The ten latched states; all off at start.
    struct KeyStates {
        bool shift = false;
        bool command = false;
        bool alt = false;
        bool control = false;
        bool leftArrow = false;
        bool rightArrow = false;
        bool config = false;
        bool edit = false;
        bool stop = false;
        bool loop = false;
    };

    // The application's menu commands.
    enum class MenuItem { NewPreset, NewPlaylist, CheckForMissingClips, Preferences, About };

    // `session` is not owned and must outlive the controller.
    explicit CAppController(DocumentSession& session, QObject* parent = nullptr);
    ~CAppController() override;

    // The panels the keys and the keypad reach; null (the default) for none.
    void setOutputsPanel(OutputsMonitoringPanelController* panel) { _outputsPanel = panel; }
    void setPreListener(PreListeningController* player) { _preListener = player; }
    // What "Preferences…" shows; without one the item is disabled.
    void setPreferencesOpener(std::function<void()> opener) {
        _openPreferences = std::move(opener);
    }
    // The silence cycle stopped when the program quits; not owned.
    void setSilenceCycle(SilenceCycle* cycle) { _silenceCycle = cycle; }

    // Installs the key interception (an application-wide event filter), this as the
    // program's ApplicationKeyStates and shouldTerminate() as the session's quit rule.
    void install();
    KeyInterceptor& keyInterceptor() { return *_keyInterceptor; }

    // ---- Key states ----
    const KeyStates& keyStates() const { return _states; }
    bool shiftKeyState() const override { return _states.shift; }
    bool commandKeyState() const override { return _states.command; }
    bool altKeyState() const override { return _states.alt; }
    bool controlKeyState() const override { return _states.control; }
    bool leftArrowKeyState() const override { return _states.leftArrow; }
    bool rightArrowKeyState() const override { return _states.rightArrow; }
    bool configKeyState() const { return _states.config; }
    bool editKeyState() const { return _states.edit; }
    bool stopKeyState() const { return _states.stop; }
    bool loopKeyState() const { return _states.loop; }
    void setShiftKeyState(bool state) override;
    void setControlKeyState(bool state) override;
    void setAltKeyState(bool state) override;
    void setCommandKeyState(bool state) override;
    void setLeftArrowKeyState(bool state) override { _states.leftArrow = state; }
    void setRightArrowKeyState(bool state) override { _states.rightArrow = state; }
    void setConfigKeyState(bool state) override { _states.config = state; }
    void setEditKeyState(bool state) override { _states.edit = state; }
    void setStopKeyState(bool state) override { _states.stop = state; }
    void setLoopKeyState(bool state) override { _states.loop = state; }
    bool isLeftArrowDepressed() const override;
    bool isRightArrowDepressed() const override;

    // The key-state rule for a keypad press of button `index`: configure, edit and stop
    // act on `pressed` (each state that is set, in that order), loop toggles the loop
    // of `pressed` and ends the rule; with none of them set the button is started on
    // `front` (the front-most document, whichever document the press came from), or
    // pre-listened there from its start (left arrow) or its end (right arrow).
    static void applyKeyStateRule(const KeyStates& states, int index, ClipButtonTarget& pressed,
                                  ClipButtonTarget& front);

    // ---- The front document ----
    void handleClipButtonPressed(int index, Document* document);
    void handleClipButtonPressed(int index) override;
    void startPlayback(int index);
    void toggleCueMode() override;
    bool switchToNextOpenDocument() override;
    bool openFunctionKeyDocumentAtIndex(int index) override;

    // ---- The outputs panel and the pre-listen player ----
    bool presetOrPanelInFront() const override;
    void spaceBarHasBeenDepressed() override;
    void stopOutput(int outputIndex) override;
    void pauseOutput(int outputIndex) override;
    void stopButtonPushed() override;
    void pauseButtonPushed() override;
    void preListenStopButtonPushed() override;
    void preListenPlayButtonPushed() override;
    void preListenJumpBackButtonPushed() override;

    // ---- Start and quit ----
    // Whether an untitled cart wall opens at start ("Should Open Untitled Preset").
    bool applicationShouldOpenUntitledFile() const;
    // The quit rule: with clips sounding the operator confirms first, then every
    // document closes (asking to save its changes); only then the silence cycle stops.
    bool shouldTerminate();

    // ---- Menus ----
    void newPresetDocument();
    void newPlaylistDocument();
    void checkForMissingClips();
    void editPreferences();
    void orderFrontStandardAboutPanel();
    QDialog* aboutPanel() const { return _aboutPanel.get(); }
    bool validateMenuItem(MenuItem item) const;
    // Adds the application's menu to a document window's menu bar.
    void addApplicationMenu(QMenuBar* menuBar);

private:
    DocumentController& documents() const;
    std::unique_ptr<ClipButtonTarget> frontTarget() const;
    void postModifier(int modifier, bool down);

    DocumentSession& _session;
    KeyStates _states;
    std::unique_ptr<KeyInterceptor> _keyInterceptor;
    std::unique_ptr<ModifierKeyPoster> _modifierPoster;
    OutputsMonitoringPanelController* _outputsPanel = nullptr;
    PreListeningController* _preListener = nullptr;
    SilenceCycle* _silenceCycle = nullptr;
    std::function<void()> _openPreferences;
    std::unique_ptr<QDialog> _aboutPanel;
    bool _installed = false;
};
