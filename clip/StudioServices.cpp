#include "clip/StudioServices.h"

namespace {

struct Installed {
    OutputsMonitor* outputsMonitor = nullptr;
    PreListenPlayer* preListenPlayer = nullptr;
    GpiTallyLines* gpiTallyLines = nullptr;
    ApplicationKeyStates* keyStates = nullptr;
    ClipSettingsEditing* clipSettingsEditor = nullptr;
    FileWorkspace* fileWorkspace = nullptr;
};

Installed& installed() {
    static Installed services;
    return services;
}

} // namespace

OutputsMonitor* StudioServices::outputsMonitor() {
    return installed().outputsMonitor;
}
void StudioServices::setOutputsMonitor(OutputsMonitor* monitor) {
    installed().outputsMonitor = monitor;
}

PreListenPlayer* StudioServices::preListenPlayer() {
    return installed().preListenPlayer;
}
void StudioServices::setPreListenPlayer(PreListenPlayer* player) {
    installed().preListenPlayer = player;
}

GpiTallyLines* StudioServices::gpiTallyLines() {
    return installed().gpiTallyLines;
}
void StudioServices::setGpiTallyLines(GpiTallyLines* lines) {
    installed().gpiTallyLines = lines;
}

ApplicationKeyStates* StudioServices::keyStates() {
    return installed().keyStates;
}
void StudioServices::setKeyStates(ApplicationKeyStates* states) {
    installed().keyStates = states;
}

ClipSettingsEditing* StudioServices::clipSettingsEditor() {
    return installed().clipSettingsEditor;
}
void StudioServices::setClipSettingsEditor(ClipSettingsEditing* editor) {
    installed().clipSettingsEditor = editor;
}

FileWorkspace* StudioServices::fileWorkspace() {
    return installed().fileWorkspace;
}
void StudioServices::setFileWorkspace(FileWorkspace* workspace) {
    installed().fileWorkspace = workspace;
}

void StudioServices::clear() {
    installed() = Installed{};
}
