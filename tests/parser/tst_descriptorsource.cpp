// SPDX-License-Identifier: BSD-3-Clause
// Where hid_read_descriptor() takes descriptor bytes from: hidapi's own function where the
// process has one (here the virtual headset's), else the hidraw node's sysfs file.

#include <hidapi_parser.h>
#include <virtualmodels.h>

#include <hidapi.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

class TestDescriptorSource : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void sysfsPathOfAHidrawNode();
    void sysfsRefusesOtherPaths_data();
    void sysfsRefusesOtherPaths();
    void sysfsDescriptorMustFit();
    void readsThroughHidapiWhenItCan();
    void unreadableDescriptorGivesNull();

private:
    QByteArray writeSysfsDescriptor(const QString &root, const QString &node, const QByteArray &bytes)
    {
        const QString dir = root + QStringLiteral("/class/hidraw/") + node + QStringLiteral("/device");
        if (!QDir().mkpath(dir))
            return QByteArray();
        QFile file(dir + QStringLiteral("/report_descriptor"));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return QByteArray();
        return bytes;
    }
};

void TestDescriptorSource::sysfsPathOfAHidrawNode()
{
    QTemporaryDir sysfs;
    QVERIFY(sysfs.isValid());
    const std::vector<unsigned char> &model = hid::virt::models().front().interfaces.front().descriptor;
    const QByteArray bytes(reinterpret_cast<const char *>(model.data()), int(model.size()));
    QCOMPARE(writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw7"), bytes), bytes);
    // A second node with other bytes proves that the node's number picks the file.
    QVERIFY(!writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw17"), QByteArray("\x05\x01", 2)).isEmpty());

    unsigned char buffer[HID_PARSER_MAX_DESCRIPTOR_SIZE];
    const QByteArray root = sysfs.path().toLocal8Bit();
    const int length = hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw7", buffer, sizeof(buffer));
    QCOMPARE(length, bytes.size());
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(buffer), length), bytes);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw17", buffer, sizeof(buffer)), 2);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw8", buffer, sizeof(buffer)), -1);
}

void TestDescriptorSource::sysfsRefusesOtherPaths_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("no /dev") << QByteArray("hidraw7");
    QTest::newRow("no number") << QByteArray("/dev/hidraw");
    QTest::newRow("trailing text") << QByteArray("/dev/hidraw7x");
    QTest::newRow("climbing out") << QByteArray("/dev/../hidraw7");
    QTest::newRow("subdirectory") << QByteArray("/dev/hidraw7/..");
    QTest::newRow("another node") << QByteArray("/dev/ttyS0");
    QTest::newRow("a libusb path") << QByteArray("1-2:1.3");
    QTest::newRow("a virtual path") << QByteArray("virtual-hid/1");
}

void TestDescriptorSource::sysfsRefusesOtherPaths()
{
    QFETCH(QByteArray, path);
    QTemporaryDir sysfs;
    writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw7"), QByteArray("\x05\x01", 2));
    unsigned char buffer[64];
    const QByteArray root = sysfs.path().toLocal8Bit();
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), path.constData(), buffer, sizeof(buffer)), -1);
    QCOMPARE(hid_read_sysfs_descriptor(nullptr, "/dev/hidraw7", buffer, sizeof(buffer)), -1);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), nullptr, buffer, sizeof(buffer)), -1);
}

void TestDescriptorSource::sysfsDescriptorMustFit()
{
    QTemporaryDir sysfs;
    const QByteArray root = sysfs.path().toLocal8Bit();
    writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw0"), QByteArray(4096, '\x01'));
    writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw1"), QByteArray(4097, '\x01'));
    writeSysfsDescriptor(sysfs.path(), QStringLiteral("hidraw2"), QByteArray());
    std::vector<unsigned char> buffer(4096);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw0", buffer.data(), buffer.size()), 4096);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw1", buffer.data(), buffer.size()), -1);
    QCOMPARE(hid_read_sysfs_descriptor(root.constData(), "/dev/hidraw2", buffer.data(), buffer.size()), 0);
}

void TestDescriptorSource::readsThroughHidapiWhenItCan()
{
    const hid::virt::VirtualDevice device = hid::virt::addModel(*hid::virt::findModel("telephony-headset")).front();
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    hid_descriptor *descriptor = hid_read_descriptor(handle);
    QVERIFY(descriptor);
    QCOMPARE(descriptor->device_collection->first_child->usage_page, 0x0B);
    QCOMPARE(descriptor->num_elements, 14);
    std::free(descriptor);
    hid_close(handle);
    QCOMPARE(hid_read_descriptor(nullptr), nullptr);
}

void TestDescriptorSource::unreadableDescriptorGivesNull()
{
    hid::virt::VirtualDevice device = hid::virt::addModel(*hid::virt::findModel("telephony-headset")).front();
    hid::virt::Faults faults;
    faults.descriptorUnreadable = true;
    device.setFaults(faults);
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    // hidapi's function fails, and the virtual path has no sysfs node to fall back on.
    QCOMPARE(hid_read_descriptor(handle), nullptr);
    hid_close(handle);

    // A descriptor that reads but does not parse gives null too.
    hid::virt::DeviceDescription description = device.description();
    description.path.clear();
    description.descriptor = {0x05, 0x0B, 0xA1};
    const hid::virt::VirtualDevice broken = hid::virt::VirtualDevice::add(description);
    handle = hid_open_path(broken.path().c_str());
    QVERIFY(handle);
    QCOMPARE(hid_read_descriptor(handle), nullptr);
    hid_close(handle);
}

QTEST_APPLESS_MAIN(TestDescriptorSource)
#include "tst_descriptorsource.moc"
