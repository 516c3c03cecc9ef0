#include "hiddeviceinfo.h"

#include <QJsonArray>

namespace hid {

HidCode::HidCode()
{
    initStdCommands();
}

HidCode::HidCode(unsigned short devUsagePage, unsigned short devUsageID, unsigned short inputPage,
                 unsigned short outputPage)
    : devUsagePage(devUsagePage)
    , devUsageID(devUsageID)
    , inputPage(inputPage)
    , outputPage(outputPage)
{
    initStdCommands();
}

HidCode::~HidCode() = default;

void HidCode::initStdCommands()
{
    cmdInit.push_back({});
    cmdRing.push_back({usage::Ring, usage::OnLine});
    cmdTalk.push_back({usage::OffHook, usage::OnLine});
    cmdMute.push_back({usage::OffHook, usage::Mute, usage::OnLine});
    cmdHold.push_back({usage::OffHook, usage::Hold, usage::OnLine});
    cmdHoldMuted.push_back({usage::OffHook, usage::Mute, usage::Hold, usage::OnLine});
    cmdFromTalkToRing.push_back({usage::OffHook, usage::Ring, usage::OnLine});
}

unsigned int valToUint(const QJsonValue& value, unsigned int defaultValue)
{
    // A JSON number is deliberately not read: only number texts are.
    const QString text = value.isString() ? value.toString() : QString::number(defaultValue);
    bool ok = false;
    const unsigned int decimal = text.toUInt(&ok, 10);
    if (ok)
        return decimal;
    return text.toUInt(nullptr, 16); // 0 when this fails too
}

ClickType valToClickType(const QJsonValue& value, ClickType defaultValue)
{
    const QString text = value.toString();
    if (text.compare(QLatin1String("CLICK"), Qt::CaseInsensitive) == 0)
        return CLICK;
    if (text.compare(QLatin1String("MUTE"), Qt::CaseInsensitive) == 0)
        return MUTE;
    if (text.compare(QLatin1String("NONE"), Qt::CaseInsensitive) == 0)
        return NONE;
    return static_cast<ClickType>(valToUint(value, static_cast<unsigned int>(defaultValue)));
}

unsigned short valToUsage(const QJsonValue& value)
{
    struct NamedUsage
    {
        const char* name;
        unsigned short usage;
    };
    static const NamedUsage names[] = {
        {"MUTE", usage::Mute},     {"HOOK", usage::OffHook},     {"RING", usage::Ring},
        {"HOLD", usage::Hold},     {"MIC", usage::Microphone}, {"ONLINE", usage::OnLine},
    };
    const QString text = value.toString();
    for (const NamedUsage& named : names) {
        if (text.compare(QLatin1String(named.name), Qt::CaseInsensitive) == 0)
            return named.usage;
    }
    return static_cast<unsigned short>(valToUint(value, 0));
}

void getCmd(const QJsonObject& object, const QString& key, std::vector<std::vector<unsigned short>>& command)
{
    if (!object.contains(key))
        return; // the built-in command stays
    command.clear();
    const QJsonArray steps = object.value(key).toArray();
    for (const QJsonValue& stepValue : steps) {
        std::vector<unsigned short> step;
        const QJsonArray usages = stepValue.toArray();
        for (const QJsonValue& usageValue : usages) {
            const unsigned short usage = valToUsage(usageValue);
            if (usage != 0)
                step.push_back(usage);
        }
        command.push_back(std::move(step));
    }
}

} // namespace hid
