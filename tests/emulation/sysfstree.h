// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_SYSFSTREE_H
#define QVHID_TESTS_EMULATION_SYSFSTREE_H

// The sysfs entries the kernel makes for USB devices, their HID interfaces with their hidraw
// nodes, input devices and LEDs, and their sound cards, and the udev database entries udev's
// rules add for sound cards; written
// below a root of the caller's: "/sys" inside the emulation's mount namespace, a temporary
// directory for tests that read the tree without root. Links are relative, as sysfs's are, so
// that the tree reads the same wherever it lies.

#include <virtualmodels.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

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
    // A HID interface of that device, with the hidraw node hidraw<number>, and the input
    // devices and LEDs that the kernel's HID input driver makes of its report descriptor
    // (kernelinput.h): input<K> numbered on from 0 as the kernel counts them, each with its
    // event node event<M> on the lowest free number. Returns the event numbers, in order.
    std::vector<int> addHidInterface(const std::string &usbName, int number,
                                     const hid::virt::DeviceDescription &interface);
    void removeHidInterface(const std::string &usbName, int number, const hid::virt::DeviceDescription &interface);
    // The event nodes of hidraw<number>'s HID device, and its LED class devices ("input3::mute").
    std::vector<int> eventNumbers(int number) const;
    std::vector<std::string> leds(int number) const;
    // The file of a sysfs attribute of an LED ("trigger").
    std::filesystem::path ledAttribute(const std::string &led, const std::string &attribute) const;

    // A sound card on an audio interface of that device. It takes the lowest free card number,
    // and its id is made unique as ALSA makes it ("Headset20", then "Headset20_1"); udev's
    // database gives it the ID_ID that udev's rules make. Returns the card number.
    int addSoundCard(const std::string &usbName, const hid::virt::DeviceDescription &identity,
                     const hid::virt::SoundCard &card);
    void removeUdevData(int card) const;
    // Adds a property to udev's database entry of the event node event<number> ("c13:<minor>").
    void setEventUdevProperty(int number, const std::string &key, const std::string &value) const;
    // A sound card that is not on USB, as a machine's built-in audio.
    int addBuiltInSoundCard(const std::string &id);

    // The ID_ID udev's rules give a USB sound card on `interfaceNumber` of `identity`. Written
    // apart from the library's own derivation, so that the tests compare two of them.
    static std::string udevSoundCardId(const hid::virt::DeviceDescription &identity, int interfaceNumber);

private:
    std::filesystem::path usbDevicePath(const std::string &usbName) const;
    int claimCard(const std::string &id, std::string &uniqueId);
    void addCard(const std::filesystem::path &parent, int number, const std::string &id) const;
    void addInputDevices(const std::filesystem::path &hidDevice, int number,
                         const hid::virt::DeviceDescription &interface);

    // What hidraw<number>'s HID device has made below it.
    struct InputNodes
    {
        std::vector<int> inputs;
        std::vector<int> events;
        std::vector<std::string> leds;
    };

    std::filesystem::path m_sysfs;
    std::filesystem::path m_udevData;
    std::map<int, std::string> m_cardIds;   // by card number
    std::map<int, InputNodes> m_inputNodes; // by hidraw number
    std::set<int> m_events;                 // event numbers in use
    int m_nextInput = 0;
};

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_SYSFSTREE_H
