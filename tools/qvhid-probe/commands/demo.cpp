// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe demo: a whole call on a virtual headset, through the library's manager exactly as a
// softphone uses it, with what the headset's lamps show after each step.

#include "command.h"
#include "dictionary.h"
#include "lamps.h"

#include <hiddevicemanager.h>
#include <hiddeviceinfo.h>
#include <logger.h>
#include <qtlogger.h>
#include <virtualhid.h>
#include <virtualmodels.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>

namespace probe {

namespace {

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

const char *const DefaultModel = "telephony-headset";
constexpr int StepTimeoutMs = 3000;

// One step of the call: who acts, what they do, and what must follow.
struct Step
{
    QString actor;
    QString action;
    std::function<void()> act;
    QString gesture;         // the signal the application must receive, or empty
    QString state;           // the state it must receive, or empty for none
    hid::HidCommand command; // the command the headset must be given
};

// What the application received during one step.
struct Received
{
    QStringList gestures;
    QStringList states;
    QString shown;
};

int listModels()
{
    out() << "Virtual headsets (qvhid-probe demo MODEL):\n";
    int nameWidth = 0;
    int productWidth = 0;
    for (const hid::virt::Model &model : hid::virt::models()) {
        nameWidth = std::max(nameWidth, int(model.name.size()) + 2);
        productWidth = std::max(productWidth, int(model.interfaces.front().product.size()) + 1);
    }
    for (const hid::virt::Model &model : hid::virt::models()) {
        const hid::virt::DeviceDescription &first = model.interfaces.front();
        out() << "  " << QString::fromStdString(model.name).leftJustified(nameWidth)
              << QString::fromStdWString(first.product).leftJustified(productWidth) << hexId(first.vendorId) << ":"
              << hexId(first.productId) << "  " << QString::fromStdString(model.summary) << "\n";
    }
    return Success;
}

// The lamps a command leaves on: those of its last step; a command without steps leaves them.
QStringList lampsAfter(const hid::HidCommand &command, const QStringList &before)
{
    return command.empty() ? before : Lamps::names(command.back());
}

class Demo
{
public:
    Demo(const hid::virt::Model &model)
        : m_model(model)
        , m_devices(hid::virt::addModel(model))
        , m_product(QString::fromStdWString(model.interfaces.front().product))
        , m_audioDevice(QStringLiteral("Headset Microphone (2- %1)").arg(m_product))
    {
        bool isExplicit = false;
        const hid::virt::DeviceDescription &first = model.interfaces.front();
        m_code = hid::HidDeviceDict::getHidCode(first.vendorId, first.productId, isExplicit);
        QString fallback;
        if (!isExplicit)
            hid::HidDeviceDict::getFallbackCode(m_code, fallback);
        HidDeviceManager &manager = HidDeviceManager::Instance();
        QObject::connect(&manager, &HidDeviceManager::deviceShow, &m_context,
                         [this](const QString &name) { m_received.shown = name; });
        QObject::connect(&manager, &HidDeviceManager::deviceStateEntered, &m_context,
                         [this](const QString &state) { m_received.states << state; });
        // The softphone's side: a press on the headset is answered as a user expects.
        QObject::connect(&manager, &HidDeviceManager::click, &m_context, [this, &manager] {
            m_received.gestures << QStringLiteral("click");
            manager.onCallUnmuted(); // answered
        });
        QObject::connect(&manager, &HidDeviceManager::clickMute, &m_context, [this, &manager] {
            m_received.gestures << QStringLiteral("clickMute");
            manager.onCallMuted();
        });
        QObject::connect(&manager, &HidDeviceManager::clickReject, &m_context, [this, &manager] {
            m_received.gestures << QStringLiteral("clickReject");
            manager.onCallEnd();
        });
    }

    ~Demo()
    {
        HidDeviceManager::Instance().onActiveAudioDeviceChanged(QString());
        for (VirtualDevice &device : m_devices)
            device.remove();
    }

    int run()
    {
        QElapsedTimer clock;
        clock.start();
        out() << "Virtual headset \"" << m_product << "\" (" << QString::fromStdString(m_model.name) << "), "
              << hexId(m_model.interfaces.front().vendorId) << ":" << hexId(m_model.interfaces.front().productId)
              << "\n"
              << "The application's audio device: \"" << m_audioDevice << "\"\n\n";
        if (!bind())
            return Failure;

        HidDeviceManager &manager = HidDeviceManager::Instance();
        const hid::HidCode &c = m_code;
        const std::vector<Step> steps = {
            {"application", "call comes in", [&] { manager.onCallIncome(); }, {}, "Incoming call", c.cmdRing},
            {"headset", "answer pressed", [this] { press("answer"); }, "click", "Talk", c.cmdTalk},
            {"headset", "mute pressed", [this] { press("mute"); }, "clickMute", "Talk muted", c.cmdMute},
            {"application", "call unmuted", [&] { manager.onCallUnmuted(); }, {}, "Talk", c.cmdTalk},
            {"application",
             "call held",
             [&] { manager.onCallHold(); },
             {},
             "Hold",
             c.cmdHold.empty() ? c.cmdTalk : c.cmdHold},
            {"application",
             "held and muted",
             [&] { manager.onCallHoldMuted(); },
             {},
             "Hold muted",
             c.cmdHoldMuted.empty() ? c.cmdMute : c.cmdHoldMuted},
            {"application", "call ended", [&] { manager.onCallEnd(); }, {}, {}, c.cmdInit},
        };
        std::size_t played = 1;
        for (const Step &step : steps) {
            ++played;
            if (!playStep(step)) {
                out() << "\nStep " << played << " of " << steps.size() + 1
                      << " did not behave as expected; the rest of the call is not played.\n";
                return Failure;
            }
        }
        out() << "\nAll " << played << " steps behaved as expected (" << clock.elapsed() << " ms).\n";
        return Success;
    }

private:
    bool bind()
    {
        HidDeviceManager::Instance().onActiveAudioDeviceChanged(m_audioDevice);
        waitFor([this] { return m_received.states.contains(QStringLiteral("Initial")); });
        m_bound = boundInterface();
        if (m_received.shown.isEmpty() || m_bound < 0) {
            out() << "FAILED: the library did not bind the headset.\n";
            return false;
        }
        const hid::virt::DeviceDescription &interface = m_model.interfaces[std::size_t(m_bound)];
        m_lamps = std::make_unique<Lamps>(interface.descriptor, m_code.outputPage);
        out() << "Bound to interface " << interface.interfaceNumber << " (usage page " << hexId(interface.usagePage)
              << ", usage " << hexId(interface.usage) << ").\n";
        if (m_model.interfaces.size() > 1)
            out() << "This headset shows its product string on " << m_model.interfaces.size()
                  << " interfaces; the library "
                  << (interface.usagePage == m_code.devUsagePage && interface.usage == m_code.devUsageID
                          ? "binds the one that is its configuration's call-control collection.\n"
                          : "binds the first, as none is its configuration's call-control collection.\n");
        out() << "\n"
              << column(QStringLiteral("Who")) << column(QStringLiteral("Does"), 18)
              << column(QStringLiteral("Headset lamps on"), 32) << "The application receives\n";
        return playStep({"application", "uses the headset", [] {}, {}, {}, m_code.cmdInit}, true);
    }

    bool playStep(const Step &step, bool binding = false)
    {
        const QStringList expectedLamps = lampsAfter(step.command, m_expectedLamps);
        if (!binding)
            m_received = Received();
        step.act();
        const auto done = [&] {
            readWrittenReports();
            return (step.gesture.isEmpty() || m_received.gestures.contains(step.gesture))
                && (step.state.isEmpty() || m_received.states.contains(step.state)) && m_lamps->on() == expectedLamps;
        };
        bool ok = waitFor(done);
        // Let anything unexpected arrive before judging.
        waitFor([] { return false; }, 30);
        readWrittenReports();
        const QStringList expectedStates = step.state.isEmpty() ? QStringList() : QStringList{step.state};
        const QStringList expectedGestures = step.gesture.isEmpty() ? QStringList() : QStringList{step.gesture};
        ok = ok && m_received.states == (binding ? QStringList{"Initial"} : expectedStates)
            && m_received.gestures == expectedGestures;
        m_expectedLamps = expectedLamps;

        QStringList received;
        if (binding)
            received << QStringLiteral("deviceShow \"%1\"").arg(m_received.shown);
        for (const QString &gesture : m_received.gestures)
            received << gesture + QStringLiteral(" (the application reports ")
                    + (gesture == QLatin1String("click") ? QStringLiteral("the call answered)")
                                                         : QStringLiteral("the call muted)"));
        for (const QString &state : m_received.states)
            received << QStringLiteral("state \"%1\"").arg(state);
        if (received.isEmpty())
            received << QStringLiteral("nothing (the state stays as it was)");
        const QStringList lamps = m_lamps->on();
        out() << column(step.actor) << column(step.action, 18)
              << column(lamps.isEmpty() ? QStringLiteral("(all off)") : lamps.join(QLatin1Char(' ')), 32)
              << received.join(QStringLiteral(", ")) << (ok ? "" : "   <- FAILED") << "\n";
        if (!ok)
            out() << "    expected lamps: "
                  << (expectedLamps.isEmpty() ? QStringLiteral("(all off)") : expectedLamps.join(QLatin1Char(' ')))
                  << "; expected: " << (expectedGestures + expectedStates).join(QStringLiteral(", ")) << "\n";
        return ok;
    }

    void press(const char *button)
    {
        VirtualDevice &device = m_devices[std::size_t(m_bound)];
        // As a hand would: once the binding listens (the lamps written, the answers read back).
        device.waitForListeningReader(std::chrono::seconds(2));
        device.press(button);
        device.release(button);
    }

    int boundInterface() const
    {
        for (std::size_t i = 0; i < m_devices.size(); ++i) {
            if (m_devices[i].openHandles() > 0)
                return int(i);
        }
        return -1;
    }

    void readWrittenReports()
    {
        if (!m_lamps)
            return;
        const std::vector<hid::virt::WrittenReport> written = m_devices[std::size_t(m_bound)].writtenReports();
        for (; m_reportsRead < written.size(); ++m_reportsRead)
            m_lamps->apply(written[m_reportsRead].bytes);
    }

    template<typename Condition> static bool waitFor(Condition condition, int timeoutMs = StepTimeoutMs)
    {
        // The timer wakes the loop now and then, so that it sleeps while nothing happens.
        QTimer tick;
        tick.start(5);
        const QDeadlineTimer deadline(timeoutMs);
        while (!condition()) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    static QString column(const QString &text, int width = 13)
    {
        return text.leftJustified(width - 1) + QLatin1Char(' ');
    }

    const hid::virt::Model &m_model;
    std::vector<VirtualDevice> m_devices;
    QString m_product;
    QString m_audioDevice;
    hid::HidCode m_code;
    QObject m_context;
    Received m_received;
    int m_bound = -1;
    std::unique_ptr<Lamps> m_lamps;
    std::size_t m_reportsRead = 0;
    QStringList m_expectedLamps;
};

} // namespace

int runDemo(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe demo: plays a whole call on a virtual headset, through the library exactly as a\n"
                       "softphone uses it, and shows after each step what the headset's lamps show and what the\n"
                       "application received. Needs no hardware and no root. Exits 0 when every step behaved as\n"
                       "expected, 1 otherwise."));
    parser.addPositionalArgument(
        QStringLiteral("MODEL"),
        QStringLiteral("The virtual headset to use (default: %1).").arg(QLatin1String(DefaultModel)),
        QStringLiteral("[MODEL]"));
    const QCommandLineOption listOption(QStringLiteral("list-models"),
                                        QStringLiteral("Name the virtual headsets and exit."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"), QStringLiteral("Show the library's log lines."));
    const QCommandLineOption fallback = fallbackOption();
    parser.addOption(listOption);
    parser.addOption(verboseOption);
    parser.addOption(fallback);
    if (!parseArguments(parser, arguments))
        return UsageError;
    if (parser.isSet(listOption))
        return listModels();
    if (parser.positionalArguments().size() > 1) {
        err() << "qvhid-probe demo: one MODEL at most.\n";
        return UsageError;
    }
    const QString name = parser.positionalArguments().value(0, QLatin1String(DefaultModel));
    const hid::virt::Model *model = findVirtualModel(QStringLiteral("demo"), name);
    if (!model)
        return UsageError;

    // The built-in table with the fallback: a text that names one is read on top of it.
    if (parser.isSet(fallback))
        HidDeviceManager::Instance().InitHidDevices(withFallback(QStringLiteral("{}"), parser.value(fallback)));
    const hid::virt::DeviceDescription &first = model->interfaces.front();
    bool isExplicit = false;
    hid::HidCode code;
    QString configuration;
    hid::HidDeviceDict::getHidCode(first.vendorId, first.productId, isExplicit);
    if (!isExplicit && !hid::HidDeviceDict::getFallbackCode(code, configuration)) {
        err() << "qvhid-probe demo: no dictionary row lists " << name << " (" << hexId(first.vendorId) << ":"
              << hexId(first.productId) << "); 'qvhid-probe demo " << name
              << " --fallback Standart' binds it through the standard fallback configuration.\n";
        return Failure;
    }

    static common::logger::QtLogger qtLogger; // reader threads may still log while the demo ends
    if (parser.isSet(verboseOption))
        common::logger::SetLogger(&qtLogger);
    int result = Failure;
    {
        Demo demo(*model);
        result = demo.run();
    }
    common::logger::SetLogger(nullptr);
    return result;
}

} // namespace probe
