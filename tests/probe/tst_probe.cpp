// SPDX-License-Identifier: BSD-3-Clause
// The command-line probe, run as a user runs it.

#include "proberun.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// The demo's row for `action`, with its blanks squeezed: "call comes in Ring On-Line state ...".
QString row(const QString &output, const QString &action)
{
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        const QString squeezed = line.simplified();
        if (squeezed.contains(QLatin1Char(' ') + action + QLatin1Char(' ')))
            return squeezed;
    }
    return QString();
}

QStringList ruleLines(const QString &text)
{
    QStringList rules;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            rules << line;
    }
    return rules;
}

} // namespace

class TestProbe : public QObject
{
    Q_OBJECT

private slots:
    void withoutCommandShowsTheCommands();
    void unknownCommandIsAUsageError();
    void demoPlaysAWholeCall_data();
    void demoPlaysAWholeCall();
    void demoBindsTheCallControlInterfaceOfAHeadsetWhoseFirstInterfaceHasNoLamps();
    void demoPlaysAnUnlistedHeadsetOnlyWithAFallback();
    void demoNamesItsModels();
    void demoRejectsAnUnknownModel();
    void everyCommandHasHelp_data();
    void everyCommandHasHelp();
    void udevRulesCoverTheBuiltInDictionary();
    void udevRulesOfADictionaryFile();
    void udevRulesSayHowToReachHeadsetsOfTheFallback();
    void udevRulesOfAMissingFileIsAUsageError();
};

void TestProbe::withoutCommandShowsTheCommands()
{
    const ProbeRun run = runProbe({});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.err.contains(QLatin1String("Usage: qvhid-probe COMMAND")));
    for (const char *command : {"demo", "list", "match", "watch", "check-dictionary", "udev-rules"})
        QVERIFY2(run.err.contains(QLatin1String(command)), command);
    QCOMPARE(runProbe({QStringLiteral("--help")}).exitCode, 0);
}

void TestProbe::unknownCommandIsAUsageError()
{
    const ProbeRun run = runProbe({QStringLiteral("frobnicate")});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.err.contains(QLatin1String("unknown command 'frobnicate'")));
}

void TestProbe::demoPlaysAWholeCall_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("product");
    QTest::addColumn<QString>("mutedLamps");
    QTest::addColumn<QString>("heldLamps");
    QTest::newRow("default") << QString() << "Office Headset 20"
                             << "Off-Hook Mute On-Line"
                             << "Off-Hook Hold On-Line";
    QTest::newRow("telephony-headset") << "telephony-headset"
                                       << "Office Headset 20"
                                       << "Off-Hook Mute On-Line"
                                       << "Off-Hook Hold On-Line";
    QTest::newRow("telephony-headset-no-ids") << "telephony-headset-no-ids"
                                              << "Office Headset 30"
                                              << "Off-Hook Mute On-Line"
                                              << "Off-Hook Hold On-Line";
    QTest::newRow("echoing-headset") << "echoing-headset"
                                     << "Desk Headset 310"
                                     << "Off-Hook Mute On-Line"
                                     << "Off-Hook Hold On-Line";
    // This model's dictionary row mutes with the Microphone lamp and holds without Off-Hook.
    QTest::newRow("vendor-page-headset") << "vendor-page-headset"
                                         << "Link Adapter 360"
                                         << "Off-Hook Microphone On-Line"
                                         << "Hold On-Line";
}

void TestProbe::demoPlaysAWholeCall()
{
    QFETCH(QString, model);
    QFETCH(QString, product);
    QFETCH(QString, mutedLamps);
    QFETCH(QString, heldLamps);
    QElapsedTimer clock;
    clock.start();
    const ProbeRun run = runProbe(model.isEmpty() ? QStringList{"demo"} : QStringList{"demo", model});
    QVERIFY2(run.exitCode == 0, qPrintable(run.out + run.err));
    QVERIFY(clock.elapsed() < 30000); // a wide margin; the demo itself takes about 1.5 s
    QVERIFY(run.out.contains(QStringLiteral("Virtual headset \"%1\"").arg(product)));
    QVERIFY(run.out.contains(
        QStringLiteral("The application's audio device: \"Headset Microphone (2- %1)\"").arg(product)));
    QCOMPARE(
        row(run.out, QStringLiteral("uses the headset")),
        QStringLiteral("application uses the headset (all off) deviceShow \"%1\", state \"Initial\"").arg(product));
    QCOMPARE(row(run.out, QStringLiteral("call comes in")),
             QStringLiteral("application call comes in Ring On-Line state \"Incoming call\""));
    QCOMPARE(
        row(run.out, QStringLiteral("answer pressed")),
        QStringLiteral("headset answer pressed Off-Hook On-Line click (the application reports the call answered), "
                       "state \"Talk\""));
    QCOMPARE(row(run.out, QStringLiteral("mute pressed")),
             QStringLiteral("headset mute pressed %1 clickMute (the application reports the call muted), "
                            "state \"Talk muted\"")
                 .arg(mutedLamps));
    QCOMPARE(row(run.out, QStringLiteral("call unmuted")),
             QStringLiteral("application call unmuted Off-Hook On-Line state \"Talk\""));
    QCOMPARE(row(run.out, QStringLiteral("call held")),
             QStringLiteral("application call held %1 state \"Hold\"").arg(heldLamps));
    QCOMPARE(row(run.out, QStringLiteral("call ended")),
             QStringLiteral("application call ended (all off) nothing (the state stays as it was)"));
    QVERIFY(run.out.contains(QLatin1String("All 8 steps behaved as expected")));
    QVERIFY(!run.out.contains(QLatin1String("FAILED")));
}

void TestProbe::demoBindsTheCallControlInterfaceOfAHeadsetWhoseFirstInterfaceHasNoLamps()
{
    const ProbeRun run = runProbe({QStringLiteral("demo"), QStringLiteral("consumer-first-headset")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.out.contains(QLatin1String("Bound to interface 3 (usage page 0x000B, usage 0x0005).")));
    QVERIFY(run.out.contains(QLatin1String("binds the one that is its configuration's call-control collection")));
    QVERIFY(run.out.contains(QLatin1String("All 8 steps behaved as expected")));
    QVERIFY(!run.out.contains(QLatin1String("FAILED")));
}

void TestProbe::demoPlaysAnUnlistedHeadsetOnlyWithAFallback()
{
    const ProbeRun refused = runProbe({QStringLiteral("demo"), QStringLiteral("unlisted-headset")});
    QCOMPARE(refused.exitCode, 1);
    QCOMPARE(refused.err,
             QStringLiteral("qvhid-probe demo: no dictionary row lists unlisted-headset (0x1209:0x0050); "
                            "'qvhid-probe demo unlisted-headset --fallback Standart' binds it through the "
                            "standard fallback configuration.\n"));
    const ProbeRun run = runProbe({QStringLiteral("demo"), QStringLiteral("unlisted-headset"),
                                   QStringLiteral("--fallback"), QStringLiteral("Standart")});
    QVERIFY2(run.exitCode == 0, qPrintable(run.out + run.err));
    QCOMPARE(row(run.out, QStringLiteral("call comes in")),
             QStringLiteral("application call comes in Ring On-Line state \"Incoming call\""));
    QVERIFY(run.out.contains(QLatin1String("All 8 steps behaved as expected")));
}

void TestProbe::demoNamesItsModels()
{
    const ProbeRun run = runProbe({QStringLiteral("demo"), QStringLiteral("--list-models")});
    QCOMPARE(run.exitCode, 0);
    // Each on a line of its own, its name apart from its product string.
    for (const char *model :
         {"telephony-headset", "telephony-headset-no-ids", "vendor-page-headset", "consumer-first-headset",
          "echoing-headset", "unlisted-headset", "volume-keys-headset", "pulsed-mute-headset", "switched-mute-headset",
          "desk-phone", "phone-adapter", "handset", "consumer-telephony-headset", "resting-array-headset"})
        QVERIFY2(run.out.contains(QStringLiteral("\n  %1 ").arg(QLatin1String(model))), model);
}

void TestProbe::demoRejectsAnUnknownModel()
{
    const ProbeRun run = runProbe({QStringLiteral("demo"), QStringLiteral("no-such-headset")});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.err.contains(QLatin1String("no virtual headset named 'no-such-headset'")));
    QCOMPARE(runProbe({QStringLiteral("demo"), QStringLiteral("--no-such-option")}).exitCode, 2);
}

void TestProbe::everyCommandHasHelp_data()
{
    QTest::addColumn<QString>("command");
    for (const char *command : {"demo", "list", "match", "watch", "check-dictionary", "udev-rules"})
        QTest::newRow(command) << command;
}

void TestProbe::everyCommandHasHelp()
{
    QFETCH(QString, command);
    const ProbeRun run = runProbe({command, QStringLiteral("--help")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.startsWith(QStringLiteral("Usage: qvhid-probe %1 [options]").arg(command)), qPrintable(run.out));
}

void TestProbe::udevRulesCoverTheBuiltInDictionary()
{
    const ProbeRun run = runProbe({QStringLiteral("udev-rules")});
    QCOMPARE(run.exitCode, 0);
    const QStringList rules = ruleLines(run.out);
    QCOMPARE(rules.size(), 22); // 23 rows, one product listed twice
    const QRegularExpression rule(QStringLiteral("^SUBSYSTEM==\"hidraw\", ATTRS\\{idVendor\\}==\"[0-9a-f]{4}\", "
                                                 "ATTRS\\{idProduct\\}==\"[0-9a-f]{4}\", TAG\\+=\"uaccess\"$"));
    for (const QString &line : rules)
        QVERIFY2(rule.match(line).hasMatch(), qPrintable(line));
    QVERIFY(rules.contains(QStringLiteral(
        "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"0b0e\", ATTRS{idProduct}==\"030d\", TAG+=\"uaccess\"")));
    QVERIFY(!run.out.contains(QLatin1String("MODE")));
}

void TestProbe::udevRulesOfADictionaryFile()
{
    QTemporaryDir dir;
    const QString file =
        writeFile(QDir(dir.path()), QStringLiteral("headsets.json"), R"({ "configurations": { "Standart": {} },
        "devices": [ { "name": "One", "vid": "0x1209", "pid": "0xBEEF", "configuration": "Standart" },
                     { "name": "All of a vendor", "vid": "0x2E8A", "configuration": "Standart" } ] })");
    const ProbeRun run = runProbe({QStringLiteral("udev-rules"), QStringLiteral("--dictionary"), file});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(
        ruleLines(run.out),
        (QStringList{"SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"1209\", ATTRS{idProduct}==\"beef\", TAG+=\"uaccess\"",
                     "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"2e8a\", TAG+=\"uaccess\""}));
}

void TestProbe::udevRulesSayHowToReachHeadsetsOfTheFallback()
{
    QTemporaryDir dir;
    const QString file =
        writeFile(QDir(dir.path()), QStringLiteral("fallback.json"), R"({ "fallbackConfiguration": "Standart" })");
    const ProbeRun run = runProbe({QStringLiteral("udev-rules"), QStringLiteral("--dictionary"), file});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(ruleLines(run.out).size(), 22); // the built-in rows, under which the text is read
    QVERIFY(
        run.out.contains(QLatin1String("# Headsets bound through the dictionary's fallback configuration have no row, "
                                       "and no rule\n# here: 'qvhid-probe list' prints the rule for each such headset "
                                       "plugged in.\n")));
    const ProbeRun help = runProbe({QStringLiteral("udev-rules"), QStringLiteral("--help")});
    QVERIFY(help.out.contains(QLatin1String("'qvhid-probe list' prints the rule for each such headset plugged in")));
}

void TestProbe::udevRulesOfAMissingFileIsAUsageError()
{
    const ProbeRun run =
        runProbe({QStringLiteral("udev-rules"), QStringLiteral("--dictionary"), QStringLiteral("/nonexistent.json")});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.err.contains(QLatin1String("cannot read /nonexistent.json")));
}

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
