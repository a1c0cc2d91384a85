#include "app/hid/HidapiXKeysDevice.h"

#include "foundation/Logging.h"

#include <QString>
#include <hidapi/hidapi.h>
#include <string>

namespace {
constexpr unsigned short kVendorDefinedUsagePages = 0xFF00;

QString hidError(hid_device* device) {
    const wchar_t* text = hid_error(device);
    return text ? QString::fromWCharArray(text) : QStringLiteral("unknown error");
}
} // namespace

std::unique_ptr<XKeysDevice> HidapiXKeysDevice::open() {
    if (hid_init() != 0) {
        qCInfo(lcKeypad).noquote() << "USB HID access is not available:" << hidError(nullptr);
        return nullptr;
    }
    hid_device_info* devices = hid_enumerate(kVendorId, kProductId);
    std::string path;
    bool vendorDefined = false;
    for (hid_device_info* info = devices; info; info = info->next) {
        const bool candidateVendorDefined = info->usage_page >= kVendorDefinedUsagePages;
        if (candidateVendorDefined || !vendorDefined) {
            path = info->path;
            vendorDefined = candidateVendorDefined;
        }
    }
    hid_free_enumeration(devices);
    if (path.empty()) {
        return nullptr; // no keypad: nothing to say
    }
    hid_device* device = hid_open_path(path.c_str());
    if (!device) {
        qCWarning(lcKeypad).noquote()
            << QStringLiteral("The X-keys keypad at %1 cannot be opened (%2); is the udev rule "
                              "installed?")
                   .arg(QString::fromStdString(path), hidError(nullptr));
        return nullptr;
    }
    hid_set_nonblocking(device, 1);
    qCInfo(lcKeypad).noquote() << "X-keys keypad found at" << QString::fromStdString(path);
    return std::unique_ptr<XKeysDevice>(new HidapiXKeysDevice(device));
}

HidapiXKeysDevice::HidapiXKeysDevice(hid_device_* device)
    : _device(device) {}

HidapiXKeysDevice::~HidapiXKeysDevice() {
    hid_close(_device);
}

int HidapiXKeysDevice::readReport(std::uint8_t* buffer, int capacity) {
    const int got = hid_read(_device, buffer, static_cast<size_t>(capacity));
    return got < 0 ? -1 : got;
}
