// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe match: which HID interface the library binds for each audio-device name, and by
// which rule. The library's own choice decides (HidDevice::chooseAudioDevice); nothing is opened.

#include "command.h"
#include "dictionary.h"

#include <hiddevice.h>
#include <hiddeviceinfo.h>
#include <virtualmodels.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

namespace probe {

namespace {

QJsonObject choiceOf(const QString &audioDevice)
{
    hid::HidDevice device(nullptr);
    const bool bound = device.chooseAudioDevice(audioDevice);
    const hid::HidDeviceInfo &info = device.getInfo();
    const hid::HidDeviceChoice &choice = device.getChoice();
    QJsonObject object{
        {QStringLiteral("audioDevice"), audioDevice},
        {QStringLiteral("path"), bound ? QJsonValue(info.path) : QJsonValue()},
        {QStringLiteral("rule"), choice.rule},
        {QStringLiteral("soundCard"), choice.soundCard >= 0 ? QJsonValue(choice.soundCard) : QJsonValue()},
    };
    if (bound) {
        object.insert(QStringLiteral("vendorId"), info.vendorId);
        object.insert(QStringLiteral("productId"), info.productId);
        object.insert(QStringLiteral("product"), info.name);
        object.insert(QStringLiteral("interfaceNumber"), choice.interfaceNumber);
        object.insert(QStringLiteral("usagePage"), choice.usagePage);
        object.insert(QStringLiteral("usage"), choice.usage);
    }
    return object;
}

void showText(const QJsonObject &choice)
{
    out() << "\"" << choice.value(QStringLiteral("audioDevice")).toString() << "\"\n";
    if (choice.value(QStringLiteral("path")).isNull()) {
        out() << "    binds nothing: " << choice.value(QStringLiteral("rule")).toString() << "\n";
        return;
    }
    out() << "    binds " << choice.value(QStringLiteral("path")).toString() << ": "
          << hexId(uint(choice.value(QStringLiteral("vendorId")).toInt())) << ":"
          << hexId(uint(choice.value(QStringLiteral("productId")).toInt())) << " \""
          << choice.value(QStringLiteral("product")).toString() << "\", interface "
          << choice.value(QStringLiteral("interfaceNumber")).toInt() << ", usage page "
          << hexId(uint(choice.value(QStringLiteral("usagePage")).toInt())) << ", usage "
          << hexId(uint(choice.value(QStringLiteral("usage")).toInt())) << "\n"
          << "    rule: " << choice.value(QStringLiteral("rule")).toString() << "\n";
}

} // namespace

int runMatch(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe match: shows, for each audio-device name, the HID interface the library binds\n"
                       "for it and the rule that led there, or why it binds none. Names may be given as the\n"
                       "sound layers give them: hw:2, sysdefault:CARD=Headset, alsa_output.usb-...analog-stereo,\n"
                       "\"Office Headset 20 Analog Stereo\", \"Headset Microphone (Office Headset 20)\". Nothing is\n"
                       "opened. Exits 0 when every name binds an interface, 1 otherwise."));
    parser.addPositionalArgument(QStringLiteral("NAME"), QStringLiteral("An audio-device name."),
                                 QStringLiteral("NAME..."));
    const QCommandLineOption dictionary = dictionaryOption();
    const QCommandLineOption json(
        QStringLiteral("json"),
        QStringLiteral("Print one JSON array, an object per name in order: audioDevice, path "
                       "(null when nothing binds), rule, soundCard, and for a bound interface "
                       "vendorId, productId, product, interfaceNumber, usagePage, usage."));
    const QCommandLineOption virtualOption(
        QStringLiteral("virtual"),
        QStringLiteral("Plug in the virtual headset MODEL first; may be given more than once."),
        QStringLiteral("MODEL"));
    const QCommandLineOption fallback = fallbackOption();
    parser.addOption(dictionary);
    parser.addOption(fallback);
    parser.addOption(json);
    parser.addOption(virtualOption);
    if (!parseArguments(parser, arguments))
        return UsageError;
    const QStringList names = parser.positionalArguments();
    if (names.isEmpty()) {
        err() << "qvhid-probe match: give at least one audio-device name.\n"
              << "Try 'qvhid-probe match --help'.\n";
        return UsageError;
    }

    QString text;
    if (!loadDictionary(QStringLiteral("match"), parser, dictionary, fallback, text))
        return UsageError;
    std::vector<hid::virt::VirtualDevice> virtualDevices;
    if (!plugVirtualModels(QStringLiteral("match"), parser.values(virtualOption), virtualDevices))
        return UsageError;
    hid::HidDeviceDict::init(text);

    QJsonArray choices;
    bool everyNameBinds = true;
    for (const QString &name : names) {
        const QJsonObject choice = choiceOf(name);
        everyNameBinds = everyNameBinds && !choice.value(QStringLiteral("path")).isNull();
        if (parser.isSet(json))
            choices.append(choice);
        else
            showText(choice);
    }
    if (parser.isSet(json))
        out() << QJsonDocument(choices).toJson(QJsonDocument::Indented);
    for (hid::virt::VirtualDevice &device : virtualDevices)
        device.remove();
    return everyNameBinds ? Success : Failure;
}

} // namespace probe
