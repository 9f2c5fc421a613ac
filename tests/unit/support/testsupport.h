#ifndef TESTSUPPORT_H
#define TESTSUPPORT_H

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

// Runs the real quorle binary (path from $QUORLE_BINARY) and gathers what it printed.
struct ToolRun
{
    int exitCode = -1;
    bool crashed = false;
    QByteArray out;
    QByteArray err;
};

ToolRun runTool(const QStringList& args,
                const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment(),
                int timeoutMs = 60000);

// The environment with the two keys set, so that the key checks pass.
QProcessEnvironment envWithKeys();

#endif
