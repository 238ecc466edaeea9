#include <support/peerthread.h>
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

KoltaConnection* connectionTo(const QString& host, QObject* parent)
{
    auto* const connection = new KoltaConnection("K"_s, "1.0"_s, host, false);
    connection->setParent(parent);
    return connection;
}

/// An application that opens connections to `hosts`, is busy with nothing for half a second, tells how late
/// its timers were at most, and quits.
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
    QElapsedTimer clock;
    QTimer timer;
    qint64 latest = 0;
    int ticks = 0;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        latest = qMax(latest, clock.restart() - timer.interval());
        if (++ticks < 50)
            return;
        std::printf("late %lld\n", static_cast<long long>(latest));
        std::fflush(stdout);
        QCoreApplication::quit();
    });
    clock.start();
    timer.start(10);
    return application.exec();
}

/// The application as a process.
class Application
{
public:
    explicit Application(const QStringList& arguments)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("KOLTA_TRACE_MASK"_s, "0"_s);
        m_process.setProcessEnvironment(environment);
        m_process.start(QCoreApplication::applicationFilePath(), arguments);
    }
    /// Waits until it has quit; true when it did so as it should.
    bool ends()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(60000)) {
        }
        QElapsedTimer clock;
        clock.start();
        const QByteArray line = m_process.readLine().trimmed();
        latest = line.mid(5).toInt();
        const bool isOver = m_process.state() == QProcess::NotRunning || m_process.waitForFinished(60000);
        endedAfter = clock.elapsed();
        return isOver && line.startsWith("late ") && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }

    int latest = 0; ///< milliseconds that its timers were late at most
    qint64 endedAfter = 0;

private:
    QProcess m_process;
};

} // namespace

class tst_Quit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationsQuitAtOnce_data()
    {
        const Rows<QString> row("owner");
        row("connections die before the application", "local"_s);
        row("connections die with the application", "application"_s);
    }
    void applicationsQuitAtOnce()
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
        QVERIFY(guest.waitForConnected(5000));
        const QString blackHoleHost = "127.0.0.1:%1"_s.arg(blackHole.serverPort());

        // An application without connections shows how late timers are on this machine at this time anyway.
        Application idle({"quit"_s, owner});
        Application busy(
            {"quit"_s, owner, silent.host(), closing.host(), stuck.host(), cutting.host(), blackHoleHost});
        QVERIFY(idle.ends() && busy.ends());
        qInfo("timers %d ms late and %d ms without connections, end after %lld ms", busy.latest, idle.latest,
              static_cast<long long>(busy.endedAfter));
        const int slowness = 1 + idle.latest / 5;
        QVERIFY(busy.latest <= 200 * slowness);
        QVERIFY2(busy.endedAfter < 1000 * slowness, "took too long to end");
    }
};

static const TestProgram quitting("quit", &runApplication);
KOLTA_TEST(tst_Quit);
#include "tst_quit.moc"
