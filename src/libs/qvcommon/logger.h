// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVCOMMON_LOGGER_H
#define QVCOMMON_LOGGER_H

#include "qvcommon_export.h"

#include <QString>
#include <QTextStream>

namespace common {
namespace logger {

/// One log line: its text and where it comes from.
class QVCOMMON_EXPORT IMessage
{
public:
    virtual ~IMessage();

    virtual QString text() const = 0;
    virtual QString category() const = 0;
    /// Syslog-like: 3 for failures, 7 for trace lines.
    virtual int level() const = 0;
    /// Source path without extension, for example "src/libs/qvhid/src/hiddevice".
    virtual QString file() const = 0;
    /// Bare function name, for example "findDevice".
    virtual QString function() const = 0;
    virtual int line() const = 0;
};

/// Receives every delivered message. Write() may be called from several threads at once.
class QVCOMMON_EXPORT ILogger
{
public:
    virtual ~ILogger();
    virtual void Write(const IMessage &message) = 0;
};

/// The highest level that is delivered; messages above it are dropped.
constexpr int MaxDeliveredLevel = 7;

/// The installed logger, or null when none is installed.
QVCOMMON_EXPORT ILogger *GetLogger();

/// Installs a logger (not owned); null removes it. When this returns, no Write() on the
/// previous logger is running any more on other threads, so the caller may destroy it.
/// Called from inside Write(), it takes effect at once but cannot wait for the other threads.
QVCOMMON_EXPORT void SetLogger(ILogger *logger);

/// Whether a message of this level would reach a logger now. Lets callers skip building
/// a text that nobody receives.
QVCOMMON_EXPORT bool IsDelivered(int level);

/// A message that is filled through Stream() and delivered to GetLogger() when it is
/// destroyed, that is at the end of the statement that streams into a temporary:
///
///     Message(7, "hid", "src/libs/qvhid/src/hiddevice", "reset", __LINE__).Stream() << "text " << 42;
///
/// Strings stream as they are, integers in decimal, booleans as 0 or 1. A message whose
/// level is above MaxDeliveredLevel, or that finds no logger installed, is not delivered.
/// A message created on a thread that is inside Write() is dropped, so that a logger that
/// logs cannot recurse into itself.
class QVCOMMON_EXPORT Message : public IMessage
{
public:
    Message(int level, const QString &category, const QString &file, const QString &function, int line);
    ~Message() override;

    Message(const Message &) = delete;
    Message &operator=(const Message &) = delete;

    QTextStream &Stream();

    QString text() const override;
    QString category() const override;
    int level() const override;
    QString file() const override;
    QString function() const override;
    int line() const override;

private:
    int m_level;
    QString m_category;
    QString m_file;
    QString m_function;
    int m_line;
    QString m_text;
    mutable QTextStream m_stream;
};

} // namespace logger
} // namespace common

#endif // QVCOMMON_LOGGER_H
