// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_INPUTWAIT_H
#define QVHID_PLATFORM_INPUTWAIT_H

#include "qvhid_export.h"

#include <QString>

#include <cstddef>
#include <mutex>

// hidapi's device handle, as its header declares it.
struct hid_device_;
typedef struct hid_device_ hid_device;

namespace hid {

/// The reader's wait for input from its headset, which another thread can cut short: a call
/// state that arrives while the reader waits is handled at once, not when the wait ends.
///
/// hidapi cannot be woken from a blocking read, and its handle must not be used by two
/// threads at once. So, for a hidraw node, the wait is a poll() of a second file of the same
/// node (the kernel gives every open file each report) beside an eventfd that wake() signals;
/// the report itself is then read through hidapi, without waiting. Where the process's hidapi
/// offers an interruptible read (the virtual headset library does), that is used. Otherwise
/// the wait is hidapi's blocking read, as it always was, and wake() does nothing.
class QVHID_EXPORT InputWait
{
public:
    InputWait();
    ~InputWait();
    InputWait(const InputWait &) = delete;
    InputWait &operator=(const InputWait &) = delete;

    /// Waits on the opened device at `path` from now on; on the reader's thread.
    void attach(hid_device *device, const QString &path);
    /// Forgets the device, before it is closed; on the reader's thread.
    void detach();

    /// As hid_read_timeout(), but returns 0 early when wake() is called (before or during the
    /// wait). On the reader's thread.
    int read(unsigned char *data, std::size_t length, int milliseconds);
    /// Cuts the wait in progress, or the next one, short. Any thread.
    void wake();

private:
    int pollNode(unsigned char *data, std::size_t length, int milliseconds);

    std::mutex m_mutex; // guards m_device against wake() from another thread
    hid_device *m_device = nullptr;
    int m_wakeFd = -1; // eventfd
    int m_nodeFd = -1; // the second file of a hidraw node
    using InterruptibleRead = int (*)(hid_device *, unsigned char *, std::size_t, int);
    using Interrupt = int (*)(hid_device *);
    InterruptibleRead m_interruptibleRead = nullptr;
    Interrupt m_interrupt = nullptr;
};

} // namespace hid

#endif // QVHID_PLATFORM_INPUTWAIT_H
