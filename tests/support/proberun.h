// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_PROBERUN_H
#define QVHID_TESTS_PROBERUN_H

// Runs the command-line probe (or another of the project's programs) as a user runs it. PROBE,
// where a test defines it, names the probe.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>

struct ProbeRun
{
    int exitCode = -1; // -1: it crashed or did not end
    QString out;
    QString err;
};

inline ProbeRun runProgram(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    ProbeRun run;
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.exitCode = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

#ifdef PROBE
inline ProbeRun runProbe(const QStringList &arguments)
{
    return runProgram(QStringLiteral(PROBE), arguments);
}
#endif

// Writes `text` to `name` in `directory`; returns the file's path.
inline QString writeFile(const QDir &directory, const QString &name, const QByteArray &text)
{
    QFile file(directory.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return QString();
    return file.fileName();
}

#endif // QVHID_TESTS_PROBERUN_H
