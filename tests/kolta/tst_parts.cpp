#include <common/endpoint.h>
#include <kolta/application/roundtripstatistics.h>
#include <kolta/cli/table.h>

#include <QtTest>

#include <tuple>

class TestParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitsHostAndPort();
    void fitsTables();
    void ranksRoundTrips();
};

void TestParts::splitsHostAndPort()
{
    const std::tuple<const char*, const char*, int> good[] = {
        {"10.0.0.1:1234", "10.0.0.1", 1234},
        {"server.example:65535", "server.example", 65535},
        {"::1:1234", "::1", 1234},
        {"[fe80::1]:1", "fe80::1", 1}};
    QString host, error;
    quint16 port = 0;
    QVERIFY(KoltaApps::splitHostAndPort(QStringLiteral("h:0"), host, port, error, KoltaApps::anyPort));
    for (const auto& [text, expectedHost, expectedPort] : good) {
        QVERIFY2(KoltaApps::splitHostAndPort(QLatin1String(text), host, port, error), text);
        QCOMPARE(host, QLatin1String(expectedHost));
        QCOMPARE(int(port), expectedPort);
    }
    for (const char* bad : {"server", ":1234", "", "[]:1", "[::1:1"}) {
        QVERIFY2(!KoltaApps::splitHostAndPort(QLatin1String(bad), host, port, error), bad);
        QVERIFY2(error.contains(QLatin1String("is not HOST:PORT")), qPrintable(error));
    }
    for (const char* bad : {"h:", "h:0", "h:65536", "h:4294967297", "h:-1", "h:+80", "h: 80", "h:0x50"}) {
        QVERIFY2(!KoltaApps::splitHostAndPort(QLatin1String(bad), host, port, error), bad);
        QVERIFY2(error.contains(QLatin1String("expected a number from 1 to 65535")), qPrintable(error));
    }
}

void TestParts::fitsTables()
{
    const auto lines = [](const KoltaCli::Table& table, int width) {
        return table.toLines(width).join(QLatin1Char('\n'));
    };
    KoltaCli::Table table({QStringLiteral("NAME"), QStringLiteral("MHz"), QStringLiteral("STATE")});
    table.alignRight({1});
    table.addRow({QStringLiteral("Süd 1"), QStringLiteral("5"), QStringLiteral("free as can be")});
    table.addRow({QStringLiteral("W")});
    table.addRow({QString(), QStringLiteral("12.5"), QString(), QStringLiteral("surplus")});
    QCOMPARE(lines(table, 27), QStringLiteral("NAME    MHz  STATE\n"
                                              "Süd 1     5  free as can be\n"
                                              "W\n"
                                              "       12.5"));
    // Texts break at blanks; names and numbers do not.
    QCOMPARE(lines(table, 20), QStringLiteral("NAME    MHz  STATE\n"
                                              "Süd 1     5  free as\n"
                                              "             can be\n"
                                              "W\n"
                                              "       12.5"));
    QCOMPARE(lines(table, 17), QStringLiteral("NAME   Süd 1\n"
                                              "MHz    5\n"
                                              "STATE  free as can be\n"
                                              "\n"
                                              "NAME   W\n"
                                              "\n"
                                              "MHz    12.5"));
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
