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

// The rows of a dictionary text that parses; none when it does not.
QList<DictionaryRow> dictionaryRows(const QString &text);

// "0x047F"
QString hexId(unsigned int value);

} // namespace probe

#endif // QVHID_PROBE_DICTIONARY_H
