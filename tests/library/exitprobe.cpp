// SPDX-License-Identifier: BSD-3-Clause
// A small application that is bound to a virtual headset when it ends, in the way named by its
// argument. Its log lines go to standard output, also those written during exit.
//
//   exitprobe application-gone        the application object is destroyed, then main returns
//   exitprobe unbound-just-before     the binding is withdrawn right before that
//   exitprobe exit-with-application   std::exit() while the application object still exists

#include <hiddevicemanager.h>
#include <logger.h>
#include <virtualhid.h>
#include <virtualmodels.h>

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

class PrintingLogger : public common::logger::ILogger
{
public:
    PrintingLogger() { common::logger::SetLogger(this); }
    ~PrintingLogger() override { common::logger::SetLogger(nullptr); }

    void Write(const common::logger::IMessage &message) override { print(message.text().toUtf8().constData()); }

    void print(const char *text)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::printf("%s\n", text);
        std::fflush(stdout);
    }

private:
    std::mutex m_mutex;
};

} // namespace

int main(int argc, char **argv)
{
    // Constructed before the manager, so destroyed after it.
    static PrintingLogger logger;
    const char *mode = argc > 1 ? argv[1] : "";
    hid::virt::VirtualDevice::add(hid::virt::findModel("telephony-headset")->interfaces.front());
    {
        QCoreApplication application(argc, argv);
        qv::hid::HidDeviceManager &manager = qv::hid::HidDeviceManager::Instance();
        bool initial = false;
        QObject::connect(&manager, &qv::hid::HidDeviceManager::deviceStateEntered, &application,
                         [&initial](const QString &state) { initial = initial || state == QLatin1String("Initial"); });
        manager.onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
        const QDeadlineTimer deadline(10000);
        while (!initial && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        if (!initial)
            return 2;
        manager.onCallIncome();
        if (std::strcmp(mode, "unbound-just-before") == 0)
            manager.onActiveAudioDeviceChanged(QString());
        if (std::strcmp(mode, "exit-with-application") == 0) {
            logger.print("exiting");
            std::exit(0);
        }
    }
    logger.print("exiting");
    return 0;
}
