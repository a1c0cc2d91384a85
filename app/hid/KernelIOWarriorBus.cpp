#include "app/hid/KernelIOWarriorBus.h"

#include "foundation/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// The iowarrior driver's requests (its header is not among the exported kernel headers).
constexpr unsigned char kCodeMercsMagic = 0xC0;
struct IOWarriorInfo {
    std::uint32_t vendor;
    std::uint32_t product;
    std::uint8_t serial[9];
    std::uint32_t revision;
    std::uint32_t speed;
    std::uint32_t power;
    std::uint32_t if_num;
    std::uint32_t report_size;
};
const unsigned long kIOWWrite = _IOW(kCodeMercsMagic, 1, std::uint8_t*);
const unsigned long kIOWRead = _IOW(kCodeMercsMagic, 2, std::uint8_t*);
const unsigned long kIOWGetInfo = _IOR(kCodeMercsMagic, 3, IOWarriorInfo);

constexpr int kLargestReport = 64;
constexpr int kInterface1ReadTimeoutMs = 50;

QString readAttribute(const QString& directory, const QString& name) {
    QFile file(directory + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromLatin1(file.readAll()).trimmed();
}

// The node's name under /dev, from the uevent's DEVNAME ("usb/iowarrior0").
QString deviceName(const QString& classEntry) {
    const QString uevent = readAttribute(classEntry, QStringLiteral("uevent"));
    for (const QString& line : uevent.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("DEVNAME="))) {
            return line.mid(8);
        }
    }
    return QStringLiteral("usb/") + QFileInfo(classEntry).fileName();
}

struct OpenNode {
    explicit OpenNode(const QString& path, int flags)
        : fd(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC)) {}
    ~OpenNode() {
        if (fd >= 0) {
            ::close(fd);
        }
    }
    OpenNode(const OpenNode&) = delete;
    OpenNode& operator=(const OpenNode&) = delete;
    int fd;
};

HidTransferStatus failed(HidTransferStatus::Stage stage) {
    return {stage, errno, 0};
}

} // namespace

KernelIOWarriorBus::KernelIOWarriorBus(QString sysfsClassDirectory, QString deviceDirectory)
    : _sysfsClassDirectory(std::move(sysfsClassDirectory))
    , _deviceDirectory(std::move(deviceDirectory)) {}

KernelIOWarriorBus::~KernelIOWarriorBus() = default;

bool KernelIOWarriorBus::watch(std::function<void()> changed) {
    _changed = std::move(changed);
    if (!_changed) {
        _watcher.reset();
        return true;
    }
    if (!_watcher) {
        _watcher = std::make_unique<QFileSystemWatcher>();
        QObject::connect(_watcher.get(), &QFileSystemWatcher::directoryChanged, [this] {
            watchDeviceDirectories();
            if (_changed) {
                _changed();
            }
        });
    }
    watchDeviceDirectories();
    if (_watcher->directories().isEmpty()) {
        qCWarning(lcGpi).noquote()
            << QStringLiteral("Cannot watch %1 for GPI boxes being plugged in")
                   .arg(_deviceDirectory);
        return false;
    }
    return true;
}

void KernelIOWarriorBus::watchDeviceDirectories() {
    const QStringList wanted{_deviceDirectory, _deviceDirectory + QStringLiteral("/usb")};
    for (const QString& directory : wanted) {
        if (QFileInfo(directory).isDir() && !_watcher->directories().contains(directory)) {
            _watcher->addPath(directory);
        }
    }
}

std::vector<IOWarriorBusDevice> KernelIOWarriorBus::enumerate() {
    struct Found {
        QString usbDevice; // the board's sysfs directory: its interfaces sort together
        int interfaceNumber;
        IOWarriorBusDevice device;
    };
    std::vector<Found> found;
    const QDir classDirectory(_sysfsClassDirectory);
    const QStringList entries =
        classDirectory.entryList({QStringLiteral("iowarrior*")}, QDir::Dirs | QDir::System);
    for (const QString& entry : entries) {
        const QString classEntry = classDirectory.filePath(entry);
        // device -> the USB interface; its parent is the USB device.
        const QString interface =
            QFileInfo(classEntry + QStringLiteral("/device")).canonicalFilePath();
        if (interface.isEmpty()) {
            continue;
        }
        const QString usbDevice = QFileInfo(interface).absolutePath();
        bool vendorOk = false;
        bool productOk = false;
        IOWarriorBusDevice device;
        device.vendorId = readAttribute(usbDevice, QStringLiteral("idVendor")).toInt(&vendorOk, 16);
        device.productId =
            readAttribute(usbDevice, QStringLiteral("idProduct")).toInt(&productOk, 16);
        if (!vendorOk || !productOk) {
            continue;
        }
        device.serialNumber = readAttribute(usbDevice, QStringLiteral("serial"));
        device.path = _deviceDirectory + QLatin1Char('/') + deviceName(classEntry);
        const int interfaceNumber =
            readAttribute(interface, QStringLiteral("bInterfaceNumber")).toInt(nullptr, 16);
        found.push_back({usbDevice, interfaceNumber, device});
    }
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
        return a.usbDevice != b.usbDevice ? a.usbDevice < b.usbDevice
                                          : a.interfaceNumber < b.interfaceNumber;
    });
    std::vector<IOWarriorBusDevice> devices;
    for (const Found& item : found) {
        devices.push_back(item.device);
    }
    return devices;
}

HidTransferStatus KernelIOWarriorBus::setOutputReport(const QString& path,
                                                      const std::uint8_t* bytes, int length) {
    OpenNode node(path, O_RDWR);
    if (node.fd < 0) {
        return failed(HidTransferStatus::Stage::OpenFailed);
    }
    IOWarriorInfo info{};
    if (::ioctl(node.fd, kIOWGetInfo, &info) < 0) {
        return failed(HidTransferStatus::Stage::TransferFailed);
    }
    if (info.if_num == 0) {
        // The driver copies exactly its report size from the buffer.
        std::uint8_t report[kLargestReport] = {};
        std::memcpy(report, bytes, static_cast<size_t>(std::min(length, kLargestReport)));
        if (::ioctl(node.fd, kIOWWrite, report) < 0) {
            return failed(HidTransferStatus::Stage::TransferFailed);
        }
        return {HidTransferStatus::Stage::Done, 0, length};
    }
    if (::write(node.fd, bytes, static_cast<size_t>(length)) != length) {
        return failed(HidTransferStatus::Stage::TransferFailed);
    }
    return {HidTransferStatus::Stage::Done, 0, length};
}

HidTransferStatus KernelIOWarriorBus::getInputReport(const QString& path, int reportId,
                                                     std::uint8_t* buffer, int length) {
    OpenNode node(path, O_RDWR | O_NONBLOCK);
    if (node.fd < 0) {
        return failed(HidTransferStatus::Stage::OpenFailed);
    }
    IOWarriorInfo info{};
    if (::ioctl(node.fd, kIOWGetInfo, &info) < 0) {
        return failed(HidTransferStatus::Stage::TransferFailed);
    }
    const int reportSize = std::min(static_cast<int>(info.report_size), kLargestReport);
    std::uint8_t report[kLargestReport] = {};
    if (info.if_num == 0) {
        if (::ioctl(node.fd, kIOWRead, report) < 0) {
            return failed(HidTransferStatus::Stage::TransferFailed);
        }
        const int got = std::min(length, reportSize);
        std::memcpy(buffer, report, static_cast<size_t>(got));
        return {HidTransferStatus::Stage::Done, 0, got};
    }
    // Interface 1 answers special-mode reports: report ID first, then the data.
    pollfd readable{node.fd, POLLIN, 0};
    while (::poll(&readable, 1, kInterface1ReadTimeoutMs) > 0) {
        const ssize_t got = ::read(node.fd, report, static_cast<size_t>(reportSize));
        if (got <= 0) {
            break;
        }
        if (report[0] == reportId) {
            const int data = std::min(length, static_cast<int>(got) - 1);
            std::memcpy(buffer, report + 1, static_cast<size_t>(data));
            return {HidTransferStatus::Stage::Done, 0, data};
        }
    }
    errno = ETIMEDOUT;
    return failed(HidTransferStatus::Stage::TransferFailed);
}
