#include "app/ZelvoraApplication.h"

#include "app/DocumentSession.h"
#include "app/midi/MIDIConnections.h"
#include "app/midi/RtMidiSourceList.h"
#include "clip/ClipSettings.h"
#include "clip/MIDIController.h"
#include "clip/OutputSettings.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioEngine.h"

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
    // Documents stop their clips before the engine that plays them goes.
    _session.reset();
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
    if (!media::AudioEngine::instance()) {
        _engine = std::make_unique<media::AudioEngine>();
    }
    // The MIDI controller comes into being with the first document and connects the
    // sources of the installed list then (tests install their own before the start).
    if (!MIDIController::sourceList()) {
        MIDIController::setSourceList(&platformMIDISources());
    }
    _session = std::make_unique<DocumentSession>();
    // Everything after the program's name names a document to open.
    _session->openInitialDocuments(arguments().mid(1));
    qCInfo(lcApp) << "started" << applicationVersion();
    return exec();
}
