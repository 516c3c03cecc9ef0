// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_SYSFSTREE_H
#define QVHID_TESTS_EMULATION_SYSFSTREE_H

// The sysfs entries the kernel makes for USB devices, their HID interfaces and hidraw nodes, and
// their sound cards, and the udev database entries udev's rules add for sound cards; written
// below a root of the caller's: "/sys" inside the emulation's mount namespace, a temporary
// directory for tests that read the tree without root. Links are relative, as sysfs's are, so
// that the tree reads the same wherever it lies.

#include <virtualmodels.h>

#include <filesystem>
#include <map>
#include <string>

namespace emulation {

class SysfsTree
{
public:
    // `sysfs` stands for /sys, `udevData` for /run/udev/data.
    SysfsTree(std::filesystem::path sysfs, std::filesystem::path udevData);

    // The directories that exist before any device is plugged in.
    void createSkeleton() const;

    // A USB device named as the kernel names it on its bus ("1-3"), with the ids and strings of
    // `identity`; a string the device lacks has no attribute.
    void addUsbDevice(const std::string &usbName, const hid::virt::DeviceDescription &identity) const;
    void removeUsbDevice(const std::string &usbName) const;
    // A HID interface of that device, with the hidraw node hidraw<number>.
    void addHidInterface(const std::string &usbName, int number, const hid::virt::DeviceDescription &interface) const;
    void removeHidInterface(const std::string &usbName, int number,
                            const hid::virt::DeviceDescription &interface) const;

    // A sound card on an audio interface of that device. It takes the lowest free card number,
    // and its id is made unique as ALSA makes it ("Headset20", then "Headset20_1"); udev's
    // database gives it the ID_ID that udev's rules make. Returns the card number.
    int addSoundCard(const std::string &usbName, const hid::virt::DeviceDescription &identity,
                     const hid::virt::SoundCard &card);
    void removeUdevData(int card) const;
    // A sound card that is not on USB, as a machine's built-in audio.
    int addBuiltInSoundCard(const std::string &id);

    // The ID_ID udev's rules give a USB sound card on `interfaceNumber` of `identity`. Written
    // apart from the library's own derivation, so that the tests compare two of them.
    static std::string udevSoundCardId(const hid::virt::DeviceDescription &identity, int interfaceNumber);

private:
    std::filesystem::path usbDevicePath(const std::string &usbName) const;
    int claimCard(const std::string &id, std::string &uniqueId);
    void addCard(const std::filesystem::path &parent, int number, const std::string &id) const;

    std::filesystem::path m_sysfs;
    std::filesystem::path m_udevData;
    std::map<int, std::string> m_cardIds; // by card number
};

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_SYSFSTREE_H
