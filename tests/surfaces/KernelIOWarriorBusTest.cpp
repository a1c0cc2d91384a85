// The kernel bus over a sysfs and /dev tree written by the test: how it lists boards
// (each board's interfaces together, interface 0 first, whatever the node numbers), and
// how it notices nodes coming and going.

#include "app/hid/KernelIOWarriorBus.h"
#include "app/hid/IOWarriorInterfaceList.h"

#include "tests/support/QtPrinters.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>

#include <gtest/gtest.h>

namespace {

class KernelBusTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("class")));
        ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("dev")));
    }

    static void write(const QString& path, const QByteArray& content) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        file.write(content);
    }

    // A USB device directory with its identity, as sysfs shows it.
    QString addUsbDevice(const QString& name, const QByteArray& product, const QByteArray& serial) {
        const QString device = root.filePath(QStringLiteral("devices/") + name);
        QDir().mkpath(device);
        write(device + QStringLiteral("/idVendor"), "07c0\n");
        write(device + QStringLiteral("/idProduct"), product + "\n");
        write(device + QStringLiteral("/serial"), serial + "\n");
        return device;
    }

    // The class entry iowarrior<minor> for interface `number` of `device`.
    void addNode(const QString& device, int number, int minor) {
        const QString interface =
            device + QStringLiteral("/%1:1.%2").arg(QFileInfo(device).fileName()).arg(number);
        QDir().mkpath(interface);
        write(interface + QStringLiteral("/bInterfaceNumber"),
              QByteArray("0") + QByteArray::number(number) + "\n");
        const QString entry = root.filePath(QStringLiteral("class/iowarrior%1").arg(minor));
        QDir().mkpath(entry);
        QFile::link(interface, entry + QStringLiteral("/device"));
        write(
            entry + QStringLiteral("/uevent"),
            QStringLiteral("MAJOR=180\nMINOR=%1\nDEVNAME=usb/iowarrior%1\n").arg(minor).toLatin1());
    }

    QTemporaryDir root;
};

} // namespace

TEST_F(KernelBusTest, ListsEveryBoardsInterfacesTogetherInterfaceZeroFirst) {
    // Board 1 was plugged, board 2 took the next nodes, board 1 was replugged into the
    // free node 0 and a new one: node numbers interleave the boards.
    const QString board1 = addUsbDevice(QStringLiteral("1-1"), "1500", "00001111");
    const QString board2 = addUsbDevice(QStringLiteral("1-2"), "1501", "00002222");
    addNode(board1, 1, 0);
    addNode(board2, 0, 1);
    addNode(board2, 1, 2);
    addNode(board1, 0, 3);

    KernelIOWarriorBus bus(root.filePath(QStringLiteral("class")),
                           root.filePath(QStringLiteral("dev")));
    const auto devices = bus.enumerate();
    ASSERT_EQ(devices.size(), 4u);
    const QString dev = root.filePath(QStringLiteral("dev/usb/iowarrior"));
    EXPECT_EQ(devices[0].path, dev + "3");
    EXPECT_EQ(devices[1].path, dev + "0");
    EXPECT_EQ(devices[2].path, dev + "1");
    EXPECT_EQ(devices[3].path, dev + "2");
    EXPECT_EQ(devices[0].vendorId, 1984);
    EXPECT_EQ(devices[0].productId, 5376);
    EXPECT_EQ(devices[0].serialNumber, QStringLiteral("00001111"));
    EXPECT_EQ(devices[2].productId, 5377);

    // So the access layer types them 0, 1, 2, 3 and only board 1 is a GPI box.
    IOWarriorInterfaceList access(std::make_shared<KernelIOWarriorBus>(
        root.filePath(QStringLiteral("class")), root.filePath(QStringLiteral("dev"))));
    const auto boxes = access.interface0Nodes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0]->serialNumber, QStringLiteral("00001111"));
    EXPECT_EQ(boxes[0]->path, dev + "3");
}

TEST_F(KernelBusTest, ANodeThatCannotBeOpenedFailsTheTransferAsAnOpenFailure) {
    KernelIOWarriorBus bus(root.filePath(QStringLiteral("class")),
                           root.filePath(QStringLiteral("dev")));
    EXPECT_TRUE(bus.enumerate().empty());
    std::uint8_t report[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    const HidTransferStatus written =
        bus.setOutputReport(root.filePath(QStringLiteral("dev/usb/iowarrior0")), report, 4);
    EXPECT_EQ(written.stage, HidTransferStatus::Stage::OpenFailed);
    EXPECT_EQ(written.error, ENOENT);
    // A file that is no iowarrior node opens but refuses the driver's requests.
    write(root.filePath(QStringLiteral("dev/plain")), "x");
    const HidTransferStatus read =
        bus.getInputReport(root.filePath(QStringLiteral("dev/plain")), 0, report, 4);
    EXPECT_EQ(read.stage, HidTransferStatus::Stage::TransferFailed);
}

TEST_F(KernelBusTest, NodesComingAndGoingUnderDevAreNoticed) {
    KernelIOWarriorBus bus(root.filePath(QStringLiteral("class")),
                           root.filePath(QStringLiteral("dev")));
    int changes = 0;
    ASSERT_TRUE(bus.watch([&] { ++changes; }));
    // /dev/usb appears with the first board, then a node in it.
    ASSERT_TRUE(QDir(root.filePath(QStringLiteral("dev"))).mkdir(QStringLiteral("usb")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes >= 1; }, 5000));
    const int seen = changes;
    write(root.filePath(QStringLiteral("dev/usb/iowarrior0")), "");
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes > seen; }, 5000));

    // After stopping, nothing more is reported.
    ASSERT_TRUE(bus.watch({}));
    const int stopped = changes;
    QFile::remove(root.filePath(QStringLiteral("dev/usb/iowarrior0")));
    QTest::qWait(50);
    EXPECT_EQ(changes, stopped);
}
