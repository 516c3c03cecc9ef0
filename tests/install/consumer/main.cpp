// An application of the installed library: it installs a logger, uses the one manager and
// reads a headset code, and checks what it gets back.
#include <hiddeviceinfo.h>
#include <hiddevicemanager.h>
#include <logger.h>
#include <singleton.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

class PrintingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage& message) override
    {
        ++lines;
        lastText = message.text();
        std::printf("[%d %s %s %s] %s\n", message.level(), qPrintable(message.category()),
                    qPrintable(message.file()), qPrintable(message.function()), qPrintable(message.text()));
    }
    int lines = 0;
    QString lastText;
};

int fail(const char* what)
{
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    PrintingLogger logger;
    common::logger::SetLogger(&logger);

    qv::hid::HidDeviceManager& manager = qv::hid::HidDeviceManager::Instance();
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

    common::logger::SetLogger(nullptr);
    std::printf("consumer: OK\n");
    return 0;
}
