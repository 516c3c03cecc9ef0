// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_EMULATEDSYSTEM_H
#define QVHID_TESTS_EMULATION_EMULATEDSYSTEM_H

// HID interfaces emulated below the real hidapi and libudev: in a mount namespace of the process's
// own, a private /sys describes each interface as the kernel does for a USB headset (USB device,
// USB interface, HID device, hidraw node) and a private /dev holds each interface's hidraw node,
// a file served by HidrawServer. The rest of the machine sees none of it.
//
// Needs root, /dev/fuse and mount namespaces. enterNamespace() must run first thing in main(),
// before any thread exists; everything else may run later from the test's thread.

#include "hidrawmajor.h"
#include "hidrawserver.h"
#include "sysfstree.h"

#include <virtualmodels.h>

#include <map>
#include <string>
#include <vector>

namespace emulation {

class EmulatedSystem
{
public:
    // Moves the process into a mount namespace of its own; empty, or why it cannot.
    static std::string enterNamespace();

    EmulatedSystem() = default;
    ~EmulatedSystem();
    EmulatedSystem(const EmulatedSystem &) = delete;
    EmulatedSystem &operator=(const EmulatedSystem &) = delete;

    // What the process sees of the emulated system.
    enum class Layout {
        // A desktop: /sys, /dev and udev's database in /run/udev, all of it.
        Desktop,
        // A Flatpak sandbox with --device=all: no /run/udev (no udev database), of /sys only
        // block, bus, class, dev and devices, read-only, and the host's /dev.
        FlatpakSandbox,
        // The same without --device=all: /dev has no hidraw or input nodes; sysfs still shows
        // the devices.
        FlatpakSandboxWithoutDevices,
    };

    // Mounts the private /sys, /run and /dev and starts the server; empty, or why it failed.
    // Sets SYSTEMD_DEVICE_VERIFY_SYSFS=0, without which libudev refuses a /sys that is not sysfs.
    std::string start(Layout layout = Layout::Desktop);

    // Plugs in an interface as /dev/hidraw<number>, the one interface of a USB device of its
    // own; its sysfs entries appear with it.
    void plug(int number, const hid::virt::DeviceDescription &description);
    // Pulls it: its sysfs entries and /dev node go, open files fail.
    void unplug(int number);
    // Plugs an interface pulled before in again, as it was: on its own USB device, with its
    // USB device's sound cards where it had them.
    void replug(int number);

    // A USB device with any number of HID interfaces and sound cards, as a headset with its
    // audio on one interface and call control on another, or a dock with audio alone.
    struct UsbDevice
    {
        hid::virt::DeviceDescription identity;                     // its ids and strings; descriptor and buttons unused
        std::map<int, hid::virt::DeviceDescription> hidInterfaces; // by hidraw number
        std::vector<hid::virt::SoundCard> soundCards;
    };
    // Plugs it in. Each sound card gets the next free card number, and its id is made unique as
    // ALSA makes it ("Headset20", then "Headset20_1"); returns the card numbers, in order.
    std::vector<int> plug(const UsbDevice &device);
    // A sound card that is not on USB, as a machine's built-in audio; returns its number.
    int plugBuiltInSoundCard(const std::string &id);
    // Takes a sound card out of udev's database (/run/udev/data), as if udev had never described
    // it: a system without udev looks so.
    void removeUdevData(int card) { m_sysfs.removeUdevData(card); }
    // Adds a property to udev's database entry of /dev/input/event<number>, as a rule sets it.
    void setEventUdevProperty(int number, const std::string &key, const std::string &value)
    {
        m_sysfs.setEventUdevProperty(number, key, value);
    }

    HidrawServer &server() { return m_server; }
    // The sysfs entries written so far: which event nodes and LEDs each interface has.
    const SysfsTree &sysfs() const { return m_sysfs; }

private:
    struct Interface
    {
        hid::virt::DeviceDescription description;
        std::string usbName; // its USB device, "1-3"
        bool ownsUsbDevice = true;
    };

    void plugInterface(int number, const Interface &interface);
    std::string mountSandboxSysfs(const std::string &hostSysfs);

    HidrawServer m_server;
    std::string m_work;  // a private tmpfs for the server's mount point and the saved /dev
    std::string m_nodes; // where device nodes are made: /dev, or the host's /dev a sandbox does not see
    std::map<int, hid::virt::DeviceDescription> m_plugged;
    std::map<int, Interface> m_known;
    SysfsTree m_sysfs{"/sys", "/run/udev/data"}; // the host's sysfs and udev database
    int m_nextUsbDevice = 1;
    bool m_started = false;
};

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_EMULATEDSYSTEM_H
