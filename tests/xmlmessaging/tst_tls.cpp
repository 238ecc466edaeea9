#include "certificates.h"
#include "linkfixture.h"

#include <startup/cfgcenter.h>
#include <support/test.h>

#include <QSslSocket>
#include <QTcpServer>

Q_DECLARE_METATYPE(XmlCommunication::TlsSettings)

using namespace XmlCommunication;
using namespace std::chrono_literals;

/// Protected links between this library's own two ends, and with peers that want something else.
class TestTls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void carriesMessagesAndNamesTheUser();
    void carriesFloodsWithoutLoss();
    void refusals_data();
    void refusals();
    void wrongSettingsNeverFallBackToPlainText_data();
    void wrongSettingsNeverFallBackToPlainText();
    void settingsOfOneServerGoBeforeThoseOfAll();
    void slowHandshakesEnd();
    void networkNeedsTlsOrPermission();

private:
    TlsSettings settingsOf(const char* ca, const char* own) const
    {
        TlsSettings made;
        made.required = true;
        made.caFile = ca ? m_files.file(ca) : QString();
        made.certificateFile = own ? m_files.file(own) : QString();
        return made;
    }
    TlsSettings client(const char* ca = "ca", const char* own = nullptr) const { return settingsOf(ca, own); }
    TlsSettings server(const char* own = "server", const char* ca = nullptr) const
    {
        return settingsOf(ca, own);
    }
    /// A server and a client link of these settings, plain where there are none.
    static std::unique_ptr<LinkFixture> fixture(const TlsSettings& server, const TlsSettings& client,
                                                LinkFixture::Received received = LinkFixture::answer)
    {
        auto f = std::make_unique<LinkFixture>(std::move(received));
        f->server.close();
        f->server.setTls(server);
        if (!f->server.listen())
            qFatal("%s", qPrintable(f->server.errorString()));
        f->connectTo(f->server.port());
        f->thread->setTls(client);
        return f;
    }

    Certificates m_files;
};

void TestTls::initTestCase()
{
    QVERIFY(QSslSocket::supportsSsl());
    QVERIFY2(m_files.make(), qPrintable(m_files.error()));
}

void TestTls::carriesMessagesAndNamesTheUser()
{
    const auto f = fixture(server("server", "ca"), client("ca", "operator"));
    QVERIFY(f->connected());
    QCOMPARE(f->link->getPeerUser(), "operator"_s);
    const QString text(3000000, QLatin1Char('x')); // many records, more than the read buffers hold
    f->thread->sendMessage(f->request(text), 0);
    f->thread->sendMessage(f->request("small"_s), 0);
    QTRY_COMPARE(f->messages.size(), 2);
    QCOMPARE(f->messages[0]->getFragment(0).getDataTree().root().text(), text);
    QCOMPARE(f->messages[1]->getFragment(0).getDataTree().root().text(), "small"_s);
    f->thread->exit(0);
    QTRY_VERIFY(!f->link);
    QVERIFY(f->errors.isEmpty());
    QCOMPARE(f->traces.count("TLS"_s), 0);
}

void TestTls::carriesFloodsWithoutLoss()
{
    // The client answers nothing and reads slowly: bounds must count encrypted bytes and let them go again.
    constexpr int kCount = 400;
    const auto f = fixture(server(), client(), LinkFixture::ignore);
    ServerLimits limits;
    limits.maxUnsentBytes = 100000;
    f->server.setServerLimits(limits);
    QVERIFY(f->connected());
    for (quint32 i = 0; i < kCount; ++i)
        f->link->send(f->broadcast(i, 50000));
    QVERIFY(f->link->bytesToWrite() > 0);
    f->thread->sendMessage(f->request(), 0);
    QTRY_COMPARE(f->messages.size(), kCount);
    QTRY_COMPARE(f->link->bytesToWrite(), qint64(0));
    QTRY_COMPARE(f->requests, 1); // was not read while so much waited, is now
}

void TestTls::refusals_data()
{
    const Rows<TlsSettings, TlsSettings, QString, QString> row(
        "serverSide clientSide clientTells serverTells");
    const TlsSettings plain;
    TlsSettings renamed = client();
    renamed.peerName = "other.example"_s;
    row("wrong authority", server("stranger"), client(), "certificate refused", "TLS");
    row("wrong host", server(), renamed, "host name did not match", "TLS");
    row("expired", server("expired"), client(), "expired", "TLS");
    row("plain client", server(), plain, "closed the connection", "plain text");
    row("plain server", plain, client(), "closed the connection during the handshake",
        "TLS where none is spoken");
    row("client without certificate", server("server", "ca"), client(), "may refuse this end's certificate",
        "did not present any certificate");
    row("client of a stranger", server("server", "ca"), client("ca", "stranger"),
        "may refuse this end's certificate", "certificate refused");
}

void TestTls::refusals()
{
    QFETCH(TlsSettings, serverSide);
    QFETCH(TlsSettings, clientSide);
    QFETCH(QString, clientTells);
    QFETCH(QString, serverTells);
    const auto f = fixture(serverSide, clientSide);
    f->thread->sendMessage(f->request(), 0);
    f->thread->start();
    QTRY_COMPARE(f->errors.size(), 1);

    QTRY_COMPARE(f->server.links().size(), 0);
    const auto lines = [&f](const char* source) {
        QStringList found;
        for (const Startup::TraceRecord& record : f->traces.records()) {
            if (record.source.endsWith(QLatin1String(source)))
                found += record.text;
        }
        return found;
    };
    QTRY_COMPARE(lines("/server").size(), 1);
    QCOMPARE(lines("/linkworker").size(), 1);
    QVERIFY2(lines("/linkworker").first().contains(clientTells), qPrintable(lines("/linkworker").first()));
    QVERIFY2(lines("/server").first().contains(serverTells), qPrintable(lines("/server").first()));
    QCOMPARE(f->requests, 0);
    QVERIFY(f->messages.isEmpty());
}

void TestTls::wrongSettingsNeverFallBackToPlainText_data()
{
    const Rows<TlsSettings, QString> row("settings told");
    TlsSettings noCa;
    noCa.required = true;
    row("no authority", noCa, "no TlsCaFile");
    row("no file", client("missing"), "missing");
    row("no certificate in the file", client("notes"), "no certificate found");
    TlsSettings noKey = client("ca", "server");
    noKey.keyFile = m_files.file("notes");
    row("no key in the file", noKey, "no key found");
    TlsSettings slip;
    slip.problem = "XmlClient/Tls: found \"on\""_s;
    row("a slip in the mode", slip, "found \"on\"");
}

void TestTls::wrongSettingsNeverFallBackToPlainText()
{
    QFETCH(TlsSettings, settings);
    QFETCH(QString, told);
    const auto f = fixture(TlsSettings(), settings);
    f->thread->start();
    QTRY_COMPARE(f->errors.size(), 1);
    QCOMPARE(f->errors.first(), QAbstractSocket::SslHandshakeFailedError);
    QCOMPARE(f->traces.count(told), 1);
    QVERIFY(!f->link);
    CServer refused;
    settings.certificateFile =
        settings.certificateFile.isEmpty() ? settings.caFile : settings.certificateFile;
    refused.setTls(settings);
    QVERIFY(!refused.listen());
    QVERIFY(!refused.errorString().isEmpty());
}

void TestTls::settingsOfOneServerGoBeforeThoseOfAll()
{
    Startup::CfgCenter& configuration = Startup::CfgCenter::Instance();
    const QString before = configuration.FileName();
    QFile file(m_files.file("configuration"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[XmlClient]\nTls=required\nTlsCaFile=/all.pem\n\n"
               "[XmlClient 10.0.0.1:4711]\nTlsCaFile=/one.pem\nTlsPeerName=one\n\n"
               "[XmlClient ::1:4711]\nTls=off\n\n[XmlServer]\nTls=on\n");
    file.close();
    QVERIFY(configuration.Open(file.fileName()));
    const TlsSettings one = TlsSettings::ofClient("10.0.0.1"_s, 4711);
    QVERIFY(one.required);
    QCOMPARE(one.caFile + one.peerName, "/one.pemone"_s);
    QVERIFY(!TlsSettings::ofClient("::1"_s, 4711).required);
    QCOMPARE(TlsSettings::ofClient("10.0.0.2"_s, 4711).caFile, "/all.pem"_s);
    QVERIFY(!CServer().listen()); // "on" is neither off nor required
    configuration.Open(before);
}

void TestTls::slowHandshakesEnd()
{
    const auto f = fixture(server(), client());
    ServerLimits limits;
    limits.handshakeTime = 200ms;
    f->server.setServerLimits(limits);
    QTcpSocket silent;
    silent.connectToHost(f->server.address(), f->server.port());
    QTcpSocket dripping;
    connect(&dripping, &QTcpSocket::connected, &dripping, [&] { dripping.write("\x16\x03\x01"); });
    dripping.connectToHost(f->server.address(), f->server.port());
    QVERIFY(f->connected()); // others do not stand in the way
    QTRY_COMPARE(silent.state(), QAbstractSocket::UnconnectedState);
    QTRY_COMPARE(dripping.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(f->traces.count("no handshake within 0.2 s"_s), 1);
    QCOMPARE(f->server.links().size(), 1);
}

void TestTls::networkNeedsTlsOrPermission()
{
    LinkFixture f;
    CServer plain;
    QVERIFY(!plain.listen(QHostAddress::Any));
    QVERIFY(plain.errorString().contains("without TLS"_s));
    plain.setPlainNetworkAllowed(true);
    QVERIFY(plain.listen(QHostAddress::Any));
    QCOMPARE(f.traces.count("open to the network without TLS"_s), 1);
    CServer secured;
    secured.setTls(server());
    QVERIFY(secured.listen(QHostAddress::Any));
}

KOLTA_TEST(TestTls);
#include "tst_tls.moc"
