// SPDX-License-Identifier: BSD-3-Clause
// The headset decoder on a virtual headset whose descriptor and reports are the input: the
// decoder reads the descriptor through hidapi as it does from a plugged-in headset, then turns
// every report into a gesture and every lamp command of the model into output reports.

#include "fuzzinput.h"

#include <hiddeviceinfo.h>
#include <hidapi.h>
#include <platform/hiddecoder.h>
#include <virtualhid.h>

#include <memory>

namespace {

// The model's code: the standard headset's, or one on vendor pages, chosen by the input.
hid::HidCode codeFor(uint8_t choice)
{
    hid::HidCode code = choice & 1 ? hid::HidCode(0xFF00, 0x05, 0xFF30, 0xFF40) : hid::HidCode();
    code.clickTypeOnEmptyCode = static_cast<hid::ClickType>(int(choice >> 1 & 3) - 1);
    return code;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const std::vector<uint8_t> choice = input.take(1);
    hid::virt::DeviceDescription description;
    description.vendorId = 0x1209;
    description.productId = 0x0001;
    description.product = L"Fuzzed Headset";
    description.descriptor = input.descriptor();
    hid::virt::VirtualDevice device = hid::virt::VirtualDevice::add(description);
    hid_device *handle = hid_open_path(device.path().c_str());
    if (handle) {
        hid::HidDeviceInfo info;
        info.vendorId = description.vendorId;
        info.productId = description.productId;
        info.path = QString::fromStdString(device.path());
        info.code = codeFor(choice.empty() ? 0 : choice[0]);
        {
            const std::unique_ptr<hid::HidDecoderBase> decoder(hid::CreateHidDecoder(info, handle));
            while (!input.empty()) {
                const std::vector<unsigned char> report = input.report();
                std::vector<unsigned short> usages;
                decoder->getClickTypeFromData(report, static_cast<unsigned short>(report.size()), usages);
            }
            for (const hid::HidCommand *command : {&info.code.cmdInit, &info.code.cmdRing, &info.code.cmdTalk,
                                                   &info.code.cmdMute, &info.code.cmdHold, &info.code.cmdHoldMuted}) {
                for (const std::vector<unsigned short> &step : *command) {
                    std::vector<std::vector<unsigned char>> reports;
                    decoder->makeOutputReport(info.code.outputPage, step, reports);
                }
            }
        }
        hid_close(handle);
    }
    device.remove();
    return 0;
}
