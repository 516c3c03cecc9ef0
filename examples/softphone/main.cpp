// SPDX-License-Identifier: BSD-3-Clause
// A small softphone whose call screen drives a headset through the QML module QvHid.
//
//   qvhid-softphone [--virtual MODEL]
//
// --virtual MODEL plugs in a virtual headset first (see 'qvhid-probe demo --list-models') and
// shows buttons that press its keys, so that it runs on any machine.

#include "softphone.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>

#include <cstdio>

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qvhid-softphone"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A softphone's call screen driving a USB telephony headset."));
    parser.addHelpOption();
    const QCommandLineOption virtualModel(
        QStringLiteral("virtual"), QStringLiteral("Plug in the virtual headset MODEL first."), QStringLiteral("MODEL"));
    parser.addOption(virtualModel);
    parser.process(application);

    Softphone softphone(parser.value(virtualModel));
    if (!softphone.isValid()) {
        std::fprintf(stderr,
                     "qvhid-softphone: no virtual headset model '%s'; 'qvhid-probe demo --list-models' names them\n",
                     qPrintable(parser.value(virtualModel)));
        return 2;
    }
    QQmlApplicationEngine engine;
    if (!softphone.load(engine))
        return 1;
    return QGuiApplication::exec();
}
