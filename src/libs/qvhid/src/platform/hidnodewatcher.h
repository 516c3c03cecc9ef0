// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_HIDNODEWATCHER_H
#define QVHID_PLATFORM_HIDNODEWATCHER_H

#include "qvhid_export.h"

#include <QObject>
#include <QString>

class QSocketNotifier;

namespace hid {

/// Tells when a hidraw node appears, goes, or changes its owner or permissions in a device
/// directory (/dev): the kernel creates /dev/hidrawN as a headset is plugged in, and udev then
/// gives the user at the seat access to it, which changes its attributes. Watched with inotify,
/// so that waiting costs nothing until the directory changes.
///
/// Where the process's hidapi tells of its own devices being plugged (the virtual headset
/// library's hid_watch_plugging()), those are told too: a virtual headset has no node.
///
/// Lives on the thread that made it, whose event loop delivers changed().
class QVHID_EXPORT HidNodeWatcher : public QObject
{
    Q_OBJECT

public:
    /// A directory that cannot be watched is logged; changed() then never comes.
    explicit HidNodeWatcher(const QString &directory, QObject *parent = nullptr);
    ~HidNodeWatcher() override;

signals:
    /// A node named hidraw... was created, removed, renamed, or had its attributes changed.
    void changed();

private:
    void onReadable();
    void watchHidapiPlugging();
    static void onHidapiPlugging(void *watcher);

    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    int m_hidapiWatch = 0; // of hid_watch_plugging(), when the process's hidapi has it
};

} // namespace hid

#endif // QVHID_PLATFORM_HIDNODEWATCHER_H
