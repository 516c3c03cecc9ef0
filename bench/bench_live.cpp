// SPDX-License-Identifier: BSD-3-Clause
// The live paths through the manager and a virtual headset, timed as an application sees them:
// gesture latency, call-state latency, binding time, unplugging and plugging in again, and the
// cost of an idle binding and of waiting for a headset. Prints a Markdown table.
//
//   bench_live [--presses N] [--calls N] [--bindings N] [--replugs N] [--idle-seconds N]

#include <hiddevice.h>
#include <hiddevicemanager.h>
#include <virtualhid.h>
#include <virtualmodels.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <random>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;
using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

namespace {

struct Options
{
    int presses = 1000;
    int calls = 100;
    int bindings = 50;
    int replugs = 50;
    int idleSeconds = 60;
    QString json;                 // where to write the figures as one JSON object, if anywhere
    double parseMbPerSecond = -1; // measured elsewhere (bench_functions); passed on into the JSON
};

// The figures the JSON object holds, by key (milliseconds unless the key says otherwise).
QJsonObject &figures()
{
    static QJsonObject all;
    return all;
}

Options parseOptions(const QStringList &arguments)
{
    Options options;
    for (int i = 1; i + 1 < arguments.size(); i += 2) {
        const QString &name = arguments[i];
        const int value = arguments[i + 1].toInt();
        if (name == QLatin1String("--json")) {
            options.json = arguments[i + 1];
            continue;
        }
        if (name == QLatin1String("--parse-mb-s")) {
            options.parseMbPerSecond = arguments[i + 1].toDouble();
            continue;
        }
        if (name == QLatin1String("--presses"))
            options.presses = value;
        else if (name == QLatin1String("--calls"))
            options.calls = value;
        else if (name == QLatin1String("--bindings"))
            options.bindings = value;
        else if (name == QLatin1String("--replugs"))
            options.replugs = value;
        else if (name == QLatin1String("--idle-seconds"))
            options.idleSeconds = value;
        else
            std::fprintf(stderr, "unknown option %s\n", qPrintable(name));
    }
    return options;
}

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

double quantile(std::vector<double> samples, double which)
{
    if (samples.empty())
        return -1;
    std::sort(samples.begin(), samples.end());
    return samples[std::min(samples.size() - 1, static_cast<std::size_t>(which * double(samples.size())))];
}

// Keeps the median and the 99th percentile of the samples as `<key>_p50_ms` and `<key>_p99_ms`.
void recordQuantiles(const QString &key, const std::vector<double> &samples)
{
    figures().insert(key + QLatin1String("_p50_ms"), quantile(samples, 0.5));
    figures().insert(key + QLatin1String("_p99_ms"), quantile(samples, 0.99));
}

// Median, 99th percentile and maximum of samples in milliseconds, as table cells.
QString distribution(std::vector<double> samples)
{
    if (samples.empty())
        return QStringLiteral("| - | - | - |");
    std::sort(samples.begin(), samples.end());
    const auto at = [&samples](double which) { return quantile(samples, which); };
    return QStringLiteral("| %1 | %2 | %3 |")
        .arg(at(0.5), 0, 'f', 2)
        .arg(at(0.99), 0, 'f', 2)
        .arg(samples.back(), 0, 'f', 2);
}

void row(const QString &what, int count, const QString &cells)
{
    std::printf("| %s | %d %s\n", qPrintable(what), count, qPrintable(cells));
    std::fflush(stdout);
}

// Runs the event loop until `done` holds or `timeoutMs` passes; false on the time-out. The
// thread sleeps between events (a spinning one would take the reader's core); a timer wakes it
// now and then to look at the clock.
bool waitUntil(const std::function<bool()> &done, int timeoutMs = 5000)
{
    QTimer wake;
    wake.start(50);
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void pause(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// What the manager reported, stamped on arrival in the application's thread.
struct Reports
{
    QString state;
    int states = 0;
    int mutes = 0;
    int shows = 0;
    int hides = 0;
    Clock::time_point lastState;
    Clock::time_point lastMute;
    Clock::time_point lastShow;
    Clock::time_point lastHide;

    void watch(HidDeviceManager &manager)
    {
        QObject::connect(&manager, &HidDeviceManager::deviceStateEntered, [this](const QString &entered) {
            lastState = Clock::now();
            state = entered;
            ++states;
        });
        QObject::connect(&manager, &HidDeviceManager::clickMute, [this] {
            lastMute = Clock::now();
            ++mutes;
        });
        QObject::connect(&manager, &HidDeviceManager::deviceShow, [this](const QString &) {
            lastShow = Clock::now();
            ++shows;
        });
        QObject::connect(&manager, &HidDeviceManager::deviceHide, [this] {
            lastHide = Clock::now();
            ++hides;
        });
    }
};

hid::virt::DeviceDescription model(const char *name)
{
    hid::virt::DeviceDescription description = hid::virt::findModel(name)->interfaces.at(0);
    description.path.clear();
    return description;
}

const QString AudioDevice = QStringLiteral("Headset Microphone (2- Office Headset 20)");

bool bind(HidDeviceManager &manager, Reports &reports)
{
    manager.onActiveAudioDeviceChanged(QString());
    manager.onActiveAudioDeviceChanged(AudioDevice);
    reports.state.clear();
    return waitUntil([&reports] { return reports.state == QLatin1String("Initial"); });
}

// Mute pressed and released, at random moments of the reader's cycle.
void gestureLatency(HidDeviceManager &manager, Reports &reports, VirtualDevice &headset, int presses)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> gap(10, 40);
    std::vector<double> samples;
    for (int i = 0; i < presses; ++i) {
        pause(gap(random));
        const int before = reports.mutes;
        const Clock::time_point readable = Clock::now();
        headset.press("mute");
        headset.release("mute");
        if (!waitUntil([&] { return reports.mutes > before; }))
            break;
        samples.push_back(milliseconds(reports.lastMute - readable));
    }
    row(QStringLiteral("Gesture: report readable to `clickMute`"), int(samples.size()), distribution(samples));
    recordQuantiles(QStringLiteral("gesture"), samples);
    (void)manager;
}

// onCallIncome to the first output report written and to deviceStateEntered; then the call ends.
void callStateLatency(HidDeviceManager &manager, Reports &reports, VirtualDevice &headset, int calls,
                      const QString &condition = QString(), const QString &keyPrefix = QString())
{
    std::mt19937 random(2);
    std::uniform_int_distribution<int> gap(0, 300);
    std::vector<double> toWrite;
    std::vector<double> toState;
    for (int i = 0; i < calls; ++i) {
        pause(gap(random));
        headset.clearWrittenReports();
        const int before = reports.states;
        const Clock::time_point called = Clock::now();
        manager.onCallIncome();
        if (!waitUntil([&] { return reports.states > before; }))
            break;
        const std::vector<hid::virt::WrittenReport> written = headset.writtenReports();
        if (!written.empty())
            toWrite.push_back(milliseconds(written.front().time - called));
        toState.push_back(milliseconds(reports.lastState - called));
        manager.onCallEnd();
        if (!waitUntil([&] { return reports.state == QLatin1String("Initial"); }))
            break;
    }
    row(QStringLiteral("Call state%1: `onCallIncome` to first report written").arg(condition), int(toWrite.size()),
        distribution(toWrite));
    row(QStringLiteral("Call state%1: `onCallIncome` to `deviceStateEntered`").arg(condition), int(toState.size()),
        distribution(toState));
    recordQuantiles(keyPrefix + QStringLiteral("callstate_write"), toWrite);
    recordQuantiles(keyPrefix + QStringLiteral("callstate_entered"), toState);
}

// A headset that sends its resting input report every `period`, as one that answers every poll
// of its interrupt endpoint does, from a thread of its own; stop() says how much CPU that
// thread took, so that it can be told from the library's.
class HeadsetStream
{
public:
    HeadsetStream(VirtualDevice headset, std::chrono::milliseconds period)
        : m_thread([this, headset, period]() mutable {
            Clock::time_point next = Clock::now();
            while (!m_stop) {
                headset.inject({0x01, 0x00, 0x00});
                next += period;
                std::this_thread::sleep_until(next);
            }
            timespec used{};
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
            m_cpuSeconds = double(used.tv_sec) + double(used.tv_nsec) / 1e9;
        })
    {
    }

    double stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        return m_cpuSeconds;
    }

    ~HeadsetStream() { stop(); }

private:
    std::atomic<bool> m_stop{false};
    double m_cpuSeconds = 0;
    std::thread m_thread;
};

// onActiveAudioDeviceChanged to deviceShow, with `others` more interfaces enumerated.
void bindingTime(HidDeviceManager &manager, Reports &reports, int others, int bindings)
{
    std::vector<VirtualDevice> crowd;
    for (int i = 0; i < others; ++i) {
        hid::virt::DeviceDescription description = model("telephony-headset-no-ids");
        description.productId = static_cast<unsigned short>(0x1000 + i);
        description.product = L"Other Headset " + std::to_wstring(i);
        crowd.push_back(VirtualDevice::add(description));
    }
    std::vector<double> samples;
    for (int i = 0; i < bindings; ++i) {
        manager.onActiveAudioDeviceChanged(QString());
        pause(20);
        const int before = reports.shows;
        const Clock::time_point changed = Clock::now();
        manager.onActiveAudioDeviceChanged(AudioDevice);
        if (!waitUntil([&] { return reports.shows > before; }))
            break;
        samples.push_back(milliseconds(reports.lastShow - changed));
    }
    for (VirtualDevice &device : crowd)
        device.remove();
    row(QStringLiteral("Binding: `onActiveAudioDeviceChanged` to `deviceShow`, %1 interface(s)").arg(others + 1),
        int(samples.size()), distribution(samples));
    figures().insert(QStringLiteral("bind_%1_ms").arg(others + 1), quantile(samples, 0.5));
}

// The plug pulled, to deviceHide; the headset plugged in again, to the state of the call (a
// call in progress, so the reader resumes it) reaching the application.
void replugLatency(HidDeviceManager &manager, Reports &reports, VirtualDevice &headset, int replugs)
{
    manager.onCallIncome();
    manager.onCallUnmuted();
    std::vector<double> toHide;
    std::vector<double> toTalk;
    for (int i = 0; i < replugs; ++i) {
        pause(50);
        const int hidesBefore = reports.hides;
        const Clock::time_point pulled = Clock::now();
        headset.unplug();
        if (!waitUntil([&] { return reports.hides > hidesBefore; }))
            break;
        toHide.push_back(milliseconds(reports.lastHide - pulled));
        pause(50);
        reports.state.clear();
        const Clock::time_point plugged = Clock::now();
        headset.replug();
        if (!waitUntil([&] { return reports.state == QLatin1String("Talk"); }))
            break;
        toTalk.push_back(milliseconds(reports.lastState - plugged));
    }
    manager.onCallEnd();
    recordQuantiles(QStringLiteral("unplug"), toHide);
    recordQuantiles(QStringLiteral("replug"), toTalk);
    row(QStringLiteral("Unplug: plug pulled to `deviceHide`"), int(toHide.size()), distribution(toHide));
    row(QStringLiteral("Replug: plugged in to the call's state (\"Talk\") again"), int(toTalk.size()),
        distribution(toTalk));
}

double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// CPU time of the whole process while the application's event loop idles for `seconds`; the
// share of one core it took is kept under `key`, if one is given.
void idleCost(const QString &what, int seconds, const QString &key = QString(),
              const std::function<double()> &notTheLibrarys = nullptr)
{
    const double cpuBefore = processCpuSeconds();
    const Clock::time_point before = Clock::now();
    pause(seconds * 1000);
    double cpu = processCpuSeconds() - cpuBefore;
    if (notTheLibrarys)
        cpu -= notTheLibrarys();
    const double wall = std::chrono::duration<double>(Clock::now() - before).count();
    std::printf("| %s | %d | %.1f | %.3f %% |\n", qPrintable(what), seconds, cpu * 1000.0, 100.0 * cpu / wall);
    if (!key.isEmpty())
        figures().insert(key, 100.0 * cpu / wall);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const Options options = parseOptions(QCoreApplication::arguments());

    // The binding sees the virtual headset unplugged and plugged in again as it sees a real one.
    VirtualDevice headset = VirtualDevice::add(model("telephony-headset"));
    HidDeviceManager manager;
    Reports reports;
    reports.watch(manager);
    if (!bind(manager, reports)) {
        std::fprintf(stderr, "the virtual headset did not bind\n");
        return 1;
    }

    std::printf("| Measure | Samples | Median ms | 99th percentile ms | Maximum ms |\n|---|---|---|---|---|\n");
    gestureLatency(manager, reports, headset, options.presses);
    callStateLatency(manager, reports, headset, options.calls);
    // A headset that streams its input state every 1, 4 and 8 ms; the worst of the three is
    // streaming_callstate_write_*.
    double worstP50 = -1;
    double worstP99 = -1;
    for (const int period : {1, 4, 8}) {
        HeadsetStream stream(headset, std::chrono::milliseconds(period));
        const QString prefix = QStringLiteral("streaming_%1ms_").arg(period);
        callStateLatency(manager, reports, headset, options.calls,
                         QStringLiteral(" (headset streaming every %1 ms)").arg(period), prefix);
        worstP50 = std::max(worstP50, figures().value(prefix + QLatin1String("callstate_write_p50_ms")).toDouble());
        worstP99 = std::max(worstP99, figures().value(prefix + QLatin1String("callstate_write_p99_ms")).toDouble());
    }
    figures().insert(QStringLiteral("streaming_callstate_write_p50_ms"), worstP50);
    figures().insert(QStringLiteral("streaming_callstate_write_p99_ms"), worstP99);
    bindingTime(manager, reports, 0, options.bindings);
    bindingTime(manager, reports, 99, options.bindings);
    if (!bind(manager, reports))
        return 1;
    replugLatency(manager, reports, headset, options.replugs);

    if (!bind(manager, reports))
        return 1;
    pause(1000); // let the binding settle
    std::printf("\n| Idle binding | Seconds | Process CPU ms | Share of one core |\n|---|---|---|---|\n");
    idleCost(QStringLiteral("bound to a quiet headset"), options.idleSeconds,
             QStringLiteral("idle_bound_core_percent"));
    {
        // The stream's own thread starts its CPU clock with it: all of it is subtracted.
        HeadsetStream stream(headset, std::chrono::milliseconds(8));
        idleCost(QStringLiteral("bound to a headset streaming every 8 ms (the stream's own thread not counted)"),
                 options.idleSeconds, QStringLiteral("streaming_core_percent"), [&stream] { return stream.stop(); });
    }
    headset.unplug();
    pause(1000);
    idleCost(QStringLiteral("headset unplugged, waiting for it"), options.idleSeconds,
             QStringLiteral("idle_unplugged_core_percent"));
    manager.onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (Office Headset 99)"));
    pause(1000);
    idleCost(QStringLiteral("waiting for a headset that never comes"), options.idleSeconds);
    manager.onActiveAudioDeviceChanged(QString());
    hid::virt::removeAllDevices();

    if (!options.json.isEmpty()) {
        if (options.parseMbPerSecond >= 0)
            figures().insert(QStringLiteral("parse_mb_s"), options.parseMbPerSecond);
        QFile file(options.json);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(options.json));
            return 1;
        }
        file.write(QJsonDocument(figures()).toJson(QJsonDocument::Indented));
    }
    return 0;
}
