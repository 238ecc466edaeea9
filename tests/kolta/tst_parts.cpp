#include "../rows.h"

#include <kolta/endpoint.h>
#include <kolta/output.h>
#include <kolta/roundtripstatistics.h>

#include <QtTest>

class TestParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitsHostAndPort_data();
    void splitsHostAndPort();
    void alignsColumns();
    void ranksRoundTrips();
};

void TestParts::splitsHostAndPort_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("host"); ///< empty when the text is refused
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("error");
    const QString none;
    addRow("IPv4", "10.0.0.1:1234", "10.0.0.1", 1234, none);
    addRow("name", "server.example:65535", "server.example", 65535, none);
    addRow("IPv6", "::1:1234", "::1", 1234, none);
    addRow("IPv6 in brackets", "[fe80::1]:1", "fe80::1", 1, none);
    addRow("no colon", "server", none, 0, "is not HOST:PORT");
    addRow("no host", ":1234", none, 0, "is not HOST:PORT");
    addRow("nothing", "", none, 0, "is not HOST:PORT");
    addRow("empty brackets", "[]:1", none, 0, "is not HOST:PORT");
    addRow("one bracket", "[::1:1", none, 0, "is not HOST:PORT");
    for (const char* port : {"", "0", "65536", "70000", "4294967297", "-1", "+80", " 80", "0x50", "abc"})
        QTest::addRow("port \"%s\"", port)
            << QStringLiteral("h:") + QLatin1String(port) << none << 0 << "expected a number from 1 to 65535";
}

void TestParts::splitsHostAndPort()
{
    QFETCH(QString, text);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, error);
    QString foundHost;
    quint16 foundPort = 0;
    QString foundError;
    const bool isSplit = KoltaCli::splitHostAndPort(text, foundHost, foundPort, foundError);
    QCOMPARE(isSplit, !host.isEmpty());
    QVERIFY2(foundError.contains(error), qPrintable(foundError));
    if (!isSplit)
        return;
    QCOMPARE(foundHost, host);
    QCOMPARE(int(foundPort), port);
}

void TestParts::alignsColumns()
{
    KoltaCli::Table table({QStringLiteral("NAME"), QStringLiteral("MHz"), QStringLiteral("STATE")});
    table.alignRight(1);
    table.addRow({QStringLiteral("Süd 1"), QStringLiteral("5"), QStringLiteral("free")});
    table.addRow({QStringLiteral("W")});
    table.addRow({QString(), QStringLiteral("12.5"), QString(), QStringLiteral("surplus")});
    QCOMPARE(table.toText(), QStringLiteral("NAME    MHz  STATE\n"
                                            "Süd 1     5  free\n"
                                            "W\n"
                                            "       12.5"));
}

void TestParts::ranksRoundTrips()
{
    KoltaCli::RoundTripStatistics times;
    QCOMPARE(times.percentile(0.5), 0.0);
    QVERIFY(times.toJson().isEmpty());
    for (int i = 100; i >= 1; --i)
        times.add(i);
    QCOMPARE(times.minimum(), 1.0);
    QCOMPARE(times.mean(), 50.5);
    QCOMPARE(times.percentile(0.5), 50.0);
    QCOMPARE(times.percentile(0.99), 99.0);
    QCOMPARE(times.percentile(0.0), 1.0);
    QCOMPARE(times.percentile(1.0), 100.0);
}

QTEST_GUILESS_MAIN(TestParts)
#include "tst_parts.moc"
