#include "rawclient.h"

#include <simulation/simulatedserver.h>
#include <support/simulated.h>
#include <support/test.h>

using namespace KoltaSimulation;

/// Every misbehaviour, seen from the other end of the wire.
class TestServerBytes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        start({});
        RawClient& client = connectClient();
        client.send(m_query, 1);
        QTRY_COMPARE(client.messages.size(), 1);
        m_replyToOne = client.received;
        QVERIFY(m_replyToOne.contains("KoltaSim"));
    }

    void spoilsReplies_data()
    {
        const Rows<bool, int> row(
            "frameIsBroken size"); // otherwise the message within; at least so many bytes
        for (int variant = 0; variant < kBrokenFrameVariants; ++variant)
            row(qPrintable("broken-frame=%1"_s.arg(variant)), true, 4);
        row("broken-xml", false, 100);
        row("oversize=100000", true, 100000);
        row("deep=100", false, 700);
        row("non-utf8", false, 100);
    }

    void spoilsReplies()
    {
        QFETCH(bool, frameIsBroken);
        QFETCH(int, size);
        start({QString::fromUtf8(QTest::currentDataTag()) + ",after=1,times=1"_s});
        RawClient& client = connectClient();
        client.reader = XmlCommunication::FrameReader(50000);
        client.send(m_query, 1);
        QTRY_COMPARE(client.received, m_replyToOne);
        client.received.clear();
        client.send(m_query, 2);
        QTRY_VERIFY(client.reader.hasError() || !client.decodeError.isEmpty());
        QTRY_VERIFY(client.received.size() >= size);
        QCOMPARE(client.reader.hasError(), frameIsBroken);
        QCOMPARE(client.messages.size(), 1);
        QCOMPARE(m_server->statistics().replies, quint64(2));
    }

    void cutsAtByte()
    {
        for (const int count : {0, 1, 2, 9, m_replyToOne.size() - 1, m_replyToOne.size() + 10}) {
            start({"cut=%1"_s.arg(count)});
            RawClient& client = connectClient();
            client.send(m_query, 1);
            QTRY_VERIFY(client.isClosed());
            QCOMPARE(client.received, m_replyToOne.left(count));
            QCOMPARE(m_server->statistics().cuts, quint64(1));
        }
    }

    void answersTwiceLateWronglyOrNever()
    {
        start({"twice,times=1"_s, "delay=120,times=1"_s, "wrong-id,times=1"_s, "silent,times=1"_s,
               "reset,after=1"_s});
        RawClient& client = connectClient();
        client.send(m_query, 1);
        QTRY_COMPARE(client.received, rightReply(1) + rightReply(1));

        client.received.clear();
        QElapsedTimer timer;
        timer.start();
        client.send(m_query, 2);
        QTRY_COMPARE(client.received, rightReply(2));
        QVERIFY2(timer.elapsed() >= 115, qPrintable(QString::number(timer.elapsed())));

        client.received.clear();
        client.send(m_query, 3);
        QTRY_COMPARE(client.messages.size(), 4);
        QVERIFY(client.messages.last()->getMessageID() != 3);
        // Right in all but the ID.
        QVERIFY(client.received.endsWith(m_replyToOne.mid(m_replyToOne.indexOf(" service="))));

        // The fourth is never answered, so what comes is the reply to the fifth.
        client.received.clear();
        client.send(m_query, 4);
        client.send(m_query, 5);
        QTRY_COMPARE(client.received, rightReply(5));

        client.received.clear();
        client.send(m_query, 6);
        QTRY_VERIFY(client.isClosed());
        QVERIFY(client.received.isEmpty());
        QCOMPARE(m_server->statistics().requests, quint64(6));
        QCOMPARE(m_server->statistics().replies, quint64(5));
    }

    void splitsAndMerges()
    {
        start({"split=3,times=1"_s, "merge=60,times=2"_s});
        RawClient& client = connectClient();
        client.send(XmlCommunication::CEventFilterConverter::makeFragment("*"_s), 1);
        QTRY_VERIFY(client.reads > 0);
        // A broadcast in the middle of the pieces must wait for the last of them.
        m_server->broadcast("Clock"_s, XmlCommon::CDataTree(QLatin1String("Tick")));
        QTRY_COMPARE(client.messages.size(), 2);
        QVERIFY2(client.reads > 10, qPrintable(QString::number(client.reads)));
        QCOMPARE(client.messages.at(0)->getMessageID(), quint32(1));
        QCOMPARE(client.fragment(1).getComponentName(), "Clock"_s);

        client.received.clear();
        client.reads = 0;
        client.send(m_query, 2);
        client.socket.flush();
        QTRY_COMPARE(m_server->statistics().requests, quint64(2));
        client.send(m_query, 3);
        QTRY_COMPARE(client.messages.size(), 4);
        QCOMPARE(client.received, rightReply(2) + rightReply(3));
        QCOMPARE(client.reads, 1);
    }

    void stopsReading()
    {
        start({"stop-reading,times=1"_s});
        RawClient deaf(m_server->address(), m_server->port());
        deaf.send(m_query, 1);
        QTRY_COMPARE(m_server->statistics().links, quint64(1));
        // More than the buffers of both ends hold, so that the sender's own buffer never empties.
        deaf.socket.write(QByteArray(32 * 1024 * 1024, 'x'));
        RawClient& other = connectClient();
        other.send(m_query, 2);
        QTRY_COMPARE(other.received, rightReply(2));
        QCOMPARE(m_server->statistics().requests, quint64(1));
        QVERIFY(deaf.socket.bytesToWrite() > 0);
        QVERIFY(deaf.received.isEmpty());
    }

private:
    void start(const QStringList& rules)
    {
        m_client.reset();
        m_server = std::make_unique<SimulatedServer>(m_installation);
        for (const QString& rule : rules)
            m_server->addMisbehaviour(misbehaviour(rule));
        QVERIFY(m_server->listen());
    }

    /// The bytes of a right reply to the application query with this ID.
    QByteArray rightReply(quint32 id) const
    {
        QByteArray bytes = m_replyToOne;
        return bytes.replace(" id=\"1\"", " id=\"" + QByteArray::number(id) + '"');
    }

    RawClient& connectClient()
    {
        m_client = std::make_unique<RawClient>(m_server->address(), m_server->port());
        return *m_client;
    }

    Installation m_installation = sampleInstallation();
    QByteArray m_replyToOne;
    std::unique_ptr<SimulatedServer> m_server;
    std::unique_ptr<RawClient> m_client;
    const XmlCommon::CMsgFragment m_query = XmlCommunication::CAppDescription::makeFragment();
};

KOLTA_TEST(TestServerBytes);
#include "tst_serverbytes.moc"
