#pragma once

// The process-wide services the document windows reach: the outputs monitoring panel,
// the pre-listen player, the GPI manager, the application's key states, the clip settings
// editor and the desktop's file services. The application installs each once at start
// (tests install their own); every pointer is non-owning and null until installed, and
// callers check it before each use, so a window works, silently, without the service.
//
// Thread contract: main thread only.

class ApplicationKeyStates;
class ClipSettingsEditing;
class FileWorkspace;
class GpiTallyLines;
class OutputsMonitor;
class PreListenPlayer;

class StudioServices {
public:
    static OutputsMonitor* outputsMonitor();
    static void setOutputsMonitor(OutputsMonitor* monitor);

    static PreListenPlayer* preListenPlayer();
    static void setPreListenPlayer(PreListenPlayer* player);

    static GpiTallyLines* gpiTallyLines();
    static void setGpiTallyLines(GpiTallyLines* lines);

    static ApplicationKeyStates* keyStates();
    static void setKeyStates(ApplicationKeyStates* states);

    static ClipSettingsEditing* clipSettingsEditor();
    static void setClipSettingsEditor(ClipSettingsEditing* editor);

    static FileWorkspace* fileWorkspace();
    static void setFileWorkspace(FileWorkspace* workspace);

    // Uninstalls every service (tests call it between cases).
    static void clear();
};
