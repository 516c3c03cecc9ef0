// SPDX-License-Identifier: BSD-3-Clause
// The headset dictionary: any text as an application's dictionary, then lookups.

#include <hiddeviceinfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdint>

namespace {

// A text without device rows leaves the dictionary empty, and the next lookup then loads the
// built-in table, the same work for every such text. Skipping those lookups keeps the fuzzer on
// the texts that decide something.
bool hasDeviceRows(const QString &text)
{
    return !QJsonDocument::fromJson(text.toUtf8()).object().value(QLatin1String("devices")).toArray().isEmpty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    hid::HidDeviceDict::init(text);
    if (!hasDeviceRows(text))
        return 0;
    // The lookups: a listed headset of the built-in table, ids that the text may have named,
    // and the vendor-wide and empty keys.
    const unsigned short vid = size > 1 ? static_cast<unsigned short>(data[0] | data[1] << 8) : 0;
    const unsigned short pid = size > 3 ? static_cast<unsigned short>(data[2] | data[3] << 8) : 0;
    for (const auto &key :
         {std::pair<unsigned short, unsigned short>{0x0B0E, 0xA346}, {vid, pid}, {vid, 0}, {0, 0}, {0x1209, 0x0001}}) {
        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(key.first, key.second, isExplicit);
        for (const hid::HidCommand *command : {&code.cmdInit, &code.cmdRing, &code.cmdTalk, &code.cmdHold,
                                               &code.cmdHoldMuted, &code.cmdMute, &code.cmdFromTalkToRing})
            (void)command->size();
    }
    return 0;
}
