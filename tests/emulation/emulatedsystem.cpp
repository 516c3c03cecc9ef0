#include "emulatedsystem.h"

#include <QString>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
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

std::string utf8(const std::wstring &text)
{
    return QString::fromStdWString(text).toUtf8().toStdString();
}

std::string format(const char *pattern, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char *pattern, ...)
{
    char buffer[512];
    va_list arguments;
    va_start(arguments, pattern);
    std::vsnprintf(buffer, sizeof buffer, pattern, arguments);
    va_end(arguments);
    return buffer;
}

// Writes `bytes` exactly, binary descriptors included.
void writeFile(const fs::path &path, const std::string &bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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

// The sysfs directories of one interface, as the kernel lays out a USB HID interface.
struct SysfsPaths
{
    fs::path usbDevice;
    fs::path usbInterface;
    fs::path hidDevice;
    fs::path hidraw;
    std::string hidName;
    std::string usbName;

    SysfsPaths(int number, const hid::virt::DeviceDescription &description)
    {
        usbName = format("1-%d", number + 1);
        usbDevice = fs::path("/sys/devices/platform/qvhid-emulation/usb1") / usbName;
        usbInterface = usbDevice / format("%s:1.%d", usbName.c_str(), description.interfaceNumber);
        hidName = format("0003:%04X:%04X.%04X", description.vendorId, description.productId, number + 1);
        hidDevice = usbInterface / hidName;
        hidraw = hidDevice / "hidraw" / format("hidraw%d", number);
    }
};

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

std::string EmulatedSystem::start()
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

    if (mount("qvhid-sysfs", "/sys", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /sys");
    for (const char *directory : {"/sys/devices/platform/qvhid-emulation/usb1", "/sys/class/hidraw", "/sys/bus/hid/devices",
                                  "/sys/bus/usb/devices", "/sys/dev/char"})
        fs::create_directories(directory);

    if (mount("qvhid-dev", "/dev", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /dev");
    for (const char *node : {"null", "zero", "full", "random", "urandom", "tty", "fuse", "ptmx"}) {
        const std::string from = hostDev + "/" + node;
        const std::string to = std::string("/dev/") + node;
        if (!fs::exists(from))
            continue;
        writeFile(to, {});
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
    setenv("SYSTEMD_DEVICE_VERIFY_SYSFS", "0", 1);
    return {};
}

void EmulatedSystem::plug(int number, const hid::virt::DeviceDescription &description)
{
    if (m_known.count(number))
        m_server.replug(number);
    else
        m_server.add(number, description);
    m_known[number] = description;
    m_plugged[number] = description;
    writeSysfs(number, description);
    const std::string node = format("/dev/hidraw%d", number);
    writeFile(node, {});
    bindMount(format("%s/hidraw/hidraw%d", m_work.c_str(), number), node);
}

void EmulatedSystem::unplug(int number)
{
    if (!m_plugged.count(number))
        return;
    m_server.unplug(number);
    const std::string node = format("/dev/hidraw%d", number);
    umount2(node.c_str(), MNT_DETACH);
    unlink(node.c_str());
    removeSysfs(number);
    m_plugged.erase(number);
}

void EmulatedSystem::writeSysfs(int number, const hid::virt::DeviceDescription &description)
{
    const SysfsPaths paths(number, description);
    const std::string product = format("%x/%x/%x", description.vendorId, description.productId, description.releaseNumber);

    fs::create_directories(paths.hidraw);
    writeFile(paths.usbDevice / "uevent",
              format("DEVTYPE=usb_device\nDRIVER=usb\nPRODUCT=%s\nTYPE=0/0/0\nBUSNUM=001\nDEVNUM=%03d\n", product.c_str(),
                     number + 2));
    writeFile(paths.usbDevice / "idVendor", format("%04x\n", description.vendorId));
    writeFile(paths.usbDevice / "idProduct", format("%04x\n", description.productId));
    writeFile(paths.usbDevice / "bcdDevice", format("%04x\n", description.releaseNumber));
    writeFile(paths.usbDevice / "manufacturer", utf8(description.manufacturer) + "\n");
    writeFile(paths.usbDevice / "product", utf8(description.product) + "\n");
    writeFile(paths.usbDevice / "serial", utf8(description.serialNumber) + "\n");
    link("/sys/bus/usb", paths.usbDevice / "subsystem");

    writeFile(paths.usbInterface / "uevent",
              format("DEVTYPE=usb_interface\nDRIVER=usbhid\nPRODUCT=%s\nTYPE=0/0/0\nINTERFACE=3/0/0\n", product.c_str()));
    writeFile(paths.usbInterface / "bInterfaceNumber", format("%02x\n", description.interfaceNumber));
    link("/sys/bus/usb", paths.usbInterface / "subsystem");

    const std::string name = utf8(description.manufacturer) + " " + utf8(description.product);
    writeFile(paths.hidDevice / "uevent",
              format("DRIVER=hid-generic\nHID_ID=0003:%08X:%08X\nHID_NAME=%s\nHID_PHYS=usb-qvhid-%d/input%d\n"
                     "HID_UNIQ=%s\nMODALIAS=hid:b0003g0001v%08Xp%08X\n",
                     description.vendorId, description.productId, name.c_str(), number + 1, description.interfaceNumber,
                     utf8(description.serialNumber).c_str(), description.vendorId, description.productId));
    writeFile(paths.hidDevice / "report_descriptor",
              std::string(description.descriptor.begin(), description.descriptor.end()));
    link("/sys/bus/hid", paths.hidDevice / "subsystem");

    writeFile(paths.hidraw / "uevent", format("MAJOR=%u\nMINOR=%d\nDEVNAME=hidraw%d\n", HidrawMajor, number, number));
    writeFile(paths.hidraw / "dev", format("%u:%d\n", HidrawMajor, number));
    link("/sys/class/hidraw", paths.hidraw / "subsystem");
    link("../..", paths.hidraw / "device");

    link(paths.hidraw, format("/sys/class/hidraw/hidraw%d", number));
    link(paths.hidraw, format("/sys/dev/char/%u:%d", HidrawMajor, number));
    link(paths.hidDevice, fs::path("/sys/bus/hid/devices") / paths.hidName);
    link(paths.usbDevice, fs::path("/sys/bus/usb/devices") / paths.usbName);
}

void EmulatedSystem::removeSysfs(int number)
{
    const SysfsPaths paths(number, m_known.at(number));
    std::error_code ignored;
    fs::remove(format("/sys/class/hidraw/hidraw%d", number), ignored);
    fs::remove(format("/sys/dev/char/%u:%d", HidrawMajor, number), ignored);
    fs::remove(fs::path("/sys/bus/hid/devices") / paths.hidName, ignored);
    fs::remove(fs::path("/sys/bus/usb/devices") / paths.usbName, ignored);
    fs::remove_all(paths.usbDevice, ignored);
}

} // namespace emulation
