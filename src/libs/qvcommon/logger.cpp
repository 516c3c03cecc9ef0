// SPDX-License-Identifier: BSD-3-Clause
#include "logger.h"

#include <QIODevice>

#include <atomic>
#include <mutex>
#include <shared_mutex>

namespace common {
namespace logger {

namespace {

std::atomic<ILogger *> installedLogger{nullptr};

// Held shared for each delivery and exclusively by SetLogger(), so that removing a logger
// waits for the deliveries that are still using it.
std::shared_mutex &deliveryLock()
{
    static std::shared_mutex lock;
    return lock;
}

// True while this thread is inside ILogger::Write().
thread_local bool insideWrite = false;

} // namespace

IMessage::~IMessage() = default;
ILogger::~ILogger() = default;

ILogger *GetLogger()
{
    return installedLogger.load(std::memory_order_acquire);
}

void SetLogger(ILogger *logger)
{
    if (insideWrite) {
        // Waiting here would wait for ourselves.
        installedLogger.store(logger, std::memory_order_release);
        return;
    }
    std::unique_lock<std::shared_mutex> exclusive(deliveryLock());
    installedLogger.store(logger, std::memory_order_release);
}

bool IsDelivered(int level)
{
    return level <= MaxDeliveredLevel && !insideWrite && GetLogger() != nullptr;
}

Message::Message(int level, const QString &category, const QString &file, const QString &function, int line)
    : m_level(level)
    , m_category(category)
    , m_file(file)
    , m_function(function)
    , m_line(line)
    , m_stream(&m_text, QIODevice::WriteOnly)
{
}

Message::~Message()
{
    if (!IsDelivered(m_level))
        return;
    m_stream.flush();
    std::shared_lock<std::shared_mutex> shared(deliveryLock());
    ILogger *logger = GetLogger();
    if (!logger)
        return;
    struct WriteScope
    {
        WriteScope() { insideWrite = true; }
        ~WriteScope() { insideWrite = false; }
    } scope;
    logger->Write(*this);
}

QTextStream &Message::Stream()
{
    return m_stream;
}

QString Message::text() const
{
    m_stream.flush();
    return m_text;
}

QString Message::category() const
{
    return m_category;
}

int Message::level() const
{
    return m_level;
}

QString Message::file() const
{
    return m_file;
}

QString Message::function() const
{
    return m_function;
}

int Message::line() const
{
    return m_line;
}

} // namespace logger
} // namespace common
