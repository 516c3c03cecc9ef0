// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_REALHEADSETS_H
#define QVHID_TESTS_REALHEADSETS_H

// Virtual headsets made of real devices' report descriptors, as tests/data/real-headsets.json
// describes them. Every harness loads them from there.

#include <virtualhid.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

// Where the tests' data lives; the build defines it.
#ifndef QVHID_TEST_DATA
#error "QVHID_TEST_DATA must name the tests' data directory"
#endif

// A lamp as a headset's output reports carry it.
struct LampBit
{
    unsigned char reportId = 0;
    unsigned int bit = 0; // counted from the first bit after the report id
};

struct RealHeadset
{
    QString model;
    QString device; // what it is, for people
    QString descriptorFile;
    hid::virt::DeviceDescription description;
    QMap<QString, LampBit> lamps; // "Off-Hook", "Ring", "Mute", "Hold", "Microphone", "On-Line"

    QString product() const { return QString::fromStdWString(description.product); }
    bool hasButton(const std::string &name) const
    {
        for (const hid::virt::Button &button : description.buttons) {
            if (button.name == name)
                return true;
        }
        return false;
    }
};

// "05 0b 09 05": the blanks between the pairs are skipped.
inline hid::virt::Bytes bytesOfHex(const QString &text)
{
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    return hid::virt::Bytes(bytes.begin(), bytes.end());
}

inline QByteArray readTestData(const QString &name)
{
    QFile file(QStringLiteral(QVHID_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read test data %s", qPrintable(file.fileName()));
    return file.readAll();
}

// The report descriptor in tests/data/descriptors/`file`.
inline hid::virt::Bytes descriptorOfTestData(const QString &file)
{
    return bytesOfHex(QString::fromLatin1(readTestData(QStringLiteral("descriptors/") + file)).simplified());
}

inline QVector<RealHeadset> realHeadsets()
{
    QVector<RealHeadset> headsets;
    const QJsonObject root = QJsonDocument::fromJson(readTestData(QStringLiteral("real-headsets.json"))).object();
    for (const QJsonValue &value : root.value(QStringLiteral("headsets")).toArray()) {
        const QJsonObject entry = value.toObject();
        RealHeadset headset;
        headset.model = entry.value(QStringLiteral("model")).toString();
        headset.device = entry.value(QStringLiteral("device")).toString();
        headset.descriptorFile = entry.value(QStringLiteral("descriptor")).toString();
        hid::virt::DeviceDescription &description = headset.description;
        description.vendorId =
            static_cast<unsigned short>(entry.value(QStringLiteral("vendorId")).toString().toUInt(nullptr, 16));
        description.productId =
            static_cast<unsigned short>(entry.value(QStringLiteral("productId")).toString().toUInt(nullptr, 16));
        description.releaseNumber = 0x0100;
        description.product = entry.value(QStringLiteral("product")).toString().toStdWString();
        description.manufacturer = L"Real Headset Test";
        description.serialNumber = L"RH-" + headset.model.toStdWString();
        description.interfaceNumber = 3;
        description.descriptor = descriptorOfTestData(headset.descriptorFile);
        const QJsonObject buttons = entry.value(QStringLiteral("buttons")).toObject();
        for (auto button = buttons.begin(); button != buttons.end(); ++button) {
            const QJsonArray reports = button.value().toArray();
            description.buttons.push_back({button.key().toStdString(), bytesOfHex(reports.at(0).toString()),
                                           bytesOfHex(reports.at(1).toString())});
        }
        const QJsonObject lamps = entry.value(QStringLiteral("lamps")).toObject();
        for (auto lamp = lamps.begin(); lamp != lamps.end(); ++lamp) {
            const QStringList parts = lamp.value().toString().split(QLatin1Char(':'));
            headset.lamps.insert(lamp.key(),
                                 {static_cast<unsigned char>(parts.at(0).toUInt(nullptr, 16)), parts.at(1).toUInt()});
        }
        headsets << headset;
    }
    return headsets;
}

inline RealHeadset realHeadset(const QString &model)
{
    for (const RealHeadset &headset : realHeadsets()) {
        if (headset.model == model)
            return headset;
    }
    qFatal("no real headset %s in the test data", qPrintable(model));
    return RealHeadset();
}

#endif // QVHID_TESTS_REALHEADSETS_H
