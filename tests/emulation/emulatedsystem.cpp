#include "emulatedsystem.h"

#include <QString>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cctype>
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

// The sysfs directories of one HID interface below its USB device, as the kernel lays them out.
struct SysfsPaths
{
    fs::path usbDevice;
    fs::path usbInterface;
    fs::path hidDevice;
    fs::path hidraw;
    std::string hidName;

    SysfsPaths(int number, const std::string &usbDirectory, const std::string &usbName,
               const hid::virt::DeviceDescription &description)
    {
        usbDevice = usbDirectory;
        usbInterface = usbDevice / format("%s:1.%d", usbName.c_str(), description.interfaceNumber);
        hidName = format("0003:%04X:%04X.%04X", description.vendorId, description.productId, number + 1);
        hidDevice = usbInterface / hidName;
        hidraw = hidDevice / "hidraw" / format("hidraw%d", number);
    }
};

// One part of ID_SERIAL as udev's usb_id makes it: white space cut at the ends and each run
// inside made '_', then whatever is not a letter, a digit or one of #+-.:=@_ made '_'.
std::string udevSerialPart(const std::string &text)
{
    std::string result;
    bool space = false;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            space = !result.empty();
            continue;
        }
        if (space)
            result += '_';
        space = false;
        const bool allowed = std::isalnum(static_cast<unsigned char>(c)) || std::strchr("#+-.:=@_", c);
        result += allowed ? c : '_';
    }
    return result;
}

// The ID_ID that udev's rules give a USB sound card.
std::string udevSoundCardId(const hid::virt::DeviceDescription &identity, int interfaceNumber)
{
    std::string vendor = udevSerialPart(utf8(identity.manufacturer));
    std::string model = udevSerialPart(utf8(identity.product));
    if (vendor.empty())
        vendor = format("%04x", identity.vendorId);
    if (model.empty())
        model = format("%04x", identity.productId);
    const std::string serial = udevSerialPart(utf8(identity.serialNumber));
    return "usb-" + vendor + "_" + model + (serial.empty() ? "" : "_" + serial) + format("-%02x", interfaceNumber);
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
    for (const char *directory : {"/sys/devices/platform/qvhid-emulation/usb1", "/sys/devices/platform/qvhid-emulation/usb2",
                                  "/sys/class/hidraw", "/sys/class/sound", "/sys/bus/hid/devices", "/sys/bus/usb/devices",
                                  "/sys/dev/char"})
        fs::create_directories(directory);
    // udev's database, where libudev finds the properties udev's rules gave a device.
    if (mount("qvhid-run", "/run", "tmpfs", 0, "mode=0755") != 0)
        return failure("tmpfs at /run");
    fs::create_directories("/run/udev/data");

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
    // Plugged in again, an interface of a USB device with several returns to that device.
    if (m_known.count(number) && !m_known.at(number).ownsUsbDevice) {
        Interface interface = m_known.at(number);
        interface.description = description;
        plugInterface(number, interface);
        return;
    }
    Interface interface;
    interface.description = description;
    interface.usbName = format("1-%d", number + 1);
    interface.usbDevice = "/sys/devices/platform/qvhid-emulation/usb1/" + interface.usbName;
    writeUsbDevice(interface.usbDevice, interface.usbName, description);
    plugInterface(number, interface);
}

std::vector<int> EmulatedSystem::plug(const UsbDevice &device)
{
    const std::string usbName = format("2-%d", m_nextUsbDevice++);
    const std::string directory = "/sys/devices/platform/qvhid-emulation/usb2/" + usbName;
    writeUsbDevice(directory, usbName, device.identity);
    for (const auto &entry : device.hidInterfaces) {
        Interface interface;
        interface.description = entry.second;
        interface.usbDevice = directory;
        interface.usbName = usbName;
        interface.ownsUsbDevice = false;
        plugInterface(entry.first, interface);
    }
    std::vector<int> cards;
    for (const hid::virt::SoundCard &card : device.soundCards)
        cards.push_back(writeSoundCard(directory, usbName, device.identity, card));
    return cards;
}

void EmulatedSystem::plugInterface(int number, const Interface &interface)
{
    if (m_known.count(number))
        m_server.replug(number);
    else
        m_server.add(number, interface.description);
    m_known[number] = interface;
    m_plugged[number] = interface.description;
    writeSysfs(number, interface);
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

void EmulatedSystem::writeUsbDevice(const std::string &directory, const std::string &usbName,
                                    const hid::virt::DeviceDescription &identity)
{
    const fs::path usbDevice = directory;
    const std::string product = format("%x/%x/%x", identity.vendorId, identity.productId, identity.releaseNumber);
    fs::create_directories(usbDevice);
    writeFile(usbDevice / "uevent",
              format("DEVTYPE=usb_device\nDRIVER=usb\nPRODUCT=%s\nTYPE=0/0/0\nBUSNUM=001\nDEVNUM=%03d\n", product.c_str(),
                     m_nextUsbDevice + 100));
    writeFile(usbDevice / "idVendor", format("%04x\n", identity.vendorId));
    writeFile(usbDevice / "idProduct", format("%04x\n", identity.productId));
    writeFile(usbDevice / "bcdDevice", format("%04x\n", identity.releaseNumber));
    // The kernel shows a string attribute only when the device has that string.
    const std::pair<const char *, const std::wstring &> strings[] = {
        {"manufacturer", identity.manufacturer}, {"product", identity.product}, {"serial", identity.serialNumber}};
    for (const auto &string : strings) {
        if (!string.second.empty())
            writeFile(usbDevice / string.first, utf8(string.second) + "\n");
    }
    link("/sys/bus/usb", usbDevice / "subsystem");
    link(usbDevice, fs::path("/sys/bus/usb/devices") / usbName);
}

void EmulatedSystem::writeSysfs(int number, const Interface &interface)
{
    const hid::virt::DeviceDescription &description = interface.description;
    const SysfsPaths paths(number, interface.usbDevice, interface.usbName, description);
    const std::string product = format("%x/%x/%x", description.vendorId, description.productId, description.releaseNumber);

    fs::create_directories(paths.hidraw);
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
}

int EmulatedSystem::writeSoundCard(const std::string &usbDevice, const std::string &usbName,
                                   const hid::virt::DeviceDescription &identity, const hid::virt::SoundCard &card)
{
    int number = 0;
    while (m_cardIds.count(number))
        ++number;
    std::string id = card.id;
    for (int suffix = 1;; ++suffix) {
        bool taken = false;
        for (const auto &other : m_cardIds)
            taken = taken || other.second == id;
        if (!taken)
            break;
        id = card.id + "_" + std::to_string(suffix);
    }
    m_cardIds[number] = id;

    const fs::path interface = fs::path(usbDevice) / format("%s:1.%d", usbName.c_str(), card.interfaceNumber);
    const fs::path directory = interface / "sound" / format("card%d", number);
    fs::create_directories(directory);
    writeFile(interface / "uevent", "DEVTYPE=usb_interface\nDRIVER=snd-usb-audio\nINTERFACE=1/1/0\n");
    writeFile(interface / "bInterfaceNumber", format("%02x\n", card.interfaceNumber));
    link("/sys/bus/usb", interface / "subsystem");
    writeFile(directory / "uevent", {});
    writeFile(directory / "id", id + "\n");
    writeFile(directory / "number", format("%d\n", number));
    link("/sys/class/sound", directory / "subsystem");
    link("../..", directory / "device");
    link(directory, format("/sys/class/sound/card%d", number));
    if (m_udevDatabase)
        writeFile(format("/run/udev/data/+sound:card%d", number),
                  "E:ID_ID=" + udevSoundCardId(identity, card.interfaceNumber) + "\n");
    return number;
}

void EmulatedSystem::removeSysfs(int number)
{
    const Interface &interface = m_known.at(number);
    const SysfsPaths paths(number, interface.usbDevice, interface.usbName, interface.description);
    std::error_code ignored;
    fs::remove(format("/sys/class/hidraw/hidraw%d", number), ignored);
    fs::remove(format("/sys/dev/char/%u:%d", HidrawMajor, number), ignored);
    fs::remove(fs::path("/sys/bus/hid/devices") / paths.hidName, ignored);
    if (interface.ownsUsbDevice) {
        fs::remove(fs::path("/sys/bus/usb/devices") / interface.usbName, ignored);
        fs::remove_all(paths.usbDevice, ignored);
    } else {
        fs::remove_all(paths.hidDevice, ignored);
    }
}

} // namespace emulation
