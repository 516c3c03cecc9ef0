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

#include <map>
#include <string>

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

    // Mounts the private /sys and /dev and starts the server; empty, or why it failed. Sets
    // SYSTEMD_DEVICE_VERIFY_SYSFS=0, without which libudev refuses a /sys that is not sysfs.
    std::string start();

    // Plugs in an interface as /dev/hidraw<number>; its sysfs entries appear with it.
    void plug(int number, const hid::virt::DeviceDescription &description);
    // Pulls it: its sysfs entries and /dev node go, open files fail.
    void unplug(int number);

    HidrawServer &server() { return m_server; }

private:
    void writeSysfs(int number, const hid::virt::DeviceDescription &description);
    void removeSysfs(int number);

    HidrawServer m_server;
    std::string m_work;       // a private tmpfs for the server's mount point and the saved /dev
    std::map<int, hid::virt::DeviceDescription> m_plugged;
    std::map<int, hid::virt::DeviceDescription> m_known;
    bool m_started = false;
};

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_EMULATEDSYSTEM_H
