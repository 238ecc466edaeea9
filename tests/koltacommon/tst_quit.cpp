#include "peerthread.h"
#include "scriptedpeer.h"

#include <koltacommon/koltaconnection.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <cstdio>
#include <sys/socket.h>

using Kolta::KoltaConnection;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 5;
#else
constexpr int slowness = 1;
#endif
constexpr int megabyte = 1024 * 1024;

KoltaConnection* connectionTo(const QString& host, QObject* parent)
{
    auto* const connection = new KoltaConnection(QStringLiteral("K"), QStringLiteral("1.0"), host, false);
    connection->setParent(parent);
    return connection;
}

/// An application that opens connections to `hosts`, is busy with nothing for half a second, tells how late
/// its timers were at most, and quits.
int runApplication(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString tuner = QStringLiteral("Tuner");
    QObject local;
    QObject* const owner = arguments.at(2) == QStringLiteral("local") ? &local : &application;
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

} // namespace

class tst_Quit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationsQuitAtOnce_data()
    {
        QTest::addColumn<QString>("owner");
        QTest::newRow("connections die before the application") << QStringLiteral("local");
        QTest::newRow("connections die with the application") << QStringLiteral("application");
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
        const QString blackHoleHost = QStringLiteral("127.0.0.1:%1").arg(blackHole.serverPort());

        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KOLTA_TRACE_MASK"), QStringLiteral("0"));
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("quit"), owner, silent.host(), closing.host(), stuck.host(),
                       cutting.host(), blackHoleHost});
        QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine() || process.state() == QProcess::NotRunning,
                                 10000 * slowness);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished(5000 * slowness));
        const QByteArray line = process.readLine().trimmed();
        qInfo("timers %s ms, end after %lld ms", line.constData(), static_cast<long long>(clock.elapsed()));
        QVERIFY2(clock.elapsed() < 1000 * slowness, "took too long to end");
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QVERIFY2(line.startsWith("late ") && line.mid(5).toInt() <= 200 * slowness, line.constData());
    }
};

int main(int argc, char** argv)
{
    if (argc > 3 && qstrcmp(argv[1], "quit") == 0)
        return runApplication(argc, argv);
    QCoreApplication application(argc, argv);
    tst_Quit test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_quit.moc"
