// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe check-dictionary on the built-in table and on dictionaries broken one way each.

#include "proberun.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

// A dictionary around one configuration and one row, each given as its JSON text.
QByteArray dictionary(const QByteArray &configuration, const QByteArray &row)
{
    return "{\n\"configurations\": {\n\"Conf\": " + configuration + "\n},\n\"devices\": [\n" + row + "\n]\n}\n";
}

const QByteArray GoodRow = R"({ "name": "Good", "vid": "0x1209", "pid": "0x0001", "configuration": "Conf" })";

QStringList findingLines(const QString &output)
{
    QStringList lines;
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        if (line.contains(QLatin1String(": error: ")) || line.contains(QLatin1String(": warning: ")))
            lines << line;
    }
    return lines;
}

} // namespace

class TestProbeCheck : public QObject
{
    Q_OBJECT

private slots:
    void theBuiltInTableIsClean();
    void findsEachProblem_data();
    void findsEachProblem();
    void showsTheCodesTheLoaderMakes();
    void showsTheFallbackConfigurationsCodes();
    void anUnreadableFileIsAUsageError();
};

void TestProbeCheck::theBuiltInTableIsClean()
{
    const ProbeRun run = runProbe({QStringLiteral("check-dictionary")});
    QVERIFY2(run.exitCode == 0, qPrintable(run.out));
    // The table's own two oddities are warnings, not errors.
    QCOMPARE(
        findingLines(run.out),
        (QStringList{"(built-in):54: warning: configuration \"empty\" is named by no row",
                     "(built-in):63: warning: row 7 lists 0x047F:0x0418 again, as row 6 does: the later row replaces "
                     "the earlier"}));
    QVERIFY(run.out.contains(QLatin1String("(built-in): 0 errors, 2 warnings\n")));
    QCOMPARE(run.out.count(QLatin1String("\n    collection ")), 22);
    QVERIFY(
        run.out.contains(QLatin1String("0x0B0E:0xA346  \"JabraLink360\", configuration \"JabraLink360\"\n"
                                       "    collection 0xFF00/0x0005, buttons on page 0xFF30, lamps on page 0xFF40, "
                                       "empty report: NONE, long delay: no\n"
                                       "    init         [ONLINE] []\n"
                                       "    ring         [RING] [RING ONLINE]\n")));
}

void TestProbeCheck::findsEachProblem_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("findings"); // without the file name

    QTest::newRow("invalid JSON")
        << QByteArray("{\n  \"devices\": [\n    { \"vid\": \"0x1209\" \n  ]\n}\n") << 1
        << QStringList{"4: error: not valid JSON at line 4, column 3: unterminated object. The library logs a "
                       "parse error, loads no headset from it and falls back to its built-in table."};
    QTest::newRow("vid as a JSON number")
        << dictionary("{}", R"({ "vid": 4617, "pid": "0x0001", "configuration": "Conf" })") << 1
        << QStringList{"6: error: the vid of row 1 is written as the JSON number 4617; the library reads numbers only "
                       "as strings and "
                       "files it under vendor 0: write \"0x1209\""};
    QTest::newRow("page as a JSON number")
        << dictionary(R"({ "outputPage": 8 })", GoodRow) << 1
        << QStringList{"3: error: \"outputPage\" of configuration \"Conf\" is written as the JSON number "
                       "8; the library reads numbers only as strings and keeps its default: write "
                       "\"0x0008\""};
    QTest::newRow("usage as a JSON number")
        << dictionary(R"({ "cmdRing": [ [ "RING", 42 ] ] })", GoodRow) << 1
        << QStringList{"3: error: step 1 of \"cmdRing\" of configuration \"Conf\" has the JSON number "
                       "42; the library reads usages only as strings and drops it: write \"0x002A\""};
    QTest::newRow("unknown usage name")
        << dictionary(R"({ "cmdTalk": [ [ "HOOK", "ONLNE" ] ] })", GoodRow) << 1
        << QStringList{"3: error: step 1 of \"cmdTalk\" of configuration \"Conf\" has the unknown usage "
                       "name \"ONLNE\" (known: MUTE, HOOK, RING, HOLD, MIC, ONLINE, or a number); the "
                       "library drops it"};
    QTest::newRow("unknown click type")
        << dictionary(R"({ "clickTypeOnEmptyCode": "REJECT" })", GoodRow) << 1
        << QStringList{"3: error: \"clickTypeOnEmptyCode\" of configuration \"Conf\" is \"REJECT\", which "
                       "is no click type (CLICK, MUTE, NONE or \"2\" for a reject); the library reads it "
                       "as MUTE"};
    QTest::newRow("command not a list")
        << dictionary(R"({ "cmdRing": "RING" })", GoodRow) << 1
        << QStringList{"3: error: \"cmdRing\" of configuration \"Conf\" is a string, not a list of steps: "
                       "the command becomes empty and writes nothing"};
    QTest::newRow("step not a list")
        << dictionary(R"({ "cmdRing": [ "RING" ] })", GoodRow) << 1
        << QStringList{"3: error: step 1 of \"cmdRing\" of configuration \"Conf\" is a string, not a list of "
                       "usages: it becomes an empty step (every lamp off)"};
    QTest::newRow("longDelay not a boolean")
        << dictionary(R"({ "longDelay": "true" })", GoodRow) << 1
        << QStringList{"3: error: \"longDelay\" of configuration \"Conf\" is a string, not true or "
                       "false; the library keeps false"};
    QTest::newRow("page beyond 16 bits")
        << dictionary(R"({ "inputPage": "0x1000B" })", GoodRow) << 1
        << QStringList{"3: error: \"inputPage\" of configuration \"Conf\" is \"0x1000B\", which does not "
                       "fit in 16 bits; the library keeps only 0x000B"};
    QTest::newRow("unknown key")
        << dictionary(R"({ "outputpage": "0x08" })", GoodRow) << 1
        << QStringList{"3: error: configuration \"Conf\" has the key \"outputpage\", which the library does not "
                       "know and ignores (keys are case-sensitive)"};
    QTest::newRow("duplicate key")
        << dictionary("{ \"cmdRing\": [ [ \"RING\" ] ],\n\"cmdRing\": [ [ \"HOOK\" ] ] }", GoodRow) << 1
        << QStringList{"4: error: \"cmdRing\" is given twice in configurations.Conf (also at line 3): the "
                       "library reads only the later one"};
    QTest::newRow("configuration no row names")
        << QByteArray("{ \"configurations\": { \"Conf\": {},\n\"Spare\": {} },\n\"devices\": [ " + GoodRow + " ] }")
        << 0 << QStringList{"2: warning: configuration \"Spare\" is named by no row"};
    QTest::newRow("row names a missing configuration")
        << dictionary("{}", R"({ "name": "X", "vid": "0x1209", "pid": "0x0001", "configuration": "Conff" })") << 1
        << QStringList{
               "3: warning: configuration \"Conf\" is named by no row",
               "6: error: row 1 names the configuration \"Conff\", which does not exist: it gets the built-in codes"};
    QTest::newRow("row names no configuration")
        << dictionary("{}", R"({ "name": "X", "vid": "0x1209", "pid": "0x0001" })") << 0
        << QStringList{"3: warning: configuration \"Conf\" is named by no row",
                       "6: warning: row 1 names no configuration: it gets the built-in codes"};
    QTest::newRow("vendor-wide row without pid")
        << dictionary("{}", R"({ "name": "X", "vid": "0x1209", "configuration": "Conf" })") << 1
        << QStringList{"6: error: row 1 is a vendor-wide row (no product id): the library binds only headsets whose "
                       "vendor and product "
                       "id are both listed, so it binds nothing through this row"};
    QTest::newRow("vendor-wide row with pid 0")
        << dictionary("{}", R"({ "name": "X", "vid": "0x1209", "pid": "0", "configuration": "Conf" })") << 1
        << QStringList{"6: error: row 1 is a vendor-wide row (no product id): the library binds only headsets whose "
                       "vendor and product "
                       "id are both listed, so it binds nothing through this row"};
    QTest::newRow("unparsable vid")
        << dictionary("{}", R"({ "vid": "Jabra", "pid": "0x0001", "configuration": "Conf" })") << 1
        << QStringList{"6: error: the vid of row 1 is \"Jabra\", which is not a number; the library reads it "
                       "as 0"};
    QTest::newRow("row not an object") << dictionary("{}", "\"0x1209\", " + GoodRow) << 1
                                       << QStringList{
                                              "6: error: row 1 is a string, not an object: it lists no headset"};
    QTest::newRow("document not an object")
        << QByteArray("[]") << 1
        << QStringList{"1: error: the document is not an object: the library loads no headset from "
                       "it and falls back to its built-in table"};
    QTest::newRow("no devices")
        << QByteArray("{ \"configurations\": {} }") << 1
        << QStringList{"error: there is no \"devices\" list: the library loads no headset from this dictionary "
                       "and falls back to its built-in table"};
    QTest::newRow("two rows for one headset")
        << dictionary("{}", GoodRow + ",\n" + GoodRow) << 0
        << QStringList{
               "7: warning: row 2 lists 0x1209:0x0001 again, as row 1 does: the later row replaces the earlier"};
    QTest::newRow("unknown top-level key") << QByteArray(
        "{ \"comment\": \"mine\",\n\"configurations\": { \"Conf\": {} },\n\"devices\": [ " + GoodRow + " ] }")
                                           << 0 << QStringList{"1: warning: \"comment\" is not read by the library"};

    // A dictionary that names a fallback is read on top of the built-in table: it needs no rows,
    // and may name the built-in configurations.
    QTest::newRow("fallback alone") << QByteArray("{ \"fallbackConfiguration\": \"Standart\" }\n") << 0
                                    << QStringList{};
    QTest::newRow("fallback with rows naming built-in configurations")
        << QByteArray("{\n\"fallbackConfiguration\": \"Conf\",\n\"configurations\": { \"Conf\": {} },\n\"devices\": [\n"
                      "{ \"name\": \"Mine\", \"vid\": \"0x1209\", \"pid\": \"0x0002\", \"configuration\": "
                      "\"JabraEvolve20\" }\n]\n}\n")
        << 0 << QStringList{};
    QTest::newRow("fallback misspelt")
        << QByteArray("{\n\"fallbackConfiguration\": \"Standard\"\n}\n") << 1
        << QStringList{
               "2: error: \"fallbackConfiguration\" names the configuration \"Standard\", which does not exist (the "
               "standard configuration is spelt \"Standart\"): the library binds no headset through a fallback, and "
               "logs a warning"};
    QTest::newRow("fallback not a name")
        << QByteArray("{\n\"configurations\": { \"Conf\": {} },\n\"fallbackConfiguration\": [ \"Conf\" ]\n}\n") << 1
        << QStringList{
               "2: warning: configuration \"Conf\" is named by no row and is not the fallback",
               "3: error: \"fallbackConfiguration\" is a list, not the name of a configuration: the library binds no "
               "headset through a fallback, and logs a warning"};
}

void TestProbeCheck::findsEachProblem()
{
    QFETCH(QByteArray, text);
    QFETCH(int, exitCode);
    QFETCH(QStringList, findings);
    QTemporaryDir dir;
    const QString file = writeFile(QDir(dir.path()), QStringLiteral("headsets.json"), text);
    const ProbeRun run = runProbe({QStringLiteral("check-dictionary"), file});
    QStringList expected;
    for (const QString &finding : findings)
        expected << file + (finding.startsWith(QLatin1String("error")) ? QStringLiteral(": ") : QStringLiteral(":"))
                + finding;
    QCOMPARE(findingLines(run.out), expected);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY(run.out.contains(exitCode == 0 ? QStringLiteral(": 0 errors, ") : QStringLiteral(": 1 error, ")));
}

void TestProbeCheck::showsTheCodesTheLoaderMakes()
{
    QTemporaryDir dir;
    // The later of two keys is what the loader keeps; a usage it cannot read is dropped.
    const QString file =
        writeFile(QDir(dir.path()), QStringLiteral("headsets.json"),
                  dictionary(R"({ "cmdRing": [ [ "RING" ] ], "cmdRing": [ [ "hook", "RNG", "0x2A" ], [] ],
                                                   "longDelay": true, "clickTypeOnEmptyCode": "2", "outputPage": "0xFF40" })",
                             GoodRow));
    const ProbeRun run = runProbe({QStringLiteral("check-dictionary"), file});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(
        run.out.contains(QLatin1String("0x1209:0x0001  \"Good\", configuration \"Conf\"\n"
                                       "    collection 0x000B/0x0005, buttons on page 0x000B, lamps on page 0xFF40, "
                                       "empty report: REJECT, long delay: yes\n"
                                       "    init         []\n"
                                       "    ring         [HOOK ONLINE] []\n"
                                       "    talk         [HOOK ONLINE]\n")),
        qPrintable(run.out));
}

void TestProbeCheck::showsTheFallbackConfigurationsCodes()
{
    QTemporaryDir dir;
    const QString file =
        writeFile(QDir(dir.path()), QStringLiteral("fallback.json"), R"({ "fallbackConfiguration": "Standart" })");
    const ProbeRun run = runProbe({QStringLiteral("check-dictionary"), file});
    QCOMPARE(run.exitCode, 0);
    // The built-in rows, then the fallback.
    QCOMPARE(run.out.count(QLatin1String("\n    collection ")), 23);
    QVERIFY2(run.out.contains(
                 QLatin1String("\nAny other headset whose report descriptor has the collection 0x000B/0x0005: the "
                               "fallback configuration \"Standart\"\n"
                               "    collection 0x000B/0x0005, buttons on page 0x000B, lamps on page 0x0008, "
                               "empty report: NONE, long delay: no\n"
                               "    init         []\n"
                               "    ring         [RING ONLINE]\n")),
             qPrintable(run.out));
}

void TestProbeCheck::anUnreadableFileIsAUsageError()
{
    const ProbeRun run = runProbe({QStringLiteral("check-dictionary"), QStringLiteral("/nonexistent.json")});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.err.contains(QLatin1String("cannot read /nonexistent.json")));
    QCOMPARE(runProbe({QStringLiteral("check-dictionary"), QStringLiteral("a"), QStringLiteral("b")}).exitCode, 2);
}

QTEST_GUILESS_MAIN(TestProbeCheck)
#include "tst_probecheck.moc"
