// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_VIRTUALHEADSETS_H
#define QVHID_TESTS_VIRTUALHEADSETS_H

// The ready virtual headsets and the built-in dictionary's codes, as the tests take them.

#include "timingscale.h"

#include <hiddeviceinfo.h>
#include <virtualhid.h>
#include <virtualmodels.h>

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <chrono>

// Interface `index` of a ready model, without its path, so that each device added from it gets
// a path of its own.
inline hid::virt::DeviceDescription modelDescription(const char *model, int index = 0)
{
    const hid::virt::Model *found = hid::virt::findModel(model);
    Q_ASSERT(found);
    hid::virt::DeviceDescription description = found->interfaces.at(static_cast<std::size_t>(index));
    description.path.clear();
    return description;
}

// Faults of a headset whose node cannot be opened, as one without permission to it.
inline hid::virt::Faults openFailing()
{
    hid::virt::Faults faults;
    faults.openFails = true;
    return faults;
}

// The code of a row that the built-in dictionary lists explicitly.
inline hid::HidCode dictionaryCode(unsigned short vid, unsigned short pid)
{
    bool isExplicit = false;
    const hid::HidCode code = hid::HidDeviceDict::getHidCode(vid, pid, isExplicit);
    Q_ASSERT(isExplicit);
    return code;
}

// Waits until a binding's reader listens for input on `device` again: the lamps of the state
// just entered written and the headset's answers read back, so that a press now is taken as one.
inline bool listening(const hid::virt::VirtualDevice &device)
{
    return device.waitForListeningReader(std::chrono::milliseconds(5000 * timingScale()));
}

// Report bytes as lowercase hex without blanks: "0222".
inline QString hexOf(const hid::virt::Bytes &bytes)
{
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size())).toHex());
}

// Every report the device received, in order, as hexOf() writes it.
inline QStringList writtenHex(const hid::virt::VirtualDevice &device)
{
    QStringList result;
    for (const hid::virt::WrittenReport &report : device.writtenReports())
        result << hexOf(report.bytes);
    return result;
}

#endif // QVHID_TESTS_VIRTUALHEADSETS_H
