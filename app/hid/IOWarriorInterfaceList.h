#pragma once

// The IOWarrior access layer: the list of board interfaces found on the bus, kept up to
// date lazily (a plug or unplug only marks it dirty; the next question rediscovers), and
// the report reads and writes on one interface.
//
// Discovery numbers the kept interfaces with a running count n in bus order: a 32-line
// board's interfaces get type n mod 2, a 16-line board's n mod 2 + 2. The bus lists each
// board's interfaces one after the other, interface 0 first, so a board's first interface
// is type 0 (or 2).
//
// Thread contract: the list (init, discovery, questions, nodes) is main-thread only. The
// transfer functions only use the bus and an immutable node, so each board's I/O thread
// may call them. Failures are printed on standard error as
// "<description> - <error text>(<code in hex>,<low 24 bits>)".

#include "app/hid/IOWarriorBus.h"
#include "app/hid/IOWarriorListNode.h"

#include <functional>
#include <memory>
#include <vector>

class IOWarriorInterfaceList {
public:
    static constexpr int kInterface0ReportLength = 4;
    static constexpr int kInterface1WriteLength = 8;
    static constexpr int kInterface1ReadLength = 7;

    explicit IOWarriorInterfaceList(std::shared_ptr<IOWarriorBus> bus);
    // Stops following the bus (which board threads may keep a while longer).
    ~IOWarriorInterfaceList();
    IOWarriorInterfaceList(const IOWarriorInterfaceList&) = delete;
    IOWarriorInterfaceList& operator=(const IOWarriorInterfaceList&) = delete;

    // Starts following plugs and unplugs and marks the list dirty; 0, or -1 when the bus
    // cannot be followed.
    int init();
    // Called after every plug or unplug, once the list is marked dirty.
    void setDeviceCallback(std::function<void()> callback) {
        _deviceCallback = std::move(callback);
    }

    bool isPresent();
    int countInterfaces();
    // The node at `position` (a negative position is taken as 0); null past the end.
    std::shared_ptr<const IOWarriorListNode> interfaceListNodeAtIndex(int position);
    // Rebuilds the list from the bus and clears the dirty flag.
    void discoverInterfaces();
    bool isDirty() const { return _dirty; }

    // Whether the list (rediscovered if dirty) holds an interface of type 0 with `serial`.
    bool hasInterface0WithSerialNumber(const QString& serial);
    // The nodes of type 0, in list order (rediscovered if dirty).
    std::vector<std::shared_ptr<const IOWarriorListNode>> interface0Nodes();

    // ---- Transfers: any thread ----
    static HidTransferStatus writeToInterface(IOWarriorBus& bus, const IOWarriorListNode& node,
                                              const std::uint8_t* bytes, int length);
    static HidTransferStatus readFromInterface(IOWarriorBus& bus, const IOWarriorListNode& node,
                                               int reportId, std::uint8_t* buffer, int length);
    // Prints a failed transfer on standard error (nothing for a successful one).
    static void printFailure(const HidTransferStatus& status);

    // 4-byte write and read on the first node of type 0; 8-byte write and 7-byte read on
    // the first node of type 1. -1 without such a node, else 0 or the error number.
    int writeInterface0(const std::uint8_t* bytes);
    int readInterface0(std::uint8_t* buffer);
    int writeInterface1(const std::uint8_t* bytes);
    int readInterface1(int reportId, std::uint8_t* buffer);

    const std::shared_ptr<IOWarriorBus>& bus() const { return _bus; }

private:
    void rediscoverIfDirty();
    std::shared_ptr<const IOWarriorListNode> firstNodeOfType(int type);
    int transferStatusCode(const HidTransferStatus& status) const;

    std::shared_ptr<IOWarriorBus> _bus;
    std::vector<std::shared_ptr<const IOWarriorListNode>> _nodes;
    std::function<void()> _deviceCallback;
    bool _dirty = true;
    bool _watching = false;
};
