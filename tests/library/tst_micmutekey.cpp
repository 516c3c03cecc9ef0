// SPDX-License-Identifier: BSD-3-Clause
// What the library reads of a headset's input devices and device node, over a sysfs tree and a
// udev database of the test's own: whether the desktop also gets the mute button, and why a
// node cannot be opened.

#include "sysfstree.h"
#include "virtualheadsets.h"

#include <platform/micmutekey.h>
#include <platform/nodeaccess.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <linux/input-event-codes.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

using hid::DesktopMute;

namespace {

// sysfs and udev's database of one desk, below a temporary directory.
class Desk
{
public:
    Desk()
        : m_tree(sysfs().toStdString(), udevData().toStdString())
    {
        m_tree.createSkeleton();
    }

    // Plugs in a one-interface USB device as hidraw<number>.
    void plug(int number, const hid::virt::DeviceDescription &interface)
    {
        const std::string usbName = "1-" + std::to_string(number + 1);
        m_tree.addUsbDevice(usbName, interface);
        m_tree.addHidInterface(usbName, number, interface);
    }
    std::vector<int> events(int number) const { return m_tree.eventNumbers(number); }
    void remap(int event) const { m_tree.setEventUdevProperty(event, "KEYBOARD_KEY_b002f", "reserved"); }

    // udev's database as libudev reads it: a character device's entry is c<major>:<minor>.
    hid::SystemView view() const
    {
        hid::SystemView system;
        system.sysfsRoot = sysfs();
        const QString database = udevData();
        const QString root = sysfs();
        system.udevProperty = [database, root](const QString &subsystem, const QString &name, const QString &key) {
            QFile dev(QStringLiteral("%1/class/%2/%3/dev").arg(root, subsystem, name));
            const QString entry = dev.open(QIODevice::ReadOnly)
                ? QStringLiteral("c") + QString::fromLatin1(dev.readAll()).trimmed()
                : QStringLiteral("+%1:%2").arg(subsystem, name);
            QFile file(database + QLatin1Char('/') + entry);
            if (!file.open(QIODevice::ReadOnly))
                return QString();
            const QString prefix = QStringLiteral("E:") + key + QLatin1Char('=');
            for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
                if (line.startsWith(prefix))
                    return line.mid(prefix.size());
            }
            return QString();
        };
        return system;
    }

    QString sysfs() const { return m_directory.path() + QStringLiteral("/sys"); }
    QString udevData() const { return m_directory.path() + QStringLiteral("/udev"); }

private:
    QTemporaryDir m_directory;
    emulation::SysfsTree m_tree;
};

// DescribeNodeAccess as an unprivileged user sees it: in a child process that has given up
// root, when the test runs as root (root may open any node).
QString describeAsUser(const hid::SystemView &system, const QString &path)
{
    if (geteuid() != 0)
        return hid::DescribeNodeAccess(system, path);
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return QStringLiteral("pipe failed");
    const pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        const passwd *nobody = getpwnam("nobody");
        const uid_t uid = nobody ? nobody->pw_uid : 65534;
        if (setgid(uid) != 0 || setuid(uid) != 0)
            _exit(2);
        const QByteArray text = hid::DescribeNodeAccess(system, path).toUtf8();
        const ssize_t written = write(pipeEnds[1], text.constData(), static_cast<size_t>(text.size()));
        _exit(written == text.size() ? 0 : 3);
    }
    close(pipeEnds[1]);
    QByteArray text;
    char buffer[512];
    ssize_t n;
    while ((n = read(pipeEnds[0], buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<int>(n));
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? QString::fromUtf8(text) : QStringLiteral("child failed");
}

} // namespace

class TestMicMuteKey : public QObject
{
    Q_OBJECT

private slots:
    void capabilityBitmaps_data();
    void capabilityBitmaps();
    void headsetWithVolumeKeysGivesTheDesktopItsMuteButton();
    void remapInUdevsDatabaseTakesItAway();
    void headsetWithoutInputDeviceKeepsItsButton();
    void pathsThatAreNoHidrawNodeOfThisSysfsAreUnknown_data();
    void pathsThatAreNoHidrawNodeOfThisSysfsAreUnknown();

    void nodeThatSysfsShowsButDevLacksIsTheSandboxWithoutDevices();
    void missingNodeNotInSysfsIsUnplugged();
    void nodeTheUserMayNotOpenNamesTheRules();
    void openableNodeAndOtherPathsSayNothing();
};

void TestMicMuteKey::capabilityBitmaps_data()
{
    QTest::addColumn<QString>("bitmap");
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("set");
    // As the kernel writes capabilities/key: words of a 64-bit long, the highest first.
    QTest::newRow("KEY_MICMUTE alone") << "100000000000000 0 0 0" << KEY_MICMUTE << true;
    QTest::newRow("another key of its word") << "100000000000000 0 0 0" << KEY_MICMUTE - 1 << false;
    QTest::newRow("volume keys, no microphone mute")
        << "1000000000000 7800000000 e000000000000 0" << KEY_MICMUTE << false;
    QTest::newRow("KEY_VOLUMEUP of the same bitmap")
        << "1000000000000 7800000000 e000000000000 0" << KEY_VOLUMEUP << true;
    QTest::newRow("bit 0") << "1" << 0 << true;
    QTest::newRow("beyond the words written") << "1" << KEY_MICMUTE << false;
    QTest::newRow("nothing") << "0" << KEY_MICMUTE << false;
    QTest::newRow("empty") << "" << 0 << false;
    QTest::newRow("not hexadecimal") << "zz 0 0 0" << KEY_MICMUTE << false;
    QTest::newRow("negative code") << "ffffffffffffffff" << -1 << false;
}

void TestMicMuteKey::capabilityBitmaps()
{
    QFETCH(QString, bitmap);
    QFETCH(int, code);
    QFETCH(bool, set);
    QCOMPARE(hid::HasCapability(bitmap, code), set);
}

void TestMicMuteKey::headsetWithVolumeKeysGivesTheDesktopItsMuteButton()
{
    Desk desk;
    desk.plug(3, modelDescription("volume-keys-headset"));
    const std::vector<int> events = desk.events(3);
    QCOMPARE(events.size(), std::size_t(2));
    const hid::MicMuteKey key = hid::CheckMicMuteKey(desk.view(), QStringLiteral("/dev/hidraw3"));
    QCOMPARE(key.desktop, DesktopMute::Acts);
    // The telephony collection's input device, not the volume keys'.
    QCOMPARE(key.eventNode, QStringLiteral("/dev/input/event%1").arg(events.front()));
    // Without udev's database (a system without udev, a Flatpak sandbox) the kernel's own
    // capabilities tell the same: the remap, once applied, takes the key from them.
    hid::SystemView withoutUdev = desk.view();
    withoutUdev.udevProperty = nullptr;
    QCOMPARE(hid::CheckMicMuteKey(withoutUdev, QStringLiteral("/dev/hidraw3")).desktop, DesktopMute::Acts);
}

void TestMicMuteKey::remapInUdevsDatabaseTakesItAway()
{
    Desk desk;
    desk.plug(0, modelDescription("volume-keys-headset"));
    desk.remap(desk.events(0).front());
    const hid::MicMuteKey key = hid::CheckMicMuteKey(desk.view(), QStringLiteral("/dev/hidraw0"));
    QCOMPARE(key.desktop, DesktopMute::Ignores);
    QCOMPARE(key.eventNode, QString());
}

void TestMicMuteKey::headsetWithoutInputDeviceKeepsItsButton()
{
    Desk desk;
    desk.plug(0, modelDescription("telephony-headset"));
    QVERIFY(desk.events(0).empty());
    QCOMPARE(hid::CheckMicMuteKey(desk.view(), QStringLiteral("/dev/hidraw0")).desktop, DesktopMute::Ignores);
}

void TestMicMuteKey::pathsThatAreNoHidrawNodeOfThisSysfsAreUnknown_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a virtual headset") << "virtual-hid/1";
    QTest::newRow("a node sysfs does not show") << "/dev/hidraw7";
    QTest::newRow("no number") << "/dev/hidraw";
    QTest::newRow("not a number") << "/dev/hidraw0x";
    QTest::newRow("out of the directory") << "/dev/hidraw0/../../etc";
    QTest::newRow("another kind of node") << "/dev/input/event0";
    QTest::newRow("empty") << "";
}

void TestMicMuteKey::pathsThatAreNoHidrawNodeOfThisSysfsAreUnknown()
{
    QFETCH(QString, path);
    Desk desk;
    desk.plug(0, modelDescription("volume-keys-headset"));
    QCOMPARE(hid::CheckMicMuteKey(desk.view(), path).desktop, DesktopMute::Unknown);
}

void TestMicMuteKey::nodeThatSysfsShowsButDevLacksIsTheSandboxWithoutDevices()
{
    Desk desk;
    desk.plug(0, modelDescription("telephony-headset"));
    QTemporaryDir dev;
    const QString path = dev.path() + QStringLiteral("/hidraw0");
    QCOMPARE(hid::DescribeNodeAccess(desk.view(), path),
             QStringLiteral("sysfs shows the device, but there is no %1: inside a Flatpak sandbox, hidraw nodes are "
                            "there only with the permission --device=all (finish-args)")
                 .arg(path));
}

void TestMicMuteKey::missingNodeNotInSysfsIsUnplugged()
{
    Desk desk;
    QTemporaryDir dev;
    const QString path = dev.path() + QStringLiteral("/hidraw5");
    QCOMPARE(hid::DescribeNodeAccess(desk.view(), path),
             QStringLiteral("there is no %1 (the headset was unplugged)").arg(path));
}

void TestMicMuteKey::nodeTheUserMayNotOpenNamesTheRules()
{
    Desk desk;
    desk.plug(0, modelDescription("telephony-headset"));
    QTemporaryDir dev;
    QVERIFY(QFile::setPermissions(
        dev.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ExeOther));
    const QString path = dev.path() + QStringLiteral("/hidraw0");
    QFile node(path);
    QVERIFY(node.open(QIODevice::WriteOnly));
    node.close();
    QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QCOMPARE(describeAsUser(desk.view(), path),
             QStringLiteral("permission denied: the user at the seat may open a telephony headset once this "
                            "library's udev rules are installed on the system (its runtime package; for a Flatpak, "
                            "on the host) and the headset is plugged in again"));
}

void TestMicMuteKey::openableNodeAndOtherPathsSayNothing()
{
    Desk desk;
    QTemporaryDir dev;
    const QString path = dev.path() + QStringLiteral("/hidraw0");
    QFile node(path);
    QVERIFY(node.open(QIODevice::WriteOnly));
    node.close();
    QCOMPARE(hid::DescribeNodeAccess(desk.view(), path), QString());
    QCOMPARE(hid::DescribeNodeAccess(desk.view(), QStringLiteral("virtual-hid/3")), QString());
}

QTEST_GUILESS_MAIN(TestMicMuteKey)
#include "tst_micmutekey.moc"
