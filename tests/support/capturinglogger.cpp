#include "capturinglogger.h"

#include <QMutexLocker>

CapturingLogger::CapturingLogger()
{
    common::logger::SetLogger(this);
}

CapturingLogger::~CapturingLogger()
{
    if (common::logger::GetLogger() == this)
        common::logger::SetLogger(nullptr);
}

void CapturingLogger::Write(const common::logger::IMessage& message)
{
    CapturedLine line;
    line.text = message.text();
    line.category = message.category();
    line.level = message.level();
    line.file = message.file();
    line.function = message.function();
    line.line = message.line();
    QMutexLocker lock(&m_mutex);
    m_lines.append(line);
}

QList<CapturedLine> CapturingLogger::lines() const
{
    QMutexLocker lock(&m_mutex);
    return m_lines;
}

QStringList CapturingLogger::texts() const
{
    QStringList result;
    for (const CapturedLine& line : lines())
        result.append(line.text);
    return result;
}

QList<CapturedLine> CapturingLogger::linesFrom(const QString& function) const
{
    QList<CapturedLine> result;
    for (const CapturedLine& line : lines()) {
        if (line.function == function)
            result.append(line);
    }
    return result;
}

void CapturingLogger::clear()
{
    QMutexLocker lock(&m_mutex);
    m_lines.clear();
}
