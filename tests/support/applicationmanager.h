// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_APPLICATIONMANAGER_H
#define QVHID_TESTS_APPLICATIONMANAGER_H

// The process's one manager, as an application reaches it, and what the tests that drive it
// share.

#include <hiddevicemanager.h>

#include <QString>

// The one manager of the process.
inline qv::hid::HidDeviceManager &manager()
{
    return qv::hid::HidDeviceManager::Instance();
}

// A dictionary that lets the standard configuration take every device it does not list.
inline const QString StandardFallback = QStringLiteral(R"({"fallbackConfiguration": "Standart"})");

#endif
