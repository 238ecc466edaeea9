// A server of one's own, for the tests of a program that uses the library: a tuner of it vanishes and the
// mirror says so.
#include <koltacommon/koltaresourceobserver.h>
#include <simulation/simulatedserver.h>

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: simulate FOLDER\n", stderr);
        return 2;
    }

    KoltaSimulation::Installation installation;
    QString error;
    if (!installation.load(QString::fromLocal8Bit(argv[1]), error)) {
        std::fprintf(stderr, "simulate: %s\n", qPrintable(error));
        return 1;
    }
    KoltaSimulation::SimulatedServer server(installation);
    server.setStartupStep(0); // it is up at once
    server.publish();

    Kolta::KoltaResourceObserver resources(server.nodePath(QStringLiteral("Resources")));
    QObject::connect(&resources, &Kolta::KoltaResourceObserver::si_RemovedTuner,
                     [](const QString& guid) { std::printf("tuner %s is gone\n", qPrintable(guid)); });
    const QString first = resources.GetCurrentResources().GetTuner().first().GetTavikResource().GetGUID();
    return server.removeTuner(first) ? 0 : 1;
}
