#pragma once

// One GPI box (a 32-line IOWarrior board): 24 contact inputs on ports 0 to 2 and 8 tally
// outputs on port 3. It keeps the last level read on every input and the state of every
// output, polls the inputs on the GPI manager's tick and sends every input that changed to
// the target document's controller.
//
// The board's lines are active low. Inputs: a closed contact reads 0, so a bit going to 0
// is new state 1 (closed) and a bit going to 1 is new state 0 (opened); an input that did
// not change sends nothing, so a held contact fires once. Outputs: state 0 lights the
// tally; the output report is FF FF FF and then the complement of the eight states (bit i
// = state of output i), so the lit lines are the 1 bits of the last byte. Writing 1 to
// ports 0-2 keeps them usable as inputs with their pull-ups. A new controller writes
// FF FF FF FF, lighting every line although its stored states are all off: that is the
// board's power-on greeting, kept on purpose.
//
// Reads and writes go through the board's own I/O thread (GPIBoardIO), so a board that
// stops answering holds nothing but that thread: a read still under way simply skips the
// tick, and an edge is handled on the tick after its read finished.
//
// Thread contract: main thread only.

#include "app/hid/GPIBoardIO.h"
#include "app/hid/GPIControllerInput.h"
#include "app/hid/GPIControllerOutput.h"

#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

class GPIInputTargets;
class IOWarriorBus;
struct IOWarriorListNode;

class GPIController {
public:
    static constexpr int kInputs = 24;
    static constexpr int kOutputs = 8;

    // A controller for the board interface `node` (may be null: a board that is not
    // there), sending edges to `targets` (may be null: recorded, sent nowhere).
    GPIController(std::shared_ptr<IOWarriorBus> bus, std::shared_ptr<const IOWarriorListNode> node,
                  const GPIInputTargets* targets);
    ~GPIController();
    GPIController(const GPIController&) = delete;
    GPIController& operator=(const GPIController&) = delete;

    const QString& serialNumber() const { return _serialNumber; }
    void setSerialNumber(const QString& serialNumber) { _serialNumber = serialNumber; }
    const std::shared_ptr<const IOWarriorListNode>& listNode() const { return _ioWarriorListNode; }
    // The board came back: its transfers go to `node` from now on.
    void setListNode(std::shared_ptr<const IOWarriorListNode> node);
    void setTargets(const GPIInputTargets* targets) { _targets = targets; }

    std::vector<GPIControllerInput>& inputs() { return _inputs; }
    std::vector<GPIControllerOutput>& outputs() { return _outputs; }

    // Stores output `index`'s state (false = lit) and writes the outputs. An index out of
    // 0..7 is ignored.
    void setState(bool state, int index);
    bool stateOfOutput(int index) const;
    // The last level read on input `index` (true = high, contact open).
    bool getStateOfInput(int index) const;
    // Writes the output report of the stored states.
    void updateOutputs();
    // Writes output `index` inverted, then, a sixtieth of a second later, the stored states.
    void pulseOutput(int index);
    // The poll: hands the finished read (if any) to inputsHaveChanged() and asks for the
    // next one. A failed read does nothing this tick.
    void updateViews();
    // The edge rule over the 24-bit input value (input i = bit i).
    void inputsHaveChanged(std::uint32_t value);
    // Queues `report` as the output report; -1 when the controller has no board interface.
    int setIOWarriorOutputs(const GPIBoardIO::Report& report);

    // The output report of the stored states.
    GPIBoardIO::Report outputReport() const;
    // Whether no transfer is queued or under way.
    bool isIdle() const { return _io.isIdle(); }

private:
    std::shared_ptr<const IOWarriorListNode> _ioWarriorListNode;
    QString _serialNumber;
    std::array<std::uint8_t, kOutputs> _outputsState{};
    std::array<std::uint8_t, kInputs> _inputsState{};
    std::vector<GPIControllerInput> _inputs;
    std::vector<GPIControllerOutput> _outputs;
    const GPIInputTargets* _targets = nullptr;
    GPIBoardIO _io;
};
