// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"

namespace {

// A copy that shares no buffer with `text`. Lines arrive on other threads; Qt's implicit
// sharing would hand one buffer between threads inside code that ThreadSanitizer cannot see.
QString detached(const QString &text)
{
    return QString(text.constData(), text.size());
}

CapturedLine detached(const CapturedLine &line)
{
    CapturedLine copy = line;
    copy.text = detached(line.text);
    copy.category = detached(line.category);
    copy.file = detached(line.file);
    copy.function = detached(line.function);
    return copy;
}

} // namespace

CapturingLogger::CapturingLogger()
{
    common::logger::SetLogger(this);
}

CapturingLogger::~CapturingLogger()
{
    if (common::logger::GetLogger() == this)
        common::logger::SetLogger(nullptr);
}

void CapturingLogger::Write(const common::logger::IMessage &message)
{
    CapturedLine line;
    line.text = message.text();
    line.category = message.category();
    line.level = message.level();
    line.file = message.file();
    line.function = message.function();
    line.line = message.line();
    line = detached(line);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(line);
}

QList<CapturedLine> CapturingLogger::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    QList<CapturedLine> result;
    for (const CapturedLine &line : m_lines)
        result.append(detached(line));
    return result;
}

QStringList CapturingLogger::texts() const
{
    QStringList result;
    for (const CapturedLine &line : lines())
        result.append(line.text);
    return result;
}

QList<CapturedLine> CapturingLogger::linesFrom(const QString &function) const
{
    QList<CapturedLine> result;
    for (const CapturedLine &line : lines()) {
        if (line.function == function)
            result.append(line);
    }
    return result;
}

void CapturingLogger::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
}
