// qvhid-probe: shows the headset library at work, on a virtual headset or on the headsets of
// this machine, and checks headset dictionaries and access rules.

#include "command.h"
#include "dictionary.h"

#include <virtualmodels.h>

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace probe {

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

bool parseArguments(QCommandLineParser &parser, const QStringList &arguments)
{
    const QCommandLineOption help = parser.addHelpOption();
    // The command stands where the parser expects the program's name.
    if (!parser.parse(arguments.mid(1))) {
        err() << "qvhid-probe " << arguments.value(1) << ": " << parser.errorText() << "\n"
              << "Try 'qvhid-probe " << arguments.value(1) << " --help'.\n";
        err().flush();
        return false;
    }
    if (parser.isSet(help)) {
        // Qt names the program alone in the usage line; the command belongs there too.
        QString text = parser.helpText();
        const int end = text.indexOf(QLatin1String(" [options]"));
        if (text.startsWith(QLatin1String("Usage: ")) && end > 0)
            text.replace(7, end - 7, QStringLiteral("qvhid-probe ") + arguments.value(1));
        out() << text;
        out().flush();
        std::exit(Success);
    }
    return true;
}

QCommandLineOption dictionaryOption()
{
    return QCommandLineOption(QStringLiteral("dictionary"), QStringLiteral("The headset dictionary (default: the built-in one)."),
                              QStringLiteral("FILE"));
}

QCommandLineOption fallbackOption()
{
    return QCommandLineOption(QStringLiteral("fallback"),
                              QStringLiteral("Take the dictionary as naming CONFIGURATION as its \"fallbackConfiguration\": "
                                             "a headset without a row of its own is bound with it when its descriptor has "
                                             "its call-control collection (\"Standart\" for standard telephony headsets)."),
                              QStringLiteral("CONFIGURATION"));
}

bool loadDictionary(const QString &command, const QString &file, QString &text)
{
    QString error;
    if (readDictionary(file, text, error))
        return true;
    err() << "qvhid-probe " << command << ": " << error << "\n";
    return false;
}

const hid::virt::Model *findVirtualModel(const QString &command, const QString &name)
{
    const hid::virt::Model *model = hid::virt::findModel(name.toStdString());
    if (!model)
        err() << "qvhid-probe " << command << ": no virtual headset named '" << name
              << "'; 'qvhid-probe demo --list-models' names them.\n";
    return model;
}

bool plugVirtualModels(const QString &command, const QStringList &models, std::vector<hid::virt::VirtualDevice> &devices)
{
    for (const QString &name : models) {
        const hid::virt::Model *model = findVirtualModel(command, name);
        if (!model)
            return false;
        for (const hid::virt::VirtualDevice &device : hid::virt::addModel(*model))
            devices.push_back(device);
    }
    return true;
}

} // namespace probe

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
