// SPDX-License-Identifier: BSD-3-Clause
#include "hiddecoder.h"

namespace hid {

HidDecoder::HidDecoder(const HidDeviceInfo &info, hid_device *device)
    : HidDecoderBase(info, device)
{
}

HidDecoder::~HidDecoder() = default;

HidDecoderBase *CreateHidDecoder(const HidDeviceInfo &info, hid_device *device)
{
    return new HidDecoder(info, device);
}

} // namespace hid
