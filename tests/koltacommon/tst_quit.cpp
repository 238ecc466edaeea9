#include <support/peerthread.h>
#include <support/program.h>
#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <support/test.h>

#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>
#include <sys/socket.h>

using Kolta::KoltaConnection;

namespace {

constexpr int megabyte = 1024 * 1024;
/// What waits for a peer, and not for a moment of its own, waits for longer than any test may take.
constexpr int anHour = 3600 * 1000;

KoltaConnection* connectionTo(const QString& host, QObject* parent)
{
    auto* const connection = new KoltaConnection("K"_s, "1.0"_s, host, false);
    connection->setTimeLimits(anHour, anHour);
    connection->setParent(parent);
    return connection;
}

/// An application that opens connections to `hosts`, lets a timer ring 50 times, says so and quits.
int runApplication(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString tuner = "Tuner"_s;
    QObject local;
    QObject* const owner = arguments.at(2) == "local"_s ? &local : &application;
    for (const QString& host : arguments.mid(3)) {
        KoltaConnection* const connection = connectionTo(host, owner);
        connection->executeRequest(new Kolta::GeneralRequest(makeRequest(tuner, 1, 16 * megabyte)));
        for (int i = 0; i < 10; ++i)
            connection->executeRequest(new Kolta::GeneralRequest(makeRequest(tuner)));
        connection->open();
    }
    QTimer timer;
    int rings = 0;
    QObject::connect(&timer, &QTimer::timeout, [&rings] {
        if (++rings < 50)
            return;
        std::puts("quits");
        std::fflush(stdout);
        QCoreApplication::quit();
    });
    timer.start(10);
    return application.exec();
}

} // namespace

class tst_Quit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void quittingWaitsForNoPeer_data()
    {
        const Rows<QString> row("owner");
        row("connections die before the application", "local"_s);
        row("connections die with the application", "application"_s);
    }
    void quittingWaitsForNoPeer()
    {
        QFETCH(QString, owner);
        const auto nothing = [](PeerThread::Link*, const XmlCommon::CXmlMessage&) {};
        PeerThread silent(nothing);
        PeerThread closing(nothing, [](PeerThread::Link* link) { link->close(); });
        PeerThread stuck(nothing, [](PeerThread::Link* link) { link->setReading(false); });
        PeerThread cutting([](PeerThread::Link* link, const XmlCommon::CXmlMessage& request) {
            PeerThread::answer(link, request);
            link->close();
        });
        // Takes one connection, which the kernel accepts, and lets all others wait in vain.
        QTcpServer blackHole;
        QVERIFY(blackHole.listen(QHostAddress(QHostAddress::LocalHost)));
        blackHole.pauseAccepting();
        QCOMPARE(::listen(static_cast<int>(blackHole.socketDescriptor()), 0), 0);
        QTcpSocket guest;
        guest.connectToHost(blackHole.serverAddress(), blackHole.serverPort());
        QVERIFY(guest.waitForConnected(kPatienceMs));
        const QString blackHoleHost = "127.0.0.1:%1"_s.arg(blackHole.serverPort());

        Program application(
            QCoreApplication::applicationFilePath(),
            {"quit"_s, owner, silent.host(), closing.host(), stuck.host(), cutting.host(), blackHoleHost},
            {{"KOLTA_TRACE_MASK", "0"_s}});
        QCOMPARE(application.line(), "quits"_s);
        QCOMPARE(application.result(), 0);
    }
};

static const TestProgram quitting("quit", &runApplication);
KOLTA_TEST(tst_Quit);
#include "tst_quit.moc"
