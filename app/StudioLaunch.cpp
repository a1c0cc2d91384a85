#include "app/StudioLaunch.h"

#include "app/CAppController.h"
#include "app/DesktopFileWorkspace.h"
#include "app/DocumentGPITargets.h"
#include "app/DocumentMenuBar.h"
#include "app/DocumentSession.h"
#include "app/PreferencesController.h"
#include "app/SilenceCycle.h"
#include "app/hid/ControlSurfaces.h"
#include "app/hid/GPIGlobalController.h"
#include "clip/StudioServices.h"
#include "document/DocumentController.h"
#include "editing/ClipSettingsController.h"
#include "outputs/OutputSettingsCell.h"
#include "outputs/OutputsMonitoringPanelController.h"
#include "outputs/PreListeningController.h"
#include "playlist/PlaylistDocument.h"

#include <QCoreApplication>

StudioLaunch::StudioLaunch() = default;

StudioLaunch::~StudioLaunch() {
    detach();
    _silenceCycle.reset();
    if (StudioServices::clipSettingsEditor() == _clipSettingsEditor.get()) {
        StudioServices::setClipSettingsEditor(nullptr);
    }
    _clipSettingsEditor.reset();
    _preListener.reset();
    _outputsPanel.reset();
    _fileWorkspace.reset();
}

void StudioLaunch::startBeforeDocuments() {
    _silenceCycle = std::make_unique<SilenceCycle>();
    _silenceCycle->start();
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, _silenceCycle.get(),
                     &SilenceCycle::stop);

    _outputsPanel = std::make_unique<OutputsMonitoringPanelController>();
    _outputsPanel->install();
    _outputsPanel->showWindow();
    _preListener = std::make_unique<PreListeningController>();
    _preListener->install();
    _preListener->showWindow();
    _clipSettingsEditor =
        std::make_unique<ClipSettingsController>(&OutputSettingsCell::loadPopUpButtonWithOutputs);
    StudioServices::setClipSettingsEditor(_clipSettingsEditor.get());
    _fileWorkspace = std::make_unique<DesktopFileWorkspace>();
    _fileWorkspace->install();
}

void StudioLaunch::attach(DocumentSession& session, bool simulateSurfaces) {
    DocumentController& documents = session.documentController();
    if (!documents.typeNamed(PlaylistDocument::kTypeName)) {
        documents.registerDocumentType(PlaylistDocument::documentType());
    }

    _appController = std::make_unique<CAppController>(session);
    _appController->setOutputsPanel(_outputsPanel.get());
    _appController->setPreListener(_preListener.get());
    _appController->setSilenceCycle(_silenceCycle.get());
    // The preferences window is made the first time it is asked for.
    _appController->setPreferencesOpener([this] {
        if (!_preferences) {
            _preferences = std::make_unique<PreferencesController>();
        }
        _preferences->showWindow();
    });
    _appController->install();
    DocumentMenuBar::setApplicationMenuMaker(
        [controller = _appController.get()](QMenuBar* menuBar) {
            controller->addApplicationMenu(menuBar);
        });

    _gpiTargets = std::make_unique<DocumentGPITargets>(documents);
    _surfaces = std::make_unique<ControlSurfaces>(simulateSurfaces, _appController.get(),
                                                  _gpiTargets.get());
    StudioServices::setGpiTallyLines(&_surfaces->gpi());
}

void StudioLaunch::detach() {
    if (_surfaces && StudioServices::gpiTallyLines() == &_surfaces->gpi()) {
        StudioServices::setGpiTallyLines(nullptr);
    }
    _surfaces.reset();
    _gpiTargets.reset();
    if (_appController) {
        DocumentMenuBar::setApplicationMenuMaker(nullptr);
    }
    _appController.reset();
    _preferences.reset();
}
