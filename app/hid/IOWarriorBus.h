#pragma once

// The USB side of the GPI boxes: which IOWarrior board interfaces are plugged in, and the
// HID report transfers on one of them. The kernel back end works through the iowarrior
// driver's /dev/usb/iowarrior* nodes; the simulated one holds boards in memory and answers
// with the same reports.
//
// Thread contract: watch() and enumerate() on the main thread, and the change callback is
// called there. The transfers may be called from any thread, for different interfaces at
// once, and may block (a board that stops answering holds its caller until the USB
// time-out): the program calls them from each board's own I/O thread only.

#include <QString>
#include <cstdint>
#include <functional>
#include <vector>

// One HID interface of a board as the bus lists it.
struct IOWarriorBusDevice {
    QString path; // what the transfers name ("/dev/usb/iowarrior2")
    int vendorId = 0;
    int productId = 0;
    QString serialNumber;
};

// The outcome of one transfer: done, the interface could not be opened, or the report
// could not be set or got. `error` is the system's error number; `length` the number of
// bytes got.
struct HidTransferStatus {
    enum class Stage { Done, OpenFailed, TransferFailed };
    Stage stage = Stage::Done;
    int error = 0;
    int length = 0;

    bool ok() const { return stage == Stage::Done; }
};

class IOWarriorBus {
public:
    static constexpr int kVendorId = 1984;       // Code Mercenaries
    static constexpr int kProduct32Lines = 5376; // IOWarrior40
    static constexpr int kProduct16Lines = 5377; // IOWarrior24

    virtual ~IOWarriorBus() = default;

    // Starts following boards being plugged in and pulled out; `changed` is called after
    // each; an empty `changed` stops following. False when the bus cannot be followed.
    virtual bool watch(std::function<void()> changed) = 0;
    // The IOWarrior interfaces present now, each board's interfaces one after the other,
    // interface 0 first.
    virtual std::vector<IOWarriorBusDevice> enumerate() = 0;

    // Sets an output report (report ID 0) of `length` bytes on interface `path`.
    virtual HidTransferStatus setOutputReport(const QString& path, const std::uint8_t* bytes,
                                              int length) = 0;
    // Gets the input report `reportId` of at most `length` bytes from interface `path`.
    virtual HidTransferStatus getInputReport(const QString& path, int reportId,
                                             std::uint8_t* buffer, int length) = 0;
};
