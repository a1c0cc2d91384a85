#include "app/hid/GPIGlobalController.h"

#include "app/hid/GPIController.h"
#include "foundation/Logging.h"

#include <QTimer>

GPIGlobalController::GPIGlobalController(std::shared_ptr<IOWarriorBus> bus,
                                         GPIInputTargets* targets)
    : _access(std::move(bus))
    , _targets(targets) {}

GPIGlobalController::~GPIGlobalController() = default;

void GPIGlobalController::start() {
    initializeIOWarrior();
    // A QTimer also fires in nested event loops (menus, drags, modal panels), so contacts
    // keep working while one is up.
    _updateTimer = std::make_unique<QTimer>();
    _updateTimer->setInterval(kTickMilliseconds);
    QObject::connect(_updateTimer.get(), &QTimer::timeout, [this] { updateTimer(); });
    _updateTimer->start();
}

int GPIGlobalController::initializeIOWarrior() {
    const int status = _access.init();
    if (status != 0) {
        qCWarning(lcGpi).noquote() << QStringLiteral("IOWarriorInit returned %1").arg(status);
        return status;
    }
    _access.setDeviceCallback([this] { setInterfaceListHasChanged(true); });
    if (!_access.isPresent()) {
        qCInfo(lcGpi) << "IOWarrior is not present";
        return -1;
    }
    qCInfo(lcGpi) << "IOWarrior is present";
    updateInterfaceList();
    return 0;
}

void GPIGlobalController::updateInterfaceList() {
    qCInfo(lcGpi) << "Updating device list...";
    _interfaceCount = _access.countInterfaces();
    if (_interfaceCount < 1) {
        _gpiControllers.clear();
        qCInfo(lcGpi) << "Removing all interfaces";
    }
    for (size_t position = 0; position < _gpiControllers.size(); ++position) {
        if (!_access.hasInterface0WithSerialNumber(_gpiControllers[position]->serialNumber())) {
            qCInfo(lcGpi).noquote()
                << QStringLiteral("Removing interface at index: %1").arg(position);
            _gpiControllers.erase(_gpiControllers.begin() + static_cast<std::ptrdiff_t>(position));
            // The walk goes on at the next position: the controller that moved into this
            // one is checked at the next rebuild.
        }
    }
    for (const auto& node : _access.interface0Nodes()) {
        const int index = findInterfaceIndexWithSerialNumber(node->serialNumber);
        if (index >= 0) {
            qCInfo(lcGpi) << "Changing interface at index" << index;
            _gpiControllers[static_cast<size_t>(index)]->setListNode(node);
        } else {
            qCInfo(lcGpi) << "Adding new interface" << node->serialNumber;
            _gpiControllers.push_back(
                std::make_unique<GPIController>(_access.bus(), node, _targets));
        }
    }
    _interfaceListHasChanged = false;
}

void GPIGlobalController::updateTimer() {
    if (_interfaceListHasChanged) {
        updateInterfaceList();
    }
    for (const auto& controller : _gpiControllers) {
        controller->updateViews();
    }
}

GPIController* GPIGlobalController::deviceAt(int index) const {
    if (index < 0 || index >= static_cast<int>(_gpiControllers.size())) {
        return nullptr;
    }
    return _gpiControllers[static_cast<size_t>(index)].get();
}

bool GPIGlobalController::isPolling() const {
    return _updateTimer && _updateTimer->isActive();
}

void GPIGlobalController::setTargets(GPIInputTargets* targets) {
    _targets = targets;
    for (const auto& controller : _gpiControllers) {
        controller->setTargets(targets);
    }
}

bool GPIGlobalController::isInterfaceStillThere(const QString& serialNumber) {
    return _access.hasInterface0WithSerialNumber(serialNumber);
}

int GPIGlobalController::findInterfaceIndexWithSerialNumber(const QString& serialNumber) const {
    for (size_t i = 0; i < _gpiControllers.size(); ++i) {
        if (_gpiControllers[i]->serialNumber() == serialNumber) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

QStringList GPIGlobalController::connectedSerialNumbers() const {
    QStringList serialNumbers;
    for (const auto& controller : _gpiControllers) {
        serialNumbers.append(controller->serialNumber());
    }
    return serialNumbers;
}

void GPIGlobalController::setState(int interfaceIndex, bool state, int output) {
    if (GPIController* controller = deviceAt(interfaceIndex)) {
        controller->setState(state, output);
    }
}
