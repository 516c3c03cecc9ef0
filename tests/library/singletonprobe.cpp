// SPDX-License-Identifier: BSD-3-Clause
// A separate module that asks for the manager through the singleton, as a plug-in of the
// application would. Built with hidden visibility like the library itself.
#include <hiddevicemanager.h>

extern "C" Q_DECL_EXPORT void *singletonProbeInstance()
{
    return &qv::hid::HidDeviceManager::Instance();
}
