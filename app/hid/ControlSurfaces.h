#pragma once

// The GPI boxes and the keypad of the running program, made in one place: the real
// devices (IOWarrior boards through the kernel driver, an X-keys keypad through hidapi),
// or with --simulate-surfaces a simulated board (serial number "SIM00001") and keypad and
// a window to drive them by hand. The GPI manager polls from creation on; the keypad
// poller hands keys to the key table, which acts on the application's XKeysActions.
//
// The application makes one at launch, installs gpi() in StudioServices (tally) and gives
// it its GPIInputTargets (contacts); MIDI is separate (platformMIDISources()).
//
// Thread contract: main thread only.

#include <QStringList>
#include <memory>

class GPIGlobalController;
class GPIInputTargets;
class QWidget;
class SimulatedIOWarriorBus;
class SimulatedXKeysDevice;
class XKeysActions;
class XKeysController;
class XKeysKeyTable;

class ControlSurfaces {
public:
    static const QString kSimulateOption; // "--simulate-surfaces"
    static const QString kSimulatedBoardSerialNumber;

    // Whether the program's arguments ask for simulated surfaces.
    static bool wantsSimulation(const QStringList& arguments);

    // Starts the surfaces; `actions` and `targets` are not owned and may be null (keys
    // and contacts then go nowhere).
    ControlSurfaces(bool simulate, XKeysActions* actions, GPIInputTargets* targets);
    ~ControlSurfaces();
    ControlSurfaces(const ControlSurfaces&) = delete;
    ControlSurfaces& operator=(const ControlSurfaces&) = delete;

    GPIGlobalController& gpi() { return *_gpi; }
    XKeysController& keypad() { return *_keypad; }
    void setTargets(GPIInputTargets* targets);

    // The simulated devices and their window; null unless simulating.
    SimulatedIOWarriorBus* simulatedBus() const { return _simulatedBus.get(); }
    SimulatedXKeysDevice* simulatedKeypad() const { return _simulatedKeypad; }
    QWidget* simulatorWindow() const { return _simulatorWindow.get(); }

private:
    std::shared_ptr<SimulatedIOWarriorBus> _simulatedBus;
    SimulatedXKeysDevice* _simulatedKeypad = nullptr; // owned by the keypad poller
    std::unique_ptr<GPIGlobalController> _gpi;
    std::unique_ptr<XKeysKeyTable> _keyTable;
    std::unique_ptr<XKeysController> _keypad;
    std::unique_ptr<QWidget> _simulatorWindow;
};
