#include "linkfixture.h"
#include <support/test.h>

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
    /// Of requests with a limit only those run out that are not answered.
    void availableTimeRunsOut()
    {
        LinkFixture f([](CServerLink* link, const CXmlMessage& request) {
            if (request.getFragment(0).getRequestTree().getDataTree().root().text() == "answered"_s)
                LinkFixture::answer(link, request);
        });
        QVERIFY(f.connected());
        f.thread->sendMessage(f.request(), 0); // without a limit
        const ptrCXmlMessage answered = f.request("answered"_s);
        const ptrCXmlMessage ignored = f.request();
        answered->setAvailableTime(2000 * kUnitsPerMs);
        ignored->setAvailableTime(2100 * kUnitsPerMs);
        QElapsedTimer timer;
        timer.start();
        f.thread->sendMessage(answered, 0);
        f.thread->sendMessage(ignored, 0);
        QTRY_COMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::SocketTimeoutError});
        QVERIFY(timer.elapsed() >= 2100);
        QTRY_COMPARE(f.states.last(), QAbstractSocket::UnconnectedState);
        QCOMPARE(f.traces.count("no reply to request %1 "_s.arg(ignored->getMessageID())), 1);
        QCOMPARE(f.messages.size(), 1);
    }

    void exitSendsWhatWaits()
    {
        LinkFixture f(LinkFixture::ignore);
        QVERIFY(f.connected());
        const int count = 500;
        f.link->send(f.broadcast(1, 100000)); // unread bytes must not turn the end into a reset
        for (int i = 0; i < count; ++i)
            f.thread->sendMessage(f.request(QString::number(i)), 0);
        f.thread->exit(0);
        QSignalSpy closed(f.link.data(), &CServerLink::Closed);
        QVERIFY(f.thread->waitForFinished(kPatienceMs));
        QTRY_COMPARE(f.requests, count);
        QTRY_COMPARE(closed.size(), 1);
    }

    void exitBeforeTheThreadRuns()
    {
        for (int i = 0; i < 50; ++i) {
            LinkFixture f;
            QVERIFY(f.thread->waitForFinished(0)); // never ran
            if (i % 25 == 0) // the link waits half a second for a peer that this thread keeps from answering
                f.thread->sendMessage(f.request(), 0);
            f.thread->start();
            f.thread->exit(0);
            QVERIFY(f.thread->waitForFinished(kPatienceMs));
        }
    }

    void slotsMayDeleteTheObject_data()
    {
        const Rows<int> row("when");
        row("state", 0);
        row("message", 1);
        row("error", 2);
    }

    void slotsMayDeleteTheObject()
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

    void deletedLaterWithNewsWaiting()
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

    void endAllEndsEveryThread()
    {
        LinkFixture first(LinkFixture::ignore);
        LinkFixture second;
        QVERIFY(first.connected() && second.connected());
        first.thread->sendMessage(first.request(), 0);
        CConnectionThread::endAll();
        QVERIFY(first.thread->isFinished() && second.thread->isFinished());
    }
};

KOLTA_TEST(TestConnectionEnd);
#include "tst_connectionend.moc"
