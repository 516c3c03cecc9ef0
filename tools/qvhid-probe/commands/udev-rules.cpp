// SPDX-License-Identifier: BSD-3-Clause
// qvhid-probe udev-rules: the udev rules that let the logged-in user open the hidraw nodes of
// every headset in a dictionary.

#include "udevrule.h"

#include "command.h"
#include "dictionary.h"

#include <set>
#include <utility>

namespace probe {

int runUdevRules(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("qvhid-probe udev-rules: prints a udev rules file that gives the user logged in at the seat\n"
                       "(TAG+=\"uaccess\") access to the hidraw nodes of every headset in the dictionary.\n"
                       "Install it as /etc/udev/rules.d/70-qvhid-headsets.rules (it must sort before\n"
                       "73-seat-late.rules), then run: udevadm control --reload && udevadm trigger\n"
                       "A headset that no row lists, bound through the dictionary's \"fallbackConfiguration\",\n"
                       "has no rule here: 'qvhid-probe list' prints the rule for each such headset plugged in\n"
                       "(one per model); add it to a rules file of its own, such as\n"
                       "/etc/udev/rules.d/70-qvhid-local.rules, and reload as above."));
    const QCommandLineOption dictionary = dictionaryOption();
    parser.addOption(dictionary);
    if (!parseArguments(parser, arguments))
        return UsageError;

    QString text;
    if (!loadDictionary(QStringLiteral("udev-rules"), parser.value(dictionary), text))
        return UsageError;
    std::set<std::pair<unsigned short, unsigned short>> ids;
    for (const DictionaryRow &row : dictionaryRows(text)) {
        if (row.vid != 0)
            ids.insert({row.vid, row.pid});
    }
    if (ids.empty()) {
        err() << "qvhid-probe udev-rules: the dictionary lists no headset.\n";
        return Failure;
    }

    out() << "# Headsets of the qvhid headset dictionary: the user logged in at the seat may open their\n"
          << "# hidraw nodes. Made by qvhid-probe udev-rules; " << ids.size() << " vendor and product ids.\n";
    if (isLayeredOnBuiltInTable(text))
        out() << "# Headsets bound through the dictionary's fallback configuration have no row, and no rule\n"
              << "# here: 'qvhid-probe list' prints the rule for each such headset plugged in.\n";
    for (const auto &id : ids)
        out() << udevRule(id.first, id.second) << "\n";
    return Success;
}

} // namespace probe
