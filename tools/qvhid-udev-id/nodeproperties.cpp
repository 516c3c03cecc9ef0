// SPDX-License-Identifier: BSD-3-Clause
#include "nodeproperties.h"

#include "telephonyidentity.h"

#include <hiddecoderbase.h>
#include <platform/micmutekey.h>
#include <platform/reportdescriptor.h>

#include <hidapi_parser.h>

#include <linux/input-event-codes.h>

#include <filesystem>
#include <fstream>
#include <optional>

namespace udevid {

const char *const TelephonyProperty = "ID_QVHID_TELEPHONY";
const char *const PhoneMuteKeyProperty = "ID_QVHID_PHONE_MUTE_KEY";
const char *const TelephonyLedProperty = "ID_QVHID_TELEPHONY_LED";

namespace {

// A uevent file or a capabilities bitmap is a few lines; more than this is not one the kernel wrote.
constexpr std::size_t MaxAttributeSize = 4096;

std::optional<std::string> readSmallFile(const std::string &path, std::size_t limit)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::string text(limit + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    const std::size_t got = static_cast<std::size_t>(file.gcount());
    if (got > limit)
        return std::nullopt;
    text.resize(got);
    return text;
}

// A HID device's parsed report descriptor and its ids, from its sysfs directory.
struct HidDevice
{
    hid::ReportDescriptor descriptor;
    std::optional<DeviceIds> ids;
};

HidDevice readHidDevice(const std::string &directory)
{
    HidDevice device;
    const auto bytes = readSmallFile(directory + "/report_descriptor", HID_PARSER_MAX_DESCRIPTOR_SIZE);
    if (!bytes || bytes->empty())
        return device;
    device.descriptor.reset(
        hid_parse_descriptor(reinterpret_cast<const unsigned char *>(bytes->data()), bytes->size()));
    if (const auto uevent = readSmallFile(directory + "/uevent", MaxAttributeSize))
        device.ids = idsFromUevent(*uevent);
    return device;
}

// Whether the USB device of the HID device at `hidDevice` (a sysfs directory) has an audio
// interface (class 1): a headset's sound card sits on it; a keyboard has none.
bool hasAudioInterface(const std::string &hidDevice)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path usbDevice = fs::canonical(hidDevice, error).parent_path().parent_path();
    if (error)
        return false;
    const std::string prefix = usbDevice.filename().string() + ":";
    for (const fs::directory_entry &entry : fs::directory_iterator(usbDevice, error)) {
        if (entry.path().filename().string().rfind(prefix, 0) != 0)
            continue;
        const auto interfaceClass = readSmallFile((entry.path() / "bInterfaceClass").string(), 16);
        if (interfaceClass && interfaceClass->rfind("01", 0) == 0)
            return true;
    }
    return false;
}

// Whether a HID device with this identity is one the library binds: telephony buttons outside a
// telephony collection count on a USB device with a sound card alone.
bool isBound(Identity identity, const std::string &hidDevice)
{
    return identity == Identity::TelephonyButtons ? hasAudioInterface(hidDevice) : identity != Identity::None;
}

bool isHidrawNode(const std::string &sysfs, const std::string &name)
{
    std::vector<unsigned char> descriptor(HID_PARSER_MAX_DESCRIPTOR_SIZE);
    const std::string devicePath = "/dev/" + name;
    const int length =
        hid_read_sysfs_descriptor(sysfs.c_str(), devicePath.c_str(), descriptor.data(), descriptor.size());
    if (length <= 0)
        return false;
    const std::string hidDevice = sysfs + "/class/hidraw/" + name + "/device";
    std::optional<DeviceIds> ids;
    if (const auto uevent = readSmallFile(hidDevice + "/uevent", MaxAttributeSize))
        ids = idsFromUevent(*uevent);
    return isBound(identify(descriptor.data(), static_cast<std::size_t>(length), ids), hidDevice);
}

// An event node whose input device sends the microphone mute key, and whose HID device is a
// telephony device with Phone Mute: the key comes from that button. The event nodes of the
// same HID device that do not send the key (its volume keys') are left alone.
bool sendsPhoneMuteAsKey(const std::string &sysfs, const std::string &name)
{
    const std::string input = sysfs + "/class/input/" + name + "/device";
    const auto keys = readSmallFile(input + "/capabilities/key", MaxAttributeSize);
    if (!keys || !hid::HasCapability(QString::fromStdString(*keys).trimmed(), KEY_MICMUTE))
        return false;
    const std::string hidDevice = input + "/device";
    const HidDevice device = readHidDevice(hidDevice);
    if (hasTelephonyPhoneMute(device.descriptor.get()))
        return true;
    // Phone Mute in a Consumer Control collection: a headset's on a USB audio chip, not a keyboard's.
    return hasTelephonyPhoneMute(device.descriptor.get(), true) && hasAudioInterface(hidDevice);
}

// An LED of an input device of a headset that the library drives: the kernel writes the LED
// through the same output report as the library's lamps.
bool isTelephonyLed(const std::string &sysfs, const std::string &name)
{
    const std::string hidDevice = sysfs + "/class/leds/" + name + "/device/device";
    const HidDevice device = readHidDevice(hidDevice);
    return isBound(identify(device.descriptor.get(), device.ids), hidDevice);
}

bool startsWith(const std::string &text, const char *prefix)
{
    return text.rfind(prefix, 0) == 0;
}

} // namespace

std::vector<std::string> propertiesOf(const std::string &sysfs, const std::string &name)
{
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos)
        return {};
    const auto property = [](const char *key) { return std::string(key) + "=1"; };
    if (startsWith(name, "hidraw"))
        return isHidrawNode(sysfs, name) ? std::vector<std::string>{property(TelephonyProperty)}
                                         : std::vector<std::string>();
    if (startsWith(name, "event"))
        return sendsPhoneMuteAsKey(sysfs, name) ? std::vector<std::string>{property(PhoneMuteKeyProperty)}
                                                : std::vector<std::string>();
    if (startsWith(name, "input") && name.find("::") != std::string::npos)
        return isTelephonyLed(sysfs, name) ? std::vector<std::string>{property(TelephonyLedProperty)}
                                           : std::vector<std::string>();
    return {};
}

} // namespace udevid
