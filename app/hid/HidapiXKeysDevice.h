#pragma once

// An X-keys keypad (vendor 1523, product 657) through hidapi's libusb back end, which
// detaches the kernel's HID driver from the interface it opens. The keypad is looked for
// once; among its HID interfaces the one with the vendor-defined usage page carries the
// key reports (the last one listed when none says so). Reads are non-blocking: hidapi's
// own thread queues the reports as they come.
//
// Access: the udev rule resources/udev/70-zelvora-studio.rules gives the logged-in user the
// keypad's USB device.
//
// Thread contract: main thread only.

#include "app/hid/XKeysDevice.h"

#include <memory>

struct hid_device_;

class HidapiXKeysDevice : public XKeysDevice {
public:
    // The keypad plugged in now; null when there is none or it cannot be opened (logged).
    static std::unique_ptr<XKeysDevice> open();
    ~HidapiXKeysDevice() override;

    int readReport(std::uint8_t* buffer, int capacity) override;

private:
    explicit HidapiXKeysDevice(hid_device_* device);

    hid_device_* _device;
};
