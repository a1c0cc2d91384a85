#pragma once

// The GPI manager: finds the GPI boxes (32-line IOWarrior boards), follows them being
// plugged in and pulled out, polls them every 20 ms, and lets the windows light and turn
// off tally lines by a box's serial number (GpiTallyLines).
//
// A plug or unplug only sets a flag; the list of boxes is rebuilt on the next tick, never
// inside the notification. The rebuild keeps the controller of a board that is still
// there (or came back with the same serial number) with its input levels and output
// states, gives it the board's new interface, removes the controllers of boards that are
// gone and adds one per new board. Only a board's interface 0 of a 32-line board gets a
// controller; 16-line boards are found but not used.
//
// The removal walk moves to the next position after removing a controller, so the one
// that moved into the freed position is checked only at the next rebuild: when two
// adjacent boards go at once, the second stays listed (its reads fail) until the next
// plug or unplug. That is how it always behaved.
//
// Thread contract: main thread only (the boards' transfers run on their own threads).

#include "clip/GpiTallyLines.h"

#include "app/hid/IOWarriorInterfaceList.h"

#include <memory>
#include <vector>

class GPIController;
class GPIInputTargets;
class QTimer;

class GPIGlobalController : public GpiTallyLines {
public:
    static constexpr int kTickMilliseconds = 20;

    // A manager over `bus`, sending input edges to `targets` (may be null until set).
    GPIGlobalController(std::shared_ptr<IOWarriorBus> bus, GPIInputTargets* targets);
    ~GPIGlobalController() override;
    GPIGlobalController(const GPIGlobalController&) = delete;
    GPIGlobalController& operator=(const GPIGlobalController&) = delete;

    // Finds the boards and starts the 20 ms poll.
    void start();
    // Starts following the bus and finds the boards present; 0, or the access layer's
    // failure, or -1 when no board is present.
    int initializeIOWarrior();
    // The rebuild described above.
    void updateInterfaceList();
    // The tick: rebuilds when the list changed, then polls every board.
    void updateTimer();

    void setInterfaceListHasChanged(bool changed) { _interfaceListHasChanged = changed; }
    bool interfaceListHasChanged() const { return _interfaceListHasChanged; }
    int interfaceCount() const { return _interfaceCount; }
    // The controllers, in discovery order.
    const std::vector<std::unique_ptr<GPIController>>& devices() const { return _gpiControllers; }
    GPIController* deviceAt(int index) const;
    bool isPolling() const;

    void setTargets(GPIInputTargets* targets);
    IOWarriorInterfaceList& accessLayer() { return _access; }

    // Whether the bus now has an interface 0 with `serialNumber`.
    bool isInterfaceStillThere(const QString& serialNumber);

    // GpiTallyLines
    int findInterfaceIndexWithSerialNumber(const QString& serialNumber) const override;
    void setState(int interfaceIndex, bool state, int output) override;
    // The serial number of every box in `devices`, in discovery order.
    QStringList connectedSerialNumbers() const override;

private:
    IOWarriorInterfaceList _access;
    std::vector<std::unique_ptr<GPIController>> _gpiControllers;
    std::unique_ptr<QTimer> _updateTimer;
    GPIInputTargets* _targets = nullptr;
    bool _interfaceListHasChanged = false;
    int _interfaceCount = 0;
};
