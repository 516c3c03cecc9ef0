// SPDX-License-Identifier: BSD-3-Clause
#include "hiddevice.h"

#include "bindingsystem.h"
#include "fallbackcollection.h"
#include "hiddecoderbase.h"
#include "hidlog.h"
#include "platform/audiodevicename.h"
#include "platform/hiddevicelookup.h"
#include "platform/hidnodewatcher.h"
#include "platform/hidreader.h"
#include "platform/micmutekey.h"
#include "platform/nodeaccess.h"
#include "platform/reportdescriptor.h"
#include "platform/soundcards.h"
#include "platform/systemview.h"

#include <hidapi.h>

#include <QCoreApplication>
#include <QList>
#include <QPointer>
#include <QRegExp>
#include <QTimer>

#include <unistd.h>

#include <unordered_set>

namespace hid {

namespace {

const QString DefaultDeviceAlias = QStringLiteral("Wave mapper");

// How long the destructor waits for a reader thread to end its loop: longer than the longest
// thing a reader does without returning to it (a 700 ms drain after a long command).
constexpr unsigned long ThreadExitWaitMs = 3000;

// How long the plugging in of a headset may go on before it is looked at: the kernel makes the
// node, then udev gives the user access to it, in a burst of directory changes.
constexpr int PlugSettleMs = 20;

// Every HidDevice alive. Touched on the application's main thread only.
std::unordered_set<HidDevice *> &liveDevices()
{
    static std::unordered_set<HidDevice *> devices;
    return devices;
}

// An empty name withdraws the binding, and the default-device alias stands for a device this
// platform does not name: neither has a sound card to look up or a headset to wait for.
bool namesNoDevice(const QString &name)
{
    return name.trimmed().isEmpty() || HidDevice::IsOSDefault(name);
}

QString productString(const hid_device_info *record)
{
    return record->product_string ? QString::fromWCharArray(record->product_string) : QString();
}

// Whether the interface is listed under the configuration's call-control collection.
bool isCallControl(const hid_device_info *record, const HidCode &code)
{
    return record->usage_page == code.devUsagePage && record->usage == code.devUsageID;
}

} // namespace

struct HidDevice::Private
{
    explicit Private(HidDevice *binding)
        : q(binding)
    {
    }

    /// Chooses among the interfaces of the USB device of the sound card `name` stands for.
    bool chooseDeviceOfSoundCard(const QString &name, const SoundCard &card, const QString &rule);
    /// Where `binding` reads sound cards, USB devices, nodes and udev data (SetSystemView).
    static void setSystemView(HidDevice &binding, const SystemView &view);

    HidDevice *const q;
    HidDeviceChoice choice;
    MicMuteKey micMuteKey;
    /// Why the fallback configuration bound none of the interfaces of the last choice, as the
    /// end of a rule ("; the fallback configuration ... does not bind ..."); empty otherwise.
    QString fallbackRefusal;
    SystemView system = LiveSystemView();
    /// Counts the readers started, so that a reader's late notice is matched to its own binding.
    quint64 binding = 0;
    /// The audio-device name the application reported last, kept while nothing is bound to it.
    QString wanted;
    /// The call as the application's reports left it, for a headset bound in the middle of one.
    CallState call = CallState::Idle;
    HidNodeWatcher *watcher = nullptr;
    QTimer *plugSettle = nullptr;
    /// Threads asked to quit that have not deleted themselves yet.
    QList<QPointer<ReaderThread>> stoppingThreads;
};

ReaderThread::~ReaderThread()
{
    HID_LOG(log::Trace) << "~ReaderThread";
}

HidDevice::HidDevice(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
    d->plugSettle = new QTimer(this);
    liveDevices().insert(this);
    d->plugSettle->setSingleShot(true);
    d->plugSettle->setInterval(PlugSettleMs);
    connect(d->plugSettle, &QTimer::timeout, this, &HidDevice::bindPluggedHeadset);
}

HidDevice::~HidDevice()
{
    emit hide();
    stopHidReadThread();
    waitForStoppingThreads();
    liveDevices().erase(this);
    if (liveDevices().empty())
        qRemovePostRoutine(&HidDevice::endBindingsBeforeApplicationEnds);
}

void HidDevice::endBindingsBeforeApplicationEnds()
{
    for (HidDevice *device : liveDevices()) {
        device->stopHidReadThread();
        device->waitForStoppingThreads();
    }
}

void HidDevice::initDevices(const QString &json)
{
    HidDeviceDict::init(json);
}

bool HidDevice::reset(const QString &name)
{
    emit hide();
    m_name.clear();
    stopHidReadThread();
    d->wanted = name;
    if (!chooseAudioDevice(name)) {
        waitForHeadset();
        return false;
    }
    m_name = name;
    stopWaiting();
    return startHidReadTrhead();
}

QString HidDevice::getName() const
{
    return m_name;
}

bool HidDevice::startHidReadTrhead()
{
    return startReader(CallState::Idle);
}

bool HidDevice::startReader(CallState call)
{
    if (m_info.path.isEmpty())
        return false;

    m_thread = new ReaderThread();
    m_reader = getReader(m_info);
    m_reader->resumeCall(call);
    m_reader->moveToThread(m_thread);

    // What the reader sends crosses to this thread as queued calls, and some may still be queued
    // when its binding is withdrawn (a rebind, an unbind, a reader that gave up): disconnecting
    // does not take back calls already posted. Each is therefore checked here, on this thread,
    // as it arrives: only the binding that is still current reaches the application. The check
    // and the withdrawal both run on this thread, so nothing slips between them.
    const quint64 binding = ++d->binding;
    const auto relay = [this, binding](void (HidDevice::*signal)()) {
        return [this, binding, signal] {
            if (isCurrent(binding))
                emit(this->*signal)();
        };
    };
    connect(m_reader, &HidReaderBase::click, this, relay(&HidDevice::click));
    connect(m_reader, &HidReaderBase::clickMute, this, relay(&HidDevice::clickMute));
    connect(m_reader, &HidReaderBase::clickReject, this, relay(&HidDevice::clickReject));
    connect(m_reader, &HidReaderBase::stateChanged, this, [this, binding](const QString &state) {
        if (isCurrent(binding))
            emit stateChanged(state);
    });
    connect(m_reader, &HidReaderBase::finished, this, [this, binding] {
        if (isCurrent(binding))
            onReaderFinished();
    });
    connect(this, &HidDevice::callMuted, m_reader, &HidReaderBase::onCallMuted);
    connect(this, &HidDevice::callUnmuted, m_reader, &HidReaderBase::onCallUnmuted);
    connect(this, &HidDevice::callIncome, m_reader, &HidReaderBase::onCallIncome);
    connect(this, &HidDevice::callHold, m_reader, &HidReaderBase::onCallHold);
    connect(this, &HidDevice::callHoldMuted, m_reader, &HidReaderBase::onCallHoldMuted);
    connect(this, &HidDevice::callEnd, m_reader, &HidReaderBase::onCallEnd);
    connect(m_thread, &QThread::started, m_reader, &HidReaderBase::start);
    connect(m_thread, &QThread::finished, m_reader, &QObject::deleteLater);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);

    // Registered anew for each binding: the application may have been replaced since.
    qRemovePostRoutine(&HidDevice::endBindingsBeforeApplicationEnds);
    qAddPostRoutine(&HidDevice::endBindingsBeforeApplicationEnds);

    checkDesktopAndAccess();
    emit show(m_info.name);
    m_thread->start();
    HID_LOG_AS(log::Trace, "startHidReadTrhead") << "HID DEVICE Hid reader thread started";
    return true;
}

void HidDevice::checkDesktopAndAccess()
{
    const QString denied = DescribeNodeAccess(d->system, m_info.path);
    if (!denied.isEmpty())
        HID_LOG(log::Error) << "HID DEVICE Cannot open " << m_info.name << " at " << m_info.path << ": " << denied;
    d->micMuteKey = CheckMicMuteKey(d->system, m_info.path);
    if (d->micMuteKey.desktop == DesktopMute::Acts)
        HID_LOG(log::Warning) << "HID DEVICE " << m_info.name << " (" << m_info.path
                              << "): the kernel also gives its mute button to the desktop, as the microphone mute "
                                 "key of "
                              << d->micMuteKey.eventNode
                              << ", so that one press mutes the call and the system microphone; install this "
                                 "library's udev rules (its runtime package, with 71-qvhid-phone-mute.rules) and "
                                 "plug the headset in again";
}

void HidDevice::announceCallState()
{
    // Counted before it is queued: the reader, told of it, makes way for it at once.
    if (m_reader)
        m_reader->callStateComing();
}

void HidDevice::wakeReader()
{
    // The call state was queued to the reader; it is handled once the reader's wait for input
    // is over, which this ends now.
    if (m_reader)
        m_reader->wakeUp();
}

bool HidDevice::isCurrent(quint64 binding) const
{
    return m_reader && binding == d->binding;
}

void HidDevice::stopHidReadThread()
{
    // A withdrawn binding reports nothing more, and its reader, once destroyed on its own
    // thread, has no connection left to this object.
    if (m_reader) {
        disconnect(m_reader, nullptr, this, nullptr);
        disconnect(this, nullptr, m_reader, nullptr);
    }
    if (m_thread) {
        m_thread->quit();
        d->stoppingThreads.removeAll(QPointer<ReaderThread>());
        d->stoppingThreads.append(m_thread);
    }
    m_reader = nullptr;
    m_thread = nullptr;
    d->micMuteKey = MicMuteKey();
}

void HidDevice::onReaderFinished()
{
    emit hide();
    stopHidReadThread();
    waitForHeadset();
}

void HidDevice::waitForHeadset()
{
    if (namesNoDevice(d->wanted)) {
        stopWaiting();
        return;
    }
    if (d->watcher)
        return;
    d->watcher = new HidNodeWatcher(d->system.deviceDirectory, this);
    connect(d->watcher, &HidNodeWatcher::changed, this, &HidDevice::onHidNodesChanged);
    HID_LOG(log::Trace) << "HID DEVICE Waiting for a headset for " << d->wanted;
}

void HidDevice::stopWaiting()
{
    d->plugSettle->stop();
    delete d->watcher;
    d->watcher = nullptr;
}

void HidDevice::onHidNodesChanged()
{
    d->plugSettle->start();
}

void HidDevice::bindPluggedHeadset()
{
    if (m_reader || !d->watcher)
        return;
    if (!chooseAudioDevice(d->wanted))
        return;
    // The kernel makes the node before udev lets the user at the seat open it; the change of
    // access brings another look.
    const QByteArray path = m_info.path.toUtf8();
    if (path.startsWith('/') && access(path.constData(), R_OK | W_OK) != 0) {
        HID_LOG(log::Trace) << "HID DEVICE " << m_info.path << " cannot be opened yet; waiting";
        return;
    }
    HID_LOG(log::Trace) << "HID DEVICE Headset plugged in for " << d->wanted;
    m_name = d->wanted;
    stopWaiting();
    startReader(d->call);
}

void HidDevice::waitForStoppingThreads()
{
    for (const QPointer<ReaderThread> &thread : qAsConst(d->stoppingThreads)) {
        if (!thread)
            continue;
        if (thread->wait(ThreadExitWaitMs))
            delete thread.data();
        else
            HID_LOG(log::Error) << "HID DEVICE Reader thread did not finish";
    }
    d->stoppingThreads.clear();
}

void HidDevice::onCallMuted()
{
    d->call = CallState::TalkMuted;
    announceCallState();
    emit callMuted();
    wakeReader();
}

void HidDevice::onCallUnmuted()
{
    d->call = CallState::Talking;
    announceCallState();
    emit callUnmuted();
    wakeReader();
}

void HidDevice::onCallIncome()
{
    d->call = CallState::Ringing;
    announceCallState();
    emit callIncome();
    wakeReader();
}

void HidDevice::onCallHold()
{
    d->call = CallState::Held;
    announceCallState();
    emit callHold();
    wakeReader();
}

void HidDevice::onCallHoldMuted()
{
    d->call = CallState::HeldMuted;
    announceCallState();
    emit callHoldMuted();
    wakeReader();
}

void HidDevice::onCallEnd()
{
    d->call = CallState::Idle;
    announceCallState();
    emit callEnd();
    wakeReader();
}

// --- Discovery --------------------------------------------------------------------------------

bool HidDevice::IsOSDefault(const QString &name)
{
    return name.compare(DefaultDeviceAlias, Qt::CaseInsensitive) == 0;
}

QString HidDevice::getParentDeviceName(const QString &name) const
{
    const QString working = IsOSDefault(name) ? QString::fromStdWString(GetDefaultDeviceName()) : name;
    QString result = working;

    // An endpoint name ends in its hardware name, in parentheses and often after an index such
    // as "2-". The hyphenated form is tried first so that the index never becomes part of it.
    QRegExp indexed(QStringLiteral("\\(\\d*\\-([^)]+)\\)$"));
    QRegExp plain(QStringLiteral("\\(([^)]+)\\)$"));
    // Neither group holds a closing parenthesis, so a match starts after the last one but one.
    // Searching from there finds the same match, and keeps a long name with many parentheses
    // from costing a backtracking scan per opening parenthesis.
    const int lastClose = working.lastIndexOf(QLatin1Char(')'));
    const int from = lastClose > 0 ? working.lastIndexOf(QLatin1Char(')'), lastClose - 1) + 1 : 0;
    if (indexed.indexIn(working, from) != -1)
        result = indexed.cap(1).trimmed();
    else if (plain.indexIn(working, from) != -1)
        result = plain.cap(1).trimmed();

    HID_LOG(log::Trace) << "HID DEVICE Parent device is " << result;
    return result;
}

bool HidDevice::chooseAudioDevice(const QString &name)
{
    m_info = HidDeviceInfo();
    d->choice = HidDeviceChoice();
    if (namesNoDevice(name))
        return chooseDevice(getParentDeviceName(name));

    const QVector<SoundCard> cards = ListSoundCards(d->system);
    const SoundCardMatch match = ResolveAudioDeviceName(name, cards);
    bool found = false;
    if (match.kind == SoundCardMatch::Bluetooth) {
        d->choice.rule = match.rule + QLatin1String(": a Bluetooth device has no USB HID interface");
    } else if (match.kind == SoundCardMatch::Card) {
        found = d->chooseDeviceOfSoundCard(name, cards.at(match.card), match.rule);
    } else {
        HID_LOG(log::Trace) << "HID DEVICE Audio device " << name << " names none of the " << cards.size()
                            << " sound cards of this machine: choosing by product string";
        const QString parentName = getParentDeviceName(name);
        found = chooseDevice(parentName);
        const QString step = QStringLiteral("no sound card; product string \"%1\"").arg(parentName);
        d->choice.rule = found
            ? step + QLatin1String(", ") + d->choice.rule
            : step + QLatin1String(": no HID interface with it is listed in the dictionary") + d->fallbackRefusal;
    }
    if (found)
        HID_LOG(log::Trace) << "HID DEVICE Chose " << m_info.path << " for " << name << ": " << d->choice.rule;
    else
        HID_LOG(log::Trace) << "HID DEVICE Nothing bound for " << name << ": " << d->choice.rule;
    return found;
}

bool HidDevice::Private::chooseDeviceOfSoundCard(const QString &name, const SoundCard &card, const QString &rule)
{
    choice.soundCard = card.number;
    const QString step = QStringLiteral("sound card %1 (%2) by %3").arg(card.number).arg(card.id, rule);
    HID_LOG(log::Trace) << "HID DEVICE Audio device " << name << " is sound card " << card.number << " (" << card.id
                        << ") by " << rule << ", USB device "
                        << (card.isUsb() ? card.usbDevice : QStringLiteral("none"));
    if (!card.isUsb()) {
        choice.rule = step + QLatin1String(": the card is not a USB device");
        return false;
    }

    int interfaces = 0;
    hid_device_info *devices = hid_enumerate(0, 0);
    const bool found = q->chooseAmong(devices, [&](const hid_device_info *record) {
        const bool sameDevice =
            record->path && UsbDeviceOfHidPath(system, QString::fromUtf8(record->path)) == card.usbDevice;
        interfaces += sameDevice ? 1 : 0;
        return sameDevice;
    });
    hid_free_enumeration(devices);

    if (found)
        choice.rule = step + QLatin1String(", ") + choice.rule;
    else if (interfaces == 0)
        choice.rule = step + QLatin1String(": its USB device has no HID interface");
    else
        choice.rule =
            step + QLatin1String(": no HID interface of its USB device is listed in the dictionary") + fallbackRefusal;
    return found;
}

bool HidDevice::chooseDevice(const QString &parentName)
{
    m_info = HidDeviceInfo();
    if (parentName.isEmpty())
        return false;

    hid_device_info *devices = hid_enumerate(0, 0);
    const bool found = findDevice(devices, parentName);
    hid_free_enumeration(devices);

    HID_LOG(log::Trace) << "HID DEVICE Choose device:" << (found ? "true " : "false ") << m_info.name;
    return found;
}

bool HidDevice::findDevice(hid_device_info *devices, const QString &name)
{
    const bool found =
        chooseAmong(devices, [&name](const hid_device_info *record) { return productString(record) == name; });
    HID_LOG(log::Trace) << "HID DEVICE findDevice " << found;
    return found;
}

bool HidDevice::chooseAmong(hid_device_info *devices, const std::function<bool(const hid_device_info *)> &belongs)
{
    d->fallbackRefusal.clear();
    HID_LOG_AS(log::Trace, "findDevice") << "HID DEVICE Devices list: ";
    for (const hid_device_info *record = devices; record; record = record->next) {
        HID_LOG_AS(log::Trace, "findDevice")
            << "HID DEVICE Device [" << productString(record) << "] (vid, pid, hid page, hid usage): ("
            << record->vendor_id << ", " << record->product_id << ", " << record->usage_page << ", " << record->usage
            << ")";
    }

    const hid_device_info *chosen = nullptr;
    HidCode chosenCode;
    std::vector<const hid_device_info *> unlisted;
    for (const hid_device_info *record = devices; record; record = record->next) {
        if (!belongs(record))
            continue;

        bool isExplicit = false;
        const HidCode code = HidDeviceDict::getHidCode(record->vendor_id, record->product_id, isExplicit);
        HID_LOG_AS(log::Trace, "findDevice")
            << "HID DEVICE Get codes for device (" << record->vendor_id << ", " << record->product_id
            << "): " << code.devUsagePage << " " << code.devUsageID << " " << code.inputPage << " " << code.outputPage
            << " explicit: " << isExplicit;
        // Only a row of its own makes a headset ours: a vendor-wide row is not enough. Without
        // one, only the dictionary's fallback configuration may still bind it (below).
        if (!isExplicit) {
            unlisted.push_back(record);
            continue;
        }
        // A headset shows its product string and ids on several interfaces; its buttons and
        // lamps are on the one that is the configuration's call-control collection. A later
        // interface replaces an earlier one only for being that collection.
        if (!chosen || (!isCallControl(chosen, chosenCode) && isCallControl(record, code))) {
            chosen = record;
            chosenCode = code;
        }
        if (isCallControl(chosen, chosenCode))
            break;
    }

    QString how;
    if (chosen) {
        how = isCallControl(chosen, chosenCode)
            ? QStringLiteral("interface %1, the configuration's call-control collection").arg(chosen->interface_number)
            : QStringLiteral("interface %1, the first listed (none is the configuration's call-control collection)")
                  .arg(chosen->interface_number);
    } else {
        // A row of its own always wins: the fallback is asked only when no interface has one.
        QString configuration;
        QString collection;
        chosen = chooseByFallback(unlisted, chosenCode, configuration, collection);
        if (chosen)
            how = QStringLiteral("interface %1, %2 of the fallback configuration \"%3\" (its ids have no row of their "
                                 "own)")
                      .arg(chosen->interface_number)
                      .arg(collection, configuration);
    }
    if (!chosen)
        return false;

    m_info.vendorId = chosen->vendor_id;
    m_info.productId = chosen->product_id;
    m_info.releaseNumber = chosen->release_number;
    m_info.name = productString(chosen);
    m_info.path = QString::fromUtf8(chosen->path);
    m_info.code = chosenCode;
    d->choice.interfaceNumber = chosen->interface_number;
    d->choice.usagePage = chosen->usage_page;
    d->choice.usage = chosen->usage;
    d->choice.rule = how;
    HID_LOG_AS(log::Trace, "findDevice") << "HID DEVICE Device found vid, pid, hid page, hid usage: "
                                         << chosen->vendor_id << ", " << chosen->product_id << ", "
                                         << chosen->usage_page << ", " << chosen->usage;
    return true;
}

const hid_device_info *HidDevice::chooseByFallback(const std::vector<const hid_device_info *> &unlisted, HidCode &code,
                                                   QString &configuration, QString &collection)
{
    if (unlisted.empty() || !HidDeviceDict::getFallbackCode(code, configuration))
        return nullptr;
    const QString searched = DescribeFallbackSearch(code.devUsagePage, code.devUsageID);
    QStringList examined;
    for (const hid_device_info *record : unlisted) {
        // hidapi lists an interface once per collection: its descriptor is read once.
        const QString path = QString::fromUtf8(record->path);
        if (examined.contains(path))
            continue;
        examined << path;
        const QString device =
            QStringLiteral("%1 (%2:%3)").arg(path, log::hexWord(record->vendor_id), log::hexWord(record->product_id));
        const ReportDescriptor descriptor = ReadReportDescriptor(d->system, path);
        const FallbackCollection found = FindFallbackCollection(descriptor.get(), code.devUsagePage, code.devUsageID);
        QString refusal;
        if (!descriptor)
            refusal = QStringLiteral("its report descriptor cannot be read");
        else if (!found.isValid())
            refusal = QStringLiteral("its report descriptor has no collection %1").arg(searched);
        if (!refusal.isEmpty()) {
            HID_LOG_AS(log::Trace, "findDevice")
                << "HID DEVICE " << device << " has no row of its own and " << refusal
                << ": the fallback configuration " << configuration << " does not bind it";
            d->fallbackRefusal = QStringLiteral("; the fallback configuration \"%1\" does not bind %2: %3")
                                     .arg(configuration, path, refusal);
            continue;
        }
        // Bound through that collection: its buttons are read and its lamps written.
        code.devUsagePage = found.usagePage;
        code.devUsageID = found.usage;
        collection = found.telephonyButtonsOnly ? found.describe()
                                                : QStringLiteral("the call-control collection ") + found.describe();
        // Bound on that collection's own entry when hidapi lists one, as the decoder finds it there.
        const hid_device_info *chosen = record;
        for (const hid_device_info *candidate : unlisted) {
            if (QString::fromUtf8(candidate->path) == path && isCallControl(candidate, code)) {
                chosen = candidate;
                break;
            }
        }
        HID_LOG_AS(log::Trace, "findDevice")
            << "HID DEVICE " << device << " has no row of its own; its report descriptor has "
            << (found.telephonyButtonsOnly ? QString() : QStringLiteral("the collection ")) << found.describe()
            << ": bound through the fallback configuration " << configuration;
        return chosen;
    }
    return nullptr;
}

const HidDeviceInfo &HidDevice::getInfo() const
{
    return m_info;
}

const HidDeviceChoice &HidDevice::getChoice() const
{
    return d->choice;
}

DesktopMute HidDevice::getDesktopMute() const
{
    return d->micMuteKey.desktop;
}

void HidDevice::Private::setSystemView(HidDevice &binding, const SystemView &view)
{
    binding.d->system = view;
    // A watch already running watched the old device directory.
    if (binding.d->watcher) {
        binding.stopWaiting();
        binding.waitForHeadset();
    }
}

void SetSystemView(HidDevice &binding, const SystemView &system)
{
    HidDevice::Private::setSystemView(binding, system);
}

ReaderThread *HidDevice::getReaderThread() const
{
    return m_thread;
}

} // namespace hid

// The meta-object code of this file's classes, compiled with the rest of them: the ABI check
// (libabigail) takes a class's functions from the unit that holds its meta-object code.
#include "moc_hiddevice.cpp"
