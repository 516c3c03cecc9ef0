// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_DICTIONARYCHECK_H
#define QVHID_PROBE_DICTIONARYCHECK_H

#include <QList>
#include <QString>

namespace probe {

// Something the dictionary loader would take differently from what the text says, or without a
// word: an error when the library does not do what the text means, a warning when the text is
// merely unusual.
struct Finding
{
    enum Severity { Error, Warning };
    Severity severity = Error;
    int line = 0; // 0 when no line applies
    QString text;
};

// Everything in a headset dictionary's text that the loader would degrade silently.
QList<Finding> checkDictionary(const QString &text);

} // namespace probe

#endif // QVHID_PROBE_DICTIONARYCHECK_H
