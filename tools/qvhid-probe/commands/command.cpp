// SPDX-License-Identifier: BSD-3-Clause
// What every command of qvhid-probe shares: its output streams, its arguments, the dictionary
// and the virtual headsets it may be given.

#include "command.h"
#include "dictionary.h"

#include <virtualmodels.h>

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
    return QCommandLineOption(QStringLiteral("dictionary"),
                              QStringLiteral("The headset dictionary (default: the built-in one)."),
                              QStringLiteral("FILE"));
}

QCommandLineOption fallbackOption()
{
    return QCommandLineOption(
        QStringLiteral("fallback"),
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

bool loadDictionary(const QString &command, const QCommandLineParser &parser, const QCommandLineOption &dictionary,
                    const QCommandLineOption &fallback, QString &text)
{
    if (!loadDictionary(command, parser.value(dictionary), text))
        return false;
    if (parser.isSet(fallback))
        text = withFallback(text, parser.value(fallback));
    return true;
}

const hid::virt::Model *findVirtualModel(const QString &command, const QString &name)
{
    const hid::virt::Model *model = hid::virt::findModel(name.toStdString());
    if (!model)
        err() << "qvhid-probe " << command << ": no virtual headset named '" << name
              << "'; 'qvhid-probe demo --list-models' names them.\n";
    return model;
}

bool plugVirtualModels(const QString &command, const QStringList &models,
                       std::vector<hid::virt::VirtualDevice> &devices)
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
