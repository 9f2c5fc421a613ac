#include "testsupport.h"

#include <QProcess>

ToolRun runTool(const QStringList& args, const QProcessEnvironment& env, int timeoutMs)
{
    ToolRun run;
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(qEnvironmentVariable("QUORLE_BINARY"), args);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        run.crashed = true;
    }
    run.crashed = run.crashed || process.exitStatus() != QProcess::NormalExit;
    run.exitCode = process.exitCode();
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

QProcessEnvironment envWithKeys()
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QUORLES_ACCESS_KEY", "AKTEST");
    env.insert("QUORLES_SECRET_KEY", "SKTEST");
    env.remove("QUORLES_ENCRYPTION_PASSWORD");
    for (const char* proxy : { "http_proxy", "https_proxy", "no_proxy" }) {
        env.remove(proxy);
        env.remove(QString::fromLatin1(proxy).toUpper());
    }
    return env;
}
