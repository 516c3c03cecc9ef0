// SPDX-License-Identifier: BSD-3-Clause
#include "hidrawserver.h"

#include <fcntl.h>
#include <linux/hidraw.h>
#include <linux/input.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace emulation {

namespace {

constexpr fuse_ino_t FirstDeviceInode = 2; // inode of hidraw0; the root is 1
constexpr std::size_t QueueCapacity = 64;  // reports a hidraw reader may have unread

fuse_ino_t inodeOf(int number)
{
    return FirstDeviceInode + static_cast<fuse_ino_t>(number);
}

struct stat attributesOf(fuse_ino_t inode)
{
    struct stat attributes = {};
    attributes.st_ino = inode;
    if (inode == FUSE_ROOT_ID) {
        attributes.st_mode = S_IFDIR | 0755;
        attributes.st_nlink = 2;
    } else {
        attributes.st_mode = S_IFREG | 0666;
        attributes.st_nlink = 1;
    }
    return attributes;
}

// Interrupts the session loop's wait for a request; see stop().
constexpr int WakeSignal = SIGUSR2;

void ignoreWakeSignal(int) { }

} // namespace

struct HidrawServer::Device
{
    int number = 0;
    hid::virt::DeviceDescription description;
    bool plugged = true;
    bool denied = false;
    unsigned long opens = 0;
    unsigned long inputWaits = 0;
    unsigned long reportsRead = 0;
    std::vector<Bytes> written;
    std::map<unsigned char, Bytes> features;
};

struct HidrawServer::OpenFile
{
    int device = 0;
    bool dead = false; // opened before an unplug
    bool readOnly = false;
    std::deque<Bytes> queue;
    fuse_pollhandle *poll = nullptr;
    fuse_req_t pendingRead = nullptr;
    std::size_t pendingSize = 0;
};

HidrawServer::HidrawServer() = default;

HidrawServer::~HidrawServer()
{
    stop();
}

std::string HidrawServer::start(const std::string &mountPoint)
{
    fuse_lowlevel_ops operations = {};
    operations.init = &HidrawServer::onInit;
    operations.lookup = &HidrawServer::onLookup;
    operations.getattr = &HidrawServer::onGetattr;
    operations.open = &HidrawServer::onOpen;
    operations.access = &HidrawServer::onAccess;
    operations.read = &HidrawServer::onRead;
    operations.write = &HidrawServer::onWrite;
    operations.release = &HidrawServer::onRelease;
    operations.ioctl = &HidrawServer::onIoctl;
    operations.poll = &HidrawServer::onPoll;

    char program[] = "qvhid-hidraw-emulation";
    char *arguments[] = {program, nullptr};
    fuse_args args = FUSE_ARGS_INIT(1, arguments);
    m_session = fuse_session_new(&args, &operations, sizeof operations, this);
    fuse_opt_free_args(&args); // the session may have added to them
    if (!m_session)
        return "fuse_session_new failed";
    if (fuse_session_mount(m_session, mountPoint.c_str()) != 0) {
        fuse_session_destroy(m_session);
        m_session = nullptr;
        return "cannot mount a FUSE file system at " + mountPoint;
    }
    struct sigaction wake = {};
    wake.sa_handler = ignoreWakeSignal; // without SA_RESTART: the loop's read returns EINTR
    sigaction(WakeSignal, &wake, nullptr);
    m_loopEnded = false;
    m_loop = std::thread([this] {
        fuse_session_loop(m_session);
        m_loopEnded = true;
    });
    return {};
}

void HidrawServer::stop()
{
    if (!m_session)
        return;
    fuse_session_exit(m_session);
    fuse_session_unmount(m_session);
    // While a file is still open (a test that failed before closing its device), the kernel
    // keeps the connection and the loop's read goes on waiting: a signal ends the wait, and the
    // loop then sees that the session has exited.
    while (!m_loopEnded) {
        pthread_kill(m_loop.native_handle(), WakeSignal);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    m_loop.join();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto &entry : m_files) {
            if (entry.second->poll)
                fuse_pollhandle_destroy(entry.second->poll);
        }
        m_files.clear();
    }
    fuse_session_destroy(m_session);
    m_session = nullptr;
}

void HidrawServer::add(int number, const hid::virt::DeviceDescription &description)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto device = std::make_unique<Device>();
    device->number = number;
    device->description = description;
    m_devices[number] = std::move(device);
}

void HidrawServer::unplug(int number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    if (found == m_devices.end())
        return;
    found->second->plugged = false;
    for (auto &entry : m_files) {
        OpenFile &file = *entry.second;
        if (file.device == number) {
            file.dead = true;
            wakeLocked(file);
        }
    }
}

void HidrawServer::replug(int number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    if (found == m_devices.end())
        return;
    found->second->plugged = true;
}

void HidrawServer::setDenied(int number, bool denied)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    if (found != m_devices.end())
        found->second->denied = denied;
}

void HidrawServer::inject(int number, const Bytes &report)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto &entry : m_files) {
        OpenFile &file = *entry.second;
        if (file.device != number || file.dead)
            continue;
        if (file.queue.size() < QueueCapacity)
            file.queue.push_back(report);
        wakeLocked(file);
    }
}

std::vector<Bytes> HidrawServer::written(int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? std::vector<Bytes>() : found->second->written;
}

void HidrawServer::clearWritten(int number)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    if (found != m_devices.end())
        found->second->written.clear();
}

int HidrawServer::openFiles(int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(std::count_if(m_files.begin(), m_files.end(),
                                          [number](const auto &entry) { return entry.second->device == number; }));
}

unsigned long HidrawServer::opens(int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? 0 : found->second->opens;
}

unsigned long HidrawServer::reportsRead(int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? 0 : found->second->reportsRead;
}

unsigned long HidrawServer::inputWaits(int number) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? 0 : found->second->inputWaits;
}

// Hands a waiting read its report (or its error) and tells a waiting poll that something changed.
void HidrawServer::wakeLocked(OpenFile &file)
{
    if (file.pendingRead && (file.dead || !file.queue.empty())) {
        if (file.dead) {
            fuse_reply_err(file.pendingRead, EIO);
        } else {
            const Bytes report = std::move(file.queue.front());
            file.queue.pop_front();
            if (Device *device = deviceLocked(file.device))
                ++device->reportsRead;
            fuse_reply_buf(file.pendingRead, reinterpret_cast<const char *>(report.data()),
                           std::min(file.pendingSize, report.size()));
        }
        file.pendingRead = nullptr;
    }
    if (file.poll) {
        fuse_lowlevel_notify_poll(file.poll);
        fuse_pollhandle_destroy(file.poll);
        file.poll = nullptr;
    }
}

HidrawServer &HidrawServer::of(fuse_req_t request)
{
    return *static_cast<HidrawServer *>(fuse_req_userdata(request));
}

HidrawServer::Device *HidrawServer::deviceLocked(int number)
{
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? nullptr : found->second.get();
}

HidrawServer::Device *HidrawServer::deviceOf(fuse_ino_t inode)
{
    if (inode < FirstDeviceInode)
        return nullptr;
    const auto found = m_devices.find(static_cast<int>(inode - FirstDeviceInode));
    return found == m_devices.end() ? nullptr : found->second.get();
}

void HidrawServer::onInit(void *, fuse_conn_info *connection)
{
    // Each request is answered in the order it came; no read-ahead, no caching.
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_ASYNC_READ);
}

void HidrawServer::onLookup(fuse_req_t request, fuse_ino_t parent, const char *name)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    int number = -1;
    if (parent == FUSE_ROOT_ID && std::sscanf(name, "hidraw%d", &number) == 1 && server.m_devices.count(number)) {
        fuse_entry_param entry = {};
        entry.ino = inodeOf(number);
        entry.attr = attributesOf(entry.ino);
        fuse_reply_entry(request, &entry);
        return;
    }
    fuse_reply_err(request, ENOENT);
}

void HidrawServer::onGetattr(fuse_req_t request, fuse_ino_t inode, fuse_file_info *)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    if (inode != FUSE_ROOT_ID && !server.deviceOf(inode)) {
        fuse_reply_err(request, ENOENT);
        return;
    }
    const struct stat attributes = attributesOf(inode);
    fuse_reply_attr(request, &attributes, 0);
}

void HidrawServer::onOpen(fuse_req_t request, fuse_ino_t inode, fuse_file_info *info)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    Device *device = server.deviceOf(inode);
    if (!device || !device->plugged) {
        fuse_reply_err(request, ENODEV);
        return;
    }
    if (device->denied) {
        fuse_reply_err(request, EACCES);
        return;
    }
    auto file = std::make_unique<OpenFile>();
    file->device = device->number;
    file->readOnly = (info->flags & O_ACCMODE) == O_RDONLY;
    ++device->opens;
    info->fh = server.m_nextFile++;
    info->direct_io = 1; // every read and write reaches the server with its own size
    info->nonseekable = 1;
    server.m_files[info->fh] = std::move(file);
    fuse_reply_open(request, info);
}

void HidrawServer::onAccess(fuse_req_t request, fuse_ino_t inode, int)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    const Device *device = server.deviceOf(inode);
    fuse_reply_err(request, device && device->denied ? EACCES : 0);
}

void HidrawServer::onRead(fuse_req_t request, fuse_ino_t, size_t size, off_t, fuse_file_info *info)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    const auto found = server.m_files.find(info->fh);
    if (found == server.m_files.end() || found->second->dead) {
        fuse_reply_err(request, EIO);
        return;
    }
    OpenFile &file = *found->second;
    if (!file.queue.empty()) {
        const Bytes report = std::move(file.queue.front());
        file.queue.pop_front();
        if (Device *device = server.deviceLocked(file.device))
            ++device->reportsRead;
        fuse_reply_buf(request, reinterpret_cast<const char *>(report.data()), std::min(size, report.size()));
        return;
    }
    if (info->flags & O_NONBLOCK) {
        fuse_reply_err(request, EAGAIN);
        return;
    }
    if (file.pendingRead) { // one reader at a time, as callers of hidapi use a device
        fuse_reply_err(request, EBUSY);
        return;
    }
    file.pendingRead = request;
    file.pendingSize = size;
}

void HidrawServer::onWrite(fuse_req_t request, fuse_ino_t, const char *data, size_t size, off_t, fuse_file_info *info)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    const auto found = server.m_files.find(info->fh);
    if (found == server.m_files.end() || found->second->dead) {
        fuse_reply_err(request, ENOTCONN);
        return;
    }
    if (size == 0) {
        fuse_reply_err(request, EINVAL);
        return;
    }
    Device &device = *server.m_devices.at(found->second->device);
    // A first byte of 0 marks a device without report ids; it does not go on the wire.
    const auto *bytes = reinterpret_cast<const unsigned char *>(data);
    device.written.emplace_back(bytes[0] == 0 ? bytes + 1 : bytes, bytes + size);
    fuse_reply_write(request, size);
    if (!device.description.answerToWrite.empty()) {
        for (auto &entry : server.m_files) {
            OpenFile &file = *entry.second;
            if (file.device == device.number && !file.dead && file.queue.size() < QueueCapacity) {
                file.queue.push_back(device.description.answerToWrite);
                server.wakeLocked(file);
            }
        }
    }
}

void HidrawServer::onRelease(fuse_req_t request, fuse_ino_t, fuse_file_info *info)
{
    HidrawServer &server = of(request);
    {
        std::lock_guard<std::mutex> lock(server.m_mutex);
        const auto found = server.m_files.find(info->fh);
        if (found != server.m_files.end()) {
            if (found->second->poll)
                fuse_pollhandle_destroy(found->second->poll);
            server.m_files.erase(found);
        }
    }
    fuse_reply_err(request, 0);
}

void HidrawServer::onIoctl(fuse_req_t request, fuse_ino_t inode, unsigned int command, void *, fuse_file_info *info,
                           unsigned flags, const void *in, size_t inSize, size_t outSize)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    Device *device = server.deviceOf(inode);
    const auto found = server.m_files.find(info->fh);
    if (flags & FUSE_IOCTL_COMPAT) {
        fuse_reply_err(request, ENOSYS);
        return;
    }
    if (!device || found == server.m_files.end() || found->second->dead) {
        fuse_reply_err(request, EIO);
        return;
    }
    const hid::virt::DeviceDescription &description = device->description;
    const auto replyText = [&](const std::wstring &text) {
        const std::string narrow(text.begin(), text.end());
        std::vector<char> out(outSize, 0);
        std::memcpy(out.data(), narrow.data(), std::min(narrow.size(), outSize > 0 ? outSize - 1 : 0));
        fuse_reply_ioctl(request, static_cast<int>(std::min(narrow.size() + 1, outSize)), out.data(), out.size());
    };
    switch (command) {
    case HIDIOCGRDESCSIZE: {
        const int size = static_cast<int>(description.descriptor.size());
        fuse_reply_ioctl(request, 0, &size, sizeof size);
        return;
    }
    case HIDIOCGRDESC: {
        hidraw_report_descriptor descriptor = {};
        descriptor.size =
            static_cast<__u32>(std::min<std::size_t>(description.descriptor.size(), HID_MAX_DESCRIPTOR_SIZE));
        std::memcpy(descriptor.value, description.descriptor.data(), descriptor.size);
        fuse_reply_ioctl(request, 0, &descriptor, sizeof descriptor);
        return;
    }
    case HIDIOCGRAWINFO: {
        hidraw_devinfo devinfo = {};
        devinfo.bustype = BUS_USB;
        devinfo.vendor = static_cast<__s16>(description.vendorId);
        devinfo.product = static_cast<__s16>(description.productId);
        fuse_reply_ioctl(request, 0, &devinfo, sizeof devinfo);
        return;
    }
    default: break;
    }
    if (_IOC_TYPE(command) != 'H') {
        fuse_reply_err(request, ENOTTY);
        return;
    }
    switch (_IOC_NR(command)) {
    case _IOC_NR(HIDIOCGRAWNAME(0)): replyText(description.manufacturer + L" " + description.product); return;
    case _IOC_NR(HIDIOCGRAWUNIQ(0)): replyText(description.serialNumber); return;
    case _IOC_NR(HIDIOCSFEATURE(0)): {
        if (inSize == 0) {
            fuse_reply_err(request, EINVAL);
            return;
        }
        const auto *bytes = static_cast<const unsigned char *>(in);
        device->features[bytes[0]] = Bytes(bytes, bytes + inSize);
        fuse_reply_ioctl(request, static_cast<int>(inSize), in, std::min(inSize, outSize));
        return;
    }
    case _IOC_NR(HIDIOCGFEATURE(0)): {
        if (inSize == 0 || outSize == 0) {
            fuse_reply_err(request, EINVAL);
            return;
        }
        const unsigned char reportId = *static_cast<const unsigned char *>(in);
        const auto stored = device->features.find(reportId);
        Bytes report = stored != device->features.end() ? stored->second : Bytes{reportId};
        report.resize(std::min(report.size(), outSize));
        std::vector<unsigned char> out(outSize, 0);
        std::copy(report.begin(), report.end(), out.begin());
        fuse_reply_ioctl(request, static_cast<int>(report.size()), out.data(), out.size());
        return;
    }
    default: fuse_reply_err(request, ENOTTY); return;
    }
}

void HidrawServer::onPoll(fuse_req_t request, fuse_ino_t, fuse_file_info *info, fuse_pollhandle *handle)
{
    HidrawServer &server = of(request);
    std::lock_guard<std::mutex> lock(server.m_mutex);
    const auto found = server.m_files.find(info->fh);
    if (found == server.m_files.end()) {
        if (handle)
            fuse_pollhandle_destroy(handle);
        fuse_reply_poll(request, POLLERR | POLLHUP);
        return;
    }
    OpenFile &file = *found->second;
    if (file.readOnly) {
        const auto device = server.m_devices.find(file.device);
        if (device != server.m_devices.end())
            ++device->second->inputWaits;
    }
    if (handle) {
        if (file.poll)
            fuse_pollhandle_destroy(file.poll);
        file.poll = handle;
    }
    unsigned events = POLLOUT | POLLWRNORM;
    if (file.dead)
        events = POLLERR | POLLHUP;
    else if (!file.queue.empty())
        events |= POLLIN | POLLRDNORM;
    fuse_reply_poll(request, events);
}

} // namespace emulation
