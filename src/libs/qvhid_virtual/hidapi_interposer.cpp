// SPDX-License-Identifier: BSD-3-Clause
// hidapi's C functions, as a program linked with this library sees them. A call on a virtual
// device is served by the registry; every other call goes to the system's hidapi.
//
// The system's hidapi may itself call these functions by name (hid_read calls hid_read_timeout,
// hid_close frees its record with hid_free_enumeration), and then reaches the versions here;
// handles and records that are not virtual pass through unchanged, so that works.

#include "plugwatchers.h"
#include "realhidapi.h"
#include "virtualregistry.h"

#include <cstdlib>
#include <cwchar>
#include <string>

using hid::virt::PlugWatchers;
using hid::virt::RealHidApi;
using hid::virt::Registry;

#define HIDAPI_FUNCTION extern "C" __attribute__((visibility("default")))

namespace {

// Why the last open of a virtual path on this thread failed; hid_error(NULL) reports it.
thread_local std::wstring openError;

const RealHidApi &real()
{
    return RealHidApi::get();
}

bool isVirtual(hid_device *device)
{
    return device && Registry::instance().isVirtual(device);
}

} // namespace

HIDAPI_FUNCTION int hid_init(void)
{
    if (real().init)
        real().init();
    return 0;
}

HIDAPI_FUNCTION int hid_exit(void)
{
    if (real().exit)
        real().exit();
    return 0;
}

HIDAPI_FUNCTION hid_device_info *hid_enumerate(unsigned short vendor_id, unsigned short product_id)
{
    hid_device_info *list = real().enumerate ? real().enumerate(vendor_id, product_id) : nullptr;
    return Registry::instance().appendEnumeration(list, vendor_id, product_id);
}

// Releases records of either origin: both allocate every string and the record with malloc.
HIDAPI_FUNCTION void hid_free_enumeration(hid_device_info *devices)
{
    while (devices) {
        hid_device_info *next = devices->next;
        std::free(devices->path);
        std::free(devices->serial_number);
        std::free(devices->manufacturer_string);
        std::free(devices->product_string);
        std::free(devices);
        devices = next;
    }
}

HIDAPI_FUNCTION hid_device *hid_open_path(const char *path)
{
    bool isVirtualPath = false;
    hid_device *device = Registry::instance().open(path, isVirtualPath);
    if (isVirtualPath) {
        openError = device ? std::wstring() : L"cannot open virtual device";
        return device;
    }
    openError.clear();
    return real().openPath ? real().openPath(path) : nullptr;
}

HIDAPI_FUNCTION hid_device *hid_open(unsigned short vendor_id, unsigned short product_id, const wchar_t *serial_number)
{
    hid_device_info *devices = hid_enumerate(vendor_id, product_id);
    std::string path;
    for (hid_device_info *info = devices; info; info = info->next) {
        if (serial_number && (!info->serial_number || std::wcscmp(serial_number, info->serial_number) != 0))
            continue;
        path = info->path ? info->path : "";
        break;
    }
    hid_free_enumeration(devices);
    return path.empty() ? nullptr : hid_open_path(path.c_str());
}

HIDAPI_FUNCTION void hid_close(hid_device *dev)
{
    if (isVirtual(dev))
        Registry::instance().close(dev);
    else if (dev && real().close)
        real().close(dev);
}

HIDAPI_FUNCTION int hid_write(hid_device *dev, const unsigned char *data, size_t length)
{
    if (isVirtual(dev))
        return Registry::instance().write(dev, data, length);
    return real().write ? real().write(dev, data, length) : -1;
}

HIDAPI_FUNCTION int hid_read_timeout(hid_device *dev, unsigned char *data, size_t length, int milliseconds)
{
    if (isVirtual(dev))
        return Registry::instance().read(dev, data, length, milliseconds < 0 ? -1 : milliseconds);
    return real().readTimeout ? real().readTimeout(dev, data, length, milliseconds) : -1;
}

// Extensions that hidapi lacks (virtualhid.h): a read whose wait another thread may cut short.
HIDAPI_FUNCTION int hid_read_timeout_interruptible(hid_device *dev, unsigned char *data, size_t length,
                                                   int milliseconds)
{
    if (isVirtual(dev))
        return Registry::instance().read(dev, data, length, milliseconds < 0 ? -1 : milliseconds, true);
    return real().readTimeout ? real().readTimeout(dev, data, length, milliseconds) : -1;
}

HIDAPI_FUNCTION int hid_interrupt(hid_device *dev)
{
    return isVirtual(dev) ? Registry::instance().interrupt(dev) : -1;
}

HIDAPI_FUNCTION int hid_watch_plugging(void (*callback)(void *context), void *context)
{
    return PlugWatchers::instance().watch(callback, context);
}

HIDAPI_FUNCTION void hid_unwatch_plugging(int watch)
{
    PlugWatchers::instance().unwatch(watch);
}

HIDAPI_FUNCTION int hid_read(hid_device *dev, unsigned char *data, size_t length)
{
    if (isVirtual(dev))
        return Registry::instance().read(dev, data, length, Registry::FollowMode);
    return real().read ? real().read(dev, data, length) : -1;
}

HIDAPI_FUNCTION int hid_set_nonblocking(hid_device *dev, int nonblock)
{
    if (isVirtual(dev))
        return Registry::instance().setNonblocking(dev, nonblock);
    return real().setNonblocking ? real().setNonblocking(dev, nonblock) : -1;
}

HIDAPI_FUNCTION int hid_send_feature_report(hid_device *dev, const unsigned char *data, size_t length)
{
    if (isVirtual(dev))
        return Registry::instance().unsupported(dev, L"virtual devices have no feature reports");
    return real().sendFeatureReport ? real().sendFeatureReport(dev, data, length) : -1;
}

HIDAPI_FUNCTION int hid_get_feature_report(hid_device *dev, unsigned char *data, size_t length)
{
    if (isVirtual(dev))
        return Registry::instance().unsupported(dev, L"virtual devices have no feature reports");
    return real().getFeatureReport ? real().getFeatureReport(dev, data, length) : -1;
}

HIDAPI_FUNCTION int hid_get_input_report(hid_device *dev, unsigned char *data, size_t length)
{
    if (isVirtual(dev))
        return Registry::instance().unsupported(dev, L"virtual devices answer no input report requests");
    return real().getInputReport ? real().getInputReport(dev, data, length) : -1;
}

HIDAPI_FUNCTION int hid_get_manufacturer_string(hid_device *dev, wchar_t *string, size_t maxlen)
{
    if (isVirtual(dev))
        return Registry::instance().text(dev, Registry::Text::Manufacturer, string, maxlen);
    return real().getManufacturerString ? real().getManufacturerString(dev, string, maxlen) : -1;
}

HIDAPI_FUNCTION int hid_get_product_string(hid_device *dev, wchar_t *string, size_t maxlen)
{
    if (isVirtual(dev))
        return Registry::instance().text(dev, Registry::Text::Product, string, maxlen);
    return real().getProductString ? real().getProductString(dev, string, maxlen) : -1;
}

HIDAPI_FUNCTION int hid_get_serial_number_string(hid_device *dev, wchar_t *string, size_t maxlen)
{
    if (isVirtual(dev))
        return Registry::instance().text(dev, Registry::Text::SerialNumber, string, maxlen);
    return real().getSerialNumberString ? real().getSerialNumberString(dev, string, maxlen) : -1;
}

HIDAPI_FUNCTION int hid_get_indexed_string(hid_device *dev, int string_index, wchar_t *string, size_t maxlen)
{
    if (isVirtual(dev))
        return Registry::instance().unsupported(dev, L"virtual devices have no indexed strings");
    return real().getIndexedString ? real().getIndexedString(dev, string_index, string, maxlen) : -1;
}

HIDAPI_FUNCTION hid_device_info *hid_get_device_info(hid_device *dev)
{
    if (isVirtual(dev))
        return Registry::instance().deviceInfo(dev);
    return real().getDeviceInfo ? real().getDeviceInfo(dev) : nullptr;
}

// hidapi 0.14's function. On a real device under an older hidapi it fails, and callers fall
// back to reading the descriptor from sysfs.
HIDAPI_FUNCTION int hid_get_report_descriptor(hid_device *dev, unsigned char *buf, size_t buf_size)
{
    if (isVirtual(dev))
        return Registry::instance().reportDescriptor(dev, buf, buf_size);
    return real().getReportDescriptor ? real().getReportDescriptor(dev, buf, buf_size) : -1;
}

HIDAPI_FUNCTION const wchar_t *hid_error(hid_device *dev)
{
    if (isVirtual(dev))
        return Registry::instance().error(dev);
    if (!dev && !openError.empty())
        return openError.c_str();
    if (real().error)
        return real().error(dev);
    return L"Success";
}

HIDAPI_FUNCTION const hid_api_version *hid_version(void)
{
    static const hid_api_version fallback = {HID_API_VERSION_MAJOR, HID_API_VERSION_MINOR, HID_API_VERSION_PATCH};
    return real().version ? real().version() : &fallback;
}

HIDAPI_FUNCTION const char *hid_version_str(void)
{
    return real().versionStr ? real().versionStr() : HID_API_VERSION_STR;
}
