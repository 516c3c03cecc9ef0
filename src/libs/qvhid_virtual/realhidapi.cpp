// SPDX-License-Identifier: BSD-3-Clause
#include "realhidapi.h"

#include <dlfcn.h>

namespace hid::virt {

namespace {

constexpr const char *SystemHidapi = "libhidapi-hidraw.so.0";

template<typename Function> void take(void *library, const char *name, Function &target)
{
    target = reinterpret_cast<Function>(dlsym(library, name));
}

RealHidApi load()
{
    RealHidApi api;
    // RTLD_LOCAL keeps its symbols out of the global scope; if a library of the program already
    // loaded it, this returns that same copy.
    void *library = dlopen(SystemHidapi, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return api;
    take(library, "hid_init", api.init);
    take(library, "hid_exit", api.exit);
    take(library, "hid_enumerate", api.enumerate);
    take(library, "hid_free_enumeration", api.freeEnumeration);
    take(library, "hid_open_path", api.openPath);
    take(library, "hid_write", api.write);
    take(library, "hid_read_timeout", api.readTimeout);
    take(library, "hid_read", api.read);
    take(library, "hid_set_nonblocking", api.setNonblocking);
    take(library, "hid_send_feature_report", api.sendFeatureReport);
    take(library, "hid_get_feature_report", api.getFeatureReport);
    take(library, "hid_get_input_report", api.getInputReport);
    take(library, "hid_close", api.close);
    take(library, "hid_get_manufacturer_string", api.getManufacturerString);
    take(library, "hid_get_product_string", api.getProductString);
    take(library, "hid_get_serial_number_string", api.getSerialNumberString);
    take(library, "hid_get_device_info", api.getDeviceInfo);
    take(library, "hid_get_indexed_string", api.getIndexedString);
    take(library, "hid_error", api.error);
    take(library, "hid_version", api.version);
    take(library, "hid_version_str", api.versionStr);
    take(library, "hid_get_report_descriptor", api.getReportDescriptor);
    // The library stays loaded for the life of the process.
    return api;
}

} // namespace

const RealHidApi &RealHidApi::get()
{
    static const RealHidApi api = load();
    return api;
}

} // namespace hid::virt
