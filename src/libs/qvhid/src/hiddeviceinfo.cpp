// SPDX-License-Identifier: BSD-3-Clause
#include "hiddeviceinfo.h"

#include "hidlog.h"
#include "mutexlocker.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

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

unsigned int valToUint(const QJsonValue &value, unsigned int defaultValue)
{
    // A JSON number is deliberately not read: only number texts are.
    const QString text = value.isString() ? value.toString() : QString::number(defaultValue);
    bool ok = false;
    const unsigned int decimal = text.toUInt(&ok, 10);
    if (ok)
        return decimal;
    return text.toUInt(nullptr, 16); // 0 when this fails too
}

ClickType valToClickType(const QJsonValue &value, ClickType defaultValue)
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

unsigned short valToUsage(const QJsonValue &value)
{
    struct NamedUsage
    {
        const char *name;
        unsigned short usage;
    };
    static const NamedUsage names[] = {
        {"MUTE", usage::Mute}, {"HOOK", usage::OffHook},   {"RING", usage::Ring},
        {"HOLD", usage::Hold}, {"MIC", usage::Microphone}, {"ONLINE", usage::OnLine},
    };
    const QString text = value.toString();
    for (const NamedUsage &named : names) {
        if (text.compare(QLatin1String(named.name), Qt::CaseInsensitive) == 0)
            return named.usage;
    }
    return static_cast<unsigned short>(valToUint(value, 0));
}

void getCmd(const QJsonObject &object, const QString &key, std::vector<std::vector<unsigned short>> &command)
{
    if (!object.contains(key))
        return; // the built-in command stays
    command.clear();
    const QJsonArray steps = object.value(key).toArray();
    for (const QJsonValue &stepValue : steps) {
        std::vector<unsigned short> step;
        const QJsonArray usages = stepValue.toArray();
        for (const QJsonValue &usageValue : usages) {
            const unsigned short usage = valToUsage(usageValue);
            if (usage != 0)
                step.push_back(usage);
        }
        command.push_back(std::move(step));
    }
}

QMap<HidDeviceDict::VidPid, HidCode> HidDeviceDict::devMap;
bool HidDeviceDict::hasFallback = false;
QString HidDeviceDict::fallbackName;
HidCode HidDeviceDict::fallbackCode;
QMutex HidDeviceDict::mutex;

namespace {

const QLatin1String FallbackKey("fallbackConfiguration");

// The text of the built-in table, up to its first NUL byte; null when the resource cannot be opened.
QString builtInTableText()
{
    QFile resource(QStringLiteral(":headsets.json"));
    if (!resource.open(QIODevice::ReadOnly))
        return QString();
    QByteArray bytes = resource.readAll();
    const int nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes.truncate(nul);
    return QString::fromLatin1(bytes);
}

// A dictionary that names a fallback configuration is read on top of the built-in table, so
// that opting in takes one line and the application's own rows add to the built-in ones:
// the built-in configurations and rows come first, the text's after them, and a later
// configuration of the same name, or a later row with the same ids, replaces the earlier one.
void layerOnBuiltInTable(QJsonObject &configurations, QJsonArray &devices)
{
    const QJsonObject builtIn = QJsonDocument::fromJson(builtInTableText().toUtf8()).object();
    QJsonObject allConfigurations = builtIn.value(QLatin1String("configurations")).toObject();
    for (auto configuration = configurations.constBegin(); configuration != configurations.constEnd(); ++configuration)
        allConfigurations.insert(configuration.key(), configuration.value());
    QJsonArray allDevices = builtIn.value(QLatin1String("devices")).toArray();
    for (const QJsonValue &row : qAsConst(devices))
        allDevices.append(row);
    configurations = allConfigurations;
    devices = allDevices;
}

// One device row: the built-in defaults, overridden by the keys its configuration has.
HidCode codeFromConfiguration(const QJsonObject &configuration)
{
    HidCode code;
    if (configuration.isEmpty())
        return code;
    auto page = [&configuration](const char *key, unsigned short current) {
        return static_cast<unsigned short>(valToUint(configuration.value(QLatin1String(key)), current));
    };
    code.devUsagePage = page("devUsagePage", code.devUsagePage);
    code.devUsageID = page("devUsageID", code.devUsageID);
    code.inputPage = page("inputPage", code.inputPage);
    code.outputPage = page("outputPage", code.outputPage);
    code.longDelay = configuration.value(QLatin1String("longDelay")).toBool(code.longDelay);
    code.clickTypeOnEmptyCode =
        valToClickType(configuration.value(QLatin1String("clickTypeOnEmptyCode")), code.clickTypeOnEmptyCode);
    getCmd(configuration, QStringLiteral("cmdInit"), code.cmdInit);
    getCmd(configuration, QStringLiteral("cmdRing"), code.cmdRing);
    getCmd(configuration, QStringLiteral("cmdTalk"), code.cmdTalk);
    getCmd(configuration, QStringLiteral("cmdHold"), code.cmdHold);
    getCmd(configuration, QStringLiteral("cmdHoldMuted"), code.cmdHoldMuted);
    getCmd(configuration, QStringLiteral("cmdMute"), code.cmdMute);
    getCmd(configuration, QStringLiteral("cmdFromTalkToRing"), code.cmdFromTalkToRing);
    return code;
}

} // namespace

void HidDeviceDict::init()
{
    const QString text = builtInTableText();
    if (!text.isNull())
        init(text);
}

void HidDeviceDict::init(const QString &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    const QJsonObject root = document.object();
    QJsonObject configurations = root.value(QLatin1String("configurations")).toObject();
    QJsonArray devices = root.value(QLatin1String("devices")).toArray();
    const bool layered = root.contains(FallbackKey);
    if (layered)
        layerOnBuiltInTable(configurations, devices);
    const QJsonValue fallback = root.value(FallbackKey);
    const bool fallbackNamesConfiguration = fallback.isString() && configurations.contains(fallback.toString());

    {
        MutexLocker lock(&mutex);
        devMap.clear();
        QHash<QString, HidCode> codes; // each configuration is read once, however many rows name it
        for (const QJsonValue &deviceValue : qAsConst(devices)) {
            const QJsonObject row = deviceValue.toObject();
            const auto vid = static_cast<unsigned short>(valToUint(row.value(QLatin1String("vid")), 0));
            const auto pid = static_cast<unsigned short>(valToUint(row.value(QLatin1String("pid")), 0));
            const QString configurationName = row.value(QLatin1String("configuration")).toString();
            auto code = codes.constFind(configurationName);
            if (code == codes.constEnd())
                code = codes.insert(configurationName,
                                    codeFromConfiguration(configurations.value(configurationName).toObject()));
            // A later row with the same ids replaces the earlier one.
            devMap.insert(VidPid(vid, pid), code.value());
        }
        hasFallback = fallbackNamesConfiguration;
        fallbackName = fallbackNamesConfiguration ? fallback.toString() : QString();
        fallbackCode = fallbackNamesConfiguration ? codeFromConfiguration(configurations.value(fallbackName).toObject())
                                                  : HidCode();
    }
    // Logged outside the lock, so that a logger may look codes up without deadlocking.
    if (document.isNull())
        HID_LOG(log::Error) << "HID HidDeviceDict failed to parse configuration: \n" << json;
    else if (fallbackNamesConfiguration)
        HID_LOG(log::Trace) << "HID HidDeviceDict Headsets without a row of their own get the fallback configuration "
                            << fallback.toString();
    else if (layered && !fallback.isString())
        HID_LOG(log::Warning) << "HID HidDeviceDict fallbackConfiguration is not a configuration name: "
                                 "headsets without a row of their own stay unbound";
    else if (layered)
        HID_LOG(log::Warning) << "HID HidDeviceDict fallbackConfiguration names no configuration: "
                              << fallback.toString() << "; headsets without a row of their own stay unbound";
}

void HidDeviceDict::loadIfEmpty()
{
    bool empty = false;
    {
        MutexLocker lock(&mutex);
        empty = devMap.isEmpty();
    }
    // The load takes the lock itself. Two first lookups at once may both load; each load
    // replaces the whole map, so they agree.
    if (empty)
        init();
}

HidCode HidDeviceDict::getHidCode(unsigned short vid, unsigned short pid, bool &isExplicit)
{
    loadIfEmpty();
    MutexLocker lock(&mutex);
    isExplicit = false;
    const auto exact = devMap.constFind(VidPid(vid, pid));
    if (exact != devMap.constEnd()) {
        isExplicit = true;
        return exact.value();
    }
    const auto vendorWide = devMap.constFind(VidPid(vid, 0));
    if (vendorWide != devMap.constEnd())
        return vendorWide.value();
    return HidCode();
}

bool HidDeviceDict::getFallbackCode(HidCode &code, QString &configuration)
{
    loadIfEmpty();
    MutexLocker lock(&mutex);
    if (!hasFallback)
        return false;
    code = fallbackCode;
    configuration = fallbackName;
    return true;
}

} // namespace hid
