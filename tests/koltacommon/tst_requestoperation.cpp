#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/requestoperation.h>
#include <support/operationend.h>
#include <support/test.h>

using Kolta::KoltaConnection;
using Kolta::Operation;
using Kolta::RequestOperation;
using XmlCommon::CXmlMessage;

class tst_RequestOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Two requests: one that the server has, and one that waits behind it.
    void ends_data()
    {
        const Rows<QString, QString> row("sent waiting");
        row("answered", "Done Done None", "Done Done None");
        row("faulty", "Refused None Fault", "Refused None Fault");
        row("unanswered", "Refused Unknown Fault", "Refused Unknown Fault");
        row("closed", "Lost Unknown LinkClosed", "Lost None LinkClosed");
        row("deleted", "Lost Unknown LinkClosed", "Lost None LinkClosed");
        row("worked off, then cut", "Lost Unknown LinkEnded", "Lost None LinkEnded");
        row("handed over", "Lost Unknown LinkClosed", "Lost Unknown LinkClosed");
        row("cancelled", "Cancelled Unknown Cancelled", "Cancelled None Cancelled");
        row("over time", "TimedOut Unknown TimeLimit", "TimedOut None TimeLimit");
    }
    void ends()
    {
        const QString what = QString::fromUtf8(QTest::currentDataTag());
        Startup::ManualClock clock;
        const Startup::Clock::Replacement replacement(clock);
        ScriptedPeer peer;
        QPointer<KoltaConnection> connection = new KoltaConnection("K"_s, "1"_s, peer.host(), false);
        connection->DisableFilter();
        connection->open();
        QTRY_VERIFY(peer.log.size() == 1 && connection->isIdle());
        peer.rule = [&](const CXmlMessage& request) {
            if (what == "faulty"_s)
                peer.answerWithFault(request, 7);
            else if (what == "answered"_s)
                peer.answer(request);
            XmlCommon::CXmlMessage empty = peer.replyTo(request);
            empty.clearFragments();
            if (what == "unanswered"_s)
                peer.send(empty);
        };
        RequestOperation sent(*connection, makeRequest("a"_s), nullptr);
        RequestOperation waiting(*connection, makeRequest("b"_s), nullptr);
        int told = 0;
        for (RequestOperation* operation : {&sent, &waiting})
            connect(operation, &Operation::finished, this, [&] {
                if (++told == 2)
                    delete connection.data();
            });
        QTRY_VERIFY(peer.log.size() > 1);
        if (what == "closed"_s)
            connection->close(true);
        else if (what == "deleted"_s)
            delete connection.data();
        else if (what == "handed over"_s)
            connection->closeAndWaitForFinished(5000, true);
        else if (what == "over time"_s)
            clock.advance(Operation::kDefaultLimitMs);
        if (what == "worked off, then cut"_s) {
            connection->close(false);
            peer.link->close();
        }
        if (what == "cancelled"_s) {
            sent.cancel();
            waiting.cancel();
            QVERIFY(sent.isFinished());
        }
        QVERIFY(told == 0 || sent.reply());
        QTRY_COMPARE(told, 2);
        QTEST(endOf(&sent), "sent");
        QTEST(endOf(&waiting), "waiting");
        QCOMPARE(sent.reply().constData() != nullptr,
                 sent.state() == Operation::State::Done || sent.reason() == Operation::Reason::Fault);
        QCOMPARE(peer.log.contains("1:b:1"_s),
                 waiting.effect() != Operation::Effect::None || waiting.reason() == Operation::Reason::Fault);
    }

    void refusesWhatCannotBeAsked()
    {
        ScriptedPeer peer;
        auto connection = std::make_unique<KoltaConnection>("K"_s, "1"_s, peer.host(), false);
        connection->open();
        connection->close(true);
        RequestOperation closing(*connection, makeRequest("a"_s), nullptr);
        RequestOperation empty(*connection, XmlCommon::ptrCXmlMessage(), nullptr);
        QCoreApplication::processEvents();
        QCOMPARE(endOf(&closing), "Refused None NotConnected"_s);
        QCOMPARE(endOf(&empty), "Refused None InvalidOrder"_s);
        RequestOperation orphan(*connection, makeRequest("a"_s), nullptr);
        connection.reset();
        QCoreApplication::processEvents();
        QCOMPARE(endOf(&orphan), "Lost None LinkClosed"_s);
    }

    /// One that is deleted takes its request along while that waits.
    void isDeletedInTheQueue()
    {
        ScriptedPeer peer;
        KoltaConnection connection("K"_s, "1"_s, peer.host(), false);
        auto doomed = std::make_unique<RequestOperation>(connection, makeRequest("doomed"_s), nullptr);
        RequestOperation other(connection, makeRequest("other"_s), nullptr);
        QCoreApplication::processEvents();
        QVERIFY(connection.hasRequestsPending());
        doomed.reset();
        connection.open();
        QTRY_COMPARE(endOf(&other), "Done Done None"_s);
        QVERIFY(!peer.log.contains("1:doomed:1"_s));
        QVERIFY(connection.closeAndWaitForFinished(5000, false));
    }
};

KOLTA_TEST(tst_RequestOperation);
#include "tst_requestoperation.moc"
