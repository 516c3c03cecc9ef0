// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_REPORTDESCRIPTOR_H
#define QVHID_PLATFORM_REPORTDESCRIPTOR_H

#include "platform/systemview.h"
#include "qvhid_export.h"

#include <QString>

#include <memory>

/// The report-parser library's parsed descriptor, as its header declares it.
struct hid_descriptor;

namespace hid {

struct QVHID_EXPORT ReportDescriptorDeleter
{
    void operator()(hid_descriptor *descriptor) const;
};
using ReportDescriptor = std::unique_ptr<hid_descriptor, ReportDescriptorDeleter>;

/// The parsed report descriptor of the HID interface at `path` (a path as hidapi enumerates
/// it), read without binding the interface: for a hidraw node from sysfs, which any user may
/// read, otherwise by opening the interface through hidapi for as long as the reading takes.
/// Null when it cannot be read or is not a valid descriptor.
QVHID_EXPORT ReportDescriptor ReadReportDescriptor(const SystemView &system, const QString &path);

} // namespace hid

#endif // QVHID_PLATFORM_REPORTDESCRIPTOR_H
