#include "app/hid/SimulatedXKeysDevice.h"

#include <algorithm>
#include <cstring>

void SimulatedXKeysDevice::press(int key) {
    setKey(key, true);
}

void SimulatedXKeysDevice::release(int key) {
    setKey(key, false);
}

bool SimulatedXKeysDevice::isHeld(int key) const {
    int byte = 0;
    int bit = 0;
    return keyPosition(key, &byte, &bit) && (_buttons[static_cast<size_t>(byte)] >> bit) & 1u;
}

void SimulatedXKeysDevice::setKey(int key, bool held) {
    int byte = 0;
    int bit = 0;
    if (!keyPosition(key, &byte, &bit) || isHeld(key) == held) {
        return;
    }
    _buttons[static_cast<size_t>(byte)] ^= static_cast<std::uint8_t>(1u << bit);
    _reports.emplace_back(reinterpret_cast<const char*>(_buttons.data()), kReportLength);
}

void SimulatedXKeysDevice::queueRawReport(const QByteArray& report) {
    _reports.push_back(report);
}

int SimulatedXKeysDevice::readReport(std::uint8_t* buffer, int capacity) {
    if (_unplugged) {
        return -1;
    }
    if (_reports.empty()) {
        return 0;
    }
    const QByteArray report = _reports.front();
    _reports.pop_front();
    const int length = std::min(capacity, static_cast<int>(report.size()));
    std::memcpy(buffer, report.constData(), static_cast<size_t>(length));
    return length;
}
