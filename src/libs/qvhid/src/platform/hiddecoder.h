// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_HIDDECODER_H
#define QVHID_PLATFORM_HIDDECODER_H

#include "hiddecoderbase.h"

namespace hid {

/// The decoder of this platform: the base's behaviour over hidapi and its report parser.
class QVHID_EXPORT HidDecoder : public HidDecoderBase
{
public:
    HidDecoder(const HidDeviceInfo &info, hid_device *device);
    ~HidDecoder() override;
};

/// A new decoder for the opened device; the caller owns it.
QVHID_EXPORT HidDecoderBase *CreateHidDecoder(const HidDeviceInfo &info, hid_device *device);

} // namespace hid

#endif // QVHID_PLATFORM_HIDDECODER_H
