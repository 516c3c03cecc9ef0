// SPDX-License-Identifier: BSD-3-Clause
#include "inputwait.h"

#include <hidapi.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace hid {

namespace {

// /dev/hidrawN: a node the kernel's hidraw driver serves, as hidapi's hidraw backend names them.
bool isHidrawNode(const QString &path)
{
    const QLatin1String prefix("/dev/hidraw");
    if (!path.startsWith(prefix) || path.size() == prefix.size())
        return false;
    for (int i = prefix.size(); i < path.size(); ++i) {
        if (!path.at(i).isDigit())
            return false;
    }
    return true;
}

void drain(int fd)
{
    unsigned char buffer[4096];
    while (::read(fd, buffer, sizeof buffer) > 0) { }
}

} // namespace

InputWait::InputWait()
    : m_wakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
}

InputWait::~InputWait()
{
    detach();
    if (m_wakeFd >= 0)
        close(m_wakeFd);
}

void InputWait::attach(hid_device *device, const QString &path)
{
    detach();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_device = device;
    if (m_wakeFd >= 0 && isHidrawNode(path))
        m_nodeFd = open(path.toUtf8().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (m_nodeFd < 0) {
        m_interruptibleRead =
            reinterpret_cast<InterruptibleRead>(dlsym(RTLD_DEFAULT, "hid_read_timeout_interruptible"));
        m_interrupt = reinterpret_cast<Interrupt>(dlsym(RTLD_DEFAULT, "hid_interrupt"));
        if (!m_interruptibleRead || !m_interrupt) {
            m_interruptibleRead = nullptr;
            m_interrupt = nullptr;
        }
    }
}

void InputWait::detach()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_nodeFd >= 0)
        close(m_nodeFd);
    m_nodeFd = -1;
    m_device = nullptr;
    m_interruptibleRead = nullptr;
    m_interrupt = nullptr;
}

int InputWait::read(unsigned char *data, std::size_t length, int milliseconds)
{
    if (m_nodeFd >= 0)
        return pollNode(data, length, milliseconds);
    if (m_interruptibleRead)
        return m_interruptibleRead(m_device, data, length, milliseconds);
    return hid_read_timeout(m_device, data, length, milliseconds);
}

int InputWait::pollNode(unsigned char *data, std::size_t length, int milliseconds)
{
    // The second file holds a copy of every report, read or not: emptied first, it shows only
    // what comes from now on. A report already waiting in hidapi's file is read at once.
    drain(m_nodeFd);
    const int waiting = hid_read_timeout(m_device, data, length, 0);
    if (waiting != 0)
        return waiting;
    pollfd fds[] = {{m_nodeFd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
    const int ready = poll(fds, 2, milliseconds);
    if (ready < 0)
        return errno == EINTR ? 0 : -1;
    if (fds[1].revents & POLLIN) {
        std::uint64_t count = 0;
        (void)!::read(m_wakeFd, &count, sizeof count);
        return 0;
    }
    if (fds[0].revents == 0)
        return 0; // the time-out
    // Input, or the node is gone (POLLHUP, POLLERR): hidapi's own file says which.
    return hid_read_timeout(m_device, data, length, 0);
}

void InputWait::wake()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_interrupt && m_device) {
        m_interrupt(m_device);
        return;
    }
    if (m_wakeFd >= 0) {
        const std::uint64_t one = 1;
        (void)!::write(m_wakeFd, &one, sizeof one);
    }
}

} // namespace hid
