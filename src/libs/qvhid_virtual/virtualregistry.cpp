// SPDX-License-Identifier: BSD-3-Clause
#include "virtualregistry.h"

#include "enumeratedusages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <deque>

namespace hid::virt {

using Clock = std::chrono::steady_clock;

namespace {

// hidraw keeps at most this many unread reports per open file and drops newer ones.
constexpr std::size_t QueueCapacity = 64;
// How often Faults::unendingReport is found.
constexpr auto UnendingReportPeriod = std::chrono::milliseconds(2);
// hidraw refuses writes shorter than a report id and one byte, and longer than its buffer.
constexpr std::size_t MinimumWrite = 2;
constexpr std::size_t MaximumWrite = 16384;

struct QueuedReport
{
    Clock::time_point due;
    Bytes bytes;
};

hid_device_info *makeInfo(const DeviceDescription &description, UsagePair usage)
{
    auto *info = static_cast<hid_device_info *>(std::calloc(1, sizeof(hid_device_info)));
    if (!info)
        return nullptr;
    // Allocated as hidapi allocates its records, so that either's free function releases them.
    info->path = strdup(description.path.c_str());
    info->vendor_id = description.vendorId;
    info->product_id = description.productId;
    info->serial_number = wcsdup(description.serialNumber.c_str());
    info->release_number = description.releaseNumber;
    info->manufacturer_string = wcsdup(description.manufacturer.c_str());
    info->product_string = wcsdup(description.product.c_str());
    info->usage_page = usage.first;
    info->usage = usage.second;
    info->interface_number = description.interfaceNumber;
    info->bus_type = HID_API_BUS_USB;
    return info;
}

// The usage pairs a device is listed under, as hidapi lists a hidraw interface: one per usage
// pair of its descriptor, or once with 0 and 0. A device described without a descriptor is
// listed with the usage page and usage of its description instead.
std::vector<UsagePair> listedUsages(const DeviceDescription &description)
{
    std::vector<UsagePair> usages = enumeratedUsages(description.descriptor);
    if (usages.empty())
        usages.emplace_back(description.descriptor.empty() ? UsagePair(description.usagePage, description.usage)
                                                           : UsagePair(0, 0));
    return usages;
}

void freeInfo(hid_device_info *info)
{
    if (!info)
        return;
    std::free(info->path);
    std::free(info->serial_number);
    std::free(info->manufacturer_string);
    std::free(info->product_string);
    std::free(info);
}

} // namespace

struct VirtualDeviceState
{
    int id = 0;
    DeviceDescription description;
    bool plugged = true;
    bool removed = false;
    unsigned int generation = 0; // counts plug-ins; handles of an earlier one are dead
    std::vector<WrittenReport> written;
    Responder responder;
    Faults faults;
    Counters counters;
};

struct VirtualHandle
{
    std::shared_ptr<VirtualDeviceState> device;
    unsigned int generation = 0;
    bool nonBlocking = false;
    bool closed = false;
    bool interruptRequested = false; // hid_interrupt(): the next interruptible read returns at once
    Clock::time_point unendingDue{}; // when Faults::unendingReport is next found
    std::deque<QueuedReport> queue;  // by due time
    hid_device_info *info = nullptr;
    std::wstring error;

    ~VirtualHandle() { freeInfo(info); }

    bool disconnected() const { return device->removed || !device->plugged || generation != device->generation; }
};

Registry &Registry::instance()
{
    // Never destroyed: hidapi calls may come from other libraries' destructors at exit.
    static Registry *registry = new Registry;
    return *registry;
}

std::shared_ptr<VirtualDeviceState> Registry::findDevice(int id)
{
    const auto found = m_devices.find(id);
    return found == m_devices.end() ? nullptr : found->second;
}

std::shared_ptr<VirtualHandle> Registry::findHandle(hid_device *device)
{
    const auto found = m_handles.find(device);
    return found == m_handles.end() ? nullptr : found->second;
}

int Registry::add(DeviceDescription description)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto device = std::make_shared<VirtualDeviceState>();
    device->id = m_nextId++;
    if (description.path.empty())
        description.path = "virtual-hid/" + std::to_string(device->id);
    device->description = std::move(description);
    m_devices.emplace(device->id, device);
    return device->id;
}

void Registry::remove(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id)) {
        device->removed = true;
        m_devices.erase(id);
    }
    m_changed.notify_all();
}

void Registry::removeAll()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto &entry : m_devices)
        entry.second->removed = true;
    m_devices.clear();
    m_changed.notify_all();
}

bool Registry::exists(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return findDevice(id) != nullptr;
}

DeviceDescription Registry::description(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto device = findDevice(id);
    return device ? device->description : DeviceDescription();
}

void Registry::unplug(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id))
        device->plugged = false;
    m_changed.notify_all();
}

void Registry::replug(int id, const std::string &newPath)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto device = findDevice(id);
    if (!device || device->plugged)
        return;
    device->plugged = true;
    ++device->generation;
    if (!newPath.empty())
        device->description.path = newPath;
}

bool Registry::isPlugged(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto device = findDevice(id);
    return device && device->plugged;
}

void Registry::injectLocked(const std::shared_ptr<VirtualDeviceState> &device, const Bytes &report,
                            Clock::time_point due)
{
    if (!device->plugged || device->removed)
        return;
    for (auto &entry : m_handles) {
        VirtualHandle &handle = *entry.second;
        if (handle.device != device || handle.closed || handle.disconnected())
            continue;
        if (handle.queue.size() >= QueueCapacity)
            continue;
        const auto position =
            std::upper_bound(handle.queue.begin(), handle.queue.end(), due,
                             [](Clock::time_point time, const QueuedReport &queued) { return time < queued.due; });
        handle.queue.insert(position, QueuedReport{due, report});
    }
    m_changed.notify_all();
}

void Registry::inject(int id, const Bytes &report, std::chrono::milliseconds delay)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id))
        injectLocked(device, report, Clock::now() + delay);
}

bool Registry::sendButton(int id, const std::string &name, bool press, std::chrono::milliseconds delay)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto device = findDevice(id);
    if (!device)
        return false;
    for (const Button &button : device->description.buttons) {
        if (button.name != name)
            continue;
        const Bytes &report = press ? button.press : button.release;
        if (!report.empty())
            injectLocked(device, report, Clock::now() + delay);
        return true;
    }
    return false;
}

std::vector<WrittenReport> Registry::writtenReports(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto device = findDevice(id);
    return device ? device->written : std::vector<WrittenReport>();
}

void Registry::clearWrittenReports(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id))
        device->written.clear();
}

void Registry::setResponder(int id, Responder responder)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id))
        device->responder = std::move(responder);
}

void Registry::setFaults(int id, const Faults &faults)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto device = findDevice(id))
        device->faults = faults;
    m_changed.notify_all(); // a read that waits may now find the unending report
}

Counters Registry::counters(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto device = findDevice(id);
    return device ? device->counters : Counters();
}

int Registry::openHandles(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(std::count_if(m_handles.begin(), m_handles.end(), [id](const auto &entry) {
        return entry.second->device->id == id && !entry.second->device->removed;
    }));
}

bool Registry::isVirtual(hid_device *device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_handles.count(device) != 0;
}

hid_device_info *Registry::appendEnumeration(hid_device_info *list, unsigned short vendorId, unsigned short productId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    hid_device_info **tail = &list;
    while (*tail)
        tail = &(*tail)->next;
    for (const auto &entry : m_devices) {
        const VirtualDeviceState &device = *entry.second;
        if (!device.plugged)
            continue;
        if ((vendorId != 0 && vendorId != device.description.vendorId)
            || (productId != 0 && productId != device.description.productId))
            continue;
        for (const UsagePair &usage : listedUsages(device.description)) {
            if (hid_device_info *info = makeInfo(device.description, usage)) {
                *tail = info;
                tail = &info->next;
            }
        }
    }
    return list;
}

hid_device *Registry::open(const char *path, bool &isVirtualPath)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    isVirtualPath = false;
    if (!path)
        return nullptr;
    for (const auto &entry : m_devices) {
        const std::shared_ptr<VirtualDeviceState> &device = entry.second;
        if (device->description.path != path)
            continue;
        isVirtualPath = true;
        if (!device->plugged || device->faults.openFails)
            continue;
        auto handle = std::make_shared<VirtualHandle>();
        handle->device = device;
        handle->generation = device->generation;
        handle->info = makeInfo(device->description, listedUsages(device->description).front());
        auto *key = reinterpret_cast<hid_device *>(handle.get());
        m_handles.emplace(key, std::move(handle));
        ++device->counters.opens;
        return key;
    }
    return nullptr;
}

void Registry::close(hid_device *device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_handles.find(device);
    if (found == m_handles.end())
        return;
    found->second->closed = true; // a read still blocked on it returns -1
    m_handles.erase(found);
    m_changed.notify_all();
}

int Registry::write(hid_device *device, const unsigned char *data, size_t length)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle)
        return -1;
    const auto state = handle->device;
    ++state->counters.writes;
    if (handle->disconnected()) {
        handle->error = L"device disconnected";
        return -1;
    }
    if (state->faults.writesFail) {
        handle->error = L"write failed (injected fault)";
        return -1;
    }
    if (!data || length < MinimumWrite || length > MaximumWrite) {
        handle->error = L"invalid report length";
        return -1;
    }
    // A first byte of 0 marks a device without report ids; it is not sent (as hidraw and
    // the USB HID driver do). Any other first byte is the report id and is sent.
    const unsigned char *begin = data[0] == 0 ? data + 1 : data;
    Bytes wire(begin, data + length);
    const Clock::time_point now = Clock::now();
    state->written.push_back({now, wire});

    Responder responder = state->responder;
    const Bytes answer = state->description.answerToWrite;
    lock.unlock(); // a responder may call back into the registry
    std::vector<Bytes> answers;
    if (responder)
        answers = responder(wire);
    else if (!answer.empty())
        answers.push_back(answer);
    lock.lock();
    for (const Bytes &report : answers)
        injectLocked(state, report, now);
    return static_cast<int>(length);
}

int Registry::interrupt(hid_device *device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle)
        return -1;
    handle->interruptRequested = true;
    m_changed.notify_all();
    return 0;
}

int Registry::read(hid_device *device, unsigned char *data, size_t length, int milliseconds, bool interruptible)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle)
        return -1;
    ++handle->device->counters.reads;
    if (interruptible)
        ++handle->device->counters.inputWaits;
    if (handle->device->faults.nextReadFails) {
        handle->device->faults.nextReadFails = false;
        ++handle->device->counters.interruptedReads;
        handle->error = L"Interrupted system call";
        return -1;
    }
    if (!data || length == 0) {
        handle->error = L"invalid buffer";
        return -1;
    }
    if (milliseconds == FollowMode)
        milliseconds = handle->nonBlocking ? 0 : -1;
    const Clock::time_point deadline =
        milliseconds < 0 ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        if (handle->closed)
            return -1;
        if (handle->disconnected()) {
            handle->error = L"device disconnected";
            return -1;
        }
        const Clock::time_point now = Clock::now();
        if (!handle->queue.empty() && handle->queue.front().due <= now) {
            // A report longer than the buffer is cut, and the rest of it is lost (as hidraw).
            const Bytes report = std::move(handle->queue.front().bytes);
            handle->queue.pop_front();
            const std::size_t count = std::min(length, report.size());
            if (count > 0) // an empty report has no storage to copy from
                std::memcpy(data, report.data(), count);
            ++handle->device->counters.reportsRead;
            return static_cast<int>(count);
        }
        const Bytes &unending = handle->device->faults.unendingReport;
        if (!unending.empty() && handle->unendingDue <= now) {
            handle->unendingDue = now + UnendingReportPeriod;
            const std::size_t count = std::min(length, unending.size());
            std::memcpy(data, unending.data(), count);
            ++handle->device->counters.reportsRead;
            return static_cast<int>(count);
        }
        // Input that is due comes first; a wake-up only cuts the wait for it short.
        if (interruptible && handle->interruptRequested) {
            handle->interruptRequested = false;
            ++handle->device->counters.interruptedWaits;
            return 0;
        }
        if (milliseconds == 0 || now >= deadline)
            return 0;
        Clock::time_point wake = deadline;
        if (!handle->queue.empty())
            wake = std::min(wake, handle->queue.front().due);
        if (!unending.empty())
            wake = std::min(wake, handle->unendingDue);
        if (wake == Clock::time_point::max())
            m_changed.wait(lock);
        else
            m_changed.wait_until(lock, wake);
    }
}

int Registry::setNonblocking(hid_device *device, int nonblocking)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle)
        return -1;
    handle->nonBlocking = nonblocking != 0;
    return 0;
}

int Registry::text(hid_device *device, Text which, wchar_t *buffer, size_t maxLength)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle || !buffer || maxLength == 0)
        return -1;
    const DeviceDescription &description = handle->device->description;
    const std::wstring &value = which == Text::Manufacturer ? description.manufacturer
        : which == Text::Product                            ? description.product
                                                            : description.serialNumber;
    std::wcsncpy(buffer, value.c_str(), maxLength);
    buffer[maxLength - 1] = L'\0';
    return 0;
}

hid_device_info *Registry::deviceInfo(hid_device *device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    return handle ? handle->info : nullptr;
}

int Registry::reportDescriptor(hid_device *device, unsigned char *buffer, size_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle || !buffer)
        return -1;
    if (handle->disconnected()) {
        handle->error = L"device disconnected";
        return -1;
    }
    if (handle->device->faults.descriptorUnreadable) {
        handle->error = L"report descriptor unreadable (injected fault)";
        return -1;
    }
    const Bytes &descriptor = handle->device->description.descriptor;
    const std::size_t count = std::min(size, descriptor.size());
    if (count > 0) // an empty descriptor has no storage to copy from
        std::memcpy(buffer, descriptor.data(), count);
    return static_cast<int>(count);
}

const wchar_t *Registry::error(hid_device *device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto handle = findHandle(device);
    if (!handle)
        return nullptr;
    return handle->error.empty() ? L"Success" : handle->error.c_str();
}

int Registry::unsupported(hid_device *device, const wchar_t *what)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (const auto handle = findHandle(device))
        handle->error = what;
    return -1;
}

} // namespace hid::virt
