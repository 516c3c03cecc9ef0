// SPDX-License-Identifier: BSD-3-Clause
// The ready logger that hands the library's lines to Qt's logging.

#include <hiddevicemanager.h>
#include <logger.h>
#include <qtlogger.h>

#include <QtTest>

using common::logger::Message;
using common::logger::QtLogger;

namespace {

struct QtLine
{
    QtMsgType type;
    QString category;
    QString file;
    int line;
    QString function;
    QString text;
};

QList<QtLine> g_lines;

void keepLine(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    g_lines.append({type, QString::fromUtf8(context.category), QString::fromUtf8(context.file), context.line,
                    QString::fromUtf8(context.function), text});
}

} // namespace

class TestQtLogger : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        g_lines.clear();
        m_previous = qInstallMessageHandler(keepLine);
        common::logger::SetLogger(&m_logger);
    }
    void cleanup()
    {
        common::logger::SetLogger(nullptr);
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }

    void levelsBecomeQtMessageTypes_data();
    void levelsBecomeQtMessageTypes();
    void linesKeepTheirOrigin();
    void qtFilterRulesApply();
    void libraryLinesArrive();

private:
    QtLogger m_logger;
    QtMessageHandler m_previous = nullptr;
};

void TestQtLogger::levelsBecomeQtMessageTypes_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("type");
    QTest::newRow("0") << 0 << int(QtCriticalMsg);
    QTest::newRow("2") << 2 << int(QtCriticalMsg);
    QTest::newRow("3: failures") << 3 << int(QtWarningMsg);
    QTest::newRow("4") << 4 << int(QtWarningMsg);
    QTest::newRow("5") << 5 << int(QtInfoMsg);
    QTest::newRow("6") << 6 << int(QtInfoMsg);
    QTest::newRow("7: trace") << 7 << int(QtDebugMsg);
}

void TestQtLogger::levelsBecomeQtMessageTypes()
{
    QFETCH(int, level);
    QFETCH(int, type);
    QCOMPARE(int(QtLogger::messageType(level)), type);
    Message(level, QStringLiteral("hid"), QStringLiteral("src/x"), QStringLiteral("f"), 1).Stream() << "line " << level;
    QCOMPARE(g_lines.size(), 1);
    QCOMPARE(int(g_lines[0].type), type);
    QCOMPARE(g_lines[0].text, QStringLiteral("line %1").arg(level));
}

void TestQtLogger::linesKeepTheirOrigin()
{
    Message(3, QStringLiteral("hid"), QStringLiteral("src/libs/qvhid/src/hiddevice"), QStringLiteral("reset"), 42)
            .Stream()
        << "HID DEVICE " << QString::fromUtf8("\xc3\xa9");
    QCOMPARE(g_lines.size(), 1);
    QCOMPARE(g_lines[0].category, QStringLiteral("qvhid"));
    QCOMPARE(g_lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
    QCOMPARE(g_lines[0].line, 42);
    QCOMPARE(g_lines[0].function, QStringLiteral("reset"));
    QCOMPARE(g_lines[0].text, QString::fromUtf8("HID DEVICE \xc3\xa9"));
    QCOMPARE(common::logger::QtLoggingCategory().categoryName(), "qvhid");
}

void TestQtLogger::qtFilterRulesApply()
{
    QLoggingCategory::setFilterRules(QStringLiteral("qvhid.debug=false"));
    Message(7, QStringLiteral("hid"), QStringLiteral("src/x"), QStringLiteral("f"), 1).Stream() << "trace";
    Message(3, QStringLiteral("hid"), QStringLiteral("src/x"), QStringLiteral("f"), 2).Stream() << "failure";
    QCOMPARE(g_lines.size(), 1);
    QCOMPARE(g_lines[0].text, QStringLiteral("failure"));
}

void TestQtLogger::libraryLinesArrive()
{
    qv::hid::HidDeviceManager manager;
    manager.AddDevice(1, QStringLiteral("USB Headset"));
    QCOMPARE(g_lines.size(), 1);
    QCOMPARE(int(g_lines[0].type), int(QtDebugMsg));
    QCOMPARE(g_lines[0].text, QStringLiteral("HID MANAGER Add device USB Headset type is 1"));
    QCOMPARE(g_lines[0].function, QStringLiteral("AddDevice"));
    QCOMPARE(g_lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddevicemanager"));
}

QTEST_GUILESS_MAIN(TestQtLogger)
#include "tst_qtlogger.moc"
