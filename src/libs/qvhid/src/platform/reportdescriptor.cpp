// SPDX-License-Identifier: BSD-3-Clause
#include "reportdescriptor.h"

#include <hidapi.h>
#include <hidapi_parser.h>

#include <cstdlib>
#include <vector>

namespace hid {

void ReportDescriptorDeleter::operator()(hid_descriptor *descriptor) const
{
    std::free(descriptor); // one block: the parser's lists live inside it
}

ReportDescriptor ReadReportDescriptor(const SystemView &system, const QString &path)
{
    const QByteArray nodePath = path.toUtf8();
    std::vector<unsigned char> bytes(HID_PARSER_MAX_DESCRIPTOR_SIZE);
    const QByteArray sysfsRoot = system.sysfsRoot.toUtf8();
    const int size = hid_read_sysfs_descriptor(sysfsRoot.constData(), nodePath.constData(), bytes.data(), bytes.size());
    if (size > 0)
        return ReportDescriptor(hid_parse_descriptor(bytes.data(), static_cast<std::size_t>(size)));

    // Not a hidraw node (another hidapi backend, a virtual device): ask the device itself.
    hid_device *device = hid_open_path(nodePath.constData());
    if (!device)
        return nullptr;
    ReportDescriptor descriptor(hid_read_descriptor(device));
    hid_close(device);
    return descriptor;
}

} // namespace hid
