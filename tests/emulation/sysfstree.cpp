// SPDX-License-Identifier: BSD-3-Clause
#include "sysfstree.h"

#include "hidrawmajor.h"
#include "kernelinput.h"
#include "textformat.h"

#include <QString>

#include <linux/input-event-codes.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <utility>

namespace emulation {

namespace fs = std::filesystem;

namespace {

// The character devices of evdev: major 13, event<M> at minor 64 + M.
constexpr unsigned InputMajor = 13;
constexpr int EventMinorBase = 64;

std::string utf8(const std::wstring &text)
{
    return QString::fromStdWString(text).toUtf8().toStdString();
}

// Writes `bytes` exactly, binary descriptors included.
void writeFile(const fs::path &path, const std::string &bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A link at `path` to `target`, relative as sysfs's links are.
void link(const fs::path &target, const fs::path &path)
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::create_symlink(target.lexically_relative(path.parent_path()), path);
}

std::string productAttribute(const hid::virt::DeviceDescription &description)
{
    return format("%x/%x/%x", description.vendorId, description.productId, description.releaseNumber);
}

std::string interfaceName(const std::string &usbName, int interfaceNumber)
{
    return format("%s:1.%d", usbName.c_str(), interfaceNumber);
}

std::string hidName(int number, const hid::virt::DeviceDescription &interface)
{
    return format("0003:%04X:%04X.%04X", interface.vendorId, interface.productId, number + 1);
}

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

} // namespace

SysfsTree::SysfsTree(fs::path sysfs, fs::path udevData)
    : m_sysfs(std::move(sysfs))
    , m_udevData(std::move(udevData))
{
}

void SysfsTree::createSkeleton() const
{
    for (const char *directory : {"devices/platform/qvhid-emulation/usb1", "devices/platform/qvhid-emulation/usb2",
                                  "devices/pci0000:00/0000:00:1f.3/sound", "class/hidraw", "class/sound", "class/input",
                                  "class/leds", "bus/hid/devices", "bus/usb/devices", "dev/char", "dev/block", "block"})
        fs::create_directories(m_sysfs / directory);
    fs::create_directories(m_udevData);
}

fs::path SysfsTree::usbDevicePath(const std::string &usbName) const
{
    return m_sysfs / "devices/platform/qvhid-emulation" / ("usb" + usbName.substr(0, usbName.find('-'))) / usbName;
}

void SysfsTree::addUsbDevice(const std::string &usbName, const hid::virt::DeviceDescription &identity) const
{
    const fs::path device = usbDevicePath(usbName);
    fs::create_directories(device);
    writeFile(device / "uevent",
              format("DEVTYPE=usb_device\nDRIVER=usb\nPRODUCT=%s\nTYPE=0/0/0\nBUSNUM=00%c\n",
                     productAttribute(identity).c_str(), usbName.front()));
    writeFile(device / "idVendor", format("%04x\n", identity.vendorId));
    writeFile(device / "idProduct", format("%04x\n", identity.productId));
    writeFile(device / "bcdDevice", format("%04x\n", identity.releaseNumber));
    const std::pair<const char *, const std::wstring &> strings[] = {
        {"manufacturer", identity.manufacturer}, {"product", identity.product}, {"serial", identity.serialNumber}};
    for (const auto &string : strings) {
        if (!string.second.empty())
            writeFile(device / string.first, utf8(string.second) + "\n");
    }
    link(m_sysfs / "bus/usb", device / "subsystem");
    link(device, m_sysfs / "bus/usb/devices" / usbName);
}

void SysfsTree::removeUsbDevice(const std::string &usbName) const
{
    std::error_code ignored;
    fs::remove(m_sysfs / "bus/usb/devices" / usbName, ignored);
    fs::remove_all(usbDevicePath(usbName), ignored);
}

std::vector<int> SysfsTree::addHidInterface(const std::string &usbName, int number,
                                            const hid::virt::DeviceDescription &interface)
{
    const fs::path usbInterface = usbDevicePath(usbName) / interfaceName(usbName, interface.interfaceNumber);
    const fs::path hidDevice = usbInterface / hidName(number, interface);
    const fs::path hidraw = hidDevice / "hidraw" / format("hidraw%d", number);
    fs::create_directories(hidraw);

    writeFile(usbInterface / "uevent",
              format("DEVTYPE=usb_interface\nDRIVER=usbhid\nPRODUCT=%s\nTYPE=0/0/0\nINTERFACE=3/0/0\n",
                     productAttribute(interface).c_str()));
    writeFile(usbInterface / "bInterfaceNumber", format("%02x\n", interface.interfaceNumber));
    writeFile(usbInterface / "bInterfaceClass", "03\n"); // HID
    link(m_sysfs / "bus/usb", usbInterface / "subsystem");

    const std::string name = utf8(interface.manufacturer) + " " + utf8(interface.product);
    writeFile(hidDevice / "uevent",
              format("DRIVER=hid-generic\nHID_ID=0003:%08X:%08X\nHID_NAME=%s\nHID_PHYS=usb-qvhid-%s/input%d\n"
                     "HID_UNIQ=%s\nMODALIAS=hid:b0003g0001v%08Xp%08X\n",
                     interface.vendorId, interface.productId, name.c_str(), usbName.c_str(), interface.interfaceNumber,
                     utf8(interface.serialNumber).c_str(), interface.vendorId, interface.productId));
    writeFile(hidDevice / "report_descriptor", std::string(interface.descriptor.begin(), interface.descriptor.end()));
    link(m_sysfs / "bus/hid", hidDevice / "subsystem");

    writeFile(hidraw / "uevent", format("MAJOR=%u\nMINOR=%d\nDEVNAME=hidraw%d\n", HidrawMajor, number, number));
    writeFile(hidraw / "dev", format("%u:%d\n", HidrawMajor, number));
    link(m_sysfs / "class/hidraw", hidraw / "subsystem");
    link(hidDevice, hidraw / "device");

    link(hidraw, m_sysfs / "class/hidraw" / format("hidraw%d", number));
    link(hidraw, m_sysfs / "dev/char" / format("%u:%d", HidrawMajor, number));
    link(hidDevice, m_sysfs / "bus/hid/devices" / hidName(number, interface));

    addInputDevices(hidDevice, number, interface);
    return m_inputNodes[number].events;
}

void SysfsTree::addInputDevices(const fs::path &hidDevice, int number, const hid::virt::DeviceDescription &interface)
{
    InputNodes &nodes = m_inputNodes[number];
    const std::string hidDeviceName = utf8(interface.manufacturer) + " " + utf8(interface.product);
    const std::string product = format("3/%x/%x/%x", interface.vendorId, interface.productId, interface.releaseNumber);
    for (const KernelInputDevice &device : kernelInputDevices(interface.descriptor)) {
        const int inputNumber = m_nextInput++;
        int eventNumber = 0;
        while (m_events.count(eventNumber))
            ++eventNumber;
        m_events.insert(eventNumber);
        nodes.inputs.push_back(inputNumber);
        nodes.events.push_back(eventNumber);

        const std::string inputName = format("input%d", inputNumber);
        const fs::path input = hidDevice / "input" / inputName;
        fs::create_directories(input / "capabilities");
        fs::create_directories(input / "id");
        const std::string name = device.nameSuffix.empty() ? hidDeviceName : hidDeviceName + " " + device.nameSuffix;
        std::set<int> events = {EV_SYN};
        if (!device.keys.empty())
            events.insert({EV_KEY, EV_MSC});
        if (!device.relativeAxes.empty())
            events.insert(EV_REL);
        if (!device.absoluteAxes.empty())
            events.insert(EV_ABS);
        if (!device.leds.empty())
            events.insert(EV_LED);
        const std::pair<const char *, std::set<int>> capabilities[] = {
            {"ev", events},
            {"key", device.keys},
            {"rel", device.relativeAxes},
            {"abs", device.absoluteAxes},
            {"msc", device.keys.empty() ? std::set<int>() : std::set<int>{MSC_SCAN}},
            {"led", device.leds},
            {"sw", {}},
            {"ff", {}},
            {"snd", {}},
        };
        std::string uevent = format("PRODUCT=%s\nNAME=\"%s\"\nPHYS=\"usb-qvhid/input%d\"\nPROP=0\n", product.c_str(),
                                    name.c_str(), interface.interfaceNumber);
        for (const auto &capability : capabilities) {
            writeFile(input / "capabilities" / capability.first, capabilityBitmap(capability.second) + "\n");
            if (!capability.second.empty()) {
                std::string upper = capability.first;
                for (char &c : upper)
                    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                uevent += upper + "=" + capabilityBitmap(capability.second) + "\n";
            }
        }
        writeFile(input / "uevent", uevent);
        writeFile(input / "name", name + "\n");
        writeFile(input / "phys", format("usb-qvhid/input%d\n", interface.interfaceNumber));
        writeFile(input / "uniq", utf8(interface.serialNumber) + "\n");
        writeFile(input / "properties", "0\n");
        writeFile(input / "id/bustype", "0003\n");
        writeFile(input / "id/vendor", format("%04x\n", interface.vendorId));
        writeFile(input / "id/product", format("%04x\n", interface.productId));
        writeFile(input / "id/version", format("%04x\n", interface.releaseNumber));
        link(m_sysfs / "class/input", input / "subsystem");
        link(hidDevice, input / "device");
        link(input, m_sysfs / "class/input" / inputName);

        const std::string eventName = format("event%d", eventNumber);
        const fs::path event = input / eventName;
        fs::create_directories(event);
        const int minor = EventMinorBase + eventNumber;
        writeFile(event / "uevent",
                  format("MAJOR=%u\nMINOR=%d\nDEVNAME=input/%s\n", InputMajor, minor, eventName.c_str()));
        writeFile(event / "dev", format("%u:%d\n", InputMajor, minor));
        link(m_sysfs / "class/input", event / "subsystem");
        link(input, event / "device");
        link(event, m_sysfs / "class/input" / eventName);
        link(event, m_sysfs / "dev/char" / format("%u:%d", InputMajor, minor));

        for (const int led : device.leds) {
            const std::string ledDevice = inputName + "::" + ledName(led);
            const fs::path directory = input / ledDevice;
            fs::create_directories(directory);
            writeFile(directory / "uevent", {});
            writeFile(directory / "brightness", "0\n");
            writeFile(directory / "max_brightness", "1\n");
            // A plain file keeps what was last written to it, as the kernel's attribute keeps
            // the trigger chosen last; it starts empty: no trigger chosen by anybody yet.
            writeFile(directory / "trigger", {});
            link(m_sysfs / "class/leds", directory / "subsystem");
            link(input, directory / "device");
            link(directory, m_sysfs / "class/leds" / ledDevice);
            nodes.leds.push_back(ledDevice);
        }
    }
}

std::vector<int> SysfsTree::eventNumbers(int number) const
{
    const auto found = m_inputNodes.find(number);
    return found == m_inputNodes.end() ? std::vector<int>() : found->second.events;
}

std::vector<std::string> SysfsTree::leds(int number) const
{
    const auto found = m_inputNodes.find(number);
    return found == m_inputNodes.end() ? std::vector<std::string>() : found->second.leds;
}

fs::path SysfsTree::ledAttribute(const std::string &led, const std::string &attribute) const
{
    return m_sysfs / "class/leds" / led / attribute;
}

void SysfsTree::removeHidInterface(const std::string &usbName, int number,
                                   const hid::virt::DeviceDescription &interface)
{
    std::error_code ignored;
    const InputNodes nodes = m_inputNodes[number];
    m_inputNodes.erase(number);
    for (const int input : nodes.inputs)
        fs::remove(m_sysfs / "class/input" / format("input%d", input), ignored);
    for (const int event : nodes.events) {
        fs::remove(m_sysfs / "class/input" / format("event%d", event), ignored);
        fs::remove(m_sysfs / "dev/char" / format("%u:%d", InputMajor, EventMinorBase + event), ignored);
        m_events.erase(event);
    }
    for (const std::string &led : nodes.leds)
        fs::remove(m_sysfs / "class/leds" / led, ignored);
    fs::remove(m_sysfs / "class/hidraw" / format("hidraw%d", number), ignored);
    fs::remove(m_sysfs / "dev/char" / format("%u:%d", HidrawMajor, number), ignored);
    fs::remove(m_sysfs / "bus/hid/devices" / hidName(number, interface), ignored);
    fs::remove_all(usbDevicePath(usbName) / interfaceName(usbName, interface.interfaceNumber)
                       / hidName(number, interface),
                   ignored);
}

int SysfsTree::claimCard(const std::string &id, std::string &uniqueId)
{
    int number = 0;
    while (m_cardIds.count(number))
        ++number;
    uniqueId = id;
    for (int suffix = 1;; ++suffix) {
        bool taken = false;
        for (const auto &other : m_cardIds)
            taken = taken || other.second == uniqueId;
        if (!taken)
            break;
        uniqueId = id + "_" + std::to_string(suffix);
    }
    m_cardIds[number] = uniqueId;
    return number;
}

void SysfsTree::addCard(const fs::path &parent, int number, const std::string &id) const
{
    const fs::path card = parent / "sound" / format("card%d", number);
    fs::create_directories(card);
    writeFile(card / "uevent", {});
    writeFile(card / "id", id + "\n");
    writeFile(card / "number", format("%d\n", number));
    link(m_sysfs / "class/sound", card / "subsystem");
    link(parent, card / "device");
    link(card, m_sysfs / "class/sound" / format("card%d", number));
}

int SysfsTree::addSoundCard(const std::string &usbName, const hid::virt::DeviceDescription &identity,
                            const hid::virt::SoundCard &card)
{
    std::string id;
    const int number = claimCard(card.id, id);
    const fs::path interface = usbDevicePath(usbName) / interfaceName(usbName, card.interfaceNumber);
    fs::create_directories(interface);
    writeFile(interface / "uevent",
              format("DEVTYPE=usb_interface\nDRIVER=snd-usb-audio\nPRODUCT=%s\nTYPE=0/0/0\nINTERFACE=1/1/0\n",
                     productAttribute(identity).c_str()));
    writeFile(interface / "bInterfaceNumber", format("%02x\n", card.interfaceNumber));
    writeFile(interface / "bInterfaceClass", "01\n"); // Audio
    link(m_sysfs / "bus/usb", interface / "subsystem");
    addCard(interface, number, id);
    writeFile(m_udevData / format("+sound:card%d", number),
              "E:ID_ID=" + udevSoundCardId(identity, card.interfaceNumber) + "\n");
    return number;
}

void SysfsTree::setEventUdevProperty(int number, const std::string &key, const std::string &value) const
{
    std::ofstream file(m_udevData / format("c%u:%d", InputMajor, EventMinorBase + number), std::ios::app);
    file << "E:" << key << "=" << value << "\n";
}

void SysfsTree::removeUdevData(int card) const
{
    std::error_code ignored;
    fs::remove(m_udevData / format("+sound:card%d", card), ignored);
}

int SysfsTree::addBuiltInSoundCard(const std::string &id)
{
    std::string uniqueId;
    const int number = claimCard(id, uniqueId);
    addCard(m_sysfs / "devices/pci0000:00/0000:00:1f.3", number, uniqueId);
    return number;
}

std::string SysfsTree::udevSoundCardId(const hid::virt::DeviceDescription &identity, int interfaceNumber)
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

} // namespace emulation
