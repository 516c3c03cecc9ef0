// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_TESTHEADSET_H
#define QVHID_TESTS_TESTHEADSET_H

// A headset as the end-to-end tests handle it. The test links one of two implementations: a
// virtual headset behind the virtual hidapi (virtualtestheadset.cpp), or an emulated hidraw
// device behind the system's own hidapi and libudev (emulation/emulatedtestheadset.cpp).

#include "timingscale.h"

#include <virtualhid.h>

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>
#include <QTest>

#include <functional>
#include <string>

class TestHeadset
{
public:
    // Called first thing in main(), before any thread exists.
    static void prepareProcess();
    // Empty when headsets can be plugged in; otherwise why not (the tests are then skipped).
    static QString unavailable();

    static TestHeadset add(const hid::virt::DeviceDescription &description);
    static void removeAll();
    // Whether the harness shows the input devices that the kernel's HID input driver makes of a
    // headset (the kernel emulation does; virtual headsets are no hidraw nodes and have none).
    static bool hasKernelInputDevices();

    TestHeadset() = default;

    std::string path() const; // as hidapi enumerates it

    bool press(const std::string &button) const;
    bool release(const std::string &button) const;
    void inject(const hid::virt::Bytes &report) const;
    // Sends input reports as inject() does, from any thread: for a headset that streams.
    std::function<void(const hid::virt::Bytes &)> injector() const;
    void unplug() const;
    void replug() const; // under the same path
    // Plugs an unplugged headset in again under another path; the headset as it now is.
    TestHeadset replugUnderANewPath() const;

    // Records in udev's database what the library's phone-mute rules give the headset's event
    // nodes (the remap of its Phone Mute key), as udev does when the rules are installed.
    void remapPhoneMuteInUdevDatabase() const;

    // Every report the headset received, in order, as lowercase hex: "0222".
    QStringList written() const;
    void clearWritten() const;
    int openHandles() const;
    // How many of the headset's files a running binding holds open: hidapi's handle, and on a
    // hidraw node also the reader's own file, on which it waits for input.
    static int filesPerBinding();
    unsigned long opens() const; // successful opens so far
    // How often a reader began to wait for input on the headset (not a read-back of answers).
    unsigned long inputWaits() const;
    // How many input reports its readers have read.
    unsigned long reportsRead() const;
    // Waits until a binding's reader next begins to wait for input, inside a burst or not: for
    // a headset that streams, whose reader never reads nothing for long.
    bool waitForInputWait() const
    {
        const unsigned long waits = inputWaits();
        return QTest::qWaitFor([&] { return inputWaits() != waits; }, 5000 * timingScale());
    }
    // Waits until a binding's reader next begins to wait for input and reads no report for
    // 10 ms: it has written the lamps of the state just entered, read back the headset's
    // answers and read the rest of the last burst, so that a press now is taken as a press of
    // its own. False when no reader does so in time.
    bool waitForListeningReader() const
    {
        QDeadlineTimer deadline(5000 * timingScale());
        unsigned long waits = inputWaits();
        for (;;) {
            if (!QTest::qWaitFor([&] { return inputWaits() != waits; }, int(deadline.remainingTime())))
                return false;
            waits = inputWaits();
            const unsigned long reports = reportsRead();
            QDeadlineTimer quiet(10);
            while (reportsRead() == reports && !quiet.hasExpired())
                QTest::qWait(1);
            if (reportsRead() == reports)
                return true;
            if (deadline.hasExpired())
                return false;
        }
    }

private:
    explicit TestHeadset(int id)
        : m_id(id)
    {
    }

    int m_id = -1;
};

// Ends an initTestCase() at once when headsets cannot be plugged in here: skipped, or failed
// when QVHID_REQUIRE_KERNEL_EMULATION is set (CI sets it, so that it cannot pass by skipping).
#define QVHID_REQUIRE_TEST_HEADSETS()                                                                                  \
    do {                                                                                                               \
        const QString unavailable = TestHeadset::unavailable();                                                        \
        if (!unavailable.isEmpty() && qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))                     \
            QFAIL(qPrintable(unavailable));                                                                            \
        if (!unavailable.isEmpty())                                                                                    \
            QSKIP(qPrintable(unavailable));                                                                            \
    } while (false)

// The tests' main(): prepares the process, then runs the test object.
#define QVHID_TEST_HEADSET_MAIN(TestObject)                                                                            \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        TestHeadset::prepareProcess();                                                                                 \
        QCoreApplication application(argc, argv);                                                                      \
        TestObject test;                                                                                               \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }

#endif // QVHID_TESTS_TESTHEADSET_H
