#pragma once

// The long-lived parts the program makes at launch besides its documents: the silence
// cycle, the outputs monitoring panel and the pre-listen player (shown at once), the
// clip settings editor, the desktop's file services, the playlist document type, the
// application controller with its key interception and menu, the preferences window, and the
// control surfaces (GPI boxes and keypad, real or simulated) with their targets. Each is installed
// where the windows reach it (StudioServices) and uninstalled when it goes.
//
// The application makes the panels before the first document (so its clips report to
// them), attaches the session once it exists and detaches it before the session goes.
//
// Thread contract: main thread only.

#include <memory>

class CAppController;
class ClipSettingsController;
class ControlSurfaces;
class DesktopFileWorkspace;
class DocumentGPITargets;
class DocumentSession;
class OutputsMonitoringPanelController;
class PreListeningController;
class PreferencesController;
class SilenceCycle;

class StudioLaunch {
public:
    StudioLaunch();
    ~StudioLaunch();
    StudioLaunch(const StudioLaunch&) = delete;
    StudioLaunch& operator=(const StudioLaunch&) = delete;

    // The silence cycle, the panels, the settings editor and the file services.
    void startBeforeDocuments();
    // The playlist type, the application controller and its menu, the surfaces.
    // `session` must stay until detach().
    void attach(DocumentSession& session, bool simulateSurfaces);
    // Stops the surfaces and the controller, which reach the session's documents.
    void detach();

    CAppController* appController() const { return _appController.get(); }
    OutputsMonitoringPanelController* outputsPanel() const { return _outputsPanel.get(); }
    PreListeningController* preListener() const { return _preListener.get(); }
    ControlSurfaces* controlSurfaces() const { return _surfaces.get(); }
    SilenceCycle* silenceCycle() const { return _silenceCycle.get(); }

private:
    std::unique_ptr<SilenceCycle> _silenceCycle;
    std::unique_ptr<OutputsMonitoringPanelController> _outputsPanel;
    std::unique_ptr<PreListeningController> _preListener;
    std::unique_ptr<ClipSettingsController> _clipSettingsEditor;
    std::unique_ptr<DesktopFileWorkspace> _fileWorkspace;
    std::unique_ptr<CAppController> _appController;
    std::unique_ptr<DocumentGPITargets> _gpiTargets;
    std::unique_ptr<ControlSurfaces> _surfaces;
    std::unique_ptr<PreferencesController> _preferences;
};
