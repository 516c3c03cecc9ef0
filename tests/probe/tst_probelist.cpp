// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe list, run against the virtual headsets, as a user runs it.

#include "proberun.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

// A dictionary that lists some other headset only.
const QByteArray OtherHeadsetOnly = R"({ "configurations": { "Standart": {} },
    "devices": [ { "name": "Other", "vid": "0x1209", "pid": "0x0001", "configuration": "Standart" } ] })";

// The block of `list` output about the interface at `path`: from its heading to the next blank line.
QString blockOf(const QString &output, const QString &path)
{
    for (const QString &block : output.split(QStringLiteral("\n\n"))) {
        if (block.contains(QStringLiteral("path: ") + path + QLatin1Char('\n')))
            return block;
    }
    return QString();
}

QStringList paths(const QString &output)
{
    QStringList result;
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("    path: ")))
            result << line.mid(10);
    }
    return result;
}

} // namespace

class TestProbeList : public QObject
{
    Q_OBJECT

private slots:
    void showsAListedHeadsetTheLibraryBinds();
    void showsTheCallControlInterfaceBoundOfSeveral();
    void warnsWhenTheBoundInterfaceIsNotTheCallControl();
    void givesTheRowThatBindsAnUnlistedHeadset();
    void saysAVendorWideRowBindsNothing();
    void saysADeviceWithoutTelephonyIsNoHeadset();
    void saysWhetherTheFallbackBindsAnUnlistedHeadset();
    void rejectsBadArguments();
};

void TestProbeList::showsAListedHeadsetTheLibraryBinds()
{
    const ProbeRun run =
        runProbe({QStringLiteral("list"), QStringLiteral("--virtual"), QStringLiteral("telephony-headset")});
    QVERIFY2(run.exitCode == 0, qPrintable(run.out + run.err));
    QCOMPARE(paths(run.out).size(), 1); // no real HID device on a test machine
    const QString block = blockOf(run.out, paths(run.out).value(0));
    QVERIFY2(block.contains(QLatin1String("0x0B0E:0x030D  \"Office Headset 20\" by \"Virtual Audio\"\n"
                                          "    release 0x0100, usage page 0x000B, usage 0x0005, interface 3\n")),
             qPrintable(block));
    QVERIFY(block.contains(
        QLatin1String("descriptor: Telephony Headset collection (0x000B/0x0005), buttons on page 0x000B, "
                      "lamps Off-Hook Ring Mute Hold Microphone On-Line\n")));
    QVERIFY(block.contains(QLatin1String("dictionary: listed, configuration \"Standart\"\n")));
    QVERIFY(block.contains(QLatin1String("binding: the library binds this interface for audio devices named "
                                         "\"... (Office Headset 20)\"\n")));
    QVERIFY(block.contains(QLatin1String("access: the current user may open it (read and write)")));
    QVERIFY(!run.out.contains(QLatin1String("attention")));

    const ProbeRun vendorPage =
        runProbe({QStringLiteral("list"), QStringLiteral("--virtual"), QStringLiteral("vendor-page-headset")});
    QCOMPARE(vendorPage.exitCode, 0);
    QVERIFY(vendorPage.out.contains(QLatin1String("dictionary: listed, configuration \"JabraLink360\"")));
}

void TestProbeList::showsTheCallControlInterfaceBoundOfSeveral()
{
    const ProbeRun run =
        runProbe({QStringLiteral("list"), QStringLiteral("--virtual"), QStringLiteral("consumer-first-headset")});
    QCOMPARE(run.exitCode, 0);
    const QStringList found = paths(run.out);
    QCOMPARE(found.size(), 2);
    const QString first = blockOf(run.out, found[0]);
    const QString second = blockOf(run.out, found[1]);
    QVERIFY(first.contains(QLatin1String("usage page 0x000C, usage 0x0001, interface 2")));
    QVERIFY2(first.contains(
                 QStringLiteral("binding: none by product string; %1 has the same product string and is bound instead")
                     .arg(found[1])),
             qPrintable(first));
    QVERIFY(second.contains(QLatin1String("usage page 0x000B, usage 0x0005, interface 3")));
    QVERIFY(second.contains(QLatin1String("binding: the library binds this interface")));
    QVERIFY(!run.out.contains(QLatin1String("warning")));
    QVERIFY(!run.out.contains(QLatin1String("attention")));
}

void TestProbeList::warnsWhenTheBoundInterfaceIsNotTheCallControl()
{
    QTemporaryDir dir;
    // A configuration whose call-control collection no interface of the headset has.
    const QString dictionary = writeFile(QDir(dir.path()), QStringLiteral("elsewhere.json"), QByteArray(R"({
        "configurations": { "Elsewhere": { "devUsagePage": "0xFF99", "devUsageID": "0x01" } },
        "devices": [ { "name": "Office Headset 40", "vid": "0x0B0E", "pid": "0x245E", "configuration": "Elsewhere" } ]
    })"));
    const ProbeRun run = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), dictionary,
                                   QStringLiteral("--virtual"), QStringLiteral("consumer-first-headset")});
    QCOMPARE(run.exitCode, 1);
    const QStringList found = paths(run.out);
    QCOMPARE(found.size(), 2);
    const QString first = blockOf(run.out, found[0]);
    QVERIFY2(first.contains(QLatin1String("binding: the library binds this interface")), qPrintable(first));
    QVERIFY(first.contains(
        QLatin1String("warning: its usage page and usage are not the call-control collection 0xFF99/0x0001")));
    QVERIFY(run.out.contains(QLatin1String("1 headset needs attention")));
}

void TestProbeList::givesTheRowThatBindsAnUnlistedHeadset()
{
    QTemporaryDir dir;
    const QString dictionary = writeFile(QDir(dir.path()), QStringLiteral("other.json"), OtherHeadsetOnly);
    const ProbeRun run = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), dictionary,
                                   QStringLiteral("--virtual"), QStringLiteral("telephony-headset-no-ids")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.out.contains(QLatin1String("dictionary: not listed\n")));
    QVERIFY(run.out.contains(QLatin1String("The library will not bind this headset.")));
    const QString row = QStringLiteral("\"devices\": [ { \"name\": \"Office Headset 30\", \"vid\": \"0x0B0E\", "
                                       "\"pid\": \"0xA345\", \"configuration\": \"Standart\" } ]");
    QVERIFY2(run.out.contains(QStringLiteral("        ") + row + QLatin1Char('\n')), qPrintable(run.out));

    // Pasted into a dictionary, the row makes the library bind the headset.
    const QString fixed = writeFile(QDir(dir.path()), QStringLiteral("fixed.json"),
                                    "{ \"configurations\": { \"Standart\": {} },\n" + row.toUtf8() + " }");
    const ProbeRun listed = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), fixed,
                                      QStringLiteral("--virtual"), QStringLiteral("telephony-headset-no-ids")});
    QVERIFY2(listed.exitCode == 0, qPrintable(listed.out));
    QVERIFY(listed.out.contains(QLatin1String("binding: the library binds this interface for audio devices named "
                                              "\"... (Office Headset 30)\"")));
    QCOMPARE(runProbe({QStringLiteral("check-dictionary"), fixed}).exitCode, 0);
}

void TestProbeList::saysAVendorWideRowBindsNothing()
{
    QTemporaryDir dir;
    const QString dictionary =
        writeFile(QDir(dir.path()), QStringLiteral("vendor.json"), R"({ "configurations": { "Standart": {} },
        "devices": [ { "name": "Every headset of the vendor", "vid": "0x0B0E", "configuration": "Standart" } ] })");
    const ProbeRun run = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), dictionary,
                                   QStringLiteral("--virtual"), QStringLiteral("telephony-headset")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.out.contains(QLatin1String(
        "dictionary: listed only for its whole vendor (configuration \"Standart\"), which the library never binds by "
        "itself\n")));
    QVERIFY(run.out.contains(QLatin1String("\"vid\": \"0x0B0E\", \"pid\": \"0x030D\"")));
}

void TestProbeList::saysADeviceWithoutTelephonyIsNoHeadset()
{
    QTemporaryDir dir;
    const QString dictionary = writeFile(QDir(dir.path()), QStringLiteral("other.json"), OtherHeadsetOnly);
    // Unlisted, the vendor-page headset shows no Telephony collection: the probe cannot tell
    // its pages, and proposes no row.
    const ProbeRun run = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), dictionary,
                                   QStringLiteral("--virtual"), QStringLiteral("vendor-page-headset")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.contains(QLatin1String("descriptor: no Telephony collection (page 0x000B): no call control\n")));
    QVERIFY(run.out.contains(QLatin1String("the library will not bind it: nothing in its descriptor is telephony\n")));
    QVERIFY(!run.out.contains(QLatin1String("\"devices\"")));
}

void TestProbeList::saysWhetherTheFallbackBindsAnUnlistedHeadset()
{
    const QStringList unlisted = {QStringLiteral("list"), QStringLiteral("--virtual"),
                                  QStringLiteral("unlisted-headset")};
    // Without a fallback: what the standard one would do, and the row; it needs attention.
    const ProbeRun plain = runProbe(unlisted);
    QCOMPARE(plain.exitCode, 1);
    QVERIFY2(plain.out.contains(
                 QLatin1String("    fallback: the dictionary names none; with \"fallbackConfiguration\": "
                               "\"Standart\" the library would bind this interface for \"Office Headset 50\": "
                               "no sound card; product string \"Office Headset 50\", interface 3, the call-control "
                               "collection 0x000B/0x0005 of the fallback configuration \"Standart\" (its ids have "
                               "no row of their own)\n")),
             qPrintable(plain.out));
    QVERIFY(plain.out.contains(QLatin1String("The library will not bind this headset.")));

    // With it: bound, nothing needs attention, and the row of its own is still offered.
    const ProbeRun withFallback =
        runProbe(unlisted + QStringList{QStringLiteral("--fallback"), QStringLiteral("Standart")});
    QVERIFY2(withFallback.exitCode == 0, qPrintable(withFallback.out));
    QVERIFY(withFallback.out.contains(
        QLatin1String("    fallback: the dictionary's fallback configuration \"Standart\" binds "
                      "this interface for \"Office Headset 50\": ")));
    QVERIFY(withFallback.out.contains(QLatin1String("A row of its own would bind it without the fallback")));
    QVERIFY(withFallback.out.contains(QLatin1String("\"vid\": \"0x1209\", \"pid\": \"0x0050\"")));

    // A fallback whose collection the headset lacks says why it binds nothing.
    QTemporaryDir dir;
    const QString vendor = writeFile(
        QDir(dir.path()), QStringLiteral("vendor.json"),
        R"({ "fallbackConfiguration": "Vendor", "configurations": { "Vendor": { "devUsagePage": "0xFF00" } } })");
    const ProbeRun refused = runProbe(unlisted + QStringList{QStringLiteral("--dictionary"), vendor});
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.out.contains(
                 QStringLiteral("    fallback: the dictionary's fallback configuration \"Vendor\" does not bind "
                                "it: no sound card; product string \"Office Headset 50\": no HID interface with "
                                "it is listed in the dictionary; the fallback configuration \"Vendor\" does not "
                                "bind virtual-hid/1: its report descriptor has no collection 0xFF00/0x0005\n")),
             qPrintable(refused.out));
}

void TestProbeList::rejectsBadArguments()
{
    const ProbeRun unknownModel =
        runProbe({QStringLiteral("list"), QStringLiteral("--virtual"), QStringLiteral("no-such-headset")});
    QCOMPARE(unknownModel.exitCode, 2);
    QVERIFY(unknownModel.err.contains(QLatin1String("no virtual headset named 'no-such-headset'")));
    QCOMPARE(runProbe({QStringLiteral("list"), QStringLiteral("extra")}).exitCode, 2);
    QCOMPARE(runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"), QStringLiteral("/nonexistent.json")})
                 .exitCode,
             2);
    QTemporaryDir dir;
    const ProbeRun empty = runProbe({QStringLiteral("list"), QStringLiteral("--dictionary"),
                                     writeFile(QDir(dir.path()), QStringLiteral("empty.json"), "{}")});
    QCOMPARE(empty.exitCode, 2);
    QVERIFY(empty.err.contains(QLatin1String("the dictionary lists no headset")));
}

QTEST_GUILESS_MAIN(TestProbeList)
#include "tst_probelist.moc"
