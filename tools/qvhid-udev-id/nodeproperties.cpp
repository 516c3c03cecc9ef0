// SPDX-License-Identifier: BSD-3-Clause
#include "nodeproperties.h"

#include "telephonyidentity.h"

#include <hiddecoderbase.h>
#include <platform/micmutekey.h>
#include <platform/reportdescriptor.h>

#include <hidapi_parser.h>

#include <linux/input-event-codes.h>

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

bool isHidrawNode(const std::string &sysfs, const std::string &name)
{
    std::vector<unsigned char> descriptor(HID_PARSER_MAX_DESCRIPTOR_SIZE);
    const std::string devicePath = "/dev/" + name;
    const int length =
        hid_read_sysfs_descriptor(sysfs.c_str(), devicePath.c_str(), descriptor.data(), descriptor.size());
    if (length <= 0)
        return false;
    std::optional<DeviceIds> ids;
    if (const auto uevent = readSmallFile(sysfs + "/class/hidraw/" + name + "/device/uevent", MaxAttributeSize))
        ids = idsFromUevent(*uevent);
    return identify(descriptor.data(), static_cast<std::size_t>(length), ids) != Identity::None;
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
    return hasTelephonyPhoneMute(readHidDevice(input + "/device").descriptor.get());
}

// An LED of an input device of a headset that the library drives: the kernel writes the LED
// through the same output report as the library's lamps.
bool isTelephonyLed(const std::string &sysfs, const std::string &name)
{
    const HidDevice device = readHidDevice(sysfs + "/class/leds/" + name + "/device/device");
    return identify(device.descriptor.get(), device.ids) != Identity::None;
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
