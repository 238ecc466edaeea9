#include "linkfixture.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

using namespace XmlCommon;
using namespace XmlCommunication;

namespace {

constexpr quint32 kUnitsPerMs = 100;

} // namespace

/// How a link ends: by the peer, by its own limits, by its owner.
class TestConnectionEnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void impossiblePeers_data();
    void impossiblePeers();
    void serverClosesAtOnce();
    void resetIsAnError();
    void availableTimeRunsOut();
    void answeredRequestsDoNotRunOut();
    void exitSendsWhatWaits();
    void exitIsQuick_data();
    void exitIsQuick();
    void exitBeforeTheThreadRuns();
    void slotsMayDeleteTheObject_data();
    void slotsMayDeleteTheObject();
    void deletedLaterWithNewsWaiting();
    void endAllEndsEveryThread();
};

void TestConnectionEnd::impossiblePeers_data()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QTest::addColumn<QString>("host");
    QTest::addColumn<quint16>("port");
    QTest::addColumn<int>("error");
    QTest::newRow("no host") << QString() << quint16(1) << int(QAbstractSocket::HostNotFoundError);
    QTest::newRow("no port") << QStringLiteral("127.0.0.1") << quint16(0)
                             << int(QAbstractSocket::ConnectionRefusedError);
    QTest::newRow("nobody there") << QStringLiteral("127.0.0.1") << server.serverPort()
                                  << int(QAbstractSocket::ConnectionRefusedError);
}

void TestConnectionEnd::impossiblePeers()
{
    QFETCH(QString, host);
    QFETCH(quint16, port);
    QFETCH(int, error);
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    Startup::TraceRecorder traces;
    CConnectionThread thread(host, port);
    QSignalSpy errors(&thread, &CConnectionThread::SignalSocketError);
    thread.start();
    QTRY_COMPARE(errors.size(), 1);
    QCOMPARE(errors[0][0].toUInt(), thread.getLinkId());
    QCOMPARE(int(errors[0][1].value<QAbstractSocket::SocketError>()), error);
    QCOMPARE(traces.count(QStringLiteral("%1:%2: ").arg(host).arg(port)), 1);
    QVERIFY(!thread.isFinished());
    thread.exit(0);
    QVERIFY(thread.waitForFinished(1000));
    QCoreApplication::processEvents();
    QCOMPARE(errors.size(), 1);
}

void TestConnectionEnd::serverClosesAtOnce()
{
    LinkFixture f;
    connect(&f.server, &CServer::LinkOpened, [](CServerLink* link) {
        link->send(LinkFixture::broadcast(1));
        link->close();
    });
    f.thread->start();
    QTRY_COMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::RemoteHostClosedError});
    QTRY_COMPARE(f.states.last(), QAbstractSocket::UnconnectedState);
    QCOMPARE(f.messages.size(), 1);
}

void TestConnectionEnd::resetIsAnError()
{
    LinkFixture f;
    QVERIFY(f.connected());
    f.link->abort();
    QTRY_COMPARE(f.errors.size(), 1);
    QTRY_COMPARE(f.states.last(), QAbstractSocket::UnconnectedState);
    QVERIFY(f.server.links().isEmpty());
}

void TestConnectionEnd::availableTimeRunsOut()
{
    LinkFixture f(LinkFixture::ignore);
    QVERIFY(f.connected());
    const ptrCXmlMessage patient = f.request();
    f.thread->sendMessage(patient, 0); // without a limit
    const ptrCXmlMessage request = f.request();
    request->setAvailableTime(50 * kUnitsPerMs);
    QElapsedTimer timer;
    timer.start();
    f.thread->sendMessage(request, 0);
    QTRY_COMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::SocketTimeoutError});
    QVERIFY(timer.elapsed() >= 50);
    QTRY_COMPARE(f.states.last(), QAbstractSocket::UnconnectedState);
    QCOMPARE(f.traces.count(QStringLiteral("no reply to request %1 ").arg(request->getMessageID())), 1);
    QVERIFY(f.messages.isEmpty());
}

void TestConnectionEnd::answeredRequestsDoNotRunOut()
{
    LinkFixture f;
    QVERIFY(f.connected());
    QElapsedTimer timer;
    timer.start();
    for (int sent = 1; timer.elapsed() < 700; ++sent) {
        const ptrCXmlMessage request = f.request();
        request->setAvailableTime(300 * kUnitsPerMs);
        f.thread->sendMessage(request, 0);
        QTRY_COMPARE(f.messages.size(), sent);
    }
    QVERIFY(f.errors.isEmpty());
}

void TestConnectionEnd::exitSendsWhatWaits()
{
    LinkFixture f(LinkFixture::ignore);
    QVERIFY(f.connected());
    const int count = 2000;
    f.link->send(f.broadcast(1, 100000)); // unread bytes must not turn the end into a reset
    for (int i = 0; i < count; ++i)
        f.thread->sendMessage(f.request(QString::number(i)), 0);
    f.thread->exit(0);
    QSignalSpy closed(f.link.data(), &CServerLink::Closed);
    QVERIFY(f.thread->waitForFinished(1000));
    QTRY_COMPARE(f.requests, count);
    QTRY_COMPARE(closed.size(), 1);
}

void TestConnectionEnd::exitIsQuick_data()
{
    QTest::addColumn<bool>("stalled");
    QTest::newRow("peer never answers") << false;
    QTest::newRow("peer stopped reading") << true;
}

void TestConnectionEnd::exitIsQuick()
{
    QFETCH(bool, stalled);
    LinkFixture f(LinkFixture::ignore);
    QVERIFY(f.connected());
    f.link->setReading(!stalled);
    for (int i = 0; i < (stalled ? 100 : 1); ++i)
        f.thread->sendMessage(f.request(QString(stalled ? 200000 : 1, QLatin1Char('x'))), 0);
    QElapsedTimer timer;
    timer.start();
    f.thread->exit(0);
    QVERIFY(f.thread->waitForFinished(2000));
    QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(f.errors.isEmpty());
}

void TestConnectionEnd::exitBeforeTheThreadRuns()
{
    for (int i = 0; i < 50; ++i) {
        LinkFixture f;
        QVERIFY(f.thread->waitForFinished(0)); // never ran
        f.thread->sendMessage(f.request(), 0);
        f.thread->start();
        f.thread->exit(0);
        QVERIFY(f.thread->waitForFinished(1000));
    }
}

void TestConnectionEnd::slotsMayDeleteTheObject_data()
{
    QTest::addColumn<int>("when");
    QTest::newRow("state") << 0;
    QTest::newRow("message") << 1;
    QTest::newRow("error") << 2;
}

void TestConnectionEnd::slotsMayDeleteTheObject()
{
    QFETCH(int, when);
    LinkFixture f;
    connect(&f.server, &CServer::LinkOpened, [](CServerLink* link) {
        for (quint32 i = 0; i < 10; ++i)
            link->send(LinkFixture::broadcast(i));
        link->close();
    });
    const auto remove = [&f, when](int now) {
        if (now == when)
            delete f.thread;
    };
    connect(f.thread.data(), &CConnectionThread::SignalSocketStateChanged, [&] { remove(0); });
    connect(f.thread.data(), &CConnectionThread::SignalNewJob, [&] { remove(1); });
    connect(f.thread.data(), &CConnectionThread::SignalSocketError, [&] { remove(2); });
    f.thread->start();
    QTRY_VERIFY(!f.thread);
    QCOMPARE(f.messages.size(), when == 0 ? 0 : when == 1 ? 1 : 10);
}

void TestConnectionEnd::deletedLaterWithNewsWaiting()
{
    LinkFixture f;
    QVERIFY(f.connected());
    connect(f.thread.data(), &QThread::finished, f.thread.data(), &QObject::deleteLater);
    for (quint32 i = 0; i < 1000; ++i)
        f.link->send(f.broadcast(i));
    QTRY_VERIFY(!f.messages.isEmpty());
    f.thread->exit(0);
    QTRY_VERIFY(!f.thread);
}

void TestConnectionEnd::endAllEndsEveryThread()
{
    LinkFixture first(LinkFixture::ignore);
    LinkFixture second;
    QVERIFY(first.connected() && second.connected());
    first.thread->sendMessage(first.request(), 0);
    CConnectionThread::endAll();
    QVERIFY(first.thread->isFinished() && second.thread->isFinished());
}

QTEST_GUILESS_MAIN(TestConnectionEnd)
#include "tst_connectionend.moc"
