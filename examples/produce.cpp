// Has a production run on the best free tuner of a class, and stops it again.
#include "localserver.h"

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/stopjob.h>

#include <QCoreApplication>

#include <cstdio>

using Kolta::Operation;

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: produce INSTALLATION-FOLDER TUNER-CLASS\n", stderr);
        return 2;
    }
    LocalServer played(QString::fromLocal8Bit(argv[1]));
    played.appear();
    Kolta::KoltaServerInterface* const server = Kolta::KoltaServerRegistry::Instance().addServer(
        QStringLiteral("S1"), QStringLiteral("/AdminTree/S1"));

    Kolta::ProductionOrder order;
    order.tunerClass = QString::fromLocal8Bit(argv[2]);
    auto* const job = new Kolta::ProductionJob(*server, order, &application);
    job->then(&application, [&](Operation&) {
        if (job->state() != Operation::State::Done) {
            std::fprintf(stderr, "produce: %s\n", qPrintable(job->text()));
            return QCoreApplication::exit(1);
        }
        std::printf("%s runs on %s\n", qPrintable(job->order().displayName),
                    qPrintable(job->tuner().GetTavikResource().GetDisplayName()));
        auto* const stop = new Kolta::StopJob(*server, {job->production()}, &application);
        stop->then(&application, [](Operation& ended) {
            std::printf("%s\n", ended.text().isEmpty() ? "stopped" : qPrintable(ended.text()));
            QCoreApplication::exit(ended.state() == Operation::State::Done ? 0 : 1);
        });
    });
    return QCoreApplication::exec();
}
