#pragma once

// IOWarrior boards through the Linux kernel's iowarrior driver, which claims these boards
// on a stock kernel and gives each board interface a node /dev/usb/iowarrior<N>.
//
// The boards are listed from sysfs (/sys/class/usbmisc/iowarrior*: vendor, product,
// serial number and interface number of each node) without opening a node, because the
// driver lets only one program open a node at a time. Plugs and unplugs are followed by
// watching /dev/usb (and /dev, for /dev/usb itself to appear). On interface 0 the output
// report is set and the input report got with the driver's IOW_WRITE and IOW_READ
// requests (HID SET_REPORT / GET_REPORT, report ID 0); on interface 1 reports go through
// write(2) and read(2). The driver's USB time-out is five seconds, which is why the
// transfers run on each board's own thread.
//
// Access: the udev rule resources/udev/70-zelvora-studio.rules gives the logged-in user
// the nodes, so nobody runs the program as root.
//
// Thread contract: as IOWarriorBus.

#include "app/hid/IOWarriorBus.h"

#include <QString>
#include <memory>

class QFileSystemWatcher;

class KernelIOWarriorBus : public IOWarriorBus {
public:
    // `sysfsClassDirectory` and `deviceDirectory` may be changed for a test tree.
    explicit KernelIOWarriorBus(QString sysfsClassDirectory = QStringLiteral("/sys/class/usbmisc"),
                                QString deviceDirectory = QStringLiteral("/dev"));
    ~KernelIOWarriorBus() override;

    bool watch(std::function<void()> changed) override;
    std::vector<IOWarriorBusDevice> enumerate() override;
    HidTransferStatus setOutputReport(const QString& path, const std::uint8_t* bytes,
                                      int length) override;
    HidTransferStatus getInputReport(const QString& path, int reportId, std::uint8_t* buffer,
                                     int length) override;

private:
    void watchDeviceDirectories();

    QString _sysfsClassDirectory;
    QString _deviceDirectory;
    std::unique_ptr<QFileSystemWatcher> _watcher;
    std::function<void()> _changed;
};
