#include "scriptedpeer.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/requestoperation.h>

#include <QPointer>
#include <QtTest>

#include <memory>

using Kolta::KoltaConnection;
using Kolta::Operation;
using Kolta::RequestOperation;
using XmlCommon::CXmlMessage;

namespace {

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// "Lost Unknown LinkClosed".
QString endOf(const Operation& operation)
{
    const auto word = [](auto value) {
        return text(QMetaEnum::fromType<decltype(value)>().valueToKey(int(value)));
    };
    return QStringList{word(operation.state()), word(operation.effect()), word(operation.reason())}.join(
        QLatin1Char(' '));
}

} // namespace

class tst_RequestOperation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Two requests: one that the server has, and one that waits behind it.
    void ends_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("waiting");
        const auto row = [](const char* what, const char* sent, const char* waiting) {
            QTest::newRow(what) << text(what) << text(sent) << text(waiting);
        };
        row("answered", "Done Done None", "Done Done None");
        row("faulty", "Refused None Fault", "Refused None Fault");
        row("closed", "Lost Unknown LinkClosed", "Lost None LinkClosed");
        row("deleted", "Lost Unknown LinkClosed", "Lost None LinkClosed");
        row("worked off, then cut", "Lost Unknown LinkEnded", "Lost None LinkEnded");
        row("handed over", "Lost Unknown LinkClosed", "Lost Unknown LinkClosed");
        row("cancelled", "Cancelled Unknown Cancelled", "Cancelled None Cancelled");
        row("over time", "TimedOut Unknown TimeLimit", "TimedOut None TimeLimit");
    }
    void ends()
    {
        QFETCH(QString, what);
        Startup::ManualClock clock;
        const Startup::Clock::Replacement replacement(clock);
        ScriptedPeer peer;
        QPointer<KoltaConnection> connection = new KoltaConnection(text("K"), text("1"), peer.host(), false);
        connection->DisableFilter();
        connection->open();
        QTRY_VERIFY(peer.log.size() == 1 && connection->isIdle());
        peer.rule = [&](const CXmlMessage& request) {
            if (what == text("faulty"))
                peer.answerWithFault(request, 7);
            else if (what == text("answered"))
                peer.answer(request);
        };
        RequestOperation sent(*connection, makeRequest(text("a")), nullptr);
        RequestOperation waiting(*connection, makeRequest(text("b")), nullptr);
        int told = 0;
        for (RequestOperation* operation : {&sent, &waiting})
            connect(operation, &Operation::finished, this, [&] {
                if (++told == 2)
                    delete connection.data();
            });
        QTRY_VERIFY(peer.log.size() > 1);
        if (what == text("closed"))
            connection->close(true);
        else if (what == text("deleted"))
            delete connection.data();
        else if (what == text("handed over"))
            connection->closeAndWaitForFinished(5000, true);
        else if (what == text("over time"))
            clock.advance(Operation::defaultLimitMs);
        if (what == text("worked off, then cut")) {
            connection->close(false);
            peer.link->close();
        }
        if (what == text("cancelled")) {
            sent.cancel();
            waiting.cancel();
            QVERIFY(sent.isFinished());
        }
        QVERIFY(told == 0 || sent.reply());
        QTRY_COMPARE(told, 2);
        QTEST(endOf(sent), "sent");
        QTEST(endOf(waiting), "waiting");
        QCOMPARE(sent.reply().constData() != nullptr,
                 sent.state() == Operation::State::Done || sent.reason() == Operation::Reason::Fault);
        QCOMPARE(peer.log.contains(text("1:b:1")),
                 waiting.effect() != Operation::Effect::None || waiting.reason() == Operation::Reason::Fault);
    }

    void refusesWhatCannotBeAsked()
    {
        ScriptedPeer peer;
        auto connection = std::make_unique<KoltaConnection>(text("K"), text("1"), peer.host(), false);
        connection->open();
        connection->close(true);
        RequestOperation closing(*connection, makeRequest(text("a")), nullptr);
        RequestOperation empty(*connection, XmlCommon::ptrCXmlMessage(), nullptr);
        QCoreApplication::processEvents();
        QCOMPARE(endOf(closing), text("Refused None NotConnected"));
        QCOMPARE(endOf(empty), text("Refused None InvalidOrder"));
        RequestOperation orphan(*connection, makeRequest(text("a")), nullptr);
        connection.reset();
        QCoreApplication::processEvents();
        QCOMPARE(endOf(orphan), text("Lost None LinkClosed"));
    }

    /// One that is deleted takes its request along while that waits.
    void isDeletedInTheQueue()
    {
        ScriptedPeer peer;
        KoltaConnection connection(text("K"), text("1"), peer.host(), false);
        auto doomed = std::make_unique<RequestOperation>(connection, makeRequest(text("doomed")), nullptr);
        RequestOperation other(connection, makeRequest(text("other")), nullptr);
        QCoreApplication::processEvents();
        QVERIFY(connection.hasRequestsPending());
        doomed.reset();
        connection.open();
        QTRY_COMPARE(endOf(other), text("Done Done None"));
        QVERIFY(!peer.log.contains(text("1:doomed:1")));
        QVERIFY(connection.closeAndWaitForFinished(5000, false));
    }
};

QTEST_GUILESS_MAIN(tst_RequestOperation)
#include "tst_requestoperation.moc"
