// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_MANAGERRELEASE_H
#define QVHID_TESTS_MANAGERRELEASE_H

// For the tests that link a TestHeadset implementation.

#include "applicationmanager.h"
#include "testheadset.h"

#include <hiddeviceinfo.h>

#include <QTest>

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
