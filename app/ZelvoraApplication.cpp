#include "app/ZelvoraApplication.h"

#include "app/CAppController.h"
#include "app/DemoCartWall.h"
#include "app/DiagnosticCommands.h"
#include "app/DocumentSession.h"
#include "app/FfmpegVersionCheck.h"
#include "app/InstanceChannel.h"
#include "app/StudioLaunch.h"
#include "app/hid/ControlSurfaces.h"
#include "app/midi/MIDIConnections.h"
#include "app/midi/RtMidiSourceList.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/OutputSettings.h"
#include "document/Document.h"
#include "document/DocumentController.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"

#include <QWidget>

namespace {

const QString applicationTitle = QStringLiteral("Zelvora Studio");

constexpr int functionKeyCount = 12;

// The command that opens a clip for editing ("Open with Editor").
const QString defaultEditorCommand = QStringLiteral("audacity");

void addOutputSettings(QVariantMap& table) {
    for (int index = 0; index < outputSettingsCount; ++index) {
        table.insert(outputSettingsKey(index), defaultOutputSettings(index));
    }
}

void addFunctionKeys(QVariantMap& table) {
    for (int key = 1; key <= functionKeyCount; ++key) {
        table.insert(QStringLiteral("Function Key %1").arg(key), QString(""));
    }
}

// The command line without the program's name and its options: the documents to open.
QStringList documentArguments(const QStringList& arguments) {
    QStringList documents;
    for (const QString& argument : arguments.mid(1)) {
        if (!argument.startsWith(QLatin1String("--"))) {
            documents << argument;
        }
    }
    return documents;
}

} // namespace

ZelvoraApplication::ZelvoraApplication(int& argc, char** argv)
    : QApplication(argc, argv) {
    setApplicationName(applicationTitle);
    setApplicationDisplayName(applicationTitle);
    setOrganizationName(QStringLiteral("zelvora-studio"));
    setDesktopFileName(QStringLiteral("zelvora-studio"));
    setApplicationVersion(QStringLiteral(ZELVORA_VERSION));

    // A store whose folder cannot be written still answers from memory and logs why; the
    // program runs on with the factory values.
    _defaults = std::make_unique<UserDefaults>(UserDefaults::defaultDirectory());
    UserDefaults::setStandard(_defaults.get());
    initialize(*_defaults);
}

ZelvoraApplication::~ZelvoraApplication() {
    // The surfaces stop calling in first; documents stop their clips while the panels
    // they report to and the engine that plays them are still there.
    if (_launch) {
        _launch->detach();
    }
    _session.reset();
    _launch.reset();
    _engine.reset();
    if (UserDefaults::standard() == _defaults.get()) {
        UserDefaults::setStandard(nullptr);
    }
}

QVariantMap ZelvoraApplication::factoryDefaults() {
    QVariantMap table;
    table.insert(defaultsKey_DefaultClipSettings, defaultClipSettings());
    addOutputSettings(table);
    addFunctionKeys(table);
    table.insert(QStringLiteral("Default Editor"), defaultEditorCommand);
    table.insert(QStringLiteral("Read ID3 Tags"), true);
    table.insert(QStringLiteral("Should Open Untitled Preset"), true);
    table.insert(QStringLiteral("Lock Window Positions"), false);
    table.insert(QStringLiteral("Use GPI"), false);
    table.insert(QStringLiteral("Fader Stop In Cue Mode"), false);
    table.insert(QStringLiteral("Kestrel Serial Number"), QString(""));
    return table;
}

void ZelvoraApplication::initialize(UserDefaults& defaults) {
    defaults.registerDefaults(factoryDefaults());
}

int ZelvoraApplication::run() {
    const QStringList documents = documentArguments(arguments());
    _instance = std::make_unique<InstanceChannel>(InstanceChannel::defaultName());
    if (_instance->handOver(documents)) {
        qCInfo(lcApp) << "handed" << documents.size() << "documents to the running program";
        return 0;
    }
    _instance->listen();
    if (!FfmpegVersionCheck::check()) {
        return 1;
    }
    if (DiagnosticCommands::wanted(arguments())) {
        DiagnosticCommands::install(*_instance);
    }
    if (!media::AudioEngine::instance()) {
        _engine = std::make_unique<media::AudioEngine>();
    }
    // The MIDI controller comes into being with the first document and connects the
    // sources of the installed list then (tests install their own before the start).
    if (!MIDIController::sourceList()) {
        MIDIController::setSourceList(&platformMIDISources());
    }
    // The panels come before any document, so the clips it loads report to them.
    _launch = std::make_unique<StudioLaunch>();
    _launch->startBeforeDocuments();
    _session = std::make_unique<DocumentSession>();
    _launch->attach(*_session, ControlSurfaces::wantsSimulation(arguments()));
    connect(_instance.get(), &InstanceChannel::openRequested, this,
            &ZelvoraApplication::openHandedOver);
    // Closing the last document window quits through the session's quit rule, like the
    // File menu's Quit, rather than behind its back.
    setQuitOnLastWindowClosed(false);
    connect(this, &QGuiApplication::lastWindowClosed, _session.get(), &DocumentSession::quit);
    const QStringList initial =
        documents.isEmpty() ? DemoCartWall::documentsForStart(arguments()) : documents;
    if (!initial.isEmpty() || _launch->appController()->applicationShouldOpenUntitledFile()) {
        _session->openInitialDocuments(initial);
    }
    qCInfo(lcApp) << "started" << applicationVersion();
    return exec();
}

void ZelvoraApplication::openHandedOver(const QStringList& paths) {
    for (const QString& path : paths) {
        _session->openRecentDocument(path);
    }
    // Started again without files: the operator is looking for the program's window.
    const QList<Document*> open = _session->documentController().documents();
    if (paths.isEmpty() && !open.isEmpty() && open.constLast()->window()) {
        open.constLast()->window()->raise();
        open.constLast()->window()->activateWindow();
    }
}
