#pragma once

// The report transfers of one GPI board, run on a thread of the board's own so that a
// board that stops answering never holds the main thread: the main thread queues writes
// and asks for reads, and picks up the result of a finished read on a later tick.
//
// Writes carry the whole output state, so a new write replaces the ones still waiting
// (a board that was slow to answer gets the latest state, not a backlog); a pulse writes
// its first report, waits one sixtieth of a second and writes its second. At most one
// read is under way at a time, and its result waits until it is taken. A failure is
// printed once, and again only after a transfer succeeded in between, so a board without
// permission does not fill the terminal fifty lines a second.
//
// Thread contract: every member function is main-thread only. The I/O thread touches the
// bus, the node it was given and the shared state under a mutex that is never held during
// a transfer. Destroying the object never waits for a transfer: a thread still blocked in
// one finishes it on its own and then ends.

#include "app/hid/IOWarriorBus.h"
#include "app/hid/IOWarriorListNode.h"

#include <array>
#include <cstdint>
#include <memory>

class GPIBoardIO {
public:
    static constexpr int kReportLength = 4;
    using Report = std::array<std::uint8_t, kReportLength>;

    struct ReadResult {
        bool ok = false;
        Report report{};
    };

    GPIBoardIO(std::shared_ptr<IOWarriorBus> bus, std::shared_ptr<const IOWarriorListNode> node);
    ~GPIBoardIO();
    GPIBoardIO(const GPIBoardIO&) = delete;
    GPIBoardIO& operator=(const GPIBoardIO&) = delete;

    // The interface the next transfers go to (a board that came back has a new one).
    void setNode(std::shared_ptr<const IOWarriorListNode> node);

    // Queues `report` as the board's output report.
    void write(const Report& report);
    // Queues `first`, a wait of one sixtieth of a second, then `second`.
    void pulse(const Report& first, const Report& second);
    // Asks for the input report, unless a read is under way or its result is not taken.
    void requestRead();
    // The result of the last finished read, once; false while none is waiting.
    bool takeReadResult(ReadResult* result);

    // Whether nothing is queued and no transfer is under way.
    bool isIdle() const;

private:
    struct Shared;
    static void run(std::shared_ptr<Shared> shared, std::shared_ptr<IOWarriorBus> bus);

    std::shared_ptr<Shared> _shared;
};
