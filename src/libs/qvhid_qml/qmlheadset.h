// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_QML_QMLHEADSET_H
#define QVHID_QML_QMLHEADSET_H

#include <QObject>
#include <QString>

namespace qv {
namespace hid {

/// The QML singleton Headset of the module QvHid: the one HidDeviceManager in Qt's property
/// style. Writing audioDevice or callState calls the manager's slot; the manager's signals set
/// the read-only properties and are passed on. It adds no behaviour of its own (README: "Use
/// from QML" maps every property, signal and slot).
class QmlHeadset : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString audioDevice READ audioDevice WRITE setAudioDevice NOTIFY audioDeviceChanged)
    Q_PROPERTY(CallState callState READ callState WRITE setCallState NOTIFY callStateChanged)
    Q_PROPERTY(bool present READ present NOTIFY presentChanged)
    Q_PROPERTY(QString product READ product NOTIFY productChanged)
    Q_PROPERTY(QString state READ state NOTIFY stateChanged)
    Q_PROPERTY(DesktopMute desktopMute READ desktopMute NOTIFY desktopMuteChanged)

public:
    /// The call as the application reports it; each value calls one slot of the manager.
    enum CallState {
        Idle,        ///< onCallEnd()
        Ringing,     ///< onCallIncome()
        Talking,     ///< onCallUnmuted()
        Muted,       ///< onCallMuted()
        OnHold,      ///< onCallHold()
        OnHoldMuted, ///< onCallHoldMuted()
    };
    Q_ENUM(CallState)

    /// GetDesktopMute() of the manager.
    enum DesktopMute {
        Unknown,
        Ignores,
        Acts,
    };
    Q_ENUM(DesktopMute)

    explicit QmlHeadset(QObject *parent = nullptr);

    QString audioDevice() const { return m_audioDevice; }
    /// onActiveAudioDeviceChanged(name) when `name` differs from the property's value.
    void setAudioDevice(const QString &name);
    CallState callState() const { return m_callState; }
    /// The manager's slot of `state` when it differs from the property's value.
    void setCallState(CallState state);
    bool present() const { return m_present; }
    QString product() const { return m_product; }
    QString state() const { return m_state; }
    DesktopMute desktopMute() const { return m_desktopMute; }

signals:
    void audioDeviceChanged();
    void callStateChanged();
    void presentChanged();
    void productChanged();
    void stateChanged();
    void desktopMuteChanged();

    void click();
    void clickMute();
    void clickReject();
    void deviceShow(const QString &product);
    void deviceHide();

private:
    void onShow(const QString &product);
    void onHide();
    void onStateEntered(const QString &state);
    void readDesktopMute();

    QString m_audioDevice;
    CallState m_callState = Idle;
    bool m_present = false;
    QString m_product;
    QString m_state;
    DesktopMute m_desktopMute = Unknown;
};

} // namespace hid
} // namespace qv

#endif // QVHID_QML_QMLHEADSET_H
