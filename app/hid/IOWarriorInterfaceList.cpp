#include "app/hid/IOWarriorInterfaceList.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

IOWarriorInterfaceList::IOWarriorInterfaceList(std::shared_ptr<IOWarriorBus> bus)
    : _bus(std::move(bus)) {}

IOWarriorInterfaceList::~IOWarriorInterfaceList() {
    if (_watching) {
        _bus->watch({});
    }
}

int IOWarriorInterfaceList::init() {
    _watching = _bus->watch([this] {
        _dirty = true;
        if (_deviceCallback) {
            _deviceCallback();
        }
    });
    _dirty = true;
    return _watching ? 0 : -1;
}

bool IOWarriorInterfaceList::isPresent() {
    return countInterfaces() > 0;
}

int IOWarriorInterfaceList::countInterfaces() {
    rediscoverIfDirty();
    return static_cast<int>(_nodes.size());
}

std::shared_ptr<const IOWarriorListNode>
IOWarriorInterfaceList::interfaceListNodeAtIndex(int position) {
    const size_t index = position < 0 ? 0 : static_cast<size_t>(position);
    return index < _nodes.size() ? _nodes[index] : nullptr;
}

void IOWarriorInterfaceList::discoverInterfaces() {
    _nodes.clear();
    int running = 0;
    for (const IOWarriorBusDevice& device : _bus->enumerate()) {
        if (device.vendorId != IOWarriorBus::kVendorId ||
            (device.productId != IOWarriorBus::kProduct32Lines &&
             device.productId != IOWarriorBus::kProduct16Lines)) {
            continue;
        }
        auto node = std::make_shared<IOWarriorListNode>();
        node->path = device.path;
        node->serialNumber = device.serialNumber;
        node->interfaceType =
            device.productId == IOWarriorBus::kProduct32Lines ? running % 2 : running % 2 + 2;
        ++running;
        _nodes.push_back(std::move(node));
    }
    _dirty = false;
}

void IOWarriorInterfaceList::rediscoverIfDirty() {
    if (_dirty) {
        discoverInterfaces();
    }
}

bool IOWarriorInterfaceList::hasInterface0WithSerialNumber(const QString& serial) {
    for (const auto& node : interface0Nodes()) {
        if (node->serialNumber == serial) {
            return true;
        }
    }
    return false;
}

std::vector<std::shared_ptr<const IOWarriorListNode>> IOWarriorInterfaceList::interface0Nodes() {
    rediscoverIfDirty();
    std::vector<std::shared_ptr<const IOWarriorListNode>> nodes;
    for (const auto& node : _nodes) {
        if (node->interfaceType == 0) {
            nodes.push_back(node);
        }
    }
    return nodes;
}

std::shared_ptr<const IOWarriorListNode> IOWarriorInterfaceList::firstNodeOfType(int type) {
    rediscoverIfDirty();
    for (const auto& node : _nodes) {
        if (node->interfaceType == type) {
            return node;
        }
    }
    return nullptr;
}

HidTransferStatus IOWarriorInterfaceList::writeToInterface(IOWarriorBus& bus,
                                                           const IOWarriorListNode& node,
                                                           const std::uint8_t* bytes, int length) {
    return bus.setOutputReport(node.path, bytes, length);
}

HidTransferStatus IOWarriorInterfaceList::readFromInterface(IOWarriorBus& bus,
                                                            const IOWarriorListNode& node,
                                                            int reportId, std::uint8_t* buffer,
                                                            int length) {
    HidTransferStatus status = bus.getInputReport(node.path, reportId, buffer, length);
    if (status.ok() && status.length != length) {
        // A short (or overlong) report is no report of this board: treated as a failed read.
        status.stage = HidTransferStatus::Stage::TransferFailed;
        status.error = EIO;
    }
    return status;
}

void IOWarriorInterfaceList::printFailure(const HidTransferStatus& status) {
    if (status.ok()) {
        return;
    }
    // A failed read is described as a failed setReport as well, as it always was.
    const char* description = status.stage == HidTransferStatus::Stage::OpenFailed
                                  ? "Could not open hid device interface"
                                  : "Could not write setReport on hid device interface";
    std::fprintf(stderr, "%s - %s(%x,%d)\n", description, std::strerror(status.error),
                 static_cast<unsigned>(status.error), status.error & 0xFFFFFF);
}

int IOWarriorInterfaceList::transferStatusCode(const HidTransferStatus& status) const {
    printFailure(status);
    return status.ok() ? 0 : (status.error != 0 ? status.error : -1);
}

int IOWarriorInterfaceList::writeInterface0(const std::uint8_t* bytes) {
    const auto node = firstNodeOfType(0);
    if (!node) {
        return -1;
    }
    return transferStatusCode(writeToInterface(*_bus, *node, bytes, kInterface0ReportLength));
}

int IOWarriorInterfaceList::readInterface0(std::uint8_t* buffer) {
    const auto node = firstNodeOfType(0);
    if (!node) {
        return -1;
    }
    return transferStatusCode(readFromInterface(*_bus, *node, 0, buffer, kInterface0ReportLength));
}

int IOWarriorInterfaceList::writeInterface1(const std::uint8_t* bytes) {
    const auto node = firstNodeOfType(1);
    if (!node) {
        return -1;
    }
    return transferStatusCode(writeToInterface(*_bus, *node, bytes, kInterface1WriteLength));
}

int IOWarriorInterfaceList::readInterface1(int reportId, std::uint8_t* buffer) {
    const auto node = firstNodeOfType(1);
    if (!node) {
        return -1;
    }
    return transferStatusCode(
        readFromInterface(*_bus, *node, reportId, buffer, kInterface1ReadLength));
}
