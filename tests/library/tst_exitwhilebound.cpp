// SPDX-License-Identifier: BSD-3-Clause
// An application that ends while its headset is bound: the manager, destroyed during exit,
// must end the reader thread and close the headset without crashing or hanging.

#include <QProcess>
#include <QtTest>

class TestExitWhileBound : public QObject
{
    Q_OBJECT

private slots:
    void exitEndsTheBindingCleanly_data();
    void exitEndsTheBindingCleanly();
};

void TestExitWhileBound::exitEndsTheBindingCleanly_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("application gone") << "application-gone";
    QTest::newRow("unbound just before") << "unbound-just-before";
    QTest::newRow("exit with application") << "exit-with-application";
}

void TestExitWhileBound::exitEndsTheBindingCleanly()
{
    QFETCH(QString, mode);
    QProcess probe;
    probe.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    probe.start(QStringLiteral(EXIT_PROBE), {mode});
    QVERIFY(probe.waitForStarted());
    QVERIFY2(probe.waitForFinished(60000), "the process did not end");
    QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
    QCOMPARE(probe.exitCode(), 0);

    // Whenever the binding ends (with the application object, during exit, or just before),
    // the reader, its decoder and its thread are gone before the process is.
    const QStringList lines = QString::fromUtf8(probe.readAllStandardOutput()).split(QLatin1Char('\n'));
    const int bound = lines.indexOf(QStringLiteral("State: Initial headset state entered"));
    QVERIFY(bound > 0);
    QVERIFY(lines.contains(QStringLiteral("exiting")));
    for (const char *end : {"~HidReaderBase", "~HidDecoderBase", "~ReaderThread"}) {
        QVERIFY2(lines.count(QString::fromLatin1(end)) == 1, end);
        QVERIFY2(lines.indexOf(QString::fromLatin1(end)) > bound, end);
    }
}

QTEST_GUILESS_MAIN(TestExitWhileBound)
#include "tst_exitwhilebound.moc"
