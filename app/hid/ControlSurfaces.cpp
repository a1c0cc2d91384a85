#include "app/hid/ControlSurfaces.h"

#include "app/hid/GPIGlobalController.h"
#include "app/hid/HidapiXKeysDevice.h"
#include "app/hid/KernelIOWarriorBus.h"
#include "app/hid/SimulatedIOWarriorBus.h"
#include "app/hid/SimulatedXKeysDevice.h"
#include "app/hid/SurfacesSimulatorWindow.h"
#include "app/hid/XKeysController.h"
#include "app/hid/XKeysKeyTable.h"
#include "foundation/Logging.h"

const QString ControlSurfaces::kSimulateOption = QStringLiteral("--simulate-surfaces");
const QString ControlSurfaces::kSimulatedBoardSerialNumber = QStringLiteral("SIM00001");

bool ControlSurfaces::wantsSimulation(const QStringList& arguments) {
    return arguments.contains(kSimulateOption);
}

ControlSurfaces::ControlSurfaces(bool simulate, XKeysActions* actions, GPIInputTargets* targets)
    : _keyTable(std::make_unique<XKeysKeyTable>(actions)) {
    std::shared_ptr<IOWarriorBus> bus;
    std::unique_ptr<XKeysDevice> keypad;
    if (simulate) {
        qCInfo(lcGpi) << "Control surfaces are simulated: one GPI box"
                      << kSimulatedBoardSerialNumber << "and one keypad";
        _simulatedBus = std::make_shared<SimulatedIOWarriorBus>();
        _simulatedBus->plugBoard(kSimulatedBoardSerialNumber);
        bus = _simulatedBus;
        auto simulatedKeypad = std::make_unique<SimulatedXKeysDevice>();
        _simulatedKeypad = simulatedKeypad.get();
        keypad = std::move(simulatedKeypad);
    } else {
        bus = std::make_shared<KernelIOWarriorBus>();
        keypad = HidapiXKeysDevice::open();
    }
    _gpi = std::make_unique<GPIGlobalController>(std::move(bus), targets);
    _gpi->start();
    _keypad = std::make_unique<XKeysController>(_keyTable.get(), std::move(keypad));
    if (simulate) {
        _simulatorWindow = std::make_unique<SurfacesSimulatorWindow>(
            _simulatedBus.get(), kSimulatedBoardSerialNumber, _simulatedKeypad);
        _simulatorWindow->show();
    }
}

ControlSurfaces::~ControlSurfaces() = default;

void ControlSurfaces::setTargets(GPIInputTargets* targets) {
    _gpi->setTargets(targets);
}
