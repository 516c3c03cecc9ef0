// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_CAPTURINGLOGGER_H
#define QVHID_TESTS_CAPTURINGLOGGER_H

#include <logger.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <mutex>
#include <vector>

// One delivered log line, with every field of the message.
struct CapturedLine
{
    QString text;
    QString category;
    int level = 0;
    QString file;
    QString function;
    int line = 0;
};

// Installs itself as the process's logger for its lifetime and keeps every line it receives.
// Safe to receive lines from several threads.
class CapturingLogger : public common::logger::ILogger
{
public:
    CapturingLogger();
    ~CapturingLogger() override;

    CapturingLogger(const CapturingLogger &) = delete;
    CapturingLogger &operator=(const CapturingLogger &) = delete;

    void Write(const common::logger::IMessage &message) override;

    QList<CapturedLine> lines() const;
    QStringList texts() const;
    // The lines written from `function`, in order.
    QList<CapturedLine> linesFrom(const QString &function) const;
    void clear();

private:
    // Standard types: ThreadSanitizer sees their synchronisation, unlike Qt's.
    mutable std::mutex m_mutex;
    std::vector<CapturedLine> m_lines;
};

#endif // QVHID_TESTS_CAPTURINGLOGGER_H
