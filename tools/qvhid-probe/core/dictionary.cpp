// SPDX-License-Identifier: BSD-3-Clause
#include "dictionary.h"

#include <hiddeviceinfo.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace probe {

bool readDictionary(const QString &file, QString &text, QString &error)
{
    QFile dictionary(file.isEmpty() ? QStringLiteral(":headsets.json") : file);
    if (!dictionary.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2")
                    .arg(file.isEmpty() ? QStringLiteral("the built-in dictionary") : file, dictionary.errorString());
        return false;
    }
    QByteArray bytes = dictionary.readAll();
    // The built-in resource ends in a NUL byte.
    const int nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes.truncate(nul);
    text = QString::fromUtf8(bytes);
    return true;
}

namespace {

const QString FallbackKey = QStringLiteral("fallbackConfiguration");

QJsonObject rootOf(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

QList<DictionaryRow> rowsOf(const QJsonObject &root)
{
    QList<DictionaryRow> rows;
    for (const QJsonValue &value : root.value(QStringLiteral("devices")).toArray()) {
        DictionaryRow row;
        row.object = value.toObject();
        row.name = row.object.value(QStringLiteral("name")).toString();
        row.configuration = row.object.value(QStringLiteral("configuration")).toString();
        row.vid = static_cast<unsigned short>(hid::valToUint(row.object.value(QStringLiteral("vid")), 0));
        row.pid = static_cast<unsigned short>(hid::valToUint(row.object.value(QStringLiteral("pid")), 0));
        rows << row;
    }
    return rows;
}

} // namespace

QList<DictionaryRow> dictionaryRows(const QString &text)
{
    QList<DictionaryRow> rows;
    if (isLayeredOnBuiltInTable(text)) {
        QString builtIn;
        QString error;
        if (readDictionary(QString(), builtIn, error))
            rows = rowsOf(rootOf(builtIn));
    }
    return rows + rowsOf(rootOf(text));
}

bool isLayeredOnBuiltInTable(const QString &text)
{
    return rootOf(text).contains(FallbackKey);
}

QString withFallback(const QString &text, const QString &configuration)
{
    QJsonObject root = rootOf(text);
    root.insert(FallbackKey, configuration);
    return QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Compact));
}

QString hexId(unsigned int value)
{
    return QStringLiteral("0x") + QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0')).toUpper();
}

} // namespace probe
