// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"

#include <hiddeviceinfo.h>

#include <QResource>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using hid::HidCode;
using hid::HidCommand;
using hid::HidDeviceDict;

namespace {

constexpr unsigned short MUTE = 0x09, HOOK = 0x17, RING = 0x18, HOLD = 0x20, MIC = 0x21, ONLINE = 0x2A;

// The built-in table's configurations, written out from the product's headset table.
HidCode standart()
{
    return HidCode();
}

HidCode clickOnEmpty()
{
    HidCode code;
    code.clickTypeOnEmptyCode = hid::CLICK;
    return code;
}

HidCode senchMbPro2UC()
{
    HidCode code = clickOnEmpty();
    code.cmdHold = {{}, {RING, ONLINE}, {HOOK, ONLINE}, {HOOK, HOLD, ONLINE}, {HOLD, ONLINE}};
    code.cmdHoldMuted = {
        {}, {RING, ONLINE}, {HOOK, ONLINE}, {HOOK, HOLD, ONLINE}, {HOLD, ONLINE}, {HOOK, MUTE, HOLD, ONLINE}};
    return code;
}

HidCode jabraEvolve20()
{
    HidCode code;
    code.longDelay = true;
    code.cmdHold = {{}, {HOOK, HOLD}, {HOLD}};
    code.cmdHoldMuted = {{}, {HOOK, HOLD}, {HOLD}};
    return code;
}

HidCode jabra930Pro()
{
    HidCode code;
    code.longDelay = true;
    code.cmdHold = {{}, {HOLD, ONLINE}};
    code.cmdHoldMuted = {{}, {HOLD, MUTE, ONLINE}};
    return code;
}

HidCode jabraLink360()
{
    HidCode code(0xFF00, 0x0005, 0xFF30, 0xFF40);
    code.cmdInit = {{ONLINE}, {}};
    code.cmdRing = {{RING}, {RING, ONLINE}};
    code.cmdFromTalkToRing = {{HOOK, RING}};
    code.cmdMute = {{HOOK, MIC, ONLINE}};
    code.cmdTalk = {{HOOK, RING, ONLINE}, {HOOK, RING, ONLINE}, {HOOK, ONLINE},       {HOOK, HOLD, ONLINE},
                    {HOLD, ONLINE},       {HOOK, RING, ONLINE}, {HOOK, RING, ONLINE}, {HOOK, ONLINE}};
    code.cmdHold = {{HOOK, HOLD, ONLINE}, {HOLD, ONLINE}};
    code.cmdHoldMuted = {{HOLD, MIC, ONLINE}};
    return code;
}

HidCode jabraUcVoice()
{
    HidCode code;
    code.cmdInit = {{HOOK, ONLINE}, {}};
    return code;
}

HidCode jabraSpeak410()
{
    HidCode code;
    code.longDelay = true;
    return code;
}

struct Row
{
    const char *name;
    unsigned short vid;
    unsigned short pid;
    HidCode (*configuration)();
};

// The 22 distinct keys of the built-in table's 23 rows (rows 6 and 7 are the same device).
const Row builtInRows[] = {
    {"PlantronicsBwC310", 0x047F, 0xC038, clickOnEmpty},
    {"PlantronicsBwC320", 0x047F, 0xC039, clickOnEmpty},
    {"PlantronicsBwC320M", 0x047F, 0xC025, clickOnEmpty},
    {"PLANTRONICS_D100", 0x047F, 0xAB01, clickOnEmpty},
    {"PLANTRONICS_D100M", 0x047F, 0xAB11, clickOnEmpty},
    {"PLANTRONICS_BT300CM", 0x047F, 0x0418, clickOnEmpty},
    {"SenchSC60", 0x1395, 0x0035, clickOnEmpty},
    {"SenchMbPro2UC", 0x1395, 0x002D, senchMbPro2UC},
    {"JabraEvolve20", 0x0B0E, 0x0301, jabraEvolve20},
    {"JabraEvolve20MS", 0x0B0E, 0x0300, jabraEvolve20},
    {"JabraEvolve30", 0x0B0E, 0x0312, jabraEvolve20},
    {"JabraLink360", 0x0B0E, 0xA346, jabraLink360},
    {"Jabra930Pro", 0x0B0E, 0x1016, jabra930Pro},
    {"Jabra930ProMS", 0x0B0E, 0x1017, jabra930Pro},
    {"JABRA_EVOLVE_65", 0x0B0E, 0x030D, standart},
    {"JABRA_STELTH_UC", 0x0B0E, 0xA345, standart},
    {"JABRA_STELTH_UC_MS", 0x0B0E, 0x245E, standart},
    {"JABRA_SPEAK_410", 0x0B0E, 0x0410, jabraSpeak410},
    {"JABRA_SPEAK_510", 0x0B0E, 0x0422, standart},
    {"JABRA_UC_VOICE_150_MS_DUO", 0x0B0E, 0x0342, jabraUcVoice},
    {"JABRA_UC_VOICE_150A_MONO", 0x0B0E, 0x0344, jabraUcVoice},
    {"JABRA_UC_VOICE_750", 0x0B0E, 0x034D, jabraUcVoice},
};

// Compares every field and every command step by step; names the first difference.
QString difference(const HidCode &actual, const HidCode &expected)
{
    auto number = [](unsigned value) { return QStringLiteral("0x%1").arg(value, 0, 16); };
    if (actual.devUsagePage != expected.devUsagePage)
        return QStringLiteral("devUsagePage %1").arg(number(actual.devUsagePage));
    if (actual.devUsageID != expected.devUsageID)
        return QStringLiteral("devUsageID %1").arg(number(actual.devUsageID));
    if (actual.inputPage != expected.inputPage)
        return QStringLiteral("inputPage %1").arg(number(actual.inputPage));
    if (actual.outputPage != expected.outputPage)
        return QStringLiteral("outputPage %1").arg(number(actual.outputPage));
    if (actual.clickTypeOnEmptyCode != expected.clickTypeOnEmptyCode)
        return QStringLiteral("clickTypeOnEmptyCode %1").arg(int(actual.clickTypeOnEmptyCode));
    if (actual.longDelay != expected.longDelay)
        return QStringLiteral("longDelay %1").arg(actual.longDelay);
    const std::pair<const char *, HidCommand HidCode::*> commands[] = {
        {"cmdInit", &HidCode::cmdInit},
        {"cmdRing", &HidCode::cmdRing},
        {"cmdTalk", &HidCode::cmdTalk},
        {"cmdHold", &HidCode::cmdHold},
        {"cmdHoldMuted", &HidCode::cmdHoldMuted},
        {"cmdMute", &HidCode::cmdMute},
        {"cmdFromTalkToRing", &HidCode::cmdFromTalkToRing},
    };
    for (const auto &[name, member] : commands) {
        const HidCommand &a = actual.*member;
        const HidCommand &e = expected.*member;
        if (a.size() != e.size())
            return QStringLiteral("%1 has %2 steps, not %3").arg(QLatin1String(name)).arg(a.size()).arg(e.size());
        for (size_t step = 0; step < a.size(); ++step) {
            if (a[step] != e[step])
                return QStringLiteral("%1 step %2 differs").arg(QLatin1String(name)).arg(step);
        }
    }
    return QString();
}

HidCode lookUp(unsigned short vid, unsigned short pid, bool &isExplicit)
{
    isExplicit = !isExplicit; // the lookup must set it on every path
    return HidDeviceDict::getHidCode(vid, pid, isExplicit);
}

QString json(const char *text)
{
    return QString::fromUtf8(text);
}

} // namespace

class TestDeviceDict : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(QResource(QStringLiteral(":headsets.json")).isValid());
        HidDeviceDict::init();
    }

    void builtInTableIsACompressedResource()
    {
        QResource resource(QStringLiteral(":headsets.json"));
        QVERIFY(resource.isValid());
        QCOMPARE(resource.compressionAlgorithm(), QResource::ZlibCompression);
        QFile file(QStringLiteral(":headsets.json"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.size() > 1000);
        for (char c : bytes)
            QVERIFY2(static_cast<unsigned char>(c) < 0x80, "the built-in table is plain ASCII");
    }

    void everyBuiltInKey_data()
    {
        QTest::addColumn<int>("row");
        for (int i = 0; i < int(std::size(builtInRows)); ++i)
            QTest::newRow(builtInRows[i].name) << i;
    }

    void everyBuiltInKey()
    {
        QFETCH(int, row);
        const Row &expected = builtInRows[row];
        bool isExplicit = false;
        const HidCode code = lookUp(expected.vid, expected.pid, isExplicit);
        QVERIFY(isExplicit);
        QCOMPARE(difference(code, expected.configuration()), QString());
    }

    void link360IsExplicitAndAnUnlistedProductGetsDefaults()
    {
        bool isExplicit = false;
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), jabraLink360()), QString());
        QVERIFY(isExplicit);
        QCOMPARE(difference(lookUp(0x0B0E, 0x7777, isExplicit), HidCode()), QString());
        QVERIFY(!isExplicit);
        QCOMPARE(difference(lookUp(0xFFFF, 0xFFFF, isExplicit), HidCode()), QString());
        QVERIFY(!isExplicit);
    }

    void sc60ProductIdIsReadAsHex35()
    {
        bool isExplicit = false;
        QCOMPARE(lookUp(0x1395, 0x0035, isExplicit).clickTypeOnEmptyCode, hid::CLICK);
        QVERIFY(isExplicit);
        lookUp(0x1395, 35, isExplicit);
        QVERIFY(!isExplicit);
    }

    void vendorWideRowCoversUnlistedProducts()
    {
        HidDeviceDict::init(json(R"({
            "configurations": {"vendor": {"longDelay": true}, "own": {"clickTypeOnEmptyCode": "MUTE"}},
            "devices": [
                {"vid": "0x1234", "pid": "0", "configuration": "vendor"},
                {"vid": "0x1234", "pid": "0x0001", "configuration": "own"},
                {"vid": "0x5678", "configuration": "own"}
            ]})"));
        bool isExplicit = true;
        HidCode code = lookUp(0x1234, 0x0999, isExplicit);
        QVERIFY(!isExplicit);
        QCOMPARE(code.longDelay, true);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::NONE);

        code = lookUp(0x1234, 0x0001, isExplicit);
        QVERIFY(isExplicit);
        QCOMPARE(code.longDelay, false);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::MUTE);

        // A row without pid is vendor-wide too.
        code = lookUp(0x5678, 0x4242, isExplicit);
        QVERIFY(!isExplicit);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::MUTE);

        // The vendor-wide row is an exact match for product 0 itself.
        lookUp(0x1234, 0, isExplicit);
        QVERIFY(isExplicit);
    }

    void laterRowWithTheSameKeyWins()
    {
        HidDeviceDict::init(json(R"({
            "configurations": {"first": {"longDelay": true, "inputPage": "0xFF30"},
                               "second": {"clickTypeOnEmptyCode": "CLICK"}},
            "devices": [
                {"vid": "0x0001", "pid": "0x0002", "configuration": "first"},
                {"vid": "1", "pid": "2", "configuration": "second"}
            ]})"));
        bool isExplicit = false;
        const HidCode code = lookUp(1, 2, isExplicit);
        QVERIFY(isExplicit);
        HidCode expected;
        expected.clickTypeOnEmptyCode = hid::CLICK;
        QCOMPARE(difference(code, expected), QString()); // nothing of "first" is left
    }

    void emptyOrUnknownConfigurationGivesDefaultsExplicitly()
    {
        HidDeviceDict::init(json(R"({
            "configurations": {"empty": {}, "real": {"longDelay": true}},
            "devices": [
                {"vid": "0x0B0E", "pid": "0x0001", "configuration": "empty"},
                {"vid": "0x0B0E", "pid": "0x0002"},
                {"vid": "0x0B0E", "pid": "0x0003", "configuration": "missing"},
                {"vid": "0x0B0E", "pid": "0x0004", "configuration": ["real"]}
            ]})"));
        for (unsigned short pid : {1, 2, 3, 4}) {
            bool isExplicit = false;
            QCOMPARE(difference(lookUp(0x0B0E, pid, isExplicit), HidCode()), QString());
            QVERIFY(isExplicit);
        }
        // The built-in table's own "empty" configuration is an empty object too.
    }

    void configurationsDoNotInherit()
    {
        HidDeviceDict::init(json(R"({
            "configurations": {"a": {"longDelay": true, "cmdRing": []}, "b": {"outputPage": "0xFF40"}},
            "devices": [{"vid": "1", "pid": "1", "configuration": "a"},
                        {"vid": "1", "pid": "2", "configuration": "b"}]})"));
        bool isExplicit = false;
        const HidCode b = lookUp(1, 2, isExplicit);
        HidCode expected;
        expected.outputPage = 0xFF40;
        QCOMPARE(difference(b, expected), QString());
        QCOMPARE(lookUp(1, 1, isExplicit).cmdRing, HidCommand());
    }

    void wrongValueTypesKeepDefaults()
    {
        HidDeviceDict::init(json(R"({
            "configurations": {"odd": {"devUsagePage": 11, "longDelay": "true",
                                       "clickTypeOnEmptyCode": 1, "inputPage": "0x1FF30"}},
            "devices": [{"vid": 1, "pid": "0x10", "configuration": "odd"}, "not a row"]})"));
        bool isExplicit = false;
        // A numeric vid is not read: the row is vendor 0, product 0x10.
        const HidCode code = lookUp(0, 0x10, isExplicit);
        QVERIFY(isExplicit);
        HidCode expected;
        expected.inputPage = 0xFF30; // low 16 bits of 0x1FF30
        QCOMPARE(difference(code, expected), QString());
        // The string row counts as an empty object: vendor 0, product 0.
        lookUp(0, 0, isExplicit);
        QVERIFY(isExplicit);
    }

    void aValidNonObjectDocumentEmptiesSilentlyAndTheTableReturns()
    {
        CapturingLogger logger;
        HidDeviceDict::init(json("[]"));
        QCOMPARE(logger.lines().size(), 0);
        bool isExplicit = false;
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), jabraLink360()), QString());
        QVERIFY(isExplicit);
    }

    void replacingTheTableDropsEveryBuiltInRow()
    {
        HidDeviceDict::init(json(R"({"devices": [{"vid": "9", "pid": "9"}]})"));
        bool isExplicit = true;
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), HidCode()), QString());
        QVERIFY(!isExplicit);
        lookUp(9, 9, isExplicit);
        QVERIFY(isExplicit);
    }

    void theBuiltInTableNamesNoFallback()
    {
        HidCode code;
        QString configuration;
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
        // Nor does a text that replaces the table.
        HidDeviceDict::init(json(R"({"devices": [{"vid": "9", "pid": "9"}]})"));
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
    }

    void theFallbackAloneIsReadOnTopOfTheBuiltInTable()
    {
        CapturingLogger logger;
        HidDeviceDict::init(json(R"({"fallbackConfiguration": "Standart"})"));
        QCOMPARE(logger.texts(),
                 QStringList{
                     "HID HidDeviceDict Headsets without a row of their own get the fallback configuration Standart"});
        QCOMPARE(logger.lines().at(0).level, 7);
        HidCode code;
        QString configuration;
        QVERIFY(HidDeviceDict::getFallbackCode(code, configuration));
        QCOMPARE(configuration, QStringLiteral("Standart"));
        QCOMPARE(difference(code, standart()), QString());
        // Every built-in row is still there, with its own code.
        for (const Row &row : builtInRows) {
            bool isExplicit = false;
            QCOMPARE(difference(lookUp(row.vid, row.pid, isExplicit), row.configuration()), QString());
            QVERIFY(isExplicit);
        }
        // Unlisted ids keep their answer: the defaults, not explicit.
        bool isExplicit = true;
        QCOMPARE(difference(lookUp(0x0B0E, 0x7777, isExplicit), HidCode()), QString());
        QVERIFY(!isExplicit);
    }

    void aFallbackTextAddsItsRowsAndConfigurationsToTheBuiltInOnes()
    {
        HidDeviceDict::init(json(R"({
            "fallbackConfiguration": "Mine",
            "configurations": {"Mine": {"longDelay": true}, "JabraSpeak410": {"clickTypeOnEmptyCode": "CLICK"}},
            "devices": [
                {"vid": "0x4242", "pid": "0x0001", "configuration": "Standart"},
                {"vid": "0x0B0E", "pid": "0xA346", "configuration": "Mine"}
            ]})"));
        HidCode code;
        QString configuration;
        QVERIFY(HidDeviceDict::getFallbackCode(code, configuration));
        QCOMPARE(configuration, QStringLiteral("Mine"));
        QVERIFY(code.longDelay);

        bool isExplicit = false;
        // A row of the text naming a built-in configuration.
        QCOMPARE(difference(lookUp(0x4242, 0x0001, isExplicit), standart()), QString());
        QVERIFY(isExplicit);
        // A row of the text replaces the built-in row with the same ids.
        QVERIFY(lookUp(0x0B0E, 0xA346, isExplicit).longDelay);
        QCOMPARE(lookUp(0x0B0E, 0xA346, isExplicit).devUsagePage, static_cast<unsigned short>(0x000B));
        // A configuration of the text replaces the built-in one of the same name, for built-in rows too.
        code = lookUp(0x0B0E, 0x0410, isExplicit);
        QVERIFY(isExplicit);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::CLICK);
        QCOMPARE(code.longDelay, false);
        // The other built-in rows are untouched.
        QCOMPARE(difference(lookUp(0x1395, 0x002D, isExplicit), senchMbPro2UC()), QString());
        QVERIFY(isExplicit);
    }

    void aFallbackThatNamesNoConfigurationIsLoggedAndUnset_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("logged");
        const QString unknown = QStringLiteral("HID HidDeviceDict fallbackConfiguration names no configuration: %1; "
                                               "headsets without a row of their own stay unbound");
        const QString notAName = QStringLiteral("HID HidDeviceDict fallbackConfiguration is not a configuration name: "
                                                "headsets without a row of their own stay unbound");
        QTest::newRow("misspelt") << R"({"fallbackConfiguration": "Standard"})"
                                  << unknown.arg(QStringLiteral("Standard"));
        QTest::newRow("letter case") << R"({"fallbackConfiguration": "standart"})"
                                     << unknown.arg(QStringLiteral("standart"));
        QTest::newRow("empty name") << R"({"fallbackConfiguration": ""})" << unknown.arg(QStringLiteral(""));
        QTest::newRow("number") << R"({"fallbackConfiguration": 1})" << notAName;
        QTest::newRow("true") << R"({"fallbackConfiguration": true})" << notAName;
        QTest::newRow("null") << R"({"fallbackConfiguration": null})" << notAName;
        QTest::newRow("list") << R"({"fallbackConfiguration": ["Standart"]})" << notAName;
    }

    void aFallbackThatNamesNoConfigurationIsLoggedAndUnset()
    {
        QFETCH(QString, text);
        QFETCH(QString, logged);
        CapturingLogger logger;
        HidDeviceDict::init(text);
        QCOMPARE(logger.texts(), QStringList{logged});
        QCOMPARE(logger.lines().at(0).level, 4);
        QCOMPARE(logger.lines().at(0).function, QStringLiteral("init"));
        HidCode code;
        QString configuration;
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
        // The key still puts the text on top of the built-in table.
        bool isExplicit = false;
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), jabraLink360()), QString());
        QVERIFY(isExplicit);
    }

    void aLaterTextWithoutTheKeyDropsTheFallback()
    {
        HidDeviceDict::init(json(R"({"fallbackConfiguration": "Standart"})"));
        HidCode code;
        QString configuration;
        QVERIFY(HidDeviceDict::getFallbackCode(code, configuration));
        HidDeviceDict::init(json(R"({"devices": [{"vid": "9", "pid": "9"}]})"));
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
        HidDeviceDict::init(json(R"({"fallbackConfiguration": "Standart"})"));
        HidDeviceDict::init(json("{broken"));
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
        HidDeviceDict::init(json(R"({"fallbackConfiguration": "Standart"})"));
        HidDeviceDict::init();
        QVERIFY(!HidDeviceDict::getFallbackCode(code, configuration));
    }

    void invalidJsonIsLoggedWholeAndLeavesTheDictionaryEmpty()
    {
        const QString text = json("{\"configurations\": {\n  \"broken\": [}\n");
        CapturingLogger logger;
        HidDeviceDict::init(text);
        const QList<CapturedLine> lines = logger.lines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].text, QStringLiteral("HID HidDeviceDict failed to parse configuration: \n") + text);
        QCOMPARE(lines[0].level, 3);
        QCOMPARE(lines[0].category, QStringLiteral("hid"));
        QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddeviceinfo"));
        QCOMPARE(lines[0].function, QStringLiteral("init"));

        // Empty: the next lookup reloads the built-in table.
        bool isExplicit = false;
        QCOMPARE(difference(lookUp(0x0B0E, 0x0410, isExplicit), jabraSpeak410()), QString());
        QVERIFY(isExplicit);
    }

    void anEmptyTextIsInvalidJson()
    {
        CapturingLogger logger;
        HidDeviceDict::init(QString());
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("HID HidDeviceDict failed to parse configuration: \n")});
    }

    void aFileNameIsNotOpenedButLoggedAsInvalidJson()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(R"({"devices": [{"vid": "0x4242", "pid": "0x0001"}]})");
        file.close();

        CapturingLogger logger;
        HidDeviceDict::init(file.fileName());
        QCOMPARE(logger.texts(),
                 QStringList{QStringLiteral("HID HidDeviceDict failed to parse configuration: \n") + file.fileName()});
        bool isExplicit = true;
        lookUp(0x4242, 0x0001, isExplicit);
        QVERIFY(!isExplicit); // the file's row was never read
        lookUp(0x0B0E, 0xA346, isExplicit);
        QVERIFY(isExplicit); // the built-in table came back
    }

    void withoutTheResourceTheDictionaryIsLeftAsItWas()
    {
        HidDeviceDict::init(json(R"({"devices": [{"vid": "7", "pid": "7"}]})"));
        QVERIFY(qCleanupResources_qvhid());
        QVERIFY(!QResource(QStringLiteral(":headsets.json")).isValid());
        CapturingLogger logger;
        HidDeviceDict::init();
        QCOMPARE(logger.lines().size(), 0);
        bool isExplicit = false;
        lookUp(7, 7, isExplicit);
        QVERIFY(isExplicit);

        // Empty and no resource: every lookup gives the defaults.
        HidDeviceDict::init(json("{}"));
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), HidCode()), QString());
        QVERIFY(!isExplicit);

        QVERIFY(qInitResources_qvhid());
        QCOMPARE(difference(lookUp(0x0B0E, 0xA346, isExplicit), jabraLink360()), QString());
        QVERIFY(isExplicit);
    }

    void concurrentLookupsAndLoadsNeverTearACode()
    {
        // Two tables whose codes for (1, 1) are each internally consistent; every code a
        // lookup returns must be one of them, or the built-in defaults, whole.
        const QString tableA = json(R"({"configurations": {"c": {"inputPage": "0xA", "cmdRing": [["0xA"], ["0xA"]]}},
                                        "devices": [{"vid": "1", "pid": "1", "configuration": "c"}]})");
        const QString tableB = json(R"({"configurations": {"c": {"inputPage": "0xB", "cmdRing": [["0xB"]]}},
                                        "devices": [{"vid": "1", "pid": "1", "configuration": "c"},
                                                    {"vid": "1", "pid": "0", "configuration": "c"}]})");
        std::atomic<bool> stop{false};
        std::atomic<int> torn{0};
        std::atomic<long> lookups{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&] {
                while (!stop.load()) {
                    bool isExplicit = false;
                    const HidCode code = HidDeviceDict::getHidCode(1, 1, isExplicit);
                    const bool asA = code.inputPage == 0xA && code.cmdRing == HidCommand{{0xA}, {0xA}};
                    const bool asB = code.inputPage == 0xB && code.cmdRing == HidCommand{{0xB}};
                    const bool asDefault = code.inputPage == 0xB && code.cmdRing == HidCommand{{RING, ONLINE}};
                    if (!(((asA || asB) && isExplicit) || (asDefault && !isExplicit)))
                        ++torn;
                    ++lookups;
                }
            });
        }
        threads.emplace_back([&] {
            for (int i = 0; i < 3000; ++i) {
                HidDeviceDict::init(i % 2 ? tableA : tableB);
                if (i % 100 == 0)
                    HidDeviceDict::init();
            }
            stop = true;
        });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(torn.load(), 0);
        QVERIFY(lookups.load() > 0);
    }
};

QTEST_GUILESS_MAIN(TestDeviceDict)
#include "tst_devicedict.moc"
