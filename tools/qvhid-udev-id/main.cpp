// SPDX-License-Identifier: BSD-3-Clause
// qvhid-udev-id: run by udev (IMPORT{program}) for a hidraw device; prints
// ID_QVHID_TELEPHONY=1 when the device is a headset interface that the library binds by what it
// is, and nothing otherwise. It reads the report descriptor from sysfs and opens no device.
//
//   qvhid-udev-id [--sysfs DIR] hidrawN
//
// It always exits 0: a device that is not a headset, or one that cannot be read, is no failure
// for udev to log.

#include "telephonyidentity.h"

#include <hidapi_parser.h>

#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

// A uevent file is a few lines; more than this is not one the kernel wrote.
constexpr std::size_t MaxUeventSize = 4096;

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

udevid::Identity identifyNode(const std::string &sysfs, const std::string &node)
{
    std::vector<unsigned char> descriptor(HID_PARSER_MAX_DESCRIPTOR_SIZE);
    const std::string devicePath = "/dev/" + node;
    const int length =
        hid_read_sysfs_descriptor(sysfs.c_str(), devicePath.c_str(), descriptor.data(), descriptor.size());
    if (length <= 0)
        return udevid::Identity::None;
    std::optional<udevid::DeviceIds> ids;
    if (const auto uevent = readSmallFile(sysfs + "/class/hidraw/" + node + "/device/uevent", MaxUeventSize))
        ids = udevid::idsFromUevent(*uevent);
    return udevid::identify(descriptor.data(), static_cast<std::size_t>(length), ids);
}

} // namespace

int main(int argc, char **argv)
{
    std::string sysfs = "/sys";
    std::string node;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--sysfs" && i + 1 < argc) {
            sysfs = argv[++i];
        } else if (argument == "-h" || argument == "--help") {
            std::printf("usage: qvhid-udev-id [--sysfs DIR] hidrawN\n"
                        "Prints ID_QVHID_TELEPHONY=1 when the hidraw device is a telephony headset's call-control\n"
                        "interface (read from its report descriptor in sysfs), nothing otherwise. Always exits 0.\n");
            return 0;
        } else {
            node = argument;
        }
    }
    // udev passes the kernel name (%k); a /dev path is taken as well.
    if (node.rfind("/dev/", 0) == 0)
        node = node.substr(5);
    if (node.empty() || node.find('/') != std::string::npos)
        return 0;
    if (identifyNode(sysfs, node) != udevid::Identity::None)
        std::printf("ID_QVHID_TELEPHONY=1\n");
    return 0;
}
