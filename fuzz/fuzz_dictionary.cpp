// The headset dictionary: any text as an application's dictionary, then lookups.

#include <hiddeviceinfo.h>

#include <QString>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    hid::HidDeviceDict::init(QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    // The lookups: a listed headset of the built-in table, ids that the text may have named,
    // and the vendor-wide and empty keys.
    const unsigned short vid = size > 1 ? static_cast<unsigned short>(data[0] | data[1] << 8) : 0;
    const unsigned short pid = size > 3 ? static_cast<unsigned short>(data[2] | data[3] << 8) : 0;
    for (const auto &key : {std::pair<unsigned short, unsigned short>{0x0B0E, 0xA346}, {vid, pid}, {vid, 0}, {0, 0},
                            {0x1209, 0x0001}}) {
        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(key.first, key.second, isExplicit);
        for (const hid::HidCommand *command : {&code.cmdInit, &code.cmdRing, &code.cmdTalk, &code.cmdHold,
                                               &code.cmdHoldMuted, &code.cmdMute, &code.cmdFromTalkToRing})
            (void)command->size();
    }
    return 0;
}
