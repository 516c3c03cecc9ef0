#ifndef QVHID_TESTS_VIRTUALHEADSETS_H
#define QVHID_TESTS_VIRTUALHEADSETS_H

// The ready virtual headsets and the built-in dictionary's codes, as the tests take them.

#include <hiddeviceinfo.h>
#include <virtualmodels.h>

#include <QtGlobal>

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

// The code of a row that the built-in dictionary lists explicitly.
inline hid::HidCode dictionaryCode(unsigned short vid, unsigned short pid)
{
    bool isExplicit = false;
    const hid::HidCode code = hid::HidDeviceDict::getHidCode(vid, pid, isExplicit);
    Q_ASSERT(isExplicit);
    return code;
}

#endif // QVHID_TESTS_VIRTUALHEADSETS_H
