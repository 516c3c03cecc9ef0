// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_JSONLAYOUT_H
#define QVHID_PROBE_JSONLAYOUT_H

#include <QHash>
#include <QList>
#include <QString>

namespace probe {

// A key given twice in one JSON object. QJsonDocument keeps only the later value.
struct DuplicateKey
{
    QString objectPath;
    QString key;
    int firstLine = 0;
    int line = 0;
};

// Where the values of a JSON text stand, by path ("devices[2].vid", "configurations.X.cmdRing[0]"),
// and the keys given twice: what QJsonDocument does not keep.
class JsonLayout
{
public:
    // `text` must be a JSON document that QJsonDocument accepts; the scan stops at anything else.
    explicit JsonLayout(const QString &text);

    int lineOf(const QString &path) const { return m_lines.value(path, 0); }
    const QList<DuplicateKey> &duplicateKeys() const { return m_duplicates; }

    static QString member(const QString &objectPath, const QString &key);
    static QString element(const QString &arrayPath, int index);

private:
    bool value(const QString &path, int depth);
    bool object(const QString &path, int depth);
    bool array(const QString &path, int depth);
    bool string(QString *text);
    void skipSpace();
    bool atEnd() const { return m_position >= m_text.size(); }
    QChar current() const { return m_text.at(m_position); }

    const QString m_text;
    int m_position = 0;
    int m_line = 1;
    QHash<QString, int> m_lines;
    QList<DuplicateKey> m_duplicates;
};

// The line (from 1) and column (from 1, in characters) of a byte offset into the UTF-8 form of `text`.
void lineAndColumn(const QString &text, int utf8Offset, int &line, int &column);

} // namespace probe

#endif // QVHID_PROBE_JSONLAYOUT_H
