// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_COMMAND_H
#define QVHID_PROBE_COMMAND_H

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <vector>

namespace hid::virt {
struct Model;
class VirtualDevice;
} // namespace hid::virt

namespace probe {

// Exit codes of every command.
enum ExitCode {
    Success = 0,
    Failure = 1,    // the command ran and found something wrong
    UsageError = 2, // bad arguments, or a file that cannot be read
};

QTextStream &out();
QTextStream &err();

// Parses the arguments of `command` (arguments[0] is the program, arguments[1] the command).
// Shows the help and exits 0 on --help; prints the error and returns false on a usage error.
bool parseArguments(QCommandLineParser &parser, const QStringList &arguments);

// The --dictionary FILE option of the commands that read a headset dictionary.
QCommandLineOption dictionaryOption();
// The --fallback CONFIGURATION option of the commands that bind: the dictionary as if it named
// CONFIGURATION as its "fallbackConfiguration".
QCommandLineOption fallbackOption();

// The text of the dictionary in `file` (the built-in one when empty); false, after telling the
// user of `command`, when it cannot be read.
bool loadDictionary(const QString &command, const QString &file, QString &text);
// The same for a command that binds: the dictionary of the `dictionary` option, named by the
// `fallback` option as its "fallbackConfiguration" when that is given.
bool loadDictionary(const QString &command, const QCommandLineParser &parser, const QCommandLineOption &dictionary,
                    const QCommandLineOption &fallback, QString &text);

// The ready virtual headset `name`; null, after telling the user of `command`, when there is none.
const hid::virt::Model *findVirtualModel(const QString &command, const QString &name);

// Plugs in every interface of each named virtual headset, appending them to `devices`; false,
// after telling the user of `command`, when a name is not a model.
bool plugVirtualModels(const QString &command, const QStringList &models,
                       std::vector<hid::virt::VirtualDevice> &devices);

int runDemo(const QStringList &arguments);
int runMatch(const QStringList &arguments);
int runList(const QStringList &arguments);
int runWatch(const QStringList &arguments);
int runCheckDictionary(const QStringList &arguments);
int runUdevRules(const QStringList &arguments);

} // namespace probe

#endif // QVHID_PROBE_COMMAND_H
