#include "hiddevice.h"

#include "hidlog.h"
#include "platform/hiddevicelookup.h"
#include "platform/hidreader.h"

#include <hidapi.h>

#include <QCoreApplication>
#include <QRegExp>

#include <unordered_set>

namespace hid {

namespace {

const QString DefaultDeviceAlias = QStringLiteral("Wave mapper");

// How long the destructor waits for a reader thread to end its loop: longer than the longest
// thing a reader does without returning to it (a 700 ms drain after a long command).
constexpr unsigned long ThreadExitWaitMs = 3000;

// Every HidDevice alive. Touched on the application's main thread only.
std::unordered_set<HidDevice*>& liveDevices()
{
    static std::unordered_set<HidDevice*> devices;
    return devices;
}

QString productString(const hid_device_info* record)
{
    return record->product_string ? QString::fromWCharArray(record->product_string) : QString();
}

} // namespace

ReaderThread::~ReaderThread()
{
    HID_LOG(log::Trace) << "~ReaderThread";
}

HidDevice::HidDevice(QObject* parent)
    : QObject(parent)
{
    liveDevices().insert(this);
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
    for (HidDevice* device : liveDevices()) {
        device->stopHidReadThread();
        device->waitForStoppingThreads();
    }
}

void HidDevice::initDevices(const QString& json)
{
    HidDeviceDict::init(json);
}

bool HidDevice::reset(const QString& name)
{
    emit hide();
    m_name.clear();
    stopHidReadThread();
    if (!chooseDevice(getParentDeviceName(name)))
        return false;
    m_name = name;
    return startHidReadTrhead();
}

QString HidDevice::getName() const
{
    return m_name;
}

bool HidDevice::startHidReadTrhead()
{
    if (m_info.path.isEmpty())
        return false;

    m_thread = new ReaderThread();
    m_reader = getReader(m_info);
    m_reader->moveToThread(m_thread);

    connect(m_reader, &HidReaderBase::click, this, &HidDevice::click);
    connect(m_reader, &HidReaderBase::clickMute, this, &HidDevice::clickMute);
    connect(m_reader, &HidReaderBase::clickReject, this, &HidDevice::clickReject);
    connect(m_reader, &HidReaderBase::stateChanged, this, &HidDevice::stateChanged);
    connect(this, &HidDevice::callMuted, m_reader, &HidReaderBase::onCallMuted);
    connect(this, &HidDevice::callUnmuted, m_reader, &HidReaderBase::onCallUnmuted);
    connect(this, &HidDevice::callIncome, m_reader, &HidReaderBase::onCallIncome);
    connect(this, &HidDevice::callHold, m_reader, &HidReaderBase::onCallHold);
    connect(this, &HidDevice::callHoldMuted, m_reader, &HidReaderBase::onCallHoldMuted);
    connect(this, &HidDevice::callEnd, m_reader, &HidReaderBase::onCallEnd);
    connect(m_thread, &QThread::started, m_reader, &HidReaderBase::start);
    connect(m_thread, &QThread::finished, m_reader, &QObject::deleteLater);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);
    // A reader that gives up after a rebinding must not withdraw the binding that replaced it;
    // its notice may still be queued when the next reader is already running.
    const HidReaderBase* reader = m_reader;
    connect(m_reader, &HidReaderBase::finished, this, [this, reader, binding = ++m_binding]() {
        if (binding == m_binding && reader == m_reader)
            onReaderFinished();
    });

    // Registered anew for each binding: the application may have been replaced since.
    qRemovePostRoutine(&HidDevice::endBindingsBeforeApplicationEnds);
    qAddPostRoutine(&HidDevice::endBindingsBeforeApplicationEnds);

    emit show(m_info.name);
    m_thread->start();
    HID_LOG(log::Trace) << "HID DEVICE Hid reader thread started";
    return true;
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
        m_stoppingThreads.removeAll(QPointer<ReaderThread>());
        m_stoppingThreads.append(m_thread);
    }
    m_reader = nullptr;
    m_thread = nullptr;
}

void HidDevice::onReaderFinished()
{
    emit hide();
    stopHidReadThread();
}

void HidDevice::waitForStoppingThreads()
{
    for (const QPointer<ReaderThread>& thread : qAsConst(m_stoppingThreads)) {
        if (!thread)
            continue;
        if (thread->wait(ThreadExitWaitMs))
            delete thread.data();
        else
            HID_LOG(log::Error) << "HID DEVICE Reader thread did not finish";
    }
    m_stoppingThreads.clear();
}

void HidDevice::onCallMuted()
{
    emit callMuted();
}

void HidDevice::onCallUnmuted()
{
    emit callUnmuted();
}

void HidDevice::onCallIncome()
{
    emit callIncome();
}

void HidDevice::onCallHold()
{
    emit callHold();
}

void HidDevice::onCallHoldMuted()
{
    emit callHoldMuted();
}

void HidDevice::onCallEnd()
{
    emit callEnd();
}

// --- Discovery --------------------------------------------------------------------------------

bool HidDevice::IsOSDefault(const QString& name)
{
    return name.compare(DefaultDeviceAlias, Qt::CaseInsensitive) == 0;
}

QString HidDevice::getParentDeviceName(const QString& name) const
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

bool HidDevice::chooseDevice(const QString& parentName)
{
    m_info = HidDeviceInfo();
    if (parentName.isEmpty())
        return false;

    hid_device_info* devices = hid_enumerate(0, 0);
    const bool found = findDevice(devices, parentName);
    hid_free_enumeration(devices);

    HID_LOG(log::Trace) << "HID DEVICE Choose device:" << (found ? "true " : "false ") << m_info.name;
    return found;
}

bool HidDevice::findDevice(hid_device_info* devices, const QString& name)
{
    HID_LOG(log::Trace) << "HID DEVICE Devices list: ";
    for (const hid_device_info* record = devices; record; record = record->next) {
        HID_LOG(log::Trace) << "HID DEVICE Device [" << productString(record)
                            << "] (vid, pid, hid page, hid usage): (" << record->vendor_id << ", "
                            << record->product_id << ", " << record->usage_page << ", "
                            << record->usage << ")";
    }

    bool found = false;
    for (const hid_device_info* record = devices; record && !found; record = record->next) {
        if (productString(record) != name)
            continue;

        bool isExplicit = false;
        const HidCode code = HidDeviceDict::getHidCode(record->vendor_id, record->product_id, isExplicit);
        HID_LOG(log::Trace) << "HID DEVICE Get codes for device (" << record->vendor_id << ", "
                            << record->product_id << "): " << code.devUsagePage << " "
                            << code.devUsageID << " " << code.inputPage << " " << code.outputPage
                            << " explicit: " << isExplicit;
        // Only a row of its own makes a headset ours: a vendor-wide row is not enough.
        if (!isExplicit)
            continue;

        m_info.vendorId = record->vendor_id;
        m_info.productId = record->product_id;
        m_info.releaseNumber = record->release_number;
        m_info.name = productString(record);
        m_info.path = QString::fromUtf8(record->path);
        m_info.code = code;
        HID_LOG(log::Trace) << "HID DEVICE Device found vid, pid, hid page, hid usage: "
                            << record->vendor_id << ", " << record->product_id << ", "
                            << record->usage_page << ", " << record->usage;
        found = true;
    }

    HID_LOG(log::Trace) << "HID DEVICE findDevice " << found;
    return found;
}

const HidDeviceInfo& HidDevice::getInfo() const
{
    return m_info;
}

ReaderThread* HidDevice::getReaderThread() const
{
    return m_thread;
}

} // namespace hid
