// SPDX-License-Identifier: BSD-3-Clause
#include "hidreader.h"

namespace hid {

HidReader::HidReader(const HidDeviceInfo &info)
    : HidReaderBase(info)
{
}

HidReader::~HidReader() = default;

HidReaderBase *getReader(const HidDeviceInfo &info)
{
    return new HidReader(info);
}

} // namespace hid
