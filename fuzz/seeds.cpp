// SPDX-License-Identifier: BSD-3-Clause
// Writes the seed inputs of every fuzz target into a directory: the ready virtual headsets
// (descriptor with the reports of their buttons), the hand-written descriptors of the parser
// tests, the built-in headset dictionary, and audio-device names.
//
//   fuzz-seeds DIRECTORY

#include "descriptors.h"
#include "fuzzinput.h"

#include <virtualmodels.h>

#include <QDir>
#include <QFile>

#include <cstdio>

namespace {

bool write(const QString &directory, const QString &name, const QByteArray &bytes)
{
    if (!QDir().mkpath(directory))
        return false;
    QFile file(QDir(directory).filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray toBytes(const std::vector<uint8_t> &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

std::vector<uint8_t> toVector(const QByteArray &bytes)
{
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz-seeds DIRECTORY\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    bool ok = true;
    const auto descriptorSeed = [&](const QString &name, const std::vector<uint8_t> &descriptor,
                                    const std::vector<std::vector<uint8_t>> &reports, uint8_t codeChoice) {
        const QByteArray bytes = toBytes(fuzz::layout(descriptor, reports));
        ok = write(out.filePath(QStringLiteral("descriptor_parser")), name, bytes) && ok;
        ok = write(out.filePath(QStringLiteral("report_parser")), name, bytes) && ok;
        ok = write(out.filePath(QStringLiteral("headset_decoder")), name, char(codeChoice) + bytes) && ok;
    };

    for (const hid::virt::Model &model : hid::virt::models()) {
        int interface = 0;
        for (const hid::virt::DeviceDescription &description : model.interfaces) {
            std::vector<std::vector<uint8_t>> reports;
            for (const hid::virt::Button &button : description.buttons) {
                reports.push_back(button.press);
                reports.push_back(button.release);
            }
            const uint8_t vendorPages = description.usagePage >= 0xFF00 ? 1 : 0;
            const QString name = QStringLiteral("%1-%2").arg(QString::fromStdString(model.name)).arg(interface++);
            descriptorSeed(name, description.descriptor, reports, vendorPages);
            // qvhid-udev-id's input: ids present, vendor and product id, the descriptor.
            QByteArray identified(1, '\x01');
            for (const unsigned short id : {description.vendorId, description.productId}) {
                identified += char(id & 0xFF);
                identified += char(id >> 8);
            }
            identified += toBytes(description.descriptor);
            ok = write(out.filePath(QStringLiteral("udev_id")), name, identified) && ok;
        }
    }
    descriptorSeed(QStringLiteral("telephony-headset"), toVector(descriptors::telephonyHeadset()),
                   {{0x01}, {0x02}, {0x00}}, 0);
    descriptorSeed(QStringLiteral("telephony-headset-ids"), toVector(descriptors::telephonyHeadsetWithReportIds()),
                   {{0x01, 0x01}, {0x01, 0x00}, {0x02, 0x00}}, 0);

    QFile table(QStringLiteral(BUILT_IN_DICTIONARY));
    if (!table.open(QIODevice::ReadOnly))
        return 1;
    ok = write(out.filePath(QStringLiteral("dictionary")), QStringLiteral("built-in"), table.readAll()) && ok;
    ok =
        write(
            out.filePath(QStringLiteral("dictionary")), QStringLiteral("small"),
            R"({"configurations":{"C":{"devUsagePage":"0xFF00","cmdRing":[["RING","0x2A"],[]],"clickTypeOnEmptyCode":"2",)"
            R"("longDelay":true}},"devices":[{"name":"n","vid":"0x1209","pid":"1","configuration":"C"},{"vid":"4617"}]})")
        && ok;

    const char *const names[] = {"Headset Microphone (2- Office Headset 20)",
                                 "Speakers (Office Headset 20)",
                                 "Wave mapper",
                                 "(3-)",
                                 "Office Headset 20",
                                 "Mic (USB Audio (Desk Headset 310))",
                                 "alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo",
                                 "alsa_card.usb-0b0e_030d-00",
                                 "sysdefault:CARD=Headset20_1",
                                 "front:CARD=2,DEV=0",
                                 "plughw:2,0",
                                 "Office Headset 20: USB Audio (hw:1,0)",
                                 "Office Headset 20 (0b0e:030d)",
                                 "USB Device 0x0b0e:0x030d Analog Stereo",
                                 "bluez_output.00_1B_66_AA_BB_CC.1"};
    int index = 0;
    for (const char *name : names)
        ok = write(out.filePath(QStringLiteral("parent_name")), QString::number(index++), QByteArray(name)) && ok;
    return ok ? 0 : 1;
}
