// SPDX-License-Identifier: BSD-3-Clause
// The QML module QvHid under Qt Quick Test, against virtual headsets: tst_headset.qml imports
// the module from the build tree (QML_IMPORT_PATH) and drives the headsets through the context
// property virtualHeadsets.

#include "virtualheadsetsforqml.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuickTest>

class Setup : public QObject
{
    Q_OBJECT

public slots:
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->rootContext()->setContextProperty(QStringLiteral("virtualHeadsets"), &m_headsets);
    }

private:
    VirtualHeadsetsForQml m_headsets;
};

QUICK_TEST_MAIN_WITH_SETUP(qmlheadset, Setup)

#include "tst_qmlheadset.moc"
