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

// The meta-object code of this file's classes, compiled with the rest of them: the ABI check
// (libabigail) takes a class's functions from the unit that holds its meta-object code.
#include "moc_hidreader.cpp"
