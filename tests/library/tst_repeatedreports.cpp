// SPDX-License-Identifier: BSD-3-Clause
#include <repeatedreports.h>

#include <QtTest>

using hid::RepeatedReports;
using namespace std::chrono_literals;

class TestRepeatedReports : public QObject
{
    Q_OBJECT

private slots:
    void sameBytesWithinTheWindowRepeat();
    void sameBytesAfterAQuietWindowAreNew();
    void eachReportIdHasItsOwnPrevious();
    void withoutReportIdsEveryReportFollowsTheLast();
    void onlyTheReadLengthCounts();
};

namespace {
const RepeatedReports::Clock::time_point start;
}

void TestRepeatedReports::sameBytesWithinTheWindowRepeat()
{
    RepeatedReports reports(true);
    QVERIFY(!reports.note({0x01, 0x05, 0x00}, 3, start));
    QVERIFY(reports.note({0x01, 0x05, 0x00}, 3, start + 8ms));
    // A stream: each report is measured from the one before, not from the first.
    QVERIFY(reports.note({0x01, 0x05, 0x00}, 3, start + 8ms + RepeatedReports::Window - 1ms));
    QVERIFY(!reports.note({0x01, 0x01, 0x00}, 3, start + 200ms)); // changed
}

void TestRepeatedReports::sameBytesAfterAQuietWindowAreNew()
{
    RepeatedReports reports(false);
    QVERIFY(!reports.note({0x00, 0x00}, 2, start));
    QVERIFY(!reports.note({0x00, 0x00}, 2, start + RepeatedReports::Window));
}

void TestRepeatedReports::eachReportIdHasItsOwnPrevious()
{
    RepeatedReports reports(true);
    QVERIFY(!reports.note({0x01, 0x00, 0x00}, 3, start));
    QVERIFY(!reports.note({0x02, 0x07}, 2, start + 1ms));
    QVERIFY(reports.note({0x01, 0x00, 0x00}, 3, start + 2ms));
    QVERIFY(reports.note({0x02, 0x07}, 2, start + 3ms));
}

void TestRepeatedReports::withoutReportIdsEveryReportFollowsTheLast()
{
    // Without report ids the first byte is data: {01 00} between two {00 00} breaks the repeat.
    RepeatedReports reports(false);
    QVERIFY(!reports.note({0x00, 0x00}, 2, start));
    QVERIFY(!reports.note({0x01, 0x00}, 2, start + 1ms));
    QVERIFY(!reports.note({0x00, 0x00}, 2, start + 2ms));
}

void TestRepeatedReports::onlyTheReadLengthCounts()
{
    // The buffer is longer than the report read into it; what lies beyond the report is not it.
    RepeatedReports reports(false);
    QVERIFY(!reports.note({0x00, 0x00, 0x11}, 2, start));
    QVERIFY(reports.note({0x00, 0x00, 0x22}, 2, start + 1ms));
    QVERIFY(!reports.note({0x00, 0x00, 0x22}, 3, start + 2ms));
}

QTEST_GUILESS_MAIN(TestRepeatedReports)
#include "tst_repeatedreports.moc"
