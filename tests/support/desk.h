// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_DESK_H
#define QVHID_TESTS_DESK_H

// A user's desk as data: the USB devices with sound cards that the sound-card binding tests plug
// in, each with its HID interfaces. Both the tests over a sysfs tree of their own and the
// kernel emulation load it, in this order, after one built-in (PCI) sound card "PCH":
//
//   card  id           USB device
//   0     PCH          none: the machine's built-in audio
//   1     Headset20    "Office Headset 20", serial A1B2C3, telephony HID on interface 3
//   2     Headset20_1  the same model, serial D4E5F6
//   3     Adapter360   "Link Adapter 360", a dongle with vendor-page call control
//   4     Dock         "Desk Dock 5", audio alone (no HID interface)
//   5     Headset40    "Office Headset 40", Consumer Control on interface 2, telephony on 3
//   6     Headset30    "Office Headset 30", no serial number
//   7     Device       0x047f:0xc038 without any strings: the kernel calls it "USB Device 0x047f:0xc038"
//   8     Headset50    "Office Headset 50", 0x1209:0x0050: a telephony headset no dictionary row lists

#include "virtualheadsets.h"

#include <string>
#include <vector>

struct DeskDevice
{
    std::string name;
    hid::virt::DeviceDescription identity; // ids and strings of the USB device
    std::vector<hid::virt::DeviceDescription> interfaces;
    std::vector<hid::virt::SoundCard> soundCards;
};

const char *const BuiltInCardId = "PCH";

// A ready model as one USB device, with the serial number (and other strings) changed.
inline DeskDevice deskDeviceOf(const std::string &name, const char *model, const std::wstring &serial)
{
    const hid::virt::Model *found = hid::virt::findModel(model);
    Q_ASSERT(found);
    DeskDevice device{name, found->interfaces.front(), found->interfaces, found->soundCards};
    device.identity.serialNumber = serial;
    for (hid::virt::DeviceDescription &interface : device.interfaces) {
        interface.serialNumber = serial;
        interface.path.clear();
    }
    return device;
}

inline std::vector<DeskDevice> deskDevices()
{
    DeskDevice dock;
    dock.name = "dock";
    dock.identity.vendorId = 0x1209;
    dock.identity.productId = 0xD0C5;
    dock.identity.releaseNumber = 0x0100;
    dock.identity.manufacturer = L"Virtual Docks";
    dock.identity.product = L"Desk Dock 5";
    dock.identity.serialNumber = L"DK-0005";
    dock.soundCards = {{0, "Dock"}};

    DeskDevice stringless = deskDeviceOf("stringless", "echoing-headset", L"");
    for (hid::virt::DeviceDescription *description : {&stringless.identity, &stringless.interfaces.front()}) {
        description->manufacturer.clear();
        description->product.clear();
    }
    stringless.soundCards = {{0, "Device"}};

    return {
        deskDeviceOf("headset-a", "telephony-headset", L"A1B2C3"),
        deskDeviceOf("headset-b", "telephony-headset", L"D4E5F6"),
        deskDeviceOf("dongle", "vendor-page-headset", L"VL-0360"),
        dock,
        deskDeviceOf("consumer-first", "consumer-first-headset", L"VH-0040"),
        deskDeviceOf("no-serial", "telephony-headset-no-ids", L""),
        stringless,
        deskDeviceOf("unlisted", "unlisted-headset", L"UH-0050"),
    };
}

#endif // QVHID_TESTS_DESK_H
