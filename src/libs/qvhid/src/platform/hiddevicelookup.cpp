// SPDX-License-Identifier: BSD-3-Clause
#include "hiddevicelookup.h"

namespace hid {

std::wstring GetDefaultDeviceName()
{
    return std::wstring();
}

std::wstring GetDefaultDevicePath()
{
    return std::wstring();
}

bool findDeviceBaseContainerId(const std::wstring &deviceId, std::wstring &containerId)
{
    containerId = deviceId;
    return true;
}

bool findHidDevicesByBaseContainerId(const std::wstring &containerId, std::list<std::string> &devices)
{
    std::string narrowed;
    narrowed.reserve(containerId.size());
    for (const wchar_t character : containerId)
        narrowed.push_back(static_cast<char>(static_cast<unsigned char>(character & 0xFF)));
    devices.push_back(std::move(narrowed));
    return true;
}

} // namespace hid
