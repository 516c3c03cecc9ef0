// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe watch: binds a headset as a softphone does and shows, with time stamps, everything
// the application hears from it, while call states typed on standard input go to the headset.

#include "command.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>
#include <logger.h>
#include <qtlogger.h>
#include <virtualmodels.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTime>
#include <QTimer>

#include <chrono>
#include <functional>
#include <map>
#include <unistd.h>
#include <vector>

namespace probe {

namespace {

using qv::hid::HidDeviceManager;

// How long commands wait after a binding for the headset's reader to take its first state.
// Call states reported before it would not reach the headset.
constexpr int SettleTimeoutMs = 3000;
// How long a press on a virtual headset waits for the bound reader to listen for input.
constexpr std::chrono::seconds ListeningTimeout(2);

const char *const CommandList = "ring, answer, mute, unmute, hold, holdmute, end, device [NAME], quit";
const char *const VirtualCommandList = "press BUTTON, buttons";
const char *const CommandHelp =
    "Commands (one per line): ring, answer, mute, unmute, hold, holdmute, end (the call states);\n"
    "device NAME (bind another audio device; no NAME unbinds); quit. With a virtual headset also:\n"
    "press BUTTON (press and release it on the headset) and buttons (name its buttons).";

class Watch
{
public:
    Watch(std::vector<hid::virt::VirtualDevice> virtualDevices)
        : m_virtualDevices(std::move(virtualDevices))
        , m_input(STDIN_FILENO, QSocketNotifier::Read)
    {
        HidDeviceManager &manager = HidDeviceManager::Instance();
        QObject::connect(&manager, &HidDeviceManager::deviceShow, &m_context, [this](const QString &name) {
            m_shown = true;
            print(QStringLiteral("device shown"), QStringLiteral("\"%1\"").arg(name));
            if (HidDeviceManager::Instance().GetDesktopMute() == hid::DesktopMute::Acts)
                print(QStringLiteral("mute button"),
                      QStringLiteral("the desktop mutes the system microphone too, on every press: 'qvhid-probe "
                                     "list' tells how to stop it"));
        });
        QObject::connect(&manager, &HidDeviceManager::deviceHide, &m_context,
                         [this] { print(QStringLiteral("device hidden"), QString()); });
        QObject::connect(&manager, &HidDeviceManager::deviceStateEntered, &m_context, [this](const QString &state) {
            print(QStringLiteral("state"), state);
            if (m_settling && state == QLatin1String("Initial"))
                settled();
        });
        QObject::connect(&manager, &HidDeviceManager::click, &m_context, [this] {
            print(QStringLiteral("gesture"), QStringLiteral("click (answer or end the call)"));
        });
        QObject::connect(&manager, &HidDeviceManager::clickMute, &m_context,
                         [this] { print(QStringLiteral("gesture"), QStringLiteral("clickMute (toggle mute)")); });
        QObject::connect(&manager, &HidDeviceManager::clickReject, &m_context,
                         [this] { print(QStringLiteral("gesture"), QStringLiteral("clickReject (reject the call)")); });
        QObject::connect(&m_input, &QSocketNotifier::activated, &m_context, [this] { readInput(); });
        m_settleTimer.setSingleShot(true);
        QObject::connect(&m_settleTimer, &QTimer::timeout, &m_context, [this] {
            print(QStringLiteral("note"),
                  QStringLiteral("the headset took no state within %1 ms").arg(SettleTimeoutMs));
            settled();
        });
        m_echo = !::isatty(STDIN_FILENO);
    }

    ~Watch()
    {
        HidDeviceManager::Instance().onActiveAudioDeviceChanged(QString());
        for (hid::virt::VirtualDevice &device : m_virtualDevices)
            device.remove();
    }

    int run(const QString &audioDevice)
    {
        if (!m_echo)
            out() << CommandHelp << "\n";
        bind(audioDevice);
        return QCoreApplication::exec();
    }

private:
    void bind(const QString &audioDevice)
    {
        print(QStringLiteral("audio device"),
              audioDevice.isEmpty() ? QStringLiteral("(none)") : QStringLiteral("\"%1\"").arg(audioDevice));
        // The library ignores a report of the audio device in use.
        if (m_reported && audioDevice == m_audioDevice) {
            print(QStringLiteral("note"), QStringLiteral("already the audio device in use; nothing changes"));
            return;
        }
        m_reported = true;
        m_audioDevice = audioDevice;
        m_shown = false;
        HidDeviceManager::Instance().onActiveAudioDeviceChanged(audioDevice); // shows the device at once, if at all
        if (audioDevice.isEmpty())
            return;
        // The same choice again, for the rule that led to it; its log lines were shown already.
        common::logger::ILogger *logger = common::logger::GetLogger();
        common::logger::SetLogger(nullptr);
        hid::HidDevice choice(nullptr);
        choice.chooseAudioDevice(audioDevice);
        common::logger::SetLogger(logger);
        if (m_shown) {
            print(QStringLiteral("binding"), choice.getChoice().rule);
            // Hold the commands back until the headset's reader runs.
            m_settling = true;
            m_settleTimer.start(SettleTimeoutMs);
        } else {
            print(QStringLiteral("note"),
                  QStringLiteral("no headset bound: %1; 'qvhid-probe list' shows the HID interfaces")
                      .arg(choice.getChoice().rule));
        }
    }

    void settled()
    {
        m_settling = false;
        m_settleTimer.stop();
        QTimer::singleShot(0, &m_context, [this] { runPending(); });
    }

    void readInput()
    {
        char buffer[4096];
        const ssize_t size = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (size <= 0) {
            m_input.setEnabled(false);
            m_pending << QStringLiteral("quit");
        } else {
            m_partial.append(buffer, int(size));
            int end;
            while ((end = m_partial.indexOf('\n')) >= 0) {
                m_pending << QString::fromUtf8(m_partial.left(end)).trimmed();
                m_partial.remove(0, end + 1);
            }
        }
        runPending();
    }

    void runPending()
    {
        while (!m_settling && !m_pending.isEmpty())
            runCommand(m_pending.takeFirst());
    }

    void runCommand(const QString &line)
    {
        if (line.isEmpty())
            return;
        if (m_echo)
            print(QStringLiteral("command"), line);
        const QString word = line.section(QLatin1Char(' '), 0, 0);
        const QString argument = line.section(QLatin1Char(' '), 1).trimmed();
        HidDeviceManager &manager = HidDeviceManager::Instance();
        const std::map<QString, std::function<void()>> callStates = {
            {QStringLiteral("ring"), [&] { manager.onCallIncome(); }},
            {QStringLiteral("answer"), [&] { manager.onCallUnmuted(); }},
            {QStringLiteral("unmute"), [&] { manager.onCallUnmuted(); }},
            {QStringLiteral("mute"), [&] { manager.onCallMuted(); }},
            {QStringLiteral("hold"), [&] { manager.onCallHold(); }},
            {QStringLiteral("holdmute"), [&] { manager.onCallHoldMuted(); }},
            {QStringLiteral("end"), [&] { manager.onCallEnd(); }},
        };
        const auto callState = callStates.find(word);
        if (callState != callStates.end() && argument.isEmpty())
            callState->second();
        else if (word == QLatin1String("device"))
            bind(argument);
        else if (word == QLatin1String("quit") && argument.isEmpty())
            QCoreApplication::exit(Success);
        else if (word == QLatin1String("press") && !m_virtualDevices.empty())
            press(argument);
        else if (word == QLatin1String("buttons") && !m_virtualDevices.empty())
            print(QStringLiteral("buttons"), buttonNames().join(QLatin1Char(' ')));
        else
            print(QStringLiteral("error"),
                  QStringLiteral("unknown command '%1' (commands: %2%3)")
                      .arg(line, QLatin1String(CommandList),
                           m_virtualDevices.empty() ? QString()
                                                    : QStringLiteral(", ") + QLatin1String(VirtualCommandList)));
    }

    void press(const QString &button)
    {
        // Pressed on every interface that has the button: the one the library bound reads it,
        // once it listens (a state's lamps written and the answers read back), as a hand would.
        bool pressed = false;
        for (hid::virt::VirtualDevice &device : m_virtualDevices) {
            if (device.openHandles() > 0)
                device.waitForListeningReader(ListeningTimeout);
            if (device.press(button.toStdString())) {
                device.release(button.toStdString());
                pressed = true;
            }
        }
        if (!pressed)
            print(QStringLiteral("error"),
                  QStringLiteral("the virtual headset has no button '%1'; it has: %2")
                      .arg(button, buttonNames().join(QLatin1Char(' '))));
    }

    QStringList buttonNames() const
    {
        QStringList names;
        for (const hid::virt::VirtualDevice &device : m_virtualDevices) {
            for (const hid::virt::Button &button : device.description().buttons) {
                if (!names.contains(QString::fromStdString(button.name)))
                    names << QString::fromStdString(button.name);
            }
        }
        return names;
    }

    void print(const QString &what, const QString &detail)
    {
        out() << QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")) << "  " << what.leftJustified(14)
              << detail << "\n";
        out().flush();
    }

    std::vector<hid::virt::VirtualDevice> m_virtualDevices;
    QObject m_context;
    QSocketNotifier m_input;
    QTimer m_settleTimer;
    QByteArray m_partial;
    QStringList m_pending;
    bool m_settling = false;
    bool m_shown = false;
    bool m_reported = false; // an audio device was reported
    QString m_audioDevice;
    bool m_echo = false;
};

} // namespace

int runWatch(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe watch: binds the headset behind an audio device as a softphone does, and shows\n"
                       "with time stamps when the device is shown and hidden, every state its reader enters and\n"
                       "every gesture the application receives. Call states typed on standard input go to the\n"
                       "headset.\n")
        + QLatin1String(CommandHelp));
    parser.addPositionalArgument(QStringLiteral("AUDIO-DEVICE"),
                                 QStringLiteral("The audio device's name, as the sound system shows it, for example\n"
                                                "\"Headset Microphone (2- Office Headset 20)\"."));
    const QCommandLineOption dictionary = dictionaryOption();
    const QCommandLineOption verboseOption(QStringLiteral("verbose"), QStringLiteral("Show the library's log lines."));
    const QCommandLineOption virtualOption(
        QStringLiteral("virtual"),
        QStringLiteral("Plug in the virtual headset MODEL first (see 'qvhid-probe demo "
                       "--list-models')."),
        QStringLiteral("MODEL"));
    const QCommandLineOption fallback = fallbackOption();
    parser.addOption(dictionary);
    parser.addOption(fallback);
    parser.addOption(verboseOption);
    parser.addOption(virtualOption);
    if (!parseArguments(parser, arguments))
        return UsageError;
    if (parser.positionalArguments().size() != 1) {
        err() << "qvhid-probe watch: give one audio-device name.\nTry 'qvhid-probe watch --help'.\n";
        return UsageError;
    }

    std::vector<hid::virt::VirtualDevice> virtualDevices;
    if (parser.isSet(virtualOption)) {
        const hid::virt::Model *model = findVirtualModel(QStringLiteral("watch"), parser.value(virtualOption));
        if (!model)
            return UsageError;
        virtualDevices = hid::virt::addModel(*model);
    }
    static common::logger::QtLogger qtLogger; // reader threads may still log while the probe ends
    if (parser.isSet(verboseOption))
        common::logger::SetLogger(&qtLogger);
    if (parser.isSet(dictionary) || parser.isSet(fallback)) {
        QString text;
        if (!loadDictionary(QStringLiteral("watch"), parser, dictionary, fallback, text))
            return UsageError;
        HidDeviceManager::Instance().InitHidDevices(text);
    }
    int result = Failure;
    {
        Watch watch(std::move(virtualDevices));
        result = watch.run(parser.positionalArguments().constFirst());
    }
    common::logger::SetLogger(nullptr);
    return result;
}

} // namespace probe
