// SPDX-License-Identifier: BSD-3-Clause
// What an application's test sees of virtual headsets being plugged in and out, with nothing but
// the installed package's public API: the one manager, audio-device names and call states in,
// deviceShow, deviceHide, states and lamps out.
#include <hiddevicemanager.h>
#include <virtualmodels.h>

#include <QSignalSpy>
#include <QtTest>

using qv::hid::HidDeviceManager;

namespace {

const QString AudioDevice = QStringLiteral("Headset Microphone (2- Office Headset 20)");

HidDeviceManager &manager()
{
    return HidDeviceManager::Instance();
}

hid::virt::VirtualDevice plugInOfficeHeadset20()
{
    return hid::virt::addModel(*hid::virt::findModel("telephony-headset")).front();
}

QStringList writtenHex(const hid::virt::VirtualDevice &device)
{
    QStringList reports;
    for (const hid::virt::WrittenReport &report : device.writtenReports())
        reports << QString::fromLatin1(
            QByteArray(reinterpret_cast<const char *>(report.bytes.data()), int(report.bytes.size())).toHex());
    return reports;
}

} // namespace

class TestPlugging : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        manager().onActiveAudioDeviceChanged(QString());
        manager().onCallEnd();
        hid::virt::removeAllDevices();
    }

    void unplugHidesAndReplugShowsTheCallAgain()
    {
        hid::virt::VirtualDevice headset = plugInOfficeHeadset20();
        QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
        QSignalSpy hidden(&manager(), &HidDeviceManager::deviceHide);
        QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
        manager().onActiveAudioDeviceChanged(AudioDevice);
        QCOMPARE(shown.count(), 1);
        QTRY_COMPARE(states.count(), 1);
        manager().onCallIncome();
        QTRY_COMPARE(states.count(), 2);
        QCOMPARE(states.at(1).first().toString(), QStringLiteral("Incoming call"));

        hidden.clear();
        headset.unplug();
        QTRY_COMPARE(hidden.count(), 1);

        headset.clearWrittenReports();
        headset.replug();
        QTRY_COMPARE(shown.count(), 2);
        QCOMPARE(shown.at(1).first().toString(), QStringLiteral("Office Headset 20"));
        QTRY_COMPARE(states.count(), 4);
        QCOMPARE(states.at(2).first().toString(), QStringLiteral("Initial"));
        QCOMPARE(states.at(3).first().toString(), QStringLiteral("Incoming call"));
        // The headset's lamps: all off first, then Ring and On-Line again.
        QTRY_COMPARE(writtenHex(headset), (QStringList{"0200", "0222"}));
    }

    void replugUnderANewPath()
    {
        hid::virt::VirtualDevice headset = plugInOfficeHeadset20();
        QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
        QSignalSpy hidden(&manager(), &HidDeviceManager::deviceHide);
        QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
        manager().onActiveAudioDeviceChanged(AudioDevice);
        QTRY_COMPARE(states.count(), 1);
        hidden.clear();
        headset.unplug();
        QTRY_COMPARE(hidden.count(), 1);
        headset.replug("virtual-hid/plugged-in-again");
        QTRY_COMPARE(shown.count(), 2);
        QTRY_COMPARE(states.count(), 2);
        QCOMPARE(headset.openHandles(), 1);
    }

    void headsetPluggedInAfterItsNameWasReported()
    {
        QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
        QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
        manager().onActiveAudioDeviceChanged(AudioDevice);
        QCOMPARE(shown.count(), 0);
        manager().onCallUnmuted(); // a call being talked, reported while no headset is there
        hid::virt::VirtualDevice headset = plugInOfficeHeadset20();
        QTRY_COMPARE(shown.count(), 1);
        QTRY_COMPARE(states.count(), 2);
        QCOMPARE(states.at(0).first().toString(), QStringLiteral("Initial"));
        QCOMPARE(states.at(1).first().toString(), QStringLiteral("Talk"));
        QTRY_COMPARE(writtenHex(headset), (QStringList{"0200", "0221"}));
    }
};

QTEST_GUILESS_MAIN(TestPlugging)
#include "main.moc"
