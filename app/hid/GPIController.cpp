#include "app/hid/GPIController.h"

#include "app/hid/GPIInputReceiver.h"
#include "app/hid/GPIInputTargets.h"
#include "app/hid/IOWarriorListNode.h"

namespace {
constexpr GPIBoardIO::Report kAllLinesHigh{0xFF, 0xFF, 0xFF, 0xFF};
} // namespace

GPIController::GPIController(std::shared_ptr<IOWarriorBus> bus,
                             std::shared_ptr<const IOWarriorListNode> node,
                             const GPIInputTargets* targets)
    : _ioWarriorListNode(node)
    , _serialNumber(node ? node->serialNumber : QString())
    , _targets(targets)
    , _io(std::move(bus), node) {
    _outputsState.fill(1);
    _inputsState.fill(1);
    for (int i = 0; i < kOutputs; ++i) {
        _outputs.emplace_back(this, i);
    }
    for (int i = 0; i < kInputs; ++i) {
        _inputs.emplace_back(this, i);
    }
    setIOWarriorOutputs(kAllLinesHigh);
}

GPIController::~GPIController() = default;

void GPIController::setListNode(std::shared_ptr<const IOWarriorListNode> node) {
    _ioWarriorListNode = node;
    _io.setNode(std::move(node));
}

void GPIController::setState(bool state, int index) {
    if (index < 0 || index >= kOutputs) {
        return;
    }
    _outputsState[static_cast<size_t>(index)] = state ? 1 : 0;
    updateOutputs();
}

bool GPIController::stateOfOutput(int index) const {
    return index >= 0 && index < kOutputs && _outputsState[static_cast<size_t>(index)] != 0;
}

bool GPIController::getStateOfInput(int index) const {
    return index >= 0 && index < kInputs && _inputsState[static_cast<size_t>(index)] != 0;
}

GPIBoardIO::Report GPIController::outputReport() const {
    std::uint8_t states = 0;
    for (int i = 0; i < kOutputs; ++i) {
        states |= static_cast<std::uint8_t>(_outputsState[static_cast<size_t>(i)] << i);
    }
    return {0xFF, 0xFF, 0xFF, static_cast<std::uint8_t>(~states)};
}

void GPIController::updateOutputs() {
    setIOWarriorOutputs(outputReport());
}

void GPIController::pulseOutput(int index) {
    if (index < 0 || index >= kOutputs || !_ioWarriorListNode) {
        return;
    }
    GPIBoardIO::Report flashed = outputReport();
    flashed[3] ^= static_cast<std::uint8_t>(1u << index);
    _io.pulse(flashed, outputReport());
}

void GPIController::updateViews() {
    GPIBoardIO::ReadResult result;
    if (_io.takeReadResult(&result) && result.ok) {
        const auto& report = result.report;
        inputsHaveChanged(static_cast<std::uint32_t>(report[0]) |
                          static_cast<std::uint32_t>(report[1]) << 8 |
                          static_cast<std::uint32_t>(report[2]) << 16);
    }
    if (_ioWarriorListNode) {
        _io.requestRead();
    }
}

void GPIController::inputsHaveChanged(std::uint32_t value) {
    for (int i = 0; i < kInputs; ++i) {
        const std::uint8_t level = (value >> i) & 1u;
        std::uint8_t& stored = _inputsState[static_cast<size_t>(i)];
        if (level == stored) {
            continue;
        }
        stored = level;
        // Looked up per edge: a document may close while it handles an earlier one.
        GPIInputReceiver* target = _targets ? _targets->targetDocumentController() : nullptr;
        if (target) {
            target->gpiInputHasChanged(i, level == 0 ? 1 : 0);
        }
    }
}

int GPIController::setIOWarriorOutputs(const GPIBoardIO::Report& report) {
    if (!_ioWarriorListNode) {
        return -1;
    }
    _io.write(report);
    return 0;
}
