#pragma once

// The application object: registers the factory value of every preference, installs the
// user-defaults store, checks the decoding library's version, creates the audio engine
// (which picks its back end; the null one when no device opens), the outputs panel, the
// pre-listen player, the clip settings editor, the control surfaces (GPI boxes, keypad,
// MIDI sources) and the application controller with its key interception, starts the
// silence cycle, opens the documents named on the command line (or an untitled cart
// wall) and runs the event loop. Main thread only.

#include <QApplication>
#include <QVariantMap>
#include <memory>

class DocumentSession;
class InstanceChannel;
class StudioLaunch;
class UserDefaults;

namespace media {
class AudioEngine;
}

class ZelvoraApplication : public QApplication {
    Q_OBJECT
public:
    ZelvoraApplication(int& argc, char** argv);
    ~ZelvoraApplication() override;

    // Every registered key with its factory value.
    static QVariantMap factoryDefaults();
    // Registers factoryDefaults() in `defaults` (registered, never written to disk).
    static void initialize(UserDefaults& defaults);

    // Hands the command line's files to a program already running for this user and
    // ends (exit code 0) or else starts the audio engine, opens the first document
    // windows (the demo cart wall with --demo when no file is named) and runs the event
    // loop; returns the exit code.
    int run();

    // The open documents and their commands; null before run().
    DocumentSession* documentSession() const { return _session.get(); }
    // The panels, surfaces and controller made at launch; null before run().
    StudioLaunch* launch() const { return _launch.get(); }

private:
    void openHandedOver(const QStringList& paths);

    std::unique_ptr<UserDefaults> _defaults;
    std::unique_ptr<InstanceChannel> _instance;
    std::unique_ptr<media::AudioEngine> _engine;
    std::unique_ptr<StudioLaunch> _launch;
    std::unique_ptr<DocumentSession> _session;
};
