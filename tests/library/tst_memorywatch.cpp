// SPDX-License-Identifier: BSD-3-Clause
// A million input reports through a bound headset, with a logger that formats every line: the
// process's resident memory must stay flat, and every report must be read.

#include "stresscount.h"
#include "virtualheadsets.h"

#include <hiddevicemanager.h>
#include <logger.h>

#include <QFile>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <thread>
#include <unistd.h>

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

namespace {

// The process's resident memory, in bytes.
long residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLong() * sysconf(_SC_PAGESIZE) : -1;
}

// Receives every line, as an application's logger would, counts the reports the reader says it
// read, and keeps nothing.
class ReportCountingLogger : public common::logger::ILogger
{
public:
    ReportCountingLogger() { common::logger::SetLogger(this); }
    ~ReportCountingLogger() override { common::logger::SetLogger(nullptr); }

    void Write(const common::logger::IMessage &message) override
    {
        const QString text = message.text();
        if (text.startsWith(QLatin1String("HID READER first click type is "))
            || text.startsWith(QLatin1String("HID READER next click type is ")))
            ++m_reports;
    }

    long reports() const { return m_reports; }

private:
    std::atomic<long> m_reports{0};
};

} // namespace

class TestMemoryWatch : public QObject
{
    Q_OBJECT

private slots:
    void residentMemoryStaysFlatOverAMillionReports();
};

void TestMemoryWatch::residentMemoryStaysFlatOverAMillionReports()
{
    const long reports = stressCount("QVHID_REPORTS", 1000000);
    constexpr long Burst = 1000; // reports per burst: mute pressed and released, 500 times
    constexpr long Queued = 32;  // at most this many unread, well inside the headset's queue

    ReportCountingLogger logger;
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    HidDeviceManager manager;
    std::atomic<long> mutes{0};
    connect(&manager, &HidDeviceManager::clickMute, this, [&mutes] { ++mutes; });
    QString state;
    connect(&manager, &HidDeviceManager::deviceStateEntered, this,
            [&state](const QString &entered) { state = entered; });
    manager.onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE_WITH_TIMEOUT(state, QStringLiteral("Initial"), 10000);

    const hid::virt::Bytes press = headset.description().buttons.at(2).press;
    const hid::virt::Bytes release = headset.description().buttons.at(2).release;
    QCOMPARE(headset.description().buttons.at(2).name, std::string("mute"));
    std::atomic<bool> stop{false};
    std::thread feeder([&] {
        long sent = 0;
        while (sent < reports && !stop) {
            for (long i = 0; i < Burst && sent < reports && !stop; ++i, ++sent) {
                while (sent - logger.reports() >= Queued && !stop)
                    std::this_thread::sleep_for(std::chrono::microseconds(50));
                headset.inject(i % 2 == 0 ? press : release);
            }
            // Quiet for longer than the reader's 5 ms follow-up read: the burst ends as a gesture.
            std::this_thread::sleep_for(std::chrono::milliseconds(15));
        }
    });

    // Resident memory each time another tenth of the reports has been read.
    QList<long> samples;
    QElapsedTimer clock;
    clock.start();
    const long tenth = std::max(1L, reports / 10);
    while (logger.reports() < reports && clock.elapsed() < 900000) {
        QTest::qWait(20);
        while (logger.reports() >= tenth * (samples.size() + 1) && samples.size() < 10)
            samples << residentBytes();
    }
    stop = true;
    feeder.join();
    const qint64 elapsed = clock.elapsed();
    QCOMPARE(logger.reports(), reports);
    QTRY_VERIFY(mutes >= reports / Burst);

    QStringList megabytes;
    for (long sample : samples)
        megabytes << QString::number(sample / 1048576.0, 'f', 2);
    qInfo("%ld reports read in %lld ms, %ld mute gestures; resident MB at each tenth: %s", logger.reports(), elapsed,
          mutes.load(), qPrintable(megabytes.join(QLatin1Char(' '))));

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they hold freed memory back on purpose
    QCOMPARE(samples.size(), 10);
    // After the first tenth (buffers, caches and the allocator's pools warmed up), it stays within
    // a megabyte of where it was.
    const long baseline = samples.first();
    for (long sample : samples)
        QVERIFY2(sample - baseline < 1048576, qPrintable(megabytes.join(QLatin1Char(' '))));
#endif
}

QTEST_GUILESS_MAIN(TestMemoryWatch)
#include "tst_memorywatch.moc"
