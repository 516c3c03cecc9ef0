// SPDX-License-Identifier: BSD-3-Clause
#include "qmlheadset.h"

#include <hiddevicemanager.h>

namespace qv {
namespace hid {

namespace {

HidDeviceManager &manager()
{
    return HidDeviceManager::Instance();
}

} // namespace

QmlHeadset::QmlHeadset(QObject *parent)
    : QObject(parent)
{
    HidDeviceManager &headsets = manager();
    connect(&headsets, &HidDeviceManager::click, this, &QmlHeadset::click);
    connect(&headsets, &HidDeviceManager::clickMute, this, &QmlHeadset::clickMute);
    connect(&headsets, &HidDeviceManager::clickReject, this, &QmlHeadset::clickReject);
    connect(&headsets, &HidDeviceManager::deviceShow, this, &QmlHeadset::onShow);
    connect(&headsets, &HidDeviceManager::deviceHide, this, &QmlHeadset::onHide);
    connect(&headsets, &HidDeviceManager::deviceStateEntered, this, &QmlHeadset::onStateEntered);
}

void QmlHeadset::setAudioDevice(const QString &name)
{
    if (name == m_audioDevice)
        return;
    m_audioDevice = name;
    emit audioDeviceChanged();
    manager().onActiveAudioDeviceChanged(name);
}

void QmlHeadset::setCallState(CallState state)
{
    if (state == m_callState)
        return;
    m_callState = state;
    emit callStateChanged();
    switch (state) {
    case Idle: manager().onCallEnd(); break;
    case Ringing: manager().onCallIncome(); break;
    case Talking: manager().onCallUnmuted(); break;
    case Muted: manager().onCallMuted(); break;
    case OnHold: manager().onCallHold(); break;
    case OnHoldMuted: manager().onCallHoldMuted(); break;
    }
}

void QmlHeadset::onShow(const QString &product)
{
    if (product != m_product) {
        m_product = product;
        emit productChanged();
    }
    if (!m_present) {
        m_present = true;
        emit presentChanged();
    }
    readDesktopMute();
    emit deviceShow(product);
}

void QmlHeadset::onHide()
{
    if (m_present) {
        m_present = false;
        emit presentChanged();
    }
    if (!m_product.isEmpty()) {
        m_product.clear();
        emit productChanged();
    }
    if (!m_state.isEmpty()) {
        m_state.clear();
        emit stateChanged();
    }
    readDesktopMute();
    emit deviceHide();
}

void QmlHeadset::onStateEntered(const QString &state)
{
    if (state == m_state)
        return;
    m_state = state;
    emit stateChanged();
}

void QmlHeadset::readDesktopMute()
{
    DesktopMute desktop = Unknown;
    switch (manager().GetDesktopMute()) {
    case ::hid::DesktopMute::Unknown: desktop = Unknown; break;
    case ::hid::DesktopMute::Ignores: desktop = Ignores; break;
    case ::hid::DesktopMute::Acts: desktop = Acts; break;
    }
    if (desktop == m_desktopMute)
        return;
    m_desktopMute = desktop;
    emit desktopMuteChanged();
}

} // namespace hid
} // namespace qv
