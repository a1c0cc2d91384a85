#pragma once

// IOWarrior boards in memory, answering the same 4-byte reports a real board does: for
// the tests, and for driving GPI boxes by hand (--simulate-surfaces). A board is plugged
// in under a serial number and shows its two interfaces; every plug gets new interface
// paths, so transfers to a board's former interface fail as they do after a real replug.
// Contacts are closed and opened by input number (active low on the wire), the output
// reports written are kept, and a board can stop answering (its transfers block until it
// answers again or is pulled out) or answer short, garbled reads.
//
// Thread contract: the plugging and the contacts are main-thread calls, and the change
// callback runs on the caller's thread; the transfers and the questions about a board's
// reports may be called from any thread.

#include "app/hid/IOWarriorBus.h"

#include <QByteArray>
#include <QList>
#include <array>
#include <condition_variable>
#include <map>
#include <mutex>

class SimulatedIOWarriorBus : public IOWarriorBus {
public:
    SimulatedIOWarriorBus() = default;
    ~SimulatedIOWarriorBus() override;

    // ---- The boards ----

    // Plugs a board in: both of its interfaces, interface 0 first.
    void plugBoard(const QString& serialNumber, int productId = kProduct32Lines);
    // Adds one interface alone (for orders a real bus never shows).
    void plugInterface(const QString& serialNumber, int productId, int interfaceNumber);
    void unplugBoard(const QString& serialNumber);
    bool isPlugged(const QString& serialNumber) const;

    // Sets the raw input report the board answers (ports 0..3).
    void setInputReport(const QString& serialNumber, const std::array<std::uint8_t, 4>& report);
    // Closes (pulls low) or opens input line `input` (0..23).
    void setContact(const QString& serialNumber, int input, bool closed);
    // The board's raw input report.
    std::array<std::uint8_t, 4> inputReport(const QString& serialNumber) const;

    // While false, the board's transfers block.
    void setAnswering(const QString& serialNumber, bool answering);
    // Reads answer only `length` bytes (0: normal).
    void setShortReads(const QString& serialNumber, int length);

    // Every output report written to the board, oldest first, as bytes.
    QList<QByteArray> outputReports(const QString& serialNumber) const;
    // The last output report; FF FF FF 00 (nothing lit) before any.
    std::array<std::uint8_t, 4> lastOutputReport(const QString& serialNumber) const;
    // Whether tally line `output` is lit by the last output report.
    bool isTallyLit(const QString& serialNumber, int output) const;
    int readsServed(const QString& serialNumber) const;

    // ---- IOWarriorBus ----
    bool watch(std::function<void()> changed) override;
    std::vector<IOWarriorBusDevice> enumerate() override;
    HidTransferStatus setOutputReport(const QString& path, const std::uint8_t* bytes,
                                      int length) override;
    HidTransferStatus getInputReport(const QString& path, int reportId, std::uint8_t* buffer,
                                     int length) override;

private:
    struct Board {
        int productId = kProduct32Lines;
        std::array<std::uint8_t, 4> inputs{0xFF, 0xFF, 0xFF, 0xFF};
        QList<QByteArray> outputs;
        bool answering = true;
        int shortReads = 0;
        int readsServed = 0;
    };
    struct Interface {
        QString path;
        QString serialNumber;
        int productId;
        int interfaceNumber;
    };

    // The board behind `path` once it answers, or null when the path is gone; the lock is
    // held on return.
    Board* waitForBoard(std::unique_lock<std::mutex>& lock, const QString& path);
    void notifyChanged();

    mutable std::mutex _mutex;
    std::condition_variable _answer;
    std::map<QString, Board> _boards;
    std::vector<Interface> _interfaces;
    std::function<void()> _changed;
    int _plugCount = 0;
    bool _shuttingDown = false;
};
