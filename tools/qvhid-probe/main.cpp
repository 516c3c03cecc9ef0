// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe: shows the headset library at work, on a virtual headset or on the headsets of
// this machine, and checks headset dictionaries and access rules.

#include "command.h"

#include <QCoreApplication>

namespace {

struct Command
{
    const char *name;
    const char *summary;
    int (*run)(const QStringList &arguments);
};

const Command Commands[] = {
    {"demo", "play a whole call on a virtual headset (no hardware needed)", probe::runDemo},
    {"list", "list the HID interfaces of this machine, and what the library makes of them", probe::runList},
    {"match", "show which HID interface the library binds for an audio-device name, and why", probe::runMatch},
    {"watch", "bind a headset as a softphone does and show what it does", probe::runWatch},
    {"check-dictionary", "check a headset dictionary and show the codes it gives", probe::runCheckDictionary},
    {"udev-rules", "print udev rules that give users access to their headsets", probe::runUdevRules},
};

void printUsage(QTextStream &stream)
{
    stream << "Usage: qvhid-probe COMMAND [options]\n\n"
           << "Shows the headset library at work and helps to set up headsets.\n\nCommands:\n";
    for (const Command &command : Commands)
        stream << "  " << QString::fromLatin1(command.name).leftJustified(19) << command.summary << "\n";
    stream << "\n'qvhid-probe COMMAND --help' describes a command.\n";
    stream.flush();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qvhid-probe"));
    const QStringList arguments = QCoreApplication::arguments();
    const QString name = arguments.value(1);
    if (name.isEmpty() || name == QLatin1String("--help") || name == QLatin1String("-h")) {
        printUsage(name.isEmpty() ? probe::err() : probe::out());
        return name.isEmpty() ? probe::UsageError : probe::Success;
    }
    for (const Command &command : Commands) {
        if (name == QLatin1String(command.name)) {
            const int code = command.run(arguments);
            probe::out().flush();
            probe::err().flush();
            return code;
        }
    }
    probe::err() << "qvhid-probe: unknown command '" << name << "'\n\n";
    printUsage(probe::err());
    return probe::UsageError;
}
