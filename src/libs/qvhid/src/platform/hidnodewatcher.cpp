// SPDX-License-Identifier: BSD-3-Clause
#include "hidnodewatcher.h"

#include "hidlog.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <dlfcn.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace hid {

namespace {

// The virtual headset library's extension of hidapi; see virtualhid.h.
using WatchPlugging = int (*)(void (*)(void *), void *);
using UnwatchPlugging = void (*)(int);

UnwatchPlugging unwatchPlugging()
{
    return reinterpret_cast<UnwatchPlugging>(dlsym(RTLD_DEFAULT, "hid_unwatch_plugging"));
}

} // namespace

HidNodeWatcher::HidNodeWatcher(const QString &directory, QObject *parent)
    : QObject(parent)
{
    watchHidapiPlugging();
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) {
        HID_LOG(log::Error) << "HID DEVICE Cannot watch for headsets being plugged in: " << std::strerror(errno);
        return;
    }
    // IN_ATTRIB: udev grants access to a new node a moment after the kernel made it.
    const uint32_t events = IN_CREATE | IN_ATTRIB | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM;
    if (inotify_add_watch(m_fd, directory.toLocal8Bit().constData(), events) < 0) {
        HID_LOG(log::Error) << "HID DEVICE Cannot watch " << directory
                            << " for headsets being plugged in: " << std::strerror(errno);
        close(m_fd);
        m_fd = -1;
        return;
    }
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &HidNodeWatcher::onReadable);
}

HidNodeWatcher::~HidNodeWatcher()
{
    // Once it returns no callback runs; one already posted dies with this object.
    if (m_hidapiWatch > 0)
        unwatchPlugging()(m_hidapiWatch);
    delete m_notifier;
    if (m_fd >= 0)
        close(m_fd);
}

void HidNodeWatcher::watchHidapiPlugging()
{
    const auto watch = reinterpret_cast<WatchPlugging>(dlsym(RTLD_DEFAULT, "hid_watch_plugging"));
    if (watch && unwatchPlugging())
        m_hidapiWatch = watch(&HidNodeWatcher::onHidapiPlugging, this);
}

// On the thread that plugged the device: changed() is emitted on this object's own.
void HidNodeWatcher::onHidapiPlugging(void *watcher)
{
    auto *self = static_cast<HidNodeWatcher *>(watcher);
    QMetaObject::invokeMethod(
        self, [self] { emit self->changed(); }, Qt::QueuedConnection);
}

void HidNodeWatcher::onReadable()
{
    alignas(inotify_event) char buffer[4096];
    bool hidrawChanged = false;
    for (;;) {
        const ssize_t length = read(m_fd, buffer, sizeof buffer);
        if (length <= 0)
            break;
        for (ssize_t offset = 0; offset + ssize_t(sizeof(inotify_event)) <= length;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
            // An overflowed queue lost events: any of them may have been a headset's.
            if ((event->mask & IN_Q_OVERFLOW) || (event->len > 0 && std::strncmp(event->name, "hidraw", 6) == 0))
                hidrawChanged = true;
            offset += ssize_t(sizeof(inotify_event)) + event->len;
        }
    }
    if (hidrawChanged)
        emit changed();
}

} // namespace hid

// The meta-object code of this file's classes, compiled with the rest of them: the ABI check
// (libabigail) takes a class's functions from the unit that holds its meta-object code.
#include "moc_hidnodewatcher.cpp"
