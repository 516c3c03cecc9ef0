// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_BINDINGEVENTS_H
#define QVHID_TESTS_BINDINGEVENTS_H

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QCoreApplication>
#include <QObject>
#include <QStringList>
#include <QThread>

// What a headset binding reported upward, in order: "hide", "show:<product>",
// "state:<state>", "click", "mute", "reject". Every entry must arrive on the application's
// thread; one that does not is recorded as "off-thread:<entry>".
class BindingEvents
{
public:
    void watch(hid::HidDevice *device)
    {
        using hid::HidDevice;
        watch(device, &HidDevice::show, &HidDevice::hide, &HidDevice::stateChanged, &HidDevice::click,
              &HidDevice::clickMute, &HidDevice::clickReject);
    }

    void watch(qv::hid::HidDeviceManager *manager)
    {
        using qv::hid::HidDeviceManager;
        watch(manager, &HidDeviceManager::deviceShow, &HidDeviceManager::deviceHide,
              &HidDeviceManager::deviceStateEntered, &HidDeviceManager::click, &HidDeviceManager::clickMute,
              &HidDeviceManager::clickReject);
    }

    QStringList entries() const { return m_entries; }
    QStringList since(int from) const { return m_entries.mid(from); }
    int size() const { return m_entries.size(); }
    void clear() { m_entries.clear(); }

private:
    template<typename T, typename Show, typename Hide, typename State, typename Gesture>
    void watch(T *source, Show show, Hide hide, State state, Gesture click, Gesture mute, Gesture reject)
    {
        QObject::connect(
            source, show, &m_context, [this](const QString &name) { add(QStringLiteral("show:") + name); },
            Qt::DirectConnection);
        QObject::connect(
            source, hide, &m_context, [this] { add(QStringLiteral("hide")); }, Qt::DirectConnection);
        QObject::connect(
            source, state, &m_context, [this](const QString &name) { add(QStringLiteral("state:") + name); },
            Qt::DirectConnection);
        QObject::connect(
            source, click, &m_context, [this] { add(QStringLiteral("click")); }, Qt::DirectConnection);
        QObject::connect(
            source, mute, &m_context, [this] { add(QStringLiteral("mute")); }, Qt::DirectConnection);
        QObject::connect(
            source, reject, &m_context, [this] { add(QStringLiteral("reject")); }, Qt::DirectConnection);
    }

    void add(const QString &entry)
    {
        const bool onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
        m_entries << (onMainThread ? entry : QStringLiteral("off-thread:") + entry);
    }

    QObject m_context;
    QStringList m_entries;
};

#endif // QVHID_TESTS_BINDINGEVENTS_H
