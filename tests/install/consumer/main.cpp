// SPDX-License-Identifier: BSD-3-Clause
// An application of the installed library: it installs a logger, uses the one manager,
// reads a headset code, decodes a virtual headset, binds another one through the manager and
// runs a call on it, and checks what it gets back.
#include <hiddevice.h>
#include <hiddeviceinfo.h>
#include <hiddevicemanager.h>
#include <logger.h>
#include <platform/hiddecoder.h>
#include <platform/hiddevicelookup.h>
#include <singleton.h>
#include <virtualmodels.h>

#include <hidapi.h>

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <cstdio>
#include <memory>

namespace {

class PrintingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &message) override
    {
        ++lines;
        lastText = message.text();
        std::printf("[%d %s %s %s] %s\n", message.level(), qPrintable(message.category()), qPrintable(message.file()),
                    qPrintable(message.function()), qPrintable(message.text()));
    }
    int lines = 0;
    QString lastText;
};

int fail(const char *what)
{
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

// A virtual headset, opened and decoded as the library's reader does: a press of its mute
// button becomes MUTE, and the ring command becomes the report that lights Ring and On-Line.
const char *driveVirtualHeadset()
{
    const hid::virt::Model *model = hid::virt::findModel("telephony-headset");
    if (!model)
        return "no ready model";
    hid::virt::VirtualDevice device = hid::virt::addModel(*model).front();
    hid_device *handle = hid_open_path(device.path().c_str());
    if (!handle)
        return "virtual headset did not open";

    hid::HidDeviceInfo info;
    bool isExplicit = false;
    info.code = hid::HidDeviceDict::getHidCode(0x0B0E, 0x030D, isExplicit);
    info.path = QString::fromStdString(device.path());
    std::unique_ptr<hid::HidDecoderBase> decoder(hid::CreateHidDecoder(info, handle));

    device.press("mute");
    std::vector<unsigned char> buffer(64);
    const int length = hid_read_timeout(handle, buffer.data(), buffer.size(), 1000);
    std::vector<unsigned short> usages;
    if (length <= 0 || decoder->getClickTypeFromData(buffer, static_cast<unsigned short>(length), usages) != hid::MUTE)
        return "mute press not decoded";

    std::vector<std::vector<unsigned char>> reports;
    if (!decoder->makeOutputReport(info.code.outputPage, info.code.cmdRing.front(), reports) || reports.size() != 1)
        return "no ring report";
    if (hid_write(handle, reports[0].data(), reports[0].size()) != 2)
        return "ring report not written";
    const std::vector<hid::virt::WrittenReport> written = device.writtenReports();
    if (written.size() != 1 || written[0].bytes != std::vector<unsigned char>{0x02, 0x22})
        return "headset did not receive the ring report";

    decoder.reset();
    hid_close(handle);
    device.remove();
    return nullptr;
}

// Runs the event loop until `done` holds, for at most five seconds.
template<typename Condition> bool waitFor(Condition done)
{
    const QDeadlineTimer deadline(5000);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

// A virtual headset bound through the manager from its audio-device name: it is shown, rings
// when a call comes in, and its answer button reaches the application as a click.
const char *bindThroughTheManager()
{
    hid::virt::VirtualDevice device = hid::virt::addModel(*hid::virt::findModel("telephony-headset")).front();
    qv::hid::HidDeviceManager &manager = qv::hid::HidDeviceManager::Instance();
    QString shown;
    QString state;
    int clicks = 0;
    QObject receiver;
    QObject::connect(&manager, &qv::hid::HidDeviceManager::deviceShow, &receiver,
                     [&](const QString &name) { shown = name; });
    QObject::connect(&manager, &qv::hid::HidDeviceManager::deviceStateEntered, &receiver,
                     [&](const QString &name) { state = name; });
    QObject::connect(&manager, &qv::hid::HidDeviceManager::click, &receiver, [&] { ++clicks; });

    manager.onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    if (shown != QStringLiteral("Office Headset 20"))
        return "headset not shown";
    if (!waitFor([&] { return state == QStringLiteral("Initial"); }))
        return "headset not started";
    manager.onCallIncome();
    if (!waitFor([&] { return state == QStringLiteral("Incoming call"); }))
        return "incoming call not reached";
    const std::vector<hid::virt::WrittenReport> written = device.writtenReports();
    if (written.size() != 2 || written[1].bytes != std::vector<unsigned char>{0x02, 0x22})
        return "headset not ringing";
    if (!device.waitForListeningReader(std::chrono::seconds(5)))
        return "headset not read after ringing";
    device.press("answer");
    if (!waitFor([&] { return clicks == 1; }))
        return "answer button not received";
    manager.onActiveAudioDeviceChanged(QString());
    if (!waitFor([&] { return device.openHandles() == 0; }))
        return "headset not released";
    return nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    PrintingLogger logger;
    common::logger::SetLogger(&logger);

    qv::hid::HidDeviceManager &manager = qv::hid::HidDeviceManager::Instance();
    manager.AddDevice(1, QStringLiteral("USB Headset"));
    if (manager.GetTopDevice(1) != QStringLiteral("USB Headset"))
        return fail("top device not kept");
    if (logger.lines != 1 || logger.lastText != QStringLiteral("HID MANAGER Add device USB Headset type is 1"))
        return fail("log line not delivered");

    const hid::HidCode code;
    if (code.outputPage != 0x08 || code.cmdRing.size() != 1)
        return fail("default headset code wrong");

    // The built-in headset table is there without any set-up.
    bool isExplicit = false;
    const hid::HidCode listed = hid::HidDeviceDict::getHidCode(0x0B0E, 0xA346, isExplicit);
    if (!isExplicit || listed.outputPage != 0xFF40 || listed.cmdTalk.size() != 8)
        return fail("built-in headset table not found");

    if (const char *failure = driveVirtualHeadset())
        return fail(failure);

    // The reader thread logs too; this logger is not made for several threads.
    common::logger::SetLogger(nullptr);
    if (hid::HidDevice::IsOSDefault(QStringLiteral("Wave Mapper")) != true || !hid::GetDefaultDeviceName().empty())
        return fail("platform functions wrong");
    if (const char *failure = bindThroughTheManager())
        return fail(failure);
    std::printf("consumer: OK\n");
    return 0;
}
