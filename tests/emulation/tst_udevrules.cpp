// SPDX-License-Identifier: BSD-3-Clause
// The installed udev rules through systemd's own rule engine (udevadm test), on emulated hidraw
// devices: the seat's user gets access to a telephony headset's call-control interface of any
// maker, and to nothing else.

#include "emulatedsystem.h"
#include "realheadsets.h"
#include "virtualheadsets.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/mount.h>

namespace {

std::string &unavailable()
{
    static std::string why;
    return why;
}

hid::virt::DeviceDescription withDescriptorFile(hid::virt::DeviceDescription description, const QString &file)
{
    description.descriptor = descriptorOfTestData(file);
    description.buttons.clear();
    return description;
}

const QString RulesDirectory = QStringLiteral("/etc/udev/rules.d");

} // namespace

class TestUdevRules : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void seatUserGetsExactlyTheHeadsets_data();
    void seatUserGetsExactlyTheHeadsets();

private:
    // What udevadm test prints for the hidraw node on a device being added.
    QString udevTest(int number);

    emulation::EmulatedSystem m_system;
    QTemporaryDir m_rules;
    bool m_mounted = false;
};

void TestUdevRules::initTestCase()
{
    std::string why = unavailable().empty() ? m_system.start() : unavailable();
    if (why.empty() && QStandardPaths::findExecutable(QStringLiteral("udevadm")).isEmpty())
        why = "no udevadm (Debian's udev package)";
    if (why.empty() && !QDir(RulesDirectory).exists())
        why = RulesDirectory.toStdString() + " does not exist";
    if (why.empty()) {
        // The project's rules alone in /etc/udev/rules.d, seen by this namespace only; the
        // system's packaged rules stay, as on a desk.
        QVERIFY(m_rules.isValid());
        QVERIFY(QFile::copy(QStringLiteral(RULES_FILE),
                            m_rules.filePath(QFileInfo(QStringLiteral(RULES_FILE)).fileName())));
        if (mount(QFile::encodeName(m_rules.path()).constData(), QFile::encodeName(RulesDirectory).constData(), nullptr,
                  MS_BIND, nullptr)
            != 0)
            why = "cannot bind a directory over " + RulesDirectory.toStdString();
        m_mounted = why.empty();
    }
    if (!why.empty()) {
        const QString message = QStringLiteral("udev rules test unavailable: %1").arg(QString::fromStdString(why));
        if (qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))
            QFAIL(qPrintable(message));
        QSKIP(qPrintable(message));
    }

    // hidraw0: a telephony headset whose ids no dictionary row lists.
    m_system.plug(0, realHeadset(QStringLiteral("powerconf")).description);
    // hidraw1 and hidraw2: one headset, its consumer control and its telephony interface.
    const hid::virt::Model &consumerFirst = *hid::virt::findModel("consumer-first-headset");
    m_system.plug({consumerFirst.interfaces.at(0),
                   {{1, consumerFirst.interfaces.at(0)}, {2, consumerFirst.interfaces.at(1)}},
                   {}});
    // hidraw3: a vendor-page model that the dictionary lists.
    m_system.plug(3, modelDescription("vendor-page-headset"));
    // hidraw4 to hidraw6: a keyboard, a mouse and a game pad, under a headset maker's ids.
    const hid::virt::DeviceDescription maker = modelDescription("telephony-headset");
    m_system.plug(4, withDescriptorFile(maker, QStringLiteral("standard_boot_keyboard.hex")));
    m_system.plug(5, withDescriptorFile(maker, QStringLiteral("standard_boot_mouse.hex")));
    m_system.plug(6, withDescriptorFile(maker, QStringLiteral("standard_gamepad.hex")));
    // hidraw7: a descriptor that is not one.
    hid::virt::DeviceDescription broken = maker;
    broken.descriptor = {0x05, 0x0B, 0x09, 0x05, 0xA1};
    m_system.plug(7, broken);
}

void TestUdevRules::cleanupTestCase()
{
    if (m_mounted)
        umount2(QFile::encodeName(RulesDirectory).constData(), MNT_DETACH);
}

QString TestUdevRules::udevTest(int number)
{
    QProcess process;
    process.start(QStringLiteral("udevadm"),
                  {QStringLiteral("test"), QStringLiteral("--action=add"),
                   QStringLiteral("/sys/class/hidraw/hidraw%1").arg(number)});
    if (!process.waitForFinished(60000))
        return QStringLiteral("udevadm test did not finish");
    return QString::fromUtf8(process.readAllStandardOutput()) + QString::fromUtf8(process.readAllStandardError());
}

void TestUdevRules::seatUserGetsExactlyTheHeadsets_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("seatAccess");
    QTest::newRow("telephony headset no row lists") << 0 << true;
    QTest::newRow("a headset's consumer control") << 1 << false;
    QTest::newRow("the same headset's telephony interface") << 2 << true;
    QTest::newRow("listed vendor-page model") << 3 << true;
    QTest::newRow("keyboard") << 4 << false;
    QTest::newRow("mouse") << 5 << false;
    QTest::newRow("game pad") << 6 << false;
    QTest::newRow("broken descriptor") << 7 << false;
}

void TestUdevRules::seatUserGetsExactlyTheHeadsets()
{
    QFETCH(int, number);
    QFETCH(bool, seatAccess);
    const QString output = udevTest(number);
    // The rule engine read our rules file from /etc/udev/rules.d and ran on this very node.
    const QString rulesFile = RulesDirectory + QLatin1Char('/') + QFileInfo(QStringLiteral(RULES_FILE)).fileName();
    QVERIFY2(output.contains(QStringLiteral("Reading rules file: ") + rulesFile), qPrintable(output));
    QVERIFY2(output.contains(QStringLiteral("DEVNAME=/dev/hidraw%1").arg(number)), qPrintable(output));
    const QStringList lines = output.split(QLatin1Char('\n'));
    QCOMPARE(lines.contains(QStringLiteral("ID_QVHID_TELEPHONY=1")), seatAccess);
    bool tagged = false;
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("TAGS=")) && line.contains(QLatin1String(":uaccess:")))
            tagged = true;
    }
    QVERIFY2(tagged == seatAccess, qPrintable(output));
    // systemd's 73-seat-late.rules, read after ours, turns the tag into the seat user's ACL.
    QCOMPARE(lines.contains(QStringLiteral("run: 'uaccess'")), seatAccess);
}

int main(int argc, char *argv[])
{
    unavailable() = emulation::EmulatedSystem::enterNamespace();
    QCoreApplication application(argc, argv);
    TestUdevRules test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_udevrules.moc"
