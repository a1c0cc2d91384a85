#include "app/hid/SimulatedIOWarriorBus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

SimulatedIOWarriorBus::~SimulatedIOWarriorBus() {
    {
        std::lock_guard lock(_mutex);
        _shuttingDown = true;
    }
    _answer.notify_all();
}

void SimulatedIOWarriorBus::plugBoard(const QString& serialNumber, int productId) {
    {
        std::lock_guard lock(_mutex);
        ++_plugCount;
        for (int number = 0; number < 2; ++number) {
            _interfaces.push_back(
                {QStringLiteral("sim:%1/%2/%3").arg(serialNumber).arg(_plugCount).arg(number),
                 serialNumber, productId, number});
        }
        _boards[serialNumber].productId = productId;
    }
    notifyChanged();
}

void SimulatedIOWarriorBus::plugInterface(const QString& serialNumber, int productId,
                                          int interfaceNumber) {
    {
        std::lock_guard lock(_mutex);
        ++_plugCount;
        _interfaces.push_back(
            {QStringLiteral("sim:%1/%2/%3").arg(serialNumber).arg(_plugCount).arg(interfaceNumber),
             serialNumber, productId, interfaceNumber});
        _boards[serialNumber].productId = productId;
    }
    notifyChanged();
}

void SimulatedIOWarriorBus::unplugBoard(const QString& serialNumber) {
    {
        std::lock_guard lock(_mutex);
        std::erase_if(_interfaces, [&](const Interface& interface) {
            return interface.serialNumber == serialNumber;
        });
    }
    // A transfer blocked on the board fails now, as it would on a real unplug.
    _answer.notify_all();
    notifyChanged();
}

bool SimulatedIOWarriorBus::isPlugged(const QString& serialNumber) const {
    std::lock_guard lock(_mutex);
    return std::any_of(_interfaces.begin(), _interfaces.end(), [&](const Interface& interface) {
        return interface.serialNumber == serialNumber;
    });
}

void SimulatedIOWarriorBus::setInputReport(const QString& serialNumber,
                                           const std::array<std::uint8_t, 4>& report) {
    std::lock_guard lock(_mutex);
    _boards[serialNumber].inputs = report;
}

void SimulatedIOWarriorBus::setContact(const QString& serialNumber, int input, bool closed) {
    if (input < 0 || input >= 24) {
        return;
    }
    std::lock_guard lock(_mutex);
    std::uint8_t& port = _boards[serialNumber].inputs[static_cast<size_t>(input / 8)];
    const auto bit = static_cast<std::uint8_t>(1u << (input % 8));
    port = closed ? static_cast<std::uint8_t>(port & ~bit) : static_cast<std::uint8_t>(port | bit);
}

std::array<std::uint8_t, 4> SimulatedIOWarriorBus::inputReport(const QString& serialNumber) const {
    std::lock_guard lock(_mutex);
    const auto board = _boards.find(serialNumber);
    return board == _boards.end() ? std::array<std::uint8_t, 4>{0xFF, 0xFF, 0xFF, 0xFF}
                                  : board->second.inputs;
}

void SimulatedIOWarriorBus::setAnswering(const QString& serialNumber, bool answering) {
    {
        std::lock_guard lock(_mutex);
        _boards[serialNumber].answering = answering;
    }
    _answer.notify_all();
}

void SimulatedIOWarriorBus::setShortReads(const QString& serialNumber, int length) {
    std::lock_guard lock(_mutex);
    _boards[serialNumber].shortReads = length;
}

QList<QByteArray> SimulatedIOWarriorBus::outputReports(const QString& serialNumber) const {
    std::lock_guard lock(_mutex);
    const auto board = _boards.find(serialNumber);
    return board == _boards.end() ? QList<QByteArray>{} : board->second.outputs;
}

std::array<std::uint8_t, 4>
SimulatedIOWarriorBus::lastOutputReport(const QString& serialNumber) const {
    const QList<QByteArray> reports = outputReports(serialNumber);
    std::array<std::uint8_t, 4> report{0xFF, 0xFF, 0xFF, 0x00};
    if (!reports.isEmpty() && reports.last().size() == 4) {
        std::memcpy(report.data(), reports.last().constData(), 4);
    }
    return report;
}

bool SimulatedIOWarriorBus::isTallyLit(const QString& serialNumber, int output) const {
    return output >= 0 && output < 8 && (lastOutputReport(serialNumber)[3] >> output) & 1u;
}

int SimulatedIOWarriorBus::readsServed(const QString& serialNumber) const {
    std::lock_guard lock(_mutex);
    const auto board = _boards.find(serialNumber);
    return board == _boards.end() ? 0 : board->second.readsServed;
}

bool SimulatedIOWarriorBus::watch(std::function<void()> changed) {
    _changed = std::move(changed);
    return true;
}

std::vector<IOWarriorBusDevice> SimulatedIOWarriorBus::enumerate() {
    std::lock_guard lock(_mutex);
    std::vector<IOWarriorBusDevice> devices;
    for (const Interface& interface : _interfaces) {
        devices.push_back({interface.path, kVendorId, interface.productId, interface.serialNumber});
    }
    return devices;
}

void SimulatedIOWarriorBus::notifyChanged() {
    if (_changed) {
        _changed();
    }
}

SimulatedIOWarriorBus::Board*
SimulatedIOWarriorBus::waitForBoard(std::unique_lock<std::mutex>& lock, const QString& path) {
    for (;;) {
        const auto interface =
            std::find_if(_interfaces.begin(), _interfaces.end(),
                         [&](const Interface& candidate) { return candidate.path == path; });
        if (_shuttingDown || interface == _interfaces.end()) {
            return nullptr;
        }
        Board& board = _boards[interface->serialNumber];
        if (board.answering) {
            return &board;
        }
        _answer.wait(lock);
    }
}

HidTransferStatus SimulatedIOWarriorBus::setOutputReport(const QString& path,
                                                         const std::uint8_t* bytes, int length) {
    std::unique_lock lock(_mutex);
    Board* board = waitForBoard(lock, path);
    if (!board) {
        return {HidTransferStatus::Stage::OpenFailed, ENODEV, 0};
    }
    board->outputs.append(QByteArray(reinterpret_cast<const char*>(bytes), length));
    return {HidTransferStatus::Stage::Done, 0, length};
}

HidTransferStatus SimulatedIOWarriorBus::getInputReport(const QString& path, int,
                                                        std::uint8_t* buffer, int length) {
    std::unique_lock lock(_mutex);
    Board* board = waitForBoard(lock, path);
    if (!board) {
        return {HidTransferStatus::Stage::OpenFailed, ENODEV, 0};
    }
    ++board->readsServed;
    int answered = std::min(length, 4);
    if (board->shortReads > 0) {
        answered = std::min(answered, board->shortReads);
    }
    std::memcpy(buffer, board->inputs.data(), static_cast<size_t>(answered));
    return {HidTransferStatus::Stage::Done, 0, answered};
}
