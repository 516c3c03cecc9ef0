// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_APPLICATIONMANAGER_H
#define QVHID_TESTS_APPLICATIONMANAGER_H

// The process's one manager, as an application reaches it, and what the tests that drive it
// share.

#include "testheadset.h"

#include <hiddeviceinfo.h>
#include <hiddevicemanager.h>

#include <QString>
#include <QTest>

// The one manager of the process.
inline qv::hid::HidDeviceManager &manager()
{
    return qv::hid::HidDeviceManager::Instance();
}

// A dictionary that lets the standard configuration take every device it does not list.
inline const QString StandardFallback = QStringLiteral(R"({"fallbackConfiguration": "Standart"})");

// Leaves the manager as a test found it: bound to nothing, no call, the last headset's reader
// gone, no headset plugged in, the built-in dictionary.
inline void releaseManager(const TestHeadset &lastHeadset)
{
    manager().onActiveAudioDeviceChanged(QString());
    manager().onCallEnd();
    QTRY_COMPARE(lastHeadset.openHandles(), 0);
    TestHeadset::removeAll();
    hid::HidDeviceDict::init();
}

#endif
