#ifndef QVHID_TESTS_CAPTURINGLOGGER_H
#define QVHID_TESTS_CAPTURINGLOGGER_H

#include <logger.h>

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

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

    CapturingLogger(const CapturingLogger&) = delete;
    CapturingLogger& operator=(const CapturingLogger&) = delete;

    void Write(const common::logger::IMessage& message) override;

    QList<CapturedLine> lines() const;
    QStringList texts() const;
    // The lines written from `function`, in order.
    QList<CapturedLine> linesFrom(const QString& function) const;
    void clear();

private:
    mutable QMutex m_mutex;
    QList<CapturedLine> m_lines;
};

#endif // QVHID_TESTS_CAPTURINGLOGGER_H
