// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe watch, driven through its standard input against a virtual headset.

#include "proberun.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int LineTimeoutMs = 10000;

// A running `watch`: commands go to its standard input, its lines are read as they come.
class WatchSession
{
public:
    explicit WatchSession(const QStringList &arguments)
    {
        m_process.start(QStringLiteral(PROBE), QStringList{QStringLiteral("watch")} + arguments);
    }

    ~WatchSession()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    void send(const QByteArray &command) { m_process.write(command + '\n'); }

    // Waits for a line whose event column (after the time stamp) starts with `event`; returns
    // the line without its time stamp, or empty after the time-out.
    QString waitFor(const QString &event)
    {
        QDeadlineTimer deadline(LineTimeoutMs);
        while (!deadline.hasExpired()) {
            while (m_process.canReadLine()) {
                const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
                m_lines << line;
                const QString withoutTime = line.mid(TimeStampWidth).trimmed();
                if (withoutTime.startsWith(event))
                    return withoutTime.simplified();
            }
            if (m_process.state() == QProcess::NotRunning && !m_process.canReadLine())
                break;
            m_process.waitForReadyRead(100);
        }
        return QString();
    }

    int exitCode()
    {
        if (!m_process.waitForFinished(LineTimeoutMs))
            return -1;
        m_lines += QString::fromUtf8(m_process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QString standardError() { return QString::fromUtf8(m_process.readAllStandardError()); }
    const QStringList &lines() const { return m_lines; }

    static constexpr int TimeStampWidth = 12; // "HH:mm:ss.zzz"

private:
    QProcess m_process;
    QStringList m_lines;
};

const QStringList OfficeHeadset20 = {QStringLiteral("Headset Microphone (2- Office Headset 20)"),
                                     QStringLiteral("--virtual"), QStringLiteral("telephony-headset")};

} // namespace

class TestProbeWatch : public QObject
{
    Q_OBJECT

private slots:
    void showsAWholeCallWithTimeStamps();
    void rebindsAndUnbindsOnDevice();
    void explainsAnUnknownCommandAndButton();
    void endsAtTheEndOfItsInput();
    void verboseShowsTheLibrarysLogLines();
    void usesTheGivenDictionary();
    void bindsAnUnlistedHeadsetThroughTheFallback();
    void rejectsBadArguments();
};

void TestProbeWatch::showsAWholeCallWithTimeStamps()
{
    WatchSession watch(OfficeHeadset20);
    QCOMPARE(watch.waitFor(QStringLiteral("audio device")),
             QStringLiteral("audio device \"Headset Microphone (2- Office Headset 20)\""));
    QCOMPARE(watch.waitFor(QStringLiteral("device shown")), QStringLiteral("device shown \"Office Headset 20\""));
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    // Each command, and the line it must bring. A call ended while held and muted stays there,
    // as the reader's states are made, so the call is held unmuted before it ends.
    const QList<QPair<QByteArray, QString>> steps = {
        {"ring", "state Incoming call"}, {"press answer", "gesture click (answer or end the call)"},
        {"answer", "state Talk"},        {"press mute", "gesture clickMute (toggle mute)"},
        {"mute", "state Talk muted"},    {"unmute", "state Talk"},
        {"hold", "state Hold"},          {"holdmute", "state Hold muted"},
        {"hold", "state Hold"},          {"press drop", "gesture clickReject (reject the call)"},
        {"end", "state Initial"},
    };
    QStringList sent;
    for (const auto &step : steps) {
        watch.send(step.first);
        QCOMPARE(watch.waitFor(step.second.section(QLatin1Char(' '), 0, 0)), step.second);
        sent << QString::fromLatin1(step.first);
    }
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
    // Commands read from a pipe are echoed in order; every line starts with a time stamp.
    const QRegularExpression stamped(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d  \\S"));
    QStringList commands;
    for (const QString &line : watch.lines()) {
        QVERIFY2(stamped.match(line).hasMatch(), qPrintable(line));
        if (line.mid(WatchSession::TimeStampWidth).trimmed().startsWith(QLatin1String("command")))
            commands << line.mid(WatchSession::TimeStampWidth).simplified().mid(8);
    }
    QCOMPARE(commands, sent << QStringLiteral("quit"));
}

void TestProbeWatch::rebindsAndUnbindsOnDevice()
{
    WatchSession watch(OfficeHeadset20);
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    watch.send("device");
    QCOMPARE(watch.waitFor(QStringLiteral("audio device")), QStringLiteral("audio device (none)"));
    QCOMPARE(watch.waitFor(QStringLiteral("device hidden")), QStringLiteral("device hidden"));
    watch.send("device Speakers (Office Headset 20)");
    QCOMPARE(watch.waitFor(QStringLiteral("device shown")), QStringLiteral("device shown \"Office Headset 20\""));
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    watch.send("device Speakers (Office Headset 20)");
    QCOMPARE(watch.waitFor(QStringLiteral("note")),
             QStringLiteral("note already the audio device in use; nothing changes"));
    watch.send("device Speakers (Nobody's Headset)");
    QCOMPARE(
        watch.waitFor(QStringLiteral("note")),
        QStringLiteral("note no headset bound: no sound card; product string \"Nobody's Headset\": no HID interface "
                       "with it is listed in the dictionary; 'qvhid-probe list' shows the HID interfaces"));
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
}

void TestProbeWatch::explainsAnUnknownCommandAndButton()
{
    WatchSession watch(OfficeHeadset20);
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    watch.send("dial 123");
    QCOMPARE(
        watch.waitFor(QStringLiteral("error")),
        QStringLiteral("error unknown command 'dial 123' (commands: ring, answer, mute, unmute, hold, holdmute, end, "
                       "device [NAME], quit, press BUTTON, buttons)"));
    watch.send("press volume");
    QCOMPARE(watch.waitFor(QStringLiteral("error")),
             QStringLiteral("error the virtual headset has no button 'volume'; it has: answer hangup mute flash drop "
                            "programmable redial"));
    watch.send("buttons");
    QCOMPARE(watch.waitFor(QStringLiteral("buttons")),
             QStringLiteral("buttons answer hangup mute flash drop programmable redial"));
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
}

void TestProbeWatch::endsAtTheEndOfItsInput()
{
    QProcess process;
    process.start(QStringLiteral(PROBE), QStringList{QStringLiteral("watch")} + OfficeHeadset20);
    // Sent at once: the command waits for the headset's first state, so that the ring reaches it.
    process.write("ring\n");
    QString output;
    QDeadlineTimer deadline(LineTimeoutMs);
    while (!output.contains(QLatin1String("state         Incoming call")) && !deadline.hasExpired()) {
        process.waitForReadyRead(100);
        output += QString::fromUtf8(process.readAllStandardOutput());
    }
    QVERIFY2(output.indexOf(QLatin1String("state         Initial"))
                 < output.indexOf(QLatin1String("command       ring")),
             qPrintable(output));
    QVERIFY2(output.contains(QLatin1String("state         Incoming call")), qPrintable(output));
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(LineTimeoutMs));
    QCOMPARE(process.exitCode(), 0);
    output += QString::fromUtf8(process.readAllStandardOutput());
    QVERIFY(output.contains(QLatin1String("command       quit")));
}

void TestProbeWatch::verboseShowsTheLibrarysLogLines()
{
    WatchSession watch(OfficeHeadset20 + QStringList{QStringLiteral("--verbose")});
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
    const QString log = watch.standardError();
    QVERIFY2(log.contains(
                 QLatin1String("HID MANAGER Active audio device changed to Headset Microphone (2- Office Headset 20)")),
             qPrintable(log));
    QVERIFY(log.contains(QLatin1String("HID DEVICE Parent device is Office Headset 20")));

    WatchSession quiet(OfficeHeadset20);
    QCOMPARE(quiet.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    quiet.send("quit");
    QCOMPARE(quiet.exitCode(), 0);
    QCOMPARE(quiet.standardError(), QString());
}

void TestProbeWatch::usesTheGivenDictionary()
{
    QTemporaryDir dir;
    const QString dictionary =
        writeFile(QDir(dir.path()), QStringLiteral("other.json"), R"({ "configurations": { "Standart": {} },
        "devices": [ { "name": "Other", "vid": "0x1209", "pid": "0x0001", "configuration": "Standart" } ] })");
    WatchSession watch(OfficeHeadset20 + QStringList{QStringLiteral("--dictionary"), dictionary});
    QCOMPARE(
        watch.waitFor(QStringLiteral("note")),
        QStringLiteral("note no headset bound: no sound card; product string \"Office Headset 20\": no HID interface "
                       "with it is listed in the dictionary; 'qvhid-probe list' shows the HID interfaces"));
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
    QVERIFY(!watch.lines().join(QLatin1Char('\n')).contains(QLatin1String("device shown")));
}

void TestProbeWatch::bindsAnUnlistedHeadsetThroughTheFallback()
{
    const QStringList unlisted = {QStringLiteral("Headset Microphone (Office Headset 50)"), QStringLiteral("--virtual"),
                                  QStringLiteral("unlisted-headset")};
    WatchSession without(unlisted);
    QVERIFY(without.waitFor(QStringLiteral("note")).startsWith(QLatin1String("note no headset bound: ")));
    without.send("quit");
    QCOMPARE(without.exitCode(), 0);

    WatchSession watch(unlisted + QStringList{QStringLiteral("--fallback"), QStringLiteral("Standart")});
    QCOMPARE(watch.waitFor(QStringLiteral("device shown")), QStringLiteral("device shown \"Office Headset 50\""));
    QCOMPARE(
        watch.waitFor(QStringLiteral("binding")),
        QStringLiteral("binding no sound card; product string \"Office Headset 50\", interface 3, the call-control "
                       "collection 0x000B/0x0005 of the fallback configuration \"Standart\" (its ids have no row of "
                       "their own)"));
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Initial"));
    watch.send("ring");
    QCOMPARE(watch.waitFor(QStringLiteral("state")), QStringLiteral("state Incoming call"));
    watch.send("press answer");
    QCOMPARE(watch.waitFor(QStringLiteral("gesture")), QStringLiteral("gesture click (answer or end the call)"));
    watch.send("quit");
    QCOMPARE(watch.exitCode(), 0);
}

void TestProbeWatch::rejectsBadArguments()
{
    QCOMPARE(runProbe({QStringLiteral("watch")}).exitCode, 2);
    QCOMPARE(runProbe({QStringLiteral("watch"), QStringLiteral("a"), QStringLiteral("b")}).exitCode, 2);
    const ProbeRun unknown =
        runProbe({QStringLiteral("watch"), QStringLiteral("x"), QStringLiteral("--virtual"), QStringLiteral("none")});
    QCOMPARE(unknown.exitCode, 2);
    QVERIFY(unknown.err.contains(QLatin1String("no virtual headset named 'none'")));
    QCOMPARE(runProbe({QStringLiteral("watch"), QStringLiteral("x"), QStringLiteral("--dictionary"),
                       QStringLiteral("/nonexistent.json")})
                 .exitCode,
             2);
}

QTEST_GUILESS_MAIN(TestProbeWatch)
#include "tst_probewatch.moc"
