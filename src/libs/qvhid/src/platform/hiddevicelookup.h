// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_HIDDEVICELOOKUP_H
#define QVHID_PLATFORM_HIDDEVICELOOKUP_H

#include "qvhid_export.h"

#include <list>
#include <string>

namespace hid {

/// The system's default audio device. The sound layers of this platform have no such alias,
/// so both are always empty.
QVHID_EXPORT std::wstring GetDefaultDeviceName();
QVHID_EXPORT std::wstring GetDefaultDevicePath();

/// The container that groups an audio endpoint with the other interfaces of its hardware. Here a
/// device is its own container: the identifier is copied unchanged. Always true.
QVHID_EXPORT bool findDeviceBaseContainerId(const std::wstring &deviceId, std::wstring &containerId);

/// Appends the one HID device of a container to `devices`: the identifier narrowed by keeping
/// the low 8 bits of each character. Always true.
QVHID_EXPORT bool findHidDevicesByBaseContainerId(const std::wstring &containerId, std::list<std::string> &devices);

} // namespace hid

#endif // QVHID_PLATFORM_HIDDEVICELOOKUP_H
