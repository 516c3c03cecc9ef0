// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe check-dictionary: what the library makes of a headset dictionary, including all
// that its loader takes differently from what the text says without a word.

#include "command.h"
#include "dictionary.h"
#include "dictionarycheck.h"

#include <hiddeviceinfo.h>

#include <algorithm>
#include <set>
#include <utility>

namespace probe {

namespace {

// The usage names that the dictionary format knows, for showing commands as they are written.
QString usageName(unsigned short usage)
{
    switch (usage) {
    case hid::usage::Mute: return QStringLiteral("MUTE");
    case hid::usage::OffHook: return QStringLiteral("HOOK");
    case hid::usage::Ring: return QStringLiteral("RING");
    case hid::usage::Hold: return QStringLiteral("HOLD");
    case hid::usage::Microphone: return QStringLiteral("MIC");
    case hid::usage::OnLine: return QStringLiteral("ONLINE");
    default: return hexId(usage);
    }
}

QString commandText(const hid::HidCommand &command)
{
    if (command.empty())
        return QStringLiteral("(no steps: writes nothing)");
    QStringList steps;
    for (const std::vector<unsigned short> &step : command) {
        QStringList usages;
        for (unsigned short usage : step)
            usages << usageName(usage);
        steps << QLatin1Char('[') + usages.join(QLatin1Char(' ')) + QLatin1Char(']');
    }
    return steps.join(QLatin1Char(' '));
}

QString clickTypeName(hid::ClickType type)
{
    switch (type) {
    case hid::NONE: return QStringLiteral("NONE");
    case hid::MUTE: return QStringLiteral("MUTE");
    case hid::CLICK: return QStringLiteral("CLICK");
    case hid::REJECT: return QStringLiteral("REJECT");
    }
    return QString::number(int(type));
}

void printCode(const hid::HidCode &code)
{
    out() << "    collection " << hexId(code.devUsagePage) << "/" << hexId(code.devUsageID) << ", buttons on page "
          << hexId(code.inputPage) << ", lamps on page " << hexId(code.outputPage)
          << ", empty report: " << clickTypeName(code.clickTypeOnEmptyCode)
          << ", long delay: " << (code.longDelay ? "yes" : "no") << "\n";
    const std::pair<const char *, const hid::HidCommand *> commands[] = {
        {"init", &code.cmdInit},
        {"ring", &code.cmdRing},
        {"talk", &code.cmdTalk},
        {"mute", &code.cmdMute},
        {"hold", &code.cmdHold},
        {"hold muted", &code.cmdHoldMuted},
        {"talk to ring", &code.cmdFromTalkToRing},
    };
    for (const auto &command : commands)
        out() << "    " << QString::fromLatin1(command.first).leftJustified(13) << commandText(*command.second) << "\n";
}

void printCodes(const QList<DictionaryRow> &rows)
{
    std::set<std::pair<unsigned short, unsigned short>> shown;
    for (const DictionaryRow &row : rows) {
        if (!shown.insert({row.vid, row.pid}).second)
            continue;
        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(row.vid, row.pid, isExplicit);
        out() << "\n" << hexId(row.vid) << ":" << hexId(row.pid) << "  \"" << row.name << "\"";
        if (!row.configuration.isEmpty())
            out() << ", configuration \"" << row.configuration << "\"";
        out() << "\n";
        printCode(code);
    }
    hid::HidCode fallback;
    QString configuration;
    if (hid::HidDeviceDict::getFallbackCode(fallback, configuration)) {
        out() << "\nAny other headset whose report descriptor has the collection " << hexId(fallback.devUsagePage)
              << "/" << hexId(fallback.devUsageID) << ": the fallback configuration \"" << configuration << "\"\n";
        printCode(fallback);
    }
}

} // namespace

int runCheckDictionary(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe check-dictionary: loads a headset dictionary as the library does and reports all\n"
                       "that the loader would take differently from what the text says: invalid JSON (with line\n"
                       "and column), numbers written as JSON numbers, unknown usage names and click types,\n"
                       "unknown keys, keys given twice, configurations that no row names, rows that name a missing\n"
                       "configuration, vendor-wide rows, a fallbackConfiguration that names no configuration.\n"
                       "Then prints the codes that each headset gets. A dictionary with \"fallbackConfiguration\"\n"
                       "is read on top of the built-in table, as the library reads it.\n"
                       "Exits 0 when it found no error, 1 when it found one."));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The dictionary (default: the built-in one)."),
                                 QStringLiteral("[FILE]"));
    if (!parseArguments(parser, arguments))
        return UsageError;
    if (parser.positionalArguments().size() > 1) {
        err() << "qvhid-probe check-dictionary: one FILE at most.\n";
        return UsageError;
    }
    const QString file = parser.positionalArguments().value(0);
    QString text;
    if (!loadDictionary(QStringLiteral("check-dictionary"), file, text))
        return UsageError;

    QList<Finding> findings = checkDictionary(text);
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    const QString name = file.isEmpty() ? QStringLiteral("(built-in)") : file;
    int errors = 0;
    for (const Finding &finding : findings) {
        errors += finding.severity == Finding::Error ? 1 : 0;
        out() << name << ":";
        if (finding.line > 0)
            out() << finding.line << ":";
        out() << (finding.severity == Finding::Error ? " error: " : " warning: ") << finding.text << "\n";
    }
    const int warnings = findings.size() - errors;
    out() << name << ": " << errors << (errors == 1 ? " error, " : " errors, ") << warnings
          << (warnings == 1 ? " warning" : " warnings") << "\n";

    const QList<DictionaryRow> rows = dictionaryRows(text);
    if (!rows.isEmpty()) {
        hid::HidDeviceDict::init(text);
        out() << "\nThe codes each headset gets:\n";
        printCodes(rows);
    }
    return errors == 0 ? Success : Failure;
}

} // namespace probe
