// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_HIDREADER_H
#define QVHID_PLATFORM_HIDREADER_H

#include "hidreaderbase.h"

namespace hid {

/// The reader of this platform: the base's behaviour over hidapi.
class QVHID_EXPORT HidReader : public HidReaderBase
{
    Q_OBJECT

public:
    explicit HidReader(const HidDeviceInfo &info);
    ~HidReader() override;
};

/// A new reader for the chosen device; the caller owns it.
QVHID_EXPORT HidReaderBase *getReader(const HidDeviceInfo &info);

} // namespace hid

#endif // QVHID_PLATFORM_HIDREADER_H
