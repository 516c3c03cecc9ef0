// SPDX-License-Identifier: BSD-3-Clause
// The system's hidapi, loaded at run time, for the calls on real devices. Its functions are
// taken from its own library handle, never from the process's global scope, where this
// library's functions of the same names are found first.
#ifndef QVHID_VIRTUAL_REALHIDAPI_H
#define QVHID_VIRTUAL_REALHIDAPI_H

#include <hidapi.h>

namespace hid::virt {

struct RealHidApi
{
    decltype(&::hid_init) init = nullptr;
    decltype(&::hid_exit) exit = nullptr;
    decltype(&::hid_enumerate) enumerate = nullptr;
    decltype(&::hid_free_enumeration) freeEnumeration = nullptr;
    decltype(&::hid_open_path) openPath = nullptr;
    decltype(&::hid_write) write = nullptr;
    decltype(&::hid_read_timeout) readTimeout = nullptr;
    decltype(&::hid_read) read = nullptr;
    decltype(&::hid_set_nonblocking) setNonblocking = nullptr;
    decltype(&::hid_send_feature_report) sendFeatureReport = nullptr;
    decltype(&::hid_get_feature_report) getFeatureReport = nullptr;
    decltype(&::hid_get_input_report) getInputReport = nullptr;
    decltype(&::hid_close) close = nullptr;
    decltype(&::hid_get_manufacturer_string) getManufacturerString = nullptr;
    decltype(&::hid_get_product_string) getProductString = nullptr;
    decltype(&::hid_get_serial_number_string) getSerialNumberString = nullptr;
    decltype(&::hid_get_device_info) getDeviceInfo = nullptr;
    decltype(&::hid_get_indexed_string) getIndexedString = nullptr;
    decltype(&::hid_error) error = nullptr;
    decltype(&::hid_version) version = nullptr;
    decltype(&::hid_version_str) versionStr = nullptr;
    // hidapi 0.14 and later only.
    int (*getReportDescriptor)(hid_device *, unsigned char *, size_t) = nullptr;

    // Loaded on first use; when the system has no hidapi, every member is null and the
    // process sees only virtual devices.
    static const RealHidApi &get();
};

} // namespace hid::virt

#endif // QVHID_VIRTUAL_REALHIDAPI_H
