// SPDX-License-Identifier: BSD-3-Clause
#include "dictionarycheck.h"

#include "dictionary.h"
#include "jsonlayout.h"

#include <hiddeviceinfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <optional>

namespace probe {

namespace {

const QStringList PageKeys = {QStringLiteral("devUsagePage"), QStringLiteral("devUsageID"), QStringLiteral("inputPage"),
                              QStringLiteral("outputPage")};
const QStringList CommandKeys = {QStringLiteral("cmdInit"),          QStringLiteral("cmdRing"),
                                 QStringLiteral("cmdTalk"),          QStringLiteral("cmdHold"),
                                 QStringLiteral("cmdHoldMuted"),     QStringLiteral("cmdMute"),
                                 QStringLiteral("cmdFromTalkToRing")};
const QStringList UsageNames = {QStringLiteral("MUTE"), QStringLiteral("HOOK"), QStringLiteral("RING"),
                                QStringLiteral("HOLD"), QStringLiteral("MIC"),  QStringLiteral("ONLINE")};
const QString FallbackKey = QStringLiteral("fallbackConfiguration");
const QStringList ClickNames = {QStringLiteral("CLICK"), QStringLiteral("MUTE"), QStringLiteral("NONE")};

QString typeName(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Bool: return QStringLiteral("true or false");
    case QJsonValue::Double: return QStringLiteral("a JSON number");
    case QJsonValue::String: return QStringLiteral("a string");
    case QJsonValue::Array: return QStringLiteral("a list");
    case QJsonValue::Object: return QStringLiteral("an object");
    case QJsonValue::Undefined: break;
    }
    return QStringLiteral("nothing");
}

// A number text as the loader reads it: decimal first, then hexadecimal with an optional 0x.
std::optional<unsigned int> numberText(const QString &text)
{
    bool ok = false;
    unsigned int value = text.toUInt(&ok, 10);
    if (!ok)
        value = text.toUInt(&ok, 16);
    return ok ? std::optional<unsigned int>(value) : std::nullopt;
}

// A JSON number written where the loader wants a string, in the string form it would read.
QString asText(const QJsonValue &number)
{
    const double value = number.toDouble();
    return value >= 0 && value <= 0xFFFFFFFFu && value == double(qint64(value)) ? hexId(unsigned(value))
                                                                                : QStringLiteral("0x...");
}

class Checker
{
public:
    Checker(const QString &text)
        : m_text(text)
        , m_layout(text)
    {
    }

    QList<Finding> run()
    {
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(m_text.toUtf8(), &parseError);
        if (document.isNull()) {
            int line = 0;
            int column = 0;
            // Qt's offset is just past the character at which the parse failed.
            lineAndColumn(m_text, parseError.offset - 1, line, column);
            error(line,
                  QStringLiteral("not valid JSON at line %1, column %2: %3. The library logs a parse error, loads "
                                 "no headset from it and falls back to its built-in table.")
                      .arg(line)
                      .arg(column)
                      .arg(parseError.errorString()));
            return m_findings;
        }
        for (const DuplicateKey &duplicate : m_layout.duplicateKeys())
            error(
                duplicate.line,
                QStringLiteral("\"%1\" is given twice in %2 (also at line %3): the library reads only the "
                               "later one")
                    .arg(duplicate.key,
                         duplicate.objectPath.isEmpty() ? QStringLiteral("the top-level object") : duplicate.objectPath)
                    .arg(duplicate.firstLine));
        if (!document.isObject()) {
            error(
                1,
                QStringLiteral("the document is not an object: the library loads no headset from it and falls back to "
                               "its built-in table"));
            return m_findings;
        }
        const QJsonObject root = document.object();
        for (auto member = root.begin(); member != root.end(); ++member) {
            if (!QStringList{"configurations", "devices", FallbackKey}.contains(member.key()))
                warning(member.key(), QStringLiteral("\"%1\" is not read by the library").arg(member.key()));
        }
        // A text that names a fallback is read on top of the built-in table: the built-in
        // configurations are there to be named, and the built-in rows name theirs.
        m_layered = root.contains(FallbackKey);
        if (m_layered) {
            QString builtIn;
            QString error;
            readDictionary(QString(), builtIn, error);
            const QJsonObject table = QJsonDocument::fromJson(builtIn.toUtf8()).object();
            m_builtInConfigurations = table.value(QStringLiteral("configurations")).toObject().keys();
            for (const DictionaryRow &row : dictionaryRows(builtIn))
                m_usedConfigurations.insert(row.configuration);
        }
        checkConfigurations(root.value(QStringLiteral("configurations")));
        if (m_layered)
            checkFallback(root.value(FallbackKey));
        checkDevices(root.value(QStringLiteral("devices")));
        return m_findings;
    }

private:
    void checkConfigurations(const QJsonValue &value)
    {
        const QString path = QStringLiteral("configurations");
        if (value.isUndefined())
            return;
        if (!value.isObject()) {
            error(path,
                  QStringLiteral("\"configurations\" is %1, not an object: every row gets the built-in codes")
                      .arg(typeName(value)));
            return;
        }
        const QJsonObject configurations = value.toObject();
        for (auto member = configurations.begin(); member != configurations.end(); ++member)
            checkConfiguration(JsonLayout::member(path, member.key()), member.key(), member.value());
    }

    void checkConfiguration(const QString &path, const QString &name, const QJsonValue &value)
    {
        m_configurations.insert(name);
        if (!value.isObject()) {
            error(path,
                  QStringLiteral("configuration \"%1\" is %2, not an object: rows that name it get the built-in codes")
                      .arg(name, typeName(value)));
            return;
        }
        const QJsonObject configuration = value.toObject();
        for (auto member = configuration.begin(); member != configuration.end(); ++member) {
            const QString key = member.key();
            const QString keyPath = JsonLayout::member(path, key);
            const QString where = QStringLiteral("\"%1\" of configuration \"%2\"").arg(key, name);
            if (PageKeys.contains(key))
                checkNumber(keyPath, where, member.value(), QStringLiteral("keeps its default"), true);
            else if (key == QLatin1String("longDelay"))
                checkBoolean(keyPath, where, member.value());
            else if (key == QLatin1String("clickTypeOnEmptyCode"))
                checkClickType(keyPath, where, member.value());
            else if (CommandKeys.contains(key))
                checkCommand(keyPath, where, member.value());
            else
                error(keyPath,
                      QStringLiteral("configuration \"%1\" has the key \"%2\", which the library does not know and "
                                     "ignores (keys are case-sensitive)")
                          .arg(name, key));
        }
    }

    // A number written as a text. Returns what the loader makes of it when it is one; nothing
    // after reporting that it is not.
    std::optional<unsigned int> checkNumber(const QString &path, const QString &where, const QJsonValue &value,
                                            const QString &fallback, bool sixteenBits)
    {
        if (value.isDouble()) {
            error(
                path,
                QStringLiteral("%1 is written as the JSON number %2; the library reads numbers only as strings and %3: "
                               "write \"%4\"")
                    .arg(where, QString::number(value.toDouble()), fallback, asText(value)));
            return std::nullopt;
        }
        if (!value.isString()) {
            error(path,
                  QStringLiteral("%1 is %2, not a number text; the library %3").arg(where, typeName(value), fallback));
            return std::nullopt;
        }
        const std::optional<unsigned int> number = numberText(value.toString());
        if (!number) {
            error(path,
                  QStringLiteral("%1 is \"%2\", which is not a number; the library reads it as 0")
                      .arg(where, value.toString()));
            return std::nullopt;
        }
        if (sixteenBits && *number > 0xFFFF) {
            error(path,
                  QStringLiteral("%1 is \"%2\", which does not fit in 16 bits; the library keeps only %3")
                      .arg(where, value.toString(), hexId(*number & 0xFFFF)));
            return *number & 0xFFFF;
        }
        return number;
    }

    void checkBoolean(const QString &path, const QString &where, const QJsonValue &value)
    {
        if (!value.isBool())
            error(path,
                  QStringLiteral("%1 is %2, not true or false; the library keeps false").arg(where, typeName(value)));
    }

    void checkClickType(const QString &path, const QString &where, const QJsonValue &value)
    {
        if (value.isString() && ClickNames.contains(value.toString(), Qt::CaseInsensitive))
            return;
        if (!value.isString()) {
            checkNumber(path, where, value, QStringLiteral("keeps NONE"), false);
            return;
        }
        const std::optional<unsigned int> number = numberText(value.toString());
        if (!number)
            error(path,
                  QStringLiteral("%1 is \"%2\", which is no click type (CLICK, MUTE, NONE or \"2\" for a reject); "
                                 "the library reads it as MUTE")
                      .arg(where, value.toString()));
        else if (*number > 2)
            error(path,
                  QStringLiteral("%1 is \"%2\", which is no click type (CLICK, MUTE, NONE or \"2\" for a reject)")
                      .arg(where, value.toString()));
    }

    void checkCommand(const QString &path, const QString &where, const QJsonValue &value)
    {
        if (!value.isArray()) {
            error(path,
                  QStringLiteral("%1 is %2, not a list of steps: the command becomes empty and writes nothing")
                      .arg(where, typeName(value)));
            return;
        }
        const QJsonArray steps = value.toArray();
        if (steps.isEmpty())
            warning(path, QStringLiteral("%1 has no steps: the library writes nothing in that state").arg(where));
        for (int index = 0; index < steps.size(); ++index) {
            const QString stepPath = JsonLayout::element(path, index);
            const QString step = QStringLiteral("step %1 of %2").arg(index + 1).arg(where);
            if (!steps[index].isArray()) {
                error(stepPath,
                      QStringLiteral("%1 is %2, not a list of usages: it becomes an empty step (every lamp off)")
                          .arg(step, typeName(steps[index])));
                continue;
            }
            const QJsonArray usages = steps[index].toArray();
            for (int entry = 0; entry < usages.size(); ++entry)
                checkUsage(JsonLayout::element(stepPath, entry), step, usages[entry]);
        }
    }

    void checkUsage(const QString &path, const QString &step, const QJsonValue &value)
    {
        if (value.isString() && UsageNames.contains(value.toString(), Qt::CaseInsensitive))
            return;
        if (value.isDouble()) {
            error(path,
                  QStringLiteral("%1 has the JSON number %2; the library reads usages only as strings and drops it: "
                                 "write \"%3\"")
                      .arg(step, QString::number(value.toDouble()), asText(value)));
            return;
        }
        if (!value.isString()) {
            error(path,
                  QStringLiteral("%1 has %2 where a usage belongs; the library drops it").arg(step, typeName(value)));
            return;
        }
        const std::optional<unsigned int> number = numberText(value.toString());
        if (!number)
            error(path,
                  QStringLiteral("%1 has the unknown usage name \"%2\" (known: %3, or a number); the library drops it")
                      .arg(step, value.toString(), UsageNames.join(QStringLiteral(", "))));
        else if ((*number & 0xFFFF) == 0)
            error(path,
                  QStringLiteral("%1 has the usage \"%2\", which is 0 in 16 bits; the library drops it")
                      .arg(step, value.toString()));
    }

    bool isConfiguration(const QString &name) const
    {
        return m_configurations.contains(name) || m_builtInConfigurations.contains(name);
    }

    void checkFallback(const QJsonValue &value)
    {
        if (!value.isString()) {
            error(FallbackKey,
                  QStringLiteral("\"%1\" is %2, not the name of a configuration: the library binds no headset "
                                 "through a fallback, and logs a warning")
                      .arg(FallbackKey, typeName(value)));
            return;
        }
        const QString name = value.toString();
        if (!isConfiguration(name)) {
            const QString hint = name.compare(QLatin1String("Standard"), Qt::CaseInsensitive) == 0
                ? QStringLiteral(" (the standard configuration is spelt \"Standart\")")
                : QString();
            error(FallbackKey,
                  QStringLiteral("\"%1\" names the configuration \"%2\", which does not exist%3: the library "
                                 "binds no headset through a fallback, and logs a warning")
                      .arg(FallbackKey, name, hint));
            return;
        }
        m_usedConfigurations.insert(name);
    }

    void checkDevices(const QJsonValue &value)
    {
        const QString path = QStringLiteral("devices");
        // On top of the built-in table, a text needs no rows of its own.
        const bool noRows = value.isUndefined() || (value.isArray() && value.toArray().isEmpty());
        if (!(m_layered && noRows) && (!value.isArray() || value.toArray().isEmpty())) {
            error(path,
                  QStringLiteral(
                      "%1: the library loads no headset from this dictionary and falls back to its built-in table")
                      .arg(value.isUndefined() ? QStringLiteral("there is no \"devices\" list")
                               : value.isArray()
                               ? QStringLiteral("the \"devices\" list is empty")
                               : QStringLiteral("\"devices\" is %1, not a list").arg(typeName(value))));
            return;
        }
        const QJsonArray devices = value.toArray();
        QMap<QPair<unsigned, unsigned>, int> rowOfIds;
        for (int index = 0; index < devices.size(); ++index) {
            const QString rowPath = JsonLayout::element(path, index);
            const QString row = QStringLiteral("row %1").arg(index + 1);
            if (!devices[index].isObject()) {
                error(
                    rowPath,
                    QStringLiteral("%1 is %2, not an object: it lists no headset").arg(row, typeName(devices[index])));
                continue;
            }
            const QJsonObject object = devices[index].toObject();
            for (auto member = object.begin(); member != object.end(); ++member) {
                if (!QStringList{"name", "vid", "pid", "configuration"}.contains(member.key()))
                    error(JsonLayout::member(rowPath, member.key()),
                          QStringLiteral("%1 has the key \"%2\", which the library does not know and ignores (keys are "
                                         "case-sensitive)")
                              .arg(row, member.key()));
            }
            const unsigned vid = checkIds(rowPath, row, object);
            const unsigned pid = hid::valToUint(object.value(QStringLiteral("pid")), 0) & 0xFFFF;
            const QJsonValue configuration = object.value(QStringLiteral("configuration"));
            const QString configurationPath = JsonLayout::member(rowPath, QStringLiteral("configuration"));
            if (configuration.isUndefined()) {
                warning(rowPath, QStringLiteral("%1 names no configuration: it gets the built-in codes").arg(row));
            } else if (!configuration.isString()) {
                error(configurationPath,
                      QStringLiteral("%1 gives its configuration as %2, not a name: it gets the built-in codes")
                          .arg(row, typeName(configuration)));
            } else if (!isConfiguration(configuration.toString())) {
                error(configurationPath,
                      QStringLiteral("%1 names the configuration \"%2\", which does not exist: it gets the "
                                     "built-in codes")
                          .arg(row, configuration.toString()));
            } else {
                m_usedConfigurations.insert(configuration.toString());
            }
            const auto ids = qMakePair(vid, pid);
            if (rowOfIds.contains(ids))
                warning(rowPath,
                        QStringLiteral("%1 lists %2:%3 again, as row %4 does: the later row replaces the earlier")
                            .arg(row, hexId(vid), hexId(pid))
                            .arg(rowOfIds.value(ids) + 1));
            rowOfIds.insert(ids, index);
        }
        for (const QString &name : m_configurations) {
            if (!m_usedConfigurations.contains(name))
                warning(JsonLayout::member(QStringLiteral("configurations"), name),
                        QStringLiteral("configuration \"%1\" is named by no row%2")
                            .arg(name, m_layered ? QStringLiteral(" and is not the fallback") : QString()));
        }
    }

    // Checks the row's vid and pid; returns the vid as the loader reads it.
    unsigned checkIds(const QString &rowPath, const QString &row, const QJsonObject &object)
    {
        const QJsonValue vid = object.value(QStringLiteral("vid"));
        const QString vidPath = JsonLayout::member(rowPath, QStringLiteral("vid"));
        if (vid.isUndefined()) {
            error(rowPath,
                  QStringLiteral("%1 has no vid: the library files it under vendor 0, which no headset has").arg(row));
        } else {
            const std::optional<unsigned int> number =
                checkNumber(vidPath, QStringLiteral("the vid of %1").arg(row), vid,
                            QStringLiteral("files it under vendor 0"), true);
            if (number && *number == 0)
                error(vidPath, QStringLiteral("%1 has vendor id 0, which no headset has").arg(row));
        }
        const QJsonValue pid = object.value(QStringLiteral("pid"));
        const QString pidPath = JsonLayout::member(rowPath, QStringLiteral("pid"));
        std::optional<unsigned int> product;
        if (!pid.isUndefined())
            product = checkNumber(pidPath, QStringLiteral("the pid of %1").arg(row), pid,
                                  QStringLiteral("makes it a row for the whole vendor"), true);
        if (pid.isUndefined() || (product && *product == 0))
            error(pid.isUndefined() ? rowPath : pidPath,
                  QStringLiteral(
                      "%1 is a vendor-wide row (no product id): the library binds only headsets whose vendor and "
                      "product id are both listed, so it binds nothing through this row")
                      .arg(row));
        return hid::valToUint(vid, 0) & 0xFFFF;
    }

    void error(int line, const QString &text) { m_findings << Finding{Finding::Error, line, text}; }
    void error(const QString &path, const QString &text) { error(m_layout.lineOf(path), text); }
    void warning(const QString &path, const QString &text)
    {
        m_findings << Finding{Finding::Warning, m_layout.lineOf(path), text};
    }

    const QString m_text;
    const JsonLayout m_layout;
    QSet<QString> m_configurations;      // the text's own
    QStringList m_builtInConfigurations; // when the text is read on top of the built-in table
    QSet<QString> m_usedConfigurations;
    bool m_layered = false;
    QList<Finding> m_findings;
};

} // namespace

QList<Finding> checkDictionary(const QString &text)
{
    return Checker(text).run();
}

} // namespace probe
