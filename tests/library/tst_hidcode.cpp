// SPDX-License-Identifier: BSD-3-Clause
#include <hiddeviceinfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

using hid::HidCode;
using hid::HidCommand;

namespace {

QJsonValue text(const char *value)
{
    return QJsonValue(QString::fromLatin1(value));
}

QJsonObject object(const char *json)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(json));
    Q_ASSERT(document.isObject());
    return document.object();
}

const HidCommand stdInit{{}};
const HidCommand stdRing{{0x18, 0x2A}};
const HidCommand stdTalk{{0x17, 0x2A}};
const HidCommand stdMute{{0x17, 0x09, 0x2A}};
const HidCommand stdHold{{0x17, 0x20, 0x2A}};
const HidCommand stdHoldMuted{{0x17, 0x09, 0x20, 0x2A}};
const HidCommand stdFromTalkToRing{{0x17, 0x18, 0x2A}};

HidCommand twice(const HidCommand &command)
{
    HidCommand result = command;
    result.insert(result.end(), command.begin(), command.end());
    return result;
}

} // namespace

Q_DECLARE_METATYPE(HidCommand)

class TestHidCode : public QObject
{
    Q_OBJECT

private slots:
    void clickTypeValues()
    {
        QCOMPARE(int(hid::NONE), -1);
        QCOMPARE(int(hid::MUTE), 0);
        QCOMPARE(int(hid::CLICK), 1);
        QCOMPARE(int(hid::REJECT), 2);
        QCOMPARE(sizeof(hid::ClickType), size_t(4));
    }

    void defaultCodeIsAStandardTelephonyHeadset()
    {
        const HidCode code;
        QCOMPARE(code.devUsagePage, 0x000B);
        QCOMPARE(code.devUsageID, 0x0005);
        QCOMPARE(code.inputPage, 0x000B);
        QCOMPARE(code.outputPage, 0x0008);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::NONE);
        QCOMPARE(code.longDelay, false);
        QCOMPARE(code.cmdInit, stdInit);
        QCOMPARE(code.cmdRing, stdRing);
        QCOMPARE(code.cmdTalk, stdTalk);
        QCOMPARE(code.cmdMute, stdMute);
        QCOMPARE(code.cmdHold, stdHold);
        QCOMPARE(code.cmdHoldMuted, stdHoldMuted);
        QCOMPARE(code.cmdFromTalkToRing, stdFromTalkToRing);
    }

    void pageConstructorKeepsStandardCommands()
    {
        const HidCode code(0xFF00, 0x5, 0xFF30, 0xFF40);
        QCOMPARE(code.devUsagePage, 0xFF00);
        QCOMPARE(code.devUsageID, 0x0005);
        QCOMPARE(code.inputPage, 0xFF30);
        QCOMPARE(code.outputPage, 0xFF40);
        QCOMPARE(code.clickTypeOnEmptyCode, hid::NONE);
        QCOMPARE(code.longDelay, false);
        QCOMPARE(code.cmdInit, stdInit);
        QCOMPARE(code.cmdHoldMuted, stdHoldMuted);
    }

    void copiesAreDeep()
    {
        HidCode original;
        original.longDelay = true;
        HidCode copy(original);
        copy.cmdRing[0].push_back(0x21);
        copy.cmdTalk.clear();
        QCOMPARE(copy.longDelay, true);
        QCOMPARE(original.cmdRing, stdRing);
        QCOMPARE(original.cmdTalk, stdTalk);
        HidCode assigned;
        assigned = copy;
        QCOMPARE(assigned.cmdTalk, HidCommand());
    }

    void initStdCommandsAppendsAndDoesNotClear()
    {
        HidCode code;
        code.initStdCommands();
        QCOMPARE(code.cmdInit, (HidCommand{{}, {}}));
        QCOMPARE(code.cmdRing, twice(stdRing));
        QCOMPARE(code.cmdTalk, twice(stdTalk));
        QCOMPARE(code.cmdMute, twice(stdMute));
        QCOMPARE(code.cmdHold, twice(stdHold));
        QCOMPARE(code.cmdHoldMuted, twice(stdHoldMuted));
        QCOMPARE(code.cmdFromTalkToRing, twice(stdFromTalkToRing));
    }

    void valToUint_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<uint>("defaultValue");
        QTest::addColumn<uint>("expected");
        QTest::newRow("hex 0xFF00") << text("0xFF00") << 7u << 0xFF00u;
        QTest::newRow("hex 0x035") << text("0x035") << 7u << 0x35u;
        QTest::newRow("hex 0x5") << text("0x5") << 7u << 5u;
        QTest::newRow("hex upper 0X2a") << text("0X2a") << 7u << 0x2Au;
        QTest::newRow("decimal wins: 10") << text("10") << 7u << 10u;
        QTest::newRow("decimal wins: 0410") << text("0410") << 7u << 410u;
        QTest::newRow("hex 0x0410") << text("0x0410") << 7u << 0x410u;
        QTest::newRow("bare hex 1F") << text("1F") << 7u << 0x1Fu;
        QTest::newRow("word xyz gives 0, not the default") << text("xyz") << 7u << 0u;
        QTest::newRow("empty text gives 0") << text("") << 7u << 0u;
        QTest::newRow("above 16 bits") << text("0x12345") << 7u << 0x12345u;
        QTest::newRow("largest 32-bit") << text("4294967295") << 7u << 0xFFFFFFFFu;
        QTest::newRow("above 32 bits gives 0") << text("0x100000000") << 7u << 0u;
        QTest::newRow("JSON number keeps default") << QJsonValue(1133) << 7u << 7u;
        QTest::newRow("null keeps default") << QJsonValue() << 9u << 9u;
        QTest::newRow("undefined keeps default") << QJsonValue(QJsonValue::Undefined) << 9u << 9u;
        QTest::newRow("boolean keeps default") << QJsonValue(true) << 9u << 9u;
        QTest::newRow("array keeps default") << QJsonValue(QJsonArray{text("5")}) << 9u << 9u;
        QTest::newRow("object keeps default") << QJsonValue(QJsonObject()) << 9u << 9u;
    }

    void valToUint()
    {
        QFETCH(QJsonValue, value);
        QFETCH(uint, defaultValue);
        QFETCH(uint, expected);
        QCOMPARE(hid::valToUint(value, defaultValue), expected);
    }

    void sixteenBitFieldsKeepTheLowBits()
    {
        const unsigned short stored = static_cast<unsigned short>(hid::valToUint(text("0x12345"), 0));
        QCOMPARE(stored, 0x2345);
        QCOMPARE(hid::valToUsage(text("0x12345")), 0x2345);
    }

    void valToClickType_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<int>("defaultValue");
        QTest::addColumn<int>("expected");
        QTest::newRow("click") << text("click") << int(hid::NONE) << int(hid::CLICK);
        QTest::newRow("CLICK") << text("CLICK") << int(hid::NONE) << int(hid::CLICK);
        QTest::newRow("Mute") << text("Mute") << int(hid::NONE) << int(hid::MUTE);
        QTest::newRow("none") << text("none") << int(hid::CLICK) << int(hid::NONE);
        QTest::newRow("text 2") << text("2") << int(hid::NONE) << int(hid::REJECT);
        QTest::newRow("REJECT is an unknown word: MUTE") << text("REJECT") << int(hid::NONE) << int(hid::MUTE);
        QTest::newRow("bare number keeps default") << QJsonValue(1) << int(hid::NONE) << int(hid::NONE);
        QTest::newRow("bare number keeps CLICK") << QJsonValue(2) << int(hid::CLICK) << int(hid::CLICK);
        QTest::newRow("missing keeps default") << QJsonValue(QJsonValue::Undefined) << int(hid::NONE) << int(hid::NONE);
        QTest::newRow("hex text 0x1") << text("0x1") << int(hid::NONE) << int(hid::CLICK);
    }

    void valToClickType()
    {
        QFETCH(QJsonValue, value);
        QFETCH(int, defaultValue);
        QFETCH(int, expected);
        QCOMPARE(int(hid::valToClickType(value, static_cast<hid::ClickType>(defaultValue))), expected);
    }

    void valToUsage_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<int>("expected");
        QTest::newRow("0X2a") << text("0X2a") << 0x2A;
        QTest::newRow("online") << text("online") << 0x2A;
        QTest::newRow("Online") << text("Online") << 0x2A;
        QTest::newRow("ONLINE") << text("ONLINE") << 0x2A;
        QTest::newRow("mic") << text("mic") << 0x21;
        QTest::newRow("MUTE") << text("MUTE") << 0x09;
        QTest::newRow("hook") << text("hook") << 0x17;
        QTest::newRow("Ring") << text("Ring") << 0x18;
        QTest::newRow("HOLD") << text("HOLD") << 0x20;
        QTest::newRow("0x2B") << text("0x2B") << 0x2B;
        QTest::newRow("43") << text("43") << 43;
        QTest::newRow("unknown word") << text("LAMP") << 0;
        QTest::newRow("JSON number") << QJsonValue(0x18) << 0;
        QTest::newRow("null") << QJsonValue() << 0;
    }

    void valToUsage()
    {
        QFETCH(QJsonValue, value);
        QFETCH(int, expected);
        QCOMPARE(int(hid::valToUsage(value)), expected);
    }

    void getCmd_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<HidCommand>("expected");
        QTest::newRow("unknown word dropped from its step")
            << QByteArray(R"({"cmdRing": [["HOOK", "LAMP", "ONLINE"]]})") << HidCommand{{0x17, 0x2A}};
        QTest::newRow("step of only an unknown word is an empty step")
            << QByteArray(R"({"cmdRing": [["LAMP"]]})") << HidCommand{{}};
        QTest::newRow("zero is dropped") << QByteArray(R"({"cmdRing": [["0", "RING", "0x0"]]})") << HidCommand{{0x18}};
        QTest::newRow("empty array: no steps") << QByteArray(R"({"cmdRing": []})") << HidCommand{};
        QTest::newRow("string value: no steps") << QByteArray(R"({"cmdRing": "RING"})") << HidCommand{};
        QTest::newRow("null value: no steps") << QByteArray(R"({"cmdRing": null})") << HidCommand{};
        QTest::newRow("missing key keeps the command") << QByteArray(R"({"cmdTalk": []})") << stdRing;
        QTest::newRow("steps in order, empty steps kept")
            << QByteArray(R"({"cmdRing": [[], ["RING", "ONLINE"], "HOOK", [], ["0x21", "hold"]]})")
            << HidCommand{{}, {0x18, 0x2A}, {}, {}, {0x21, 0x20}};
        QTest::newRow("non-string usages dropped")
            << QByteArray(R"({"cmdRing": [[24, "RING", true, ["HOOK"]]]})") << HidCommand{{0x18}};
        QTest::newRow("usage order kept")
            << QByteArray(R"({"cmdRing": [["ONLINE", "MUTE", "HOOK"]]})") << HidCommand{{0x2A, 0x09, 0x17}};
    }

    void getCmd()
    {
        QFETCH(QByteArray, json);
        QFETCH(HidCommand, expected);
        HidCommand command = stdRing;
        hid::getCmd(object(json.constData()), QStringLiteral("cmdRing"), command);
        QCOMPARE(command, expected);
    }

    void getCmdReplacesRatherThanAppends()
    {
        HidCode code;
        hid::getCmd(object(R"({"cmdHold": [[], ["HOLD", "ONLINE"]]})"), QStringLiteral("cmdHold"), code.cmdHold);
        QCOMPARE(code.cmdHold, (HidCommand{{}, {0x20, 0x2A}}));
    }
};

QTEST_GUILESS_MAIN(TestHidCode)
#include "tst_hidcode.moc"
