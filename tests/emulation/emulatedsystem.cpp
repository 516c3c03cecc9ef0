// SPDX-License-Identifier: BSD-3-Clause
#include "emulatedsystem.h"

#include "textformat.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace emulation {

namespace fs = std::filesystem;

namespace {

std::string failure(const std::string &what)
{
    return what + ": " + std::strerror(errno);
}

void createFile(const std::string &path)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
}

void link(const fs::path &target, const fs::path &path)
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::create_symlink(target, path);
}

bool bindMount(const std::string &from, const std::string &to, unsigned long flags = 0)
{
    return mount(from.c_str(), to.c_str(), nullptr, MS_BIND | flags, nullptr) == 0;
}

} // namespace

std::string EmulatedSystem::enterNamespace()
{
    if (geteuid() != 0)
        return "not running as root";
    if (access("/dev/fuse", R_OK | W_OK) != 0)
        return failure("no usable /dev/fuse");
    if (unshare(CLONE_NEWNS) != 0)
        return failure("no mount namespace");
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("cannot make the mounts private");
    return {};
}

EmulatedSystem::~EmulatedSystem()
{
    if (!m_started)
        return;
    for (const auto &entry : std::map<int, hid::virt::DeviceDescription>(m_plugged))
        unplug(entry.first);
    m_server.stop();
    umount2(m_work.c_str(), MNT_DETACH);
    rmdir(m_work.c_str());
}

std::string EmulatedSystem::start(Layout layout)
{
    char work[] = "/tmp/qvhid-emulation-XXXXXX";
    if (!mkdtemp(work))
        return failure("mkdtemp");
    m_work = work;
    if (mount("qvhid-emulation", m_work.c_str(), "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at " + m_work);
    m_started = true;
    const std::string mountPoint = m_work + "/hidraw";
    const std::string hostDev = m_work + "/host-dev";
    fs::create_directories(mountPoint);
    fs::create_directories(hostDev);
    if (!bindMount("/dev", hostDev, MS_REC))
        return failure("keeping /dev");
    const std::string served = m_server.start(mountPoint);
    if (!served.empty())
        return served;

    if (layout == Layout::Desktop) {
        if (mount("qvhid-sysfs", "/sys", "tmpfs", 0, "mode=0755") != 0)
            return failure("tmpfs at /sys");
    } else {
        // The host's sysfs and udev database, below the work directory; the sandbox sees a part
        // of the one and nothing of the other.
        const std::string hostSysfs = m_work + "/sys";
        m_sysfs = SysfsTree(hostSysfs, m_work + "/run/udev/data");
        m_sysfs.createSkeleton();
        const std::string mounted = mountSandboxSysfs(hostSysfs);
        if (!mounted.empty())
            return mounted;
    }
    // udev's database, where libudev finds the properties udev's rules gave a device; a
    // sandbox's /run has none.
    if (mount("qvhid-run", "/run", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /run");
    if (layout == Layout::Desktop)
        m_sysfs.createSkeleton();

    if (mount("qvhid-dev", "/dev", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /dev");
    for (const char *node : {"null", "zero", "full", "random", "urandom", "tty", "fuse", "ptmx"}) {
        const std::string from = hostDev + "/" + node;
        const std::string to = std::string("/dev/") + node;
        if (!fs::exists(from))
            continue;
        createFile(to);
        if (!bindMount(from, to))
            return failure("binding " + to);
    }
    for (const char *directory : {"pts", "shm"}) {
        const std::string from = hostDev + "/" + directory;
        const std::string to = std::string("/dev/") + directory;
        if (!fs::is_directory(from))
            continue;
        fs::create_directories(to);
        if (!bindMount(from, to, MS_REC))
            return failure("binding " + to);
    }
    link("/proc/self/fd", "/dev/fd");
    m_nodes = "/dev";
    if (layout == Layout::FlatpakSandboxWithoutDevices) {
        m_nodes = m_work + "/nodes";
        fs::create_directories(m_nodes);
    }
    setenv("SYSTEMD_DEVICE_VERIFY_SYSFS", "0", 1);
    return {};
}

// /sys as a Flatpak sandbox has it: a directory of its own holding block, bus, class, dev and
// devices of the host's, each read-only, and nothing else.
std::string EmulatedSystem::mountSandboxSysfs(const std::string &hostSysfs)
{
    if (mount("qvhid-sandbox-sys", "/sys", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /sys");
    for (const char *part : {"block", "bus", "class", "dev", "devices"}) {
        const std::string from = hostSysfs + "/" + part;
        const std::string to = std::string("/sys/") + part;
        fs::create_directories(to);
        if (!bindMount(from, to, MS_REC))
            return failure("binding " + to);
        if (mount(nullptr, to.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return failure("making " + to + " read-only");
    }
    if (mount(nullptr, "/sys", nullptr, MS_REMOUNT | MS_RDONLY, "mode=0755") != 0)
        return failure("making /sys read-only");
    return {};
}

void EmulatedSystem::plug(int number, const hid::virt::DeviceDescription &description)
{
    Interface interface;
    interface.description = description;
    interface.usbName = format("1-%d", number + 1);
    m_sysfs.addUsbDevice(interface.usbName, description);
    plugInterface(number, interface);
}

std::vector<int> EmulatedSystem::plug(const UsbDevice &device)
{
    const std::string usbName = format("2-%d", m_nextUsbDevice++);
    m_sysfs.addUsbDevice(usbName, device.identity);
    for (const auto &entry : device.hidInterfaces) {
        Interface interface;
        interface.description = entry.second;
        interface.usbName = usbName;
        interface.ownsUsbDevice = false;
        plugInterface(entry.first, interface);
    }
    std::vector<int> cards;
    for (const hid::virt::SoundCard &card : device.soundCards)
        cards.push_back(m_sysfs.addSoundCard(usbName, device.identity, card));
    return cards;
}

int EmulatedSystem::plugBuiltInSoundCard(const std::string &id)
{
    return m_sysfs.addBuiltInSoundCard(id);
}

void EmulatedSystem::plugInterface(int number, const Interface &interface)
{
    if (m_known.count(number))
        m_server.replug(number);
    else
        m_server.add(number, interface.description);
    m_known[number] = interface;
    m_plugged[number] = interface.description;
    const std::vector<int> events = m_sysfs.addHidInterface(interface.usbName, number, interface.description);
    const std::string node = format("%s/hidraw%d", m_nodes.c_str(), number);
    createFile(node);
    bindMount(format("%s/hidraw/hidraw%d", m_work.c_str(), number), node);
    // The input devices' event nodes are there, as the kernel makes them; nothing here reads them.
    fs::create_directories(m_nodes + "/input");
    for (const int event : events)
        createFile(format("%s/input/event%d", m_nodes.c_str(), event));
}

void EmulatedSystem::replug(int number)
{
    const auto known = m_known.find(number);
    if (known == m_known.end() || m_plugged.count(number))
        return;
    const Interface interface = known->second;
    if (interface.ownsUsbDevice)
        m_sysfs.addUsbDevice(interface.usbName, interface.description);
    plugInterface(number, interface);
}

void EmulatedSystem::unplug(int number)
{
    if (!m_plugged.count(number))
        return;
    m_server.unplug(number);
    const std::string node = format("%s/hidraw%d", m_nodes.c_str(), number);
    umount2(node.c_str(), MNT_DETACH);
    unlink(node.c_str());
    const Interface &interface = m_known.at(number);
    for (const int event : m_sysfs.eventNumbers(number))
        unlink(format("%s/input/event%d", m_nodes.c_str(), event).c_str());
    m_sysfs.removeHidInterface(interface.usbName, number, interface.description);
    if (interface.ownsUsbDevice)
        m_sysfs.removeUsbDevice(interface.usbName);
    m_plugged.erase(number);
}

} // namespace emulation
