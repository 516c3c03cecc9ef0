// SPDX-License-Identifier: BSD-3-Clause
// Gives the emulated hidraw nodes a character-device number.
//
// hidapi 0.13 finds the udev device of an open handle (hid_get_device_info) from the device
// number that fstat() reports for its file. The emulated nodes are files of a FUSE file system,
// which have none; this library, linked ahead of the C library, answers for them as the kernel
// answers for /dev/hidrawN: a character device with the emulation's major number and minor N,
// which the private /sys/dev/char resolves. Every other file is left as it is.

#include "hidrawmajor.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

using Fstat = int (*)(int, struct stat *);

void giveDeviceNumber(int fd, struct stat *status)
{
    char link[64];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    char target[64] = {};
    const ssize_t length = readlink(link, target, sizeof target - 1);
    unsigned minor = 0;
    char rest = 0;
    if (length <= 0 || !S_ISREG(status->st_mode) || std::sscanf(target, "/dev/hidraw%u%c", &minor, &rest) != 1)
        return;
    status->st_mode = (status->st_mode & ~S_IFMT) | S_IFCHR;
    status->st_rdev = makedev(emulation::HidrawMajor, minor);
}

int callWithDeviceNumber(const char *name, int fd, struct stat *status)
{
    const auto real = reinterpret_cast<Fstat>(dlsym(RTLD_NEXT, name));
    const int result = real ? real(fd, status) : -1;
    if (result == 0 && status)
        giveDeviceNumber(fd, status);
    return result;
}

// The C library's older entry point, which sanitizer runtimes call for fstat().
using Fxstat = int (*)(int, int, struct stat *);

int callOldWithDeviceNumber(const char *name, int version, int fd, struct stat *status)
{
    auto real = reinterpret_cast<Fxstat>(dlvsym(RTLD_NEXT, name, "GLIBC_2.2.5"));
    if (!real)
        real = reinterpret_cast<Fxstat>(dlsym(RTLD_NEXT, name));
    const int result = real ? real(version, fd, status) : -1;
    if (result == 0 && status)
        giveDeviceNumber(fd, status);
    return result;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int fstat(int fd, struct stat *status) noexcept
{
    return callWithDeviceNumber("fstat", fd, status);
}

extern "C" __attribute__((visibility("default"))) int fstat64(int fd, struct stat64 *status) noexcept
{
    return callWithDeviceNumber("fstat64", fd, reinterpret_cast<struct stat *>(status));
}

extern "C" __attribute__((visibility("default"))) int __fxstat(int version, int fd, struct stat *status) noexcept
{
    return callOldWithDeviceNumber("__fxstat", version, fd, status);
}

extern "C" __attribute__((visibility("default"))) int __fxstat64(int version, int fd, struct stat64 *status) noexcept
{
    return callOldWithDeviceNumber("__fxstat64", version, fd, reinterpret_cast<struct stat *>(status));
}
