// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"
#include "signalrecorder.h"

#include <hiddevicemanager.h>

#include <QtTest>

using qv::hid::HidDeviceManager;

namespace {

const QString managerFile = QStringLiteral("src/libs/qvhid/src/hiddevicemanager");

QStringList list(std::initializer_list<const char *> names)
{
    QStringList result;
    for (const char *name : names)
        result.append(QString::fromLatin1(name));
    return result;
}

// The current list of `type`, read through the public operations only: the top device is
// taken and removed until none is left, then the list is put back as it was.
QStringList devices(HidDeviceManager &manager, int type)
{
    QStringList result;
    common::logger::ILogger *logger = common::logger::GetLogger();
    common::logger::SetLogger(nullptr); // keep the probing out of the captured lines
    for (QString top = manager.GetTopDevice(type); !top.isEmpty(); top = manager.GetTopDevice(type)) {
        result.append(top);
        manager.RemoveDevice(type, top);
    }
    manager.SetDeviceList(type, result);
    common::logger::SetLogger(logger);
    return result;
}

} // namespace

class TestDeviceLists : public QObject
{
    Q_OBJECT

private slots:
    void everyMutationWritesItsTraceLine_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<QString>("function");
        QTest::addColumn<QString>("text");
        QTest::newRow("SetDeviceList") << 0 << "SetDeviceList"
                                       << "HID MANAGER Set devices list  type is 3";
        QTest::newRow("AddDevice") << 1 << "AddDevice"
                                   << "HID MANAGER Add device Headset A type is 3";
        QTest::newRow("SetTopDevice") << 2 << "SetTopDevice"
                                      << "HID MANAGER Set top device Headset A type is 3";
        QTest::newRow("RemoveDevice(type)") << 3 << "RemoveDevice"
                                            << "HID MANAGER Remove device Headset A type is 3";
        QTest::newRow("RemoveDevice(name)") << 4 << "RemoveDevice"
                                            << "HID MANAGER Remove device Headset A";
    }

    void everyMutationWritesItsTraceLine()
    {
        QFETCH(int, operation);
        QFETCH(QString, function);
        QFETCH(QString, text);
        HidDeviceManager manager;
        CapturingLogger logger;
        const QString name = QStringLiteral("Headset A");
        switch (operation) {
        case 0: manager.SetDeviceList(3, {name, QStringLiteral("other")}); break;
        case 1: manager.AddDevice(3, name); break;
        case 2: manager.SetTopDevice(3, name); break;
        case 3: manager.RemoveDevice(3, name); break;
        case 4: manager.RemoveDevice(name); break;
        }
        const QList<CapturedLine> lines = logger.lines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].text, text);
        QCOMPARE(lines[0].level, 7);
        QCOMPARE(lines[0].category, QStringLiteral("hid"));
        QCOMPARE(lines[0].file, managerFile);
        QCOMPARE(lines[0].function, function);
    }

    void typesAreAnyIntAndNegativeTypesLogInDecimal()
    {
        HidDeviceManager manager;
        CapturingLogger logger;
        manager.AddDevice(-2147483647 - 1, QStringLiteral("X"));
        QCOMPARE(logger.texts(), list({"HID MANAGER Add device X type is -2147483648"}));
        QCOMPARE(manager.GetTopDevice(-2147483647 - 1), QStringLiteral("X"));
    }

    void getTopDeviceOfUnknownTypeIsEmptyAndCreatesNoEntry()
    {
        HidDeviceManager manager;
        QCOMPARE(manager.GetTopDevice(7), QString());
        QVERIFY(manager.GetTopDevice(7).isEmpty());
        // No entry was created: a name-wide removal tries no type at all.
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), -1);
        QCOMPARE(logger.texts(), list({"HID MANAGER Remove device A"}));
        QVERIFY(manager.GetTopDevice(7).isNull());
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), -1);
    }

    void removeDeviceOfUnknownTypeIsFalseAndCreatesAnEntry()
    {
        HidDeviceManager manager;
        QCOMPARE(manager.RemoveDevice(9, QStringLiteral("A")), false);
        // The entry exists now: a name-wide removal tries type 9.
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), -1);
        QCOMPARE(logger.texts(), list({"HID MANAGER Remove device A", "HID MANAGER Remove device A type is 9"}));
    }

    void addDeviceMovesAnExistingNameToTheEnd()
    {
        HidDeviceManager manager;
        manager.AddDevice(1, QStringLiteral("A"));
        manager.AddDevice(1, QStringLiteral("B"));
        manager.AddDevice(1, QStringLiteral("A"));
        QCOMPARE(devices(manager, 1), list({"B", "A"}));
        QCOMPARE(manager.GetTopDevice(1), QStringLiteral("B"));
    }

    void setTopDeviceMovesTheNameToTheFront()
    {
        HidDeviceManager manager;
        manager.SetDeviceList(1, list({"A", "B", "D"}));
        manager.SetTopDevice(1, QStringLiteral("B"));
        QCOMPARE(devices(manager, 1), list({"B", "A", "D"}));
        QCOMPARE(manager.GetTopDevice(1), QStringLiteral("B"));
    }

    void setTopDeviceOnAnEmptyOrAbsentList()
    {
        HidDeviceManager manager;
        manager.SetTopDevice(1, QStringLiteral("B"));
        QCOMPARE(devices(manager, 1), list({"B"}));
        manager.SetDeviceList(2, {});
        manager.SetTopDevice(2, QStringLiteral("B"));
        QCOMPARE(devices(manager, 2), list({"B"}));
    }

    void setDeviceListKeepsDuplicatesAndRemoveTakesTheFirstOnly()
    {
        HidDeviceManager manager;
        manager.SetDeviceList(4, list({"A", "A", "B"}));
        QCOMPARE(manager.RemoveDevice(4, QStringLiteral("A")), true);
        QCOMPARE(devices(manager, 4), list({"A", "B"}));
    }

    void setDeviceListReplacesTheWholeList()
    {
        HidDeviceManager manager;
        manager.SetDeviceList(4, list({"A", "B"}));
        manager.SetDeviceList(4, list({"C"}));
        QCOMPARE(devices(manager, 4), list({"C"}));
    }

    void removeByNameTakesTheLowestTypeOnly()
    {
        HidDeviceManager manager;
        manager.AddDevice(5, QStringLiteral("A"));
        manager.AddDevice(1, QStringLiteral("A"));
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), 1);
        QCOMPARE(logger.texts(), list({"HID MANAGER Remove device A", "HID MANAGER Remove device A type is 1"}));
        QCOMPARE(logger.linesFrom(QStringLiteral("RemoveDevice")).size(), 2);
        QCOMPARE(devices(manager, 5), list({"A"}));
        QCOMPARE(devices(manager, 1), QStringList());
    }

    void removeByNameOfAnUnregisteredNameTriesEveryTypeInOrder()
    {
        HidDeviceManager manager;
        manager.AddDevice(5, QStringLiteral("A"));
        manager.AddDevice(-3, QStringLiteral("B"));
        manager.AddDevice(1, QStringLiteral("C"));
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("Z")), -1);
        QCOMPARE(logger.texts(),
                 list({"HID MANAGER Remove device Z", "HID MANAGER Remove device Z type is -3",
                       "HID MANAGER Remove device Z type is 1", "HID MANAGER Remove device Z type is 5"}));
    }

    void removeByNameOnAnEmptyTableWritesOnlyItsOwnLine()
    {
        HidDeviceManager manager;
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), -1);
        QCOMPARE(logger.texts(), list({"HID MANAGER Remove device A"}));
    }

    void anEmptiedListKeepsItsEntry()
    {
        HidDeviceManager manager;
        manager.SetDeviceList(6, {});
        QCOMPARE(manager.GetTopDevice(6), QString());
        manager.AddDevice(8, QStringLiteral("A"));
        QVERIFY(manager.RemoveDevice(8, QStringLiteral("A")));
        CapturingLogger logger;
        QCOMPARE(manager.RemoveDevice(QStringLiteral("A")), -1);
        QCOMPARE(logger.texts(),
                 list({"HID MANAGER Remove device A", "HID MANAGER Remove device A type is 6",
                       "HID MANAGER Remove device A type is 8"}));
    }

    void namesAreComparedExactly()
    {
        HidDeviceManager manager;
        manager.SetDeviceList(1, list({"Headset", "headset"}));
        QCOMPARE(manager.RemoveDevice(1, QStringLiteral("HEADSET")), false);
        manager.SetTopDevice(1, QStringLiteral("headset"));
        QCOMPARE(devices(manager, 1), list({"headset", "Headset"}));
    }

    void listOperationsEmitNoSignal()
    {
        HidDeviceManager manager;
        SignalRecorder recorder(&manager);
        QVERIFY(recorder.signalCount() > 0);
        manager.SetDeviceList(1, list({"A", "B"}));
        manager.AddDevice(1, QStringLiteral("C"));
        manager.SetTopDevice(1, QStringLiteral("C"));
        manager.SetTopDevice(2, QStringLiteral("A"));
        manager.RemoveDevice(1, QStringLiteral("C"));
        manager.RemoveDevice(QStringLiteral("A"));
        manager.GetTopDevice(1);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.emitted(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDeviceLists)
#include "tst_devicelists.moc"
