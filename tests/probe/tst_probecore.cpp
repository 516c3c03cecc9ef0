// SPDX-License-Identifier: BSD-3-Clause
// What the probe works out besides its commands: a headset's call control from its descriptor,
// the dictionary entry that binds it, the udev rules that give access, and where JSON values stand.

#include "callcontrol.h"
#include "descriptors.h"
#include "jsonlayout.h"
#include "udevrule.h"

#include <hiddeviceinfo.h>
#include <hidapi_parser.h>

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>
#include <memory>

namespace {

struct Parsed
{
    explicit Parsed(const QByteArray &bytes)
        : descriptor(
            hid_parse_descriptor(reinterpret_cast<const unsigned char *>(bytes.constData()), std::size_t(bytes.size())),
            &std::free)
    {
    }
    std::unique_ptr<hid_descriptor, void (*)(void *)> descriptor;
};

// A Telephony Phone collection (0x0B/0x01) whose lamps are on the vendor page 0xFF40.
QByteArray phoneWithVendorLamps()
{
    QByteArray bytes = descriptors::telephonyHeadset();
    bytes.replace(2, 2, QByteArray::fromHex("0901"));                                            // USAGE (Phone)
    bytes.replace(bytes.indexOf(QByteArray::fromHex("0508")), 2, QByteArray::fromHex("0640ff")); // USAGE_PAGE (0xFF40)
    return bytes;
}

// A consumer-control collection with one volume button.
QByteArray consumerControl()
{
    return QByteArray::fromHex("050c0901a101150025010975750195018102750795018103c0");
}

void writeText(const QString &path, const QByteArray &text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

} // namespace

class TestProbeCore : public QObject
{
    Q_OBJECT

private slots:
    void findsTheHeadsetCollectionAndItsLamps();
    void findsAnotherTelephonyCollectionWithItsPages();
    void findsNothingWithoutTelephony();
    void theEntryForAStandardHeadsetNamesTheBuiltInConfiguration();
    void theEntryForOtherPagesBindsWithThosePages();
    void udevRuleForAProductAndForAVendor();
    void findsAnInstalledRule();
    void deniedAccessNamesTheMissingRule();
    void deniedAccessWithARuleSaysToReplug();
    void deniedTelephonyHeadsetNamesTheTelephonyRules();
    void deniedTelephonyHeadsetWithTheTelephonyRulesSaysToReplug();
    void jsonLayoutGivesLinesAndDuplicateKeys();
    void lineAndColumnOfAnOffset();
};

void TestProbeCore::findsTheHeadsetCollectionAndItsLamps()
{
    const Parsed parsed(descriptors::telephonyHeadset());
    const probe::CallControl control = probe::findCallControl(parsed.descriptor.get());
    QVERIFY(control.found);
    QCOMPARE(control.collectionPage, 0x0B);
    QCOMPARE(control.collectionUsage, 0x05);
    QCOMPARE(control.inputPage, 0x0B);
    QCOMPARE(control.outputPage, 0x08);
    QCOMPARE(control.lamps, (QStringList{"Off-Hook", "Ring", "Mute", "Hold", "Microphone", "On-Line"}));
    QVERIFY(control.fitsBuiltInCodes());
    QCOMPARE(probe::describe(control),
             QStringLiteral("Telephony Headset collection (0x000B/0x0005), buttons on page 0x000B, "
                            "lamps Off-Hook Ring Mute Hold Microphone On-Line"));
}

void TestProbeCore::findsAnotherTelephonyCollectionWithItsPages()
{
    const Parsed parsed(phoneWithVendorLamps());
    QVERIFY(parsed.descriptor);
    const probe::CallControl control = probe::findCallControl(parsed.descriptor.get());
    QVERIFY(control.found);
    QCOMPARE(control.collectionUsage, 0x01);
    QCOMPARE(control.outputPage, 0xFF40);
    QVERIFY(control.lamps.isEmpty());
    QVERIFY(!control.fitsBuiltInCodes());
    QCOMPARE(probe::describe(control),
             QStringLiteral("Telephony Phone collection (0x000B/0x0001), buttons on page 0x000B, outputs on page "
                            "0xFF40"));
}

void TestProbeCore::findsNothingWithoutTelephony()
{
    const Parsed parsed(consumerControl());
    QVERIFY(parsed.descriptor);
    const probe::CallControl control = probe::findCallControl(parsed.descriptor.get());
    QVERIFY(!control.found);
    QCOMPARE(probe::describe(control), QStringLiteral("no Telephony collection (page 0x000B): no call control"));
    QVERIFY(!probe::findCallControl(nullptr).found);
}

void TestProbeCore::theEntryForAStandardHeadsetNamesTheBuiltInConfiguration()
{
    const Parsed parsed(descriptors::telephonyHeadset());
    const QString entry = probe::dictionaryEntry(probe::findCallControl(parsed.descriptor.get()),
                                                 QStringLiteral("Desk \"Pro\""), 0x1209, 0x00AB);
    QCOMPARE(
        entry,
        QStringLiteral("\"devices\": [ { \"name\": \"Desk \\\"Pro\\\"\", \"vid\": \"0x1209\", \"pid\": \"0x00AB\", "
                       "\"configuration\": \"Standart\" } ]"));
}

void TestProbeCore::theEntryForOtherPagesBindsWithThosePages()
{
    const Parsed parsed(phoneWithVendorLamps());
    const QString entry = probe::dictionaryEntry(probe::findCallControl(parsed.descriptor.get()),
                                                 QStringLiteral("Phone"), 0x1209, 0x00AC);
    // Pasted between braces, the entry is a dictionary that gives the headset those pages.
    QJsonParseError error;
    QVERIFY(!QJsonDocument::fromJson("{" + entry.toUtf8() + "}", &error).isNull());
    hid::HidDeviceDict::init(QLatin1Char('{') + entry + QLatin1Char('}'));
    bool isExplicit = false;
    const hid::HidCode code = hid::HidDeviceDict::getHidCode(0x1209, 0x00AC, isExplicit);
    QVERIFY(isExplicit);
    QCOMPARE(code.devUsagePage, 0x0B);
    QCOMPARE(code.devUsageID, 0x01);
    QCOMPARE(code.inputPage, 0x0B);
    QCOMPARE(code.outputPage, 0xFF40);
    hid::HidDeviceDict::init();
}

void TestProbeCore::udevRuleForAProductAndForAVendor()
{
    QCOMPARE(probe::udevRule(0x0B0E, 0x030D),
             QStringLiteral(
                 "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"0b0e\", ATTRS{idProduct}==\"030d\", TAG+=\"uaccess\""));
    QCOMPARE(probe::udevRule(0x0B0E, 0),
             QStringLiteral("SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"0b0e\", TAG+=\"uaccess\""));
}

void TestProbeCore::findsAnInstalledRule()
{
    QTemporaryDir etc;
    QTemporaryDir lib;
    writeText(etc.filePath(QStringLiteral("60-other.rules")),
              "# SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"0b0e\", TAG+=\"uaccess\"\n"
              "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"0b0e\", ATTRS{idProduct}==\"0001\", TAG+=\"uaccess\"\n");
    writeText(lib.filePath(QStringLiteral("70-qvhid-headsets.rules")), probe::udevRule(0x0B0E, 0x030D).toUtf8() + "\n");
    writeText(lib.filePath(QStringLiteral("80-vendor.rules")),
              "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"047F\", MODE=\"0660\"\n");
    const QStringList directories = {etc.path(), lib.path()};
    QCOMPARE(probe::findUdevRule(directories, 0x0B0E, 0x030D), lib.filePath(QStringLiteral("70-qvhid-headsets.rules")));
    QCOMPARE(probe::findUdevRule(directories, 0x0B0E, 0x0001), etc.filePath(QStringLiteral("60-other.rules")));
    QCOMPARE(probe::findUdevRule(directories, 0x047F, 0xC038), lib.filePath(QStringLiteral("80-vendor.rules")));
    QCOMPARE(probe::findUdevRule(directories, 0x0B0E, 0xA345), QString()); // only a commented-out rule covers it
    QCOMPARE(probe::findUdevRule({QStringLiteral("/nonexistent")}, 0x0B0E, 0x030D), QString());
}

void TestProbeCore::deniedAccessNamesTheMissingRule()
{
    QTemporaryDir empty;
    const QString text = probe::deniedAccess({empty.path()}, 0x1209, 0x00AB, false);
    QVERIFY2(text.startsWith(
                 QLatin1String("denied; no udev rule gives the user access to it. The missing rule is\n"
                               "        SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"1209\", ATTRS{idProduct}==\"00ab\", "
                               "TAG+=\"uaccess\"\n")),
             qPrintable(text));
    QVERIFY(text.contains(QLatin1String("/etc/udev/rules.d/70-qvhid-headsets.rules")));
    QVERIFY(text.contains(QLatin1String("udevadm control --reload && udevadm trigger --subsystem-match=hidraw")));
}

void TestProbeCore::deniedAccessWithARuleSaysToReplug()
{
    QTemporaryDir lib;
    const QString rules = lib.filePath(QStringLiteral("70-qvhid-headsets.rules"));
    writeText(rules, probe::udevRule(0x1209, 0x00AB).toUtf8() + "\n");
    const QString text = probe::deniedAccess({lib.path()}, 0x1209, 0x00AB, false);
    QVERIFY2(text.startsWith(QStringLiteral("denied, although %1 has a rule for it.").arg(rules)), qPrintable(text));
    QVERIFY(text.contains(QLatin1String("unplug the headset and plug it in again")));
    QVERIFY(text.contains(QLatin1String("not to a login over ssh")));
}

void TestProbeCore::deniedTelephonyHeadsetNamesTheTelephonyRules()
{
    QTemporaryDir lib;
    // A per-model rule of another model does not cover it; nor does it matter for a headset.
    writeText(lib.filePath(QStringLiteral("70-qvhid-headsets.rules")), probe::udevRule(0x0B0E, 0x030D).toUtf8() + "\n");
    QCOMPARE(probe::findTelephonyRules({lib.path()}), QString());
    const QString text = probe::deniedAccess({lib.path()}, 0x1209, 0x00AB, true);
    QVERIFY2(
        text.startsWith(QLatin1String("denied; the library's udev rules for telephony headsets are not installed.")),
        qPrintable(text));
    QVERIFY(text.contains(QLatin1String("70-qvhid-telephony.rules")));
    QVERIFY(text.contains(QLatin1String("udevadm control --reload && udevadm trigger --subsystem-match=hidraw")));
    QVERIFY(!text.contains(QLatin1String("ATTRS{idVendor}")));
}

void TestProbeCore::deniedTelephonyHeadsetWithTheTelephonyRulesSaysToReplug()
{
    QTemporaryDir etc;
    QTemporaryDir lib;
    writeText(etc.filePath(QStringLiteral("60-other.rules")), "SUBSYSTEM==\"input\", TAG+=\"uaccess\"\n");
    const QString rules = lib.filePath(QStringLiteral("70-qvhid-telephony.rules"));
    QFile shipped(QStringLiteral(TELEPHONY_RULES));
    QVERIFY(shipped.open(QIODevice::ReadOnly));
    writeText(rules, shipped.readAll());
    QCOMPARE(probe::findTelephonyRules({etc.path(), lib.path()}), rules);
    const QString text = probe::deniedAccess({etc.path(), lib.path()}, 0x1209, 0x00AB, true);
    QVERIFY2(text.startsWith(
                 QStringLiteral("denied, although %1 gives the user at the seat every telephony headset.").arg(rules)),
             qPrintable(text));
    QVERIFY(text.contains(QLatin1String("unplug the headset and plug it in again")));
    QVERIFY(text.contains(QLatin1String("not to a login over ssh")));
}

void TestProbeCore::jsonLayoutGivesLinesAndDuplicateKeys()
{
    const probe::JsonLayout layout(
        QStringLiteral("{\n  \"devices\": [\n    { \"vid\": \"1\",\n      \"v\\u0069d\": \"2\" },\n"
                       "    [ 1, \"a\\\"b\", {} ]\n  ],\n  \"devices\": null\n}"));
    QCOMPARE(layout.lineOf(QStringLiteral("devices[0].vid")), 4);
    QCOMPARE(layout.lineOf(QStringLiteral("devices[1][1]")), 5);
    QCOMPARE(layout.lineOf(QStringLiteral("devices[1][2]")), 5);
    QCOMPARE(layout.lineOf(QStringLiteral("devices")), 7);
    QCOMPARE(layout.lineOf(QStringLiteral("nowhere")), 0);
    QCOMPARE(layout.duplicateKeys().size(), 2);
    QCOMPARE(layout.duplicateKeys()[0].objectPath, QStringLiteral("devices[0]"));
    QCOMPARE(layout.duplicateKeys()[0].key, QStringLiteral("vid")); // "v\u0069d" is "vid"
    QCOMPARE(layout.duplicateKeys()[0].firstLine, 3);
    QCOMPARE(layout.duplicateKeys()[0].line, 4);
    QCOMPARE(layout.duplicateKeys()[1].objectPath, QString());
    QCOMPARE(layout.duplicateKeys()[1].key, QStringLiteral("devices"));
    QCOMPARE(layout.duplicateKeys()[1].firstLine, 2);
    QCOMPARE(layout.duplicateKeys()[1].line, 7);
}

void TestProbeCore::lineAndColumnOfAnOffset()
{
    int line = 0;
    int column = 0;
    // "é" is two bytes in UTF-8 and one character.
    probe::lineAndColumn(QStringLiteral("{\n  \"\u00e9\": x"), 10, line, column);
    QCOMPARE(line, 2);
    QCOMPARE(column, 8);
    probe::lineAndColumn(QString(), 5, line, column);
    QCOMPARE(line, 1);
    QCOMPARE(column, 1);
}

QTEST_GUILESS_MAIN(TestProbeCore)
#include "tst_probecore.moc"
