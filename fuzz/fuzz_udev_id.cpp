// SPDX-License-Identifier: BSD-3-Clause
// What qvhid-udev-id decides for any descriptor bytes under any ids, and the ids it reads from
// any uevent text. The first byte says whether there are ids, the next four are the vendor and
// product id, the rest is the descriptor (any length: the program reads sysfs's file whole)
// and, as text, the uevent.

#include <telephonyidentity.h>

#include <cstdint>
#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 5)
        return 0;
    std::optional<udevid::DeviceIds> ids;
    if (data[0] & 1)
        ids = udevid::DeviceIds{static_cast<unsigned short>(data[1] | data[2] << 8),
                                static_cast<unsigned short>(data[3] | data[4] << 8)};
    udevid::identify(data + 5, size - 5, ids);
    udevid::idsFromUevent(std::string(reinterpret_cast<const char *>(data + 5), size - 5));
    return 0;
}
