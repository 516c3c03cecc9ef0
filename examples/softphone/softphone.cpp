// SPDX-License-Identifier: BSD-3-Clause
#include "softphone.h"

#include "virtualheadset.h"

#include <QCoreApplication>
#include <QDir>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QVariantMap>

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QAudioDevice>
#include <QMediaDevices>
#else
#include <QAudioDeviceInfo>
#endif

// The call screen is compiled into this library, which a static library must register itself.
static void registerCallScreen()
{
    Q_INIT_RESOURCE(softphone);
}

namespace {

QVariantMap audioDevice(const QString &name, const QString &label)
{
    return {{QStringLiteral("name"), name}, {QStringLiteral("label"), label}};
}

// The sound layer's microphones, named as the headset library wants them.
QVariantList soundLayerDevices()
{
    QVariantList devices;
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    for (const QAudioDevice &device : QMediaDevices::audioInputs())
        devices << audioDevice(QString::fromUtf8(device.id()), device.description());
#else
    for (const QAudioDeviceInfo &device : QAudioDeviceInfo::availableDevices(QAudio::AudioInput))
        devices << audioDevice(device.deviceName(), device.deviceName());
#endif
    return devices;
}

} // namespace

Softphone::Softphone(const QString &virtualModel, QObject *parent)
    : QObject(parent)
{
    if (!virtualModel.isEmpty()) {
        m_virtualHeadset = new VirtualHeadset(virtualModel, this);
        // A virtual headset has no sound card: its name is the one a sound layer of another
        // system would give it, which the library matches by product string.
        const QString product = m_virtualHeadset->product();
        m_audioDevices << audioDevice(QStringLiteral("Headset Microphone (%1)").arg(product),
                                      QStringLiteral("%1 (virtual)").arg(product));
    }
    m_audioDevices << soundLayerDevices();
}

bool Softphone::isValid() const
{
    return !m_virtualHeadset || m_virtualHeadset->isValid();
}

QObject *Softphone::virtualHeadset() const
{
    return m_virtualHeadset;
}

bool Softphone::load(QQmlApplicationEngine &engine)
{
    // The module from the build tree, else from the install beside this program.
    const QString installed = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral(QVHID_QML_FROM_BIN));
    for (const QString &directory : {QStringLiteral(QVHID_QML_BUILD_DIR), installed}) {
        if (QDir(directory).exists(QStringLiteral("QvHid")))
            engine.addImportPath(directory);
    }
    registerCallScreen();
    engine.rootContext()->setContextProperty(QStringLiteral("softphone"), this);
    engine.load(QUrl(QStringLiteral("qrc:/softphone/Main.qml")));
    return !engine.rootObjects().isEmpty();
}
