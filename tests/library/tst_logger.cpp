// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"

#include <logger.h>

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using common::logger::GetLogger;
using common::logger::IsDelivered;
using common::logger::Message;
using common::logger::SetLogger;

namespace {

// Counts the lines it receives; safe from several threads.
class CountingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &) override { ++count; }
    std::atomic<int> count{0};
};

// Logs from inside Write(), which must neither recurse nor deadlock.
class ReentrantLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &message) override
    {
        ++writes;
        Message(7, QStringLiteral("hid"), QStringLiteral("f"), QStringLiteral("Write"), 1).Stream()
            << "nested " << message.text();
    }
    int writes = 0;
};

// Removes itself from inside Write().
class SelfRemovingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &) override
    {
        ++writes;
        SetLogger(nullptr);
    }
    int writes = 0;
};

void logTrace(const QString &text)
{
    Message(7, QStringLiteral("hid"), QStringLiteral("src/x"), QStringLiteral("logTrace"), 3).Stream() << text;
}

} // namespace

class TestLogger : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { SetLogger(nullptr); }

    void deliversEveryFieldAtTheEndOfTheStatement()
    {
        CapturingLogger logger;
        Message(7, QStringLiteral("hid"), QStringLiteral("src/libs/qvhid/src/hiddevice"), QStringLiteral("reset"), 42)
                .Stream()
            << "HID DEVICE " << QStringLiteral("name");
        const QList<CapturedLine> lines = logger.lines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].text, QStringLiteral("HID DEVICE name"));
        QCOMPARE(lines[0].category, QStringLiteral("hid"));
        QCOMPARE(lines[0].level, 7);
        QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
        QCOMPARE(lines[0].function, QStringLiteral("reset"));
        QCOMPARE(lines[0].line, 42);
    }

    void aNamedMessageIsDeliveredWhenItIsDestroyed()
    {
        CapturingLogger logger;
        {
            Message message(3, QStringLiteral("hid"), QStringLiteral("f"), QStringLiteral("g"), 1);
            message.Stream() << "first";
            message.Stream() << " second";
            QCOMPARE(message.text(), QStringLiteral("first second"));
            QVERIFY(logger.lines().isEmpty());
        }
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("first second")});
    }

    void streamsStringsIntegersAndBooleans()
    {
        CapturingLogger logger;
        Message(7, QStringLiteral("hid"), QStringLiteral("f"), QStringLiteral("g"), 1).Stream()
            << "a " << QStringLiteral("b ") << 1133 << ' ' << -1 << ' ' << true << ' ' << false << ' '
            << static_cast<unsigned short>(0xFFFF);
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("a b 1133 -1 1 0 65535")});
    }

    void levelsAboveSevenAreNotDelivered()
    {
        CapturingLogger logger;
        for (int level : {0, 3, 7, 8, 9}) {
            Message(level, QStringLiteral("hid"), QStringLiteral("f"), QStringLiteral("g"), 1).Stream()
                << "level " << level;
        }
        QCOMPARE(logger.texts(),
                 (QStringList{QStringLiteral("level 0"), QStringLiteral("level 3"), QStringLiteral("level 7")}));
        QVERIFY(IsDelivered(7));
        QVERIFY(!IsDelivered(8));
    }

    void withoutALoggerNothingIsDelivered()
    {
        QCOMPARE(GetLogger(), nullptr);
        QVERIFY(!IsDelivered(3));
        logTrace(QStringLiteral("nobody hears this"));

        CapturingLogger logger;
        QCOMPARE(GetLogger(), &logger);
        QVERIFY(logger.lines().isEmpty());
    }

    void settingNullRemovesTheLogger()
    {
        CapturingLogger logger;
        logTrace(QStringLiteral("one"));
        SetLogger(nullptr);
        QCOMPARE(GetLogger(), nullptr);
        logTrace(QStringLiteral("two"));
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("one")});
    }

    void aLoggerThatLogsDoesNotRecurse()
    {
        ReentrantLogger logger;
        SetLogger(&logger);
        logTrace(QStringLiteral("outer"));
        QCOMPARE(logger.writes, 1);
        logTrace(QStringLiteral("again"));
        QCOMPARE(logger.writes, 2);
    }

    void aLoggerMayRemoveItselfFromWrite()
    {
        SelfRemovingLogger logger;
        SetLogger(&logger);
        logTrace(QStringLiteral("once"));
        QCOMPARE(GetLogger(), nullptr);
        logTrace(QStringLiteral("not delivered"));
        QCOMPARE(logger.writes, 1);
    }

    void installingAndRemovingWhileOtherThreadsLog()
    {
        constexpr int threadCount = 4;
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([&stop, t] {
                while (!stop.load())
                    logTrace(QStringLiteral("thread %1").arg(t));
            });
        }

        // After SetLogger(nullptr) returns, the removed logger is never called again, so it can
        // be destroyed at once (each one here lives on the stack of one iteration).
        int delivered = 0;
        for (int round = 0; round < 200; ++round) {
            CountingLogger logger;
            SetLogger(&logger);
            QThread::usleep(200);
            SetLogger(nullptr);
            const int countAtRemoval = logger.count.load();
            QThread::usleep(100);
            QCOMPARE(logger.count.load(), countAtRemoval);
            delivered += countAtRemoval;
        }
        stop = true;
        for (std::thread &thread : threads)
            thread.join();
        QVERIFY(delivered > 0);
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
