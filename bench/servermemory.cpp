#include "figure.h"

#include <simulation/hostilepeers.h>

#include <QHostAddress>
#include <QProcess>

namespace Bench {

namespace {

using KoltaSimulation::Hostility;

constexpr qint64 kMib = 1024 * 1024;

/// The largest memory of a server in a process of its own after `count` such peers have done their worst.
double peakWith(Hostility kind, int count, qint64 bytes)
{
    QProcess program;
    program.start(QStringLiteral(KOLTASIM_PROGRAM),
                  {QStringLiteral("--installation"), QStringLiteral(KOLTA_INSTALLATION_DIR)});
    require(program.waitForReadyRead(10000), "the server does not start");
    const QString port = QString::fromUtf8(program.readLine()).trimmed().section(QLatin1Char(':'), -1);
    KoltaSimulation::HostilePeers peers(QHostAddress(QHostAddress::LocalHost), port.toUShort());
    peers.add(kind, count, bytes);
    require(peers.settle(500, 60000), "the peers do not come to rest");
    const qint64 peak = KoltaSimulation::peakMemory(program.processId());
    require(peak > 0, "the server's memory cannot be read");
    program.kill();
    program.waitForFinished();
    return static_cast<double>(peak);
}

Sides deafPeers()
{
    return {[] { return peakWith(Hostility::DeafAsker, 40, 10 * kMib); },
            [] { return static_cast<double>(kMib); }};
}

Sides halfMessages()
{
    return {[] { return peakWith(Hostility::HalfMessage, 24, 16 * kMib); },
            [] { return static_cast<double>(kMib); }};
}

const bool deafAdded =
    addFigure({"server_memory_with_deaf_peers_mib", "1 MiB: the peak of koltasim, 40 peers that do not read",
               64, Unit::Bytes, deafPeers});
const bool halfAdded =
    addFigure({"server_memory_with_half_messages_mib", "1 MiB: the peak of koltasim, 24 halves of messages",
               128, Unit::Bytes, halfMessages});

} // namespace

} // namespace Bench
