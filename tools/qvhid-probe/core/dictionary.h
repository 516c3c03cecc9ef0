// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_DICTIONARY_H
#define QVHID_PROBE_DICTIONARY_H

#include <QJsonObject>
#include <QList>
#include <QString>

namespace probe {

// One row of a headset dictionary's "devices" list, as written.
struct DictionaryRow
{
    QJsonObject object;
    QString name;
    QString configuration;
    unsigned short vid = 0;
    unsigned short pid = 0; // 0: every product of the vendor
};

// The text of the headset dictionary in `file`, or of the built-in one when `file` is empty.
// False, with a message for the user in `error`, when it cannot be read.
bool readDictionary(const QString &file, QString &text, QString &error);

// The rows a dictionary text gives the library, in order: a text that names a fallback
// configuration is read on top of the built-in table, so the built-in rows come first. None
// when the text does not parse.
QList<DictionaryRow> dictionaryRows(const QString &text);

// Whether the text has the member "fallbackConfiguration", which puts it on top of the
// built-in table.
bool isLayeredOnBuiltInTable(const QString &text);

// The text with its "fallbackConfiguration" set to `configuration`.
QString withFallback(const QString &text, const QString &configuration);

// "0x047F"
QString hexId(unsigned int value);

} // namespace probe

#endif // QVHID_PROBE_DICTIONARY_H
