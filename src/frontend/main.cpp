#include <QCoreApplication>

#include <cstdio>

#include "crypto/opensslloader.h"
#include "items/filter.h"
#include "frontend/getfilter.h"
#include "frontend/quorlecommand.h"
#include "frontend/syncoptionparser.h"

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QuorleCommand command;
    Filter filter;

    // Without the library not even the help screen comes.
    const QPair<bool, QString> openSsl = initializeOpenSSL();
    if (!openSsl.first) {
        puts(openSsl.second.toLatin1().constData());
        return 1;
    }

    QStringList args = QCoreApplication::arguments();
    if (args.size() <= 1) {
        command.showHelp();
        return 1;
    }
    args.removeFirst();
    const int common = command.interpretArguments(args);
    if (common != 2)
        return common;

    SyncOptionParser parser(command, filter);
    if (!parser.parse(args))
        return 1;

    SyncJob job;
    job.setOptions(parser.options());
    job.setFilter(filter);
    command.setSyncJob(job);
    command.start();
    return app.exec();
}
