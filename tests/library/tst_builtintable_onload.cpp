// SPDX-License-Identifier: BSD-3-Clause
// A process that only loads the library and looks a headset up: the built-in table must be
// registered and loaded without any call to init() or to the resource functions.
#include <hiddeviceinfo.h>

#include <QtTest>

class TestBuiltInTableOnLoad : public QObject
{
    Q_OBJECT

private slots:
    void firstLookupLoadsTheBuiltInTable()
    {
        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(0x0B0E, 0xA346, isExplicit);
        QVERIFY(isExplicit);
        QCOMPARE(code.devUsagePage, 0xFF00);
        QCOMPARE(code.outputPage, 0xFF40);
        const hid::HidCommand talk{{0x17, 0x18, 0x2A}, {0x17, 0x18, 0x2A}, {0x17, 0x2A},       {0x17, 0x20, 0x2A},
                                   {0x20, 0x2A},       {0x17, 0x18, 0x2A}, {0x17, 0x18, 0x2A}, {0x17, 0x2A}};
        QCOMPARE(code.cmdTalk, talk);
    }
};

QTEST_GUILESS_MAIN(TestBuiltInTableOnLoad)
#include "tst_builtintable_onload.moc"
