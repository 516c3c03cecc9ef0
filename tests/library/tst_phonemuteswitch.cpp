// SPDX-License-Identifier: BSD-3-Clause
// How an absolute Phone Mute's changes are told apart: presses, a button's releases, a switch's
// second press.
#include <phonemuteswitch.h>

#include <QtTest>

using hid::PhoneMuteSwitch;
using namespace std::chrono_literals;

namespace {
const PhoneMuteSwitch::Clock::time_point start;
}

class TestPhoneMuteSwitch : public QObject
{
    Q_OBJECT

private slots:
    void goingOnIsAPress();
    void goingOffSoonAfterIsAButtonsRelease();
    void onceAButtonAlwaysAButton();
    void goingOffLongAfterIsASwitchsPress();
    void onAtRestIsNoPress();
    void aChangeThatIsNoneIsNothing();
};

void TestPhoneMuteSwitch::goingOnIsAPress()
{
    PhoneMuteSwitch mute;
    QVERIFY(mute.isPress(true, false, start));
    QVERIFY(!mute.sendsAButton());
}

void TestPhoneMuteSwitch::goingOffSoonAfterIsAButtonsRelease()
{
    for (const auto held : {80ms, 300ms, 999ms}) {
        PhoneMuteSwitch mute;
        QVERIFY(mute.isPress(true, false, start));
        QVERIFY(!mute.isPress(false, false, start + held));
        QVERIFY(mute.sendsAButton());
    }
}

void TestPhoneMuteSwitch::onceAButtonAlwaysAButton()
{
    PhoneMuteSwitch mute;
    QVERIFY(mute.isPress(true, false, start));
    QVERIFY(!mute.isPress(false, false, start + 200ms));
    // Held a long time, later: still a button's release.
    QVERIFY(mute.isPress(true, false, start + 10s));
    QVERIFY(!mute.isPress(false, false, start + 15s));
}

void TestPhoneMuteSwitch::goingOffLongAfterIsASwitchsPress()
{
    PhoneMuteSwitch mute;
    QVERIFY(mute.isPress(true, false, start));
    QVERIFY(mute.isPress(false, false, start + PhoneMuteSwitch::ReleaseWindow));
    QVERIFY(mute.isPress(true, false, start + 5s));
    QVERIFY(mute.isPress(false, false, start + 20s));
    QVERIFY(!mute.sendsAButton());
}

void TestPhoneMuteSwitch::onAtRestIsNoPress()
{
    PhoneMuteSwitch mute;
    QVERIFY(!mute.isPress(true, true, start));
    // Its going off, long after, is the press that unmutes.
    QVERIFY(mute.isPress(false, false, start + 5s));
    // Off at rest is nothing either.
    PhoneMuteSwitch off;
    QVERIFY(!off.isPress(false, true, start));
}

void TestPhoneMuteSwitch::aChangeThatIsNoneIsNothing()
{
    PhoneMuteSwitch mute;
    QVERIFY(!mute.isPress(false, false, start));
    QVERIFY(mute.isPress(true, false, start + 1s));
    QVERIFY(!mute.isPress(true, false, start + 2s));
}

QTEST_GUILESS_MAIN(TestPhoneMuteSwitch)
#include "tst_phonemuteswitch.moc"
