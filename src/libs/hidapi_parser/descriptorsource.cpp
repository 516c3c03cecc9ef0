// SPDX-License-Identifier: BSD-3-Clause
// Where the bytes of an opened device's report descriptor come from.
//
// hidapi 0.14 added hid_get_report_descriptor(); Debian's 0.13 lacks it, and the library must
// run on both and on whichever hidapi backend the process loaded. Both hidapi functions used
// here are therefore looked up in the process at run time instead of being linked.

#include "hidapi_parser.h"

#include <hidapi.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

// hidapi 0.14's signature; 0.13's header does not declare it.
using GetReportDescriptor = int (*)(hid_device *, unsigned char *, size_t);
using GetDeviceInfo = decltype(&hid_get_device_info);

template<typename Function> Function lookUp(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
}

// "hidraw" followed by decimal digits only, so that a path cannot lead anywhere else in sysfs.
bool isHidrawNodeName(const std::string &name)
{
    constexpr const char prefix[] = "hidraw";
    constexpr std::size_t prefixLength = sizeof(prefix) - 1;
    if (name.size() <= prefixLength || name.compare(0, prefixLength, prefix) != 0)
        return false;
    for (std::size_t i = prefixLength; i < name.size(); ++i) {
        if (name[i] < '0' || name[i] > '9')
            return false;
    }
    return true;
}

} // namespace

extern "C" int hid_read_sysfs_descriptor(const char *sysfs_root, const char *device_path, unsigned char *buffer,
                                         size_t buffer_size)
{
    if (!sysfs_root || !device_path || !buffer || buffer_size == 0)
        return -1;
    const std::string path(device_path);
    constexpr const char devPrefix[] = "/dev/";
    if (path.compare(0, sizeof(devPrefix) - 1, devPrefix) != 0)
        return -1;
    const std::string node = path.substr(sizeof(devPrefix) - 1);
    if (!isHidrawNodeName(node))
        return -1;

    const std::string file = std::string(sysfs_root) + "/class/hidraw/" + node + "/device/report_descriptor";
    const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    // Read one byte more than fits, to tell a descriptor that fills the buffer from one
    // that does not fit.
    std::size_t total = 0;
    unsigned char extra = 0;
    for (;;) {
        unsigned char *target = total < buffer_size ? buffer + total : &extra;
        const std::size_t room = total < buffer_size ? buffer_size - total : 1;
        const ssize_t got = read(fd, target, room);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            close(fd);
            return got < 0 ? -1 : static_cast<int>(total);
        }
        total += static_cast<std::size_t>(got);
        if (total > buffer_size) {
            close(fd);
            return -1;
        }
    }
}

extern "C" hid_descriptor *hid_read_descriptor(hid_device *device)
{
    if (!device)
        return nullptr;
    unsigned char bytes[HID_PARSER_MAX_DESCRIPTOR_SIZE];
    int length = -1;
    if (const auto getReportDescriptor = lookUp<GetReportDescriptor>("hid_get_report_descriptor"))
        length = getReportDescriptor(device, bytes, sizeof(bytes));
    if (length <= 0) {
        const auto getDeviceInfo = lookUp<GetDeviceInfo>("hid_get_device_info");
        const hid_device_info *info = getDeviceInfo ? getDeviceInfo(device) : nullptr;
        if (info && info->path)
            length = hid_read_sysfs_descriptor("/sys", info->path, bytes, sizeof(bytes));
    }
    if (length <= 0)
        return nullptr;
    return hid_parse_descriptor(bytes, static_cast<std::size_t>(length));
}
