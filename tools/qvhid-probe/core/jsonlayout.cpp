// SPDX-License-Identifier: BSD-3-Clause
#include "jsonlayout.h"

namespace probe {

namespace {

// Deeper than QJsonDocument accepts, so that every document it parses is scanned whole.
constexpr int MaximumDepth = 2048;

} // namespace

JsonLayout::JsonLayout(const QString &text)
    : m_text(text)
{
    value(QString(), 0);
}

QString JsonLayout::member(const QString &objectPath, const QString &key)
{
    return objectPath.isEmpty() ? key : objectPath + QLatin1Char('.') + key;
}

QString JsonLayout::element(const QString &arrayPath, int index)
{
    return arrayPath + QStringLiteral("[%1]").arg(index);
}

void JsonLayout::skipSpace()
{
    while (!atEnd()
           && (current() == QLatin1Char(' ') || current() == QLatin1Char('\t') || current() == QLatin1Char('\r')
               || current() == QLatin1Char('\n'))) {
        if (current() == QLatin1Char('\n'))
            ++m_line;
        ++m_position;
    }
}

bool JsonLayout::value(const QString &path, int depth)
{
    skipSpace();
    if (atEnd() || depth > MaximumDepth)
        return false;
    m_lines.insert(path, m_line);
    if (current() == QLatin1Char('{'))
        return object(path, depth + 1);
    if (current() == QLatin1Char('['))
        return array(path, depth + 1);
    if (current() == QLatin1Char('"'))
        return string(nullptr);
    // A number, true, false or null: up to the next delimiter.
    const int start = m_position;
    while (!atEnd() && !QStringLiteral(",]} \t\r\n").contains(current()))
        ++m_position;
    return m_position > start;
}

bool JsonLayout::object(const QString &path, int depth)
{
    ++m_position; // {
    QHash<QString, int> keyLines;
    skipSpace();
    if (!atEnd() && current() == QLatin1Char('}')) {
        ++m_position;
        return true;
    }
    while (true) {
        skipSpace();
        QString key;
        const int keyLine = m_line;
        if (!string(&key))
            return false;
        const auto earlier = keyLines.constFind(key);
        if (earlier != keyLines.constEnd())
            m_duplicates << DuplicateKey{path, key, earlier.value(), keyLine};
        keyLines.insert(key, keyLine);
        skipSpace();
        if (atEnd() || current() != QLatin1Char(':'))
            return false;
        ++m_position;
        if (!value(member(path, key), depth))
            return false;
        skipSpace();
        if (atEnd())
            return false;
        const QChar next = m_text.at(m_position++);
        if (next == QLatin1Char('}'))
            return true;
        if (next != QLatin1Char(','))
            return false;
    }
}

bool JsonLayout::array(const QString &path, int depth)
{
    ++m_position; // [
    skipSpace();
    if (!atEnd() && current() == QLatin1Char(']')) {
        ++m_position;
        return true;
    }
    for (int index = 0;; ++index) {
        if (!value(element(path, index), depth))
            return false;
        skipSpace();
        if (atEnd())
            return false;
        const QChar next = m_text.at(m_position++);
        if (next == QLatin1Char(']'))
            return true;
        if (next != QLatin1Char(','))
            return false;
    }
}

bool JsonLayout::string(QString *text)
{
    if (atEnd() || current() != QLatin1Char('"'))
        return false;
    ++m_position;
    while (!atEnd()) {
        const QChar c = m_text.at(m_position++);
        if (c == QLatin1Char('"'))
            return true;
        if (c != QLatin1Char('\\')) {
            if (text)
                text->append(c);
            continue;
        }
        if (atEnd())
            return false;
        const QChar escaped = m_text.at(m_position++);
        if (escaped == QLatin1Char('u')) {
            bool ok = false;
            const ushort code = m_text.mid(m_position, 4).toUShort(&ok, 16);
            if (!ok)
                return false;
            m_position += 4;
            if (text)
                text->append(QChar(code)); // surrogate halves join as they are appended
            continue;
        }
        static const QString Escapes = QStringLiteral("\"\\/bfnrt");
        static const QString Meanings = QStringLiteral("\"\\/\b\f\n\r\t");
        const int which = Escapes.indexOf(escaped);
        if (which < 0)
            return false;
        if (text)
            text->append(Meanings.at(which));
    }
    return false;
}

void lineAndColumn(const QString &text, int utf8Offset, int &line, int &column)
{
    const QByteArray bytes = text.toUtf8();
    const QString before = QString::fromUtf8(bytes.left(qBound(0, utf8Offset, bytes.size())));
    line = before.count(QLatin1Char('\n')) + 1;
    column = before.size() - (before.lastIndexOf(QLatin1Char('\n')) + 1) + 1;
}

} // namespace probe
