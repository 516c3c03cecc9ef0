// SPDX-License-Identifier: BSD-3-Clause
// What qvhid-udev-id decides for any descriptor bytes under any ids (a telephony interface, a
// telephony Phone Mute), the ids it reads from any uevent text and the keys it reads from any
// capabilities text. The first byte says whether there are ids, the next four are the vendor and
// product id, the rest is the descriptor (any length: the program reads sysfs's file whole)
// and, as text, the uevent.

#include <platform/micmutekey.h>
#include <platform/reportdescriptor.h>
#include <telephonyidentity.h>

#include <hidapi_parser.h>

#include <QString>

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
    if (size > 5 && size - 5 <= HID_PARSER_MAX_DESCRIPTOR_SIZE) {
        const hid::ReportDescriptor descriptor(hid_parse_descriptor(data + 5, size - 5));
        udevid::hasTelephonyPhoneMute(descriptor.get());
    }
    const std::string text(reinterpret_cast<const char *>(data + 5), size - 5);
    udevid::idsFromUevent(text);
    // The same text as an input device's key capabilities.
    hid::HasCapability(QString::fromLatin1(text.data(), static_cast<int>(text.size())), data[1] | data[2] << 8);
    return 0;
}
