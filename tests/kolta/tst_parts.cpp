#include <common/actionlines.h>
#include <common/endpoint.h>
#include <common/shellwords.h>
#include <common/usualtree.h>
#include <kolta/application/httppage.h>
#include <kolta/application/itemcontent.h>
#include <kolta/application/metricstext.h>
#include <kolta/application/orderoptions.h>
#include <kolta/application/roundtripstatistics.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/commandtable.h>
#include <kolta/cli/table.h>
#include <support/program.h>
#include <support/test.h>

#include <startup/cfgcenter.h>
#include <startup/onelinetext.h>

#include <values/tree.h>
#include <values/value.h>

#include <QTcpSocket>
#include <QTemporaryDir>

#include <algorithm>
#include <iterator>
#include <optional>
#include <tuple>

class TestParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitsHostAndPort();
    void fitsTables();
    void ranksRoundTrips();
    void escapesMetrics();
    void showsContents();
    void saysOrdersAsLines();
    void readsQuotesAsAShell();
    void servesOnePageWhateverPeersDo();
    void findsTheTreeThatIsMeant();
};

namespace {

/// Somebody who says something to a page over HTTP.
struct Visitor : QTcpSocket
{
    explicit Visitor(const QString& url, const QByteArray& words = QByteArray())
    {
        connect(this, &QTcpSocket::readyRead, this, [this] { heard += readAll(); });
        connectToHost(QHostAddress::LocalHost, static_cast<quint16>(QUrl(url).port()));
        write(words);
    }
    bool isOver() const { return state() == UnconnectedState; }

    QByteArray heard;
};

} // namespace

void TestParts::splitsHostAndPort()
{
    const std::tuple<const char*, const char*, int> good[] = {
        {"10.0.0.1:1234", "10.0.0.1", 1234},
        {"server.example:65535", "server.example", 65535},
        {"::1:1234", "::1", 1234},
        {"[fe80::1]:1", "fe80::1", 1}};
    QString host, error;
    quint16 port = 0;
    QVERIFY(KoltaApps::splitHostAndPort(QStringLiteral("h:0"), host, port, error, KoltaApps::kAnyPort));
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

void TestParts::findsTheTreeThatIsMeant()
{
    const auto found = [](const std::optional<QString>& option) {
        const KoltaApps::NamedTree tree = KoltaApps::namedTree(option);
        return QStringLiteral("%1 of %2").arg(tree.url, tree.source);
    };
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("kolta.ini")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[Distribution]\nUrl=mqtt://c\n") > 0);
    file.close();
    QVERIFY(Startup::CfgCenter::Instance().Open(file.fileName()));
    QCOMPARE(found(std::nullopt), QStringLiteral("mqtt://c of Distribution/Url"));
    qputenv("KOLTA_TREE", "mqtt://e");
    QCOMPARE(found(std::nullopt), QStringLiteral("mqtt://e of KOLTA_TREE"));
    // Also an empty one is what the user has said.
    QCOMPARE(found(QString()), QStringLiteral(" of --tree"));
    QCOMPARE(found(QStringLiteral("mqtt://o")), QStringLiteral("mqtt://o of --tree"));
    qunsetenv("KOLTA_TREE");
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
    KoltaCli::Table forged({QStringLiteral("NAME"), QStringLiteral("STATE")});
    forged.addRow({QStringLiteral("a\nS2"), QStringLiteral("\r\u2028up")});
    QCOMPARE(lines(forged, 40), QStringLiteral("NAME  STATE\na\uFFFDS2  \uFFFD\uFFFDup"));
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

/// What a line says is what was ordered, whatever the names are.
void TestParts::saysOrdersAsLines()
{
    using Kolta::ProductionOrder;
    QRandomGenerator random(testSeed());
    const QStringList names{QString(),
                            QStringLiteral("Wide"),
                            QStringLiteral("a b"),
                            QStringLiteral("it's \"$HOME\" `x` \\ !"),
                            QStringLiteral("--class"),
                            QStringLiteral("'"),
                            QString::fromUtf8("Süd {1,2} *")};
    const auto any = [&](const QStringList& texts) { return texts.at(random.bounded(texts.size())); };
    for (int i = 0; i < 2000; ++i) {
        ProductionOrder order;
        order.kind = static_cast<ProductionOrder::Kind>(random.bounded(3));
        const bool isFfp = order.kind == ProductionOrder::Kind::Ffp;
        order.tunerClass = any(names.mid(isFfp ? 0 : 1));
        if (random.bounded(3) == 0) {
            order.tunerClass.clear();
            order.tunerGuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
        }
        if (isFfp)
            order.mcp = QUuid::createUuid();
        order.demandClass = any(names);
        order.displayName = any(names);
        order.frequency = random.bounded(2) == 0 ? 0 : random.generateDouble() * 3e9;
        order.bandwidth = random.bounded(2) == 0 ? 0 : random.bounded(20000000);
        for (int storage = random.bounded(3); storage > 0; --storage)
            order.storageGuids.append(any(names.mid(1)));
        const QString line = KoltaApps::ActionLines(any(names)).produce(order);
        const QStringList words = KoltaApps::shellWords(line);
        ProductionOrder read;
        const auto take = [&read](const KoltaCli::CommandLine& typed) {
            return readOrder(typed, read).isEmpty() ? 0 : 1;
        };
        const KoltaCli::Command produce{"produce",
                                        "",
                                        "",
                                        {{"KIND", "", KoltaCli::Argument::eOnce, KoltaCli::orderKinds()}},
                                        KoltaCli::orderOptions() +
                                            QVector<KoltaCli::Option>{KoltaCli::text("server", "name", "")},
                                        take};
        const KoltaCli::CommandTable table({produce}, QString(), QString(), QString());
        QVERIFY2(table.run(words.mid(1)) == 0, qPrintable(line));
        QVERIFY2(read.kind == order.kind && read.tunerClass == order.tunerClass &&
                     read.tunerGuid == order.tunerGuid && read.mcp == order.mcp &&
                     read.demandClass == order.demandClass && read.displayName == order.displayName &&
                     read.frequency == order.frequency && read.bandwidth == order.bandwidth &&
                     read.storageGuids == order.storageGuids,
                 qPrintable(line));
        if (i < 20) { // the real shell
            Program shell(QStringLiteral("sh"),
                          {QStringLiteral("-c"), QStringLiteral("printf '%s\\n' ") + line});
            QCOMPARE(shell.result(), 0);
            QCOMPARE(QString::fromUtf8(shell.said()), words.join(QLatin1Char('\n')) + QLatin1Char('\n'));
        }
    }
}

/// What completion writes is read back, also where more is to come; quotes mean what they mean to a shell.
void TestParts::readsQuotesAsAShell()
{
    for (const char* const word : {"a b", "O'Brien", "x\"y", "a\\b \\", "$HOME `x` !", "Süd(2)"}) {
        const QString text = QString::fromUtf8(word);
        const QString typed = QStringLiteral("kolta stop ") + KoltaApps::typedWord(text, true);
        QCOMPARE(KoltaApps::shellWords(typed + QLatin1Char(' ')).mid(2), QStringList(text));
        const auto open = KoltaApps::shellParts(KoltaApps::typedWord(text, false));
        QCOMPARE(open.words, QStringList(text));
        QCOMPARE(open.isQuoted, typed.endsWith(QLatin1Char('"')));
    }
    const QString line = QStringLiteral("\"a\\b\" 'c\\d' e\\ f \"\\$g\" \"\\!\" i'j'\"k\" ''");
    Program shell(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("printf '%s\n' ") + line});
    QCOMPARE(shell.result(), 0);
    QCOMPARE(QString::fromUtf8(shell.said()),
             KoltaApps::shellWords(line).join(QLatin1Char('\n')) + QLatin1Char('\n'));
    const auto parts = KoltaApps::shellParts(QStringLiteral("kolta ping host:40"), QStringLiteral(":"));
    QCOMPARE(parts.lastStart, 11);
    QCOMPARE(parts.lastBreak, 5);
}

void TestParts::escapesMetrics()
{
    KoltaCli::MetricsText text;
    text.family("a_total", KoltaCli::MetricsText::eCounter, "One \\ two\n\"three\".");
    text.sample(1e9, {{"x", QStringLiteral("\"S\\1\"\nb_total 7")}, {"y", QString()}});
    text.sample(0.25);
    QCOMPARE(text.text(), QByteArray("# HELP a_total One \\\\ two\\n\"three\".\n# TYPE a_total counter\n"
                                     "a_total{x=\"\\\"S\\\\1\\\"\\nb_total 7\",y=\"\"} 1000000000\n"
                                     "a_total 0.25\n"));
}

/// Different contents never look alike, and JSON reads back as it was.
void TestParts::showsContents()
{
    values::Tree tree;
    const QString texts[] = {QString(QChar(0xd800)),
                             QString(QChar(0xdc00)),
                             QString(QChar(QChar::ReplacementCharacter)),
                             QStringLiteral("\\ud800"),
                             QStringLiteral("a\n\"b\"\\"),
                             QStringLiteral("a\\n\"b\"\\"),
                             QString::fromUtf8("\u202e\x1b[2J \U0001f4e1")};
    QSet<QString> seen;
    for (const QString& text : texts) {
        auto* const value = tree.Emplace<values::StringValue>(QStringLiteral("/a"), text);
        const KoltaCli::ItemContent content = KoltaCli::ItemContent::of(*value);
        seen.insert(content.lines.join(QLatin1Char('\n')));
        QCOMPARE(content.lines.size(), 1);
        QVERIFY(std::none_of(content.json.begin(), content.json.end(), Startup::forgesLines));
        if (!text.front().isSurrogate())
            QCOMPARE(QJsonDocument::fromJson('[' + content.json.toUtf8() + ']').array().first().toString(),
                     text);
        tree.Remove(QStringLiteral("/a"));
    }
    QCOMPARE(seen.size(), int(std::size(texts)));
    auto* const choice = tree.Emplace<values::SelectionValue>(
        QStringLiteral("/s"), QMap<int, QString>{{1, QStringLiteral("off")}, {5, QStringLiteral("on \"2\"")}},
        5);
    const KoltaCli::ItemContent content = KoltaCli::ItemContent::of(*choice);
    QCOMPARE(content.lines.join(QLatin1Char('|')), QStringLiteral("selected 5|1 off|5 on \"2\""));
    QCOMPARE(content.json,
             QStringLiteral("{\"items\":{\"1\":\"off\",\"5\":\"on \\\"2\\\"\"},\"selected\":5}"));
}

void TestParts::servesOnePageWhateverPeersDo()
{
    KoltaCli::HttpBounds bounds;
    bounds.peers = 4;
    bounds.requestBytes = 200;
    bounds.time = std::chrono::hours(1);
    bounds.pageAge = std::chrono::hours(1);
    int made = 0;
    const auto make = [&made] { return QByteArray::number(++made).rightJustified(1000000, '.'); };
    KoltaCli::HttpPage page("/m", "text/plain", make, bounds);
    QVERIFY(!page.listen(QHostAddress(QStringLiteral("192.0.2.1")), 0));
    QVERIFY2(page.listen(QHostAddress::LocalHost, 0), qPrintable(page.errorString()));

    const QPair<QByteArray, const char*> requests[] = {
        {"GET /m HTTP/1.1\r\nHost: x\r\n\r\n", "200 OK"},
        {"GET /m?a=b HTTP/1.0\n\n", "200 OK"},
        {"HEAD /m HTTP/1.1\r\n\r\n", "200 OK"},
        {"GET /mm HTTP/1.1\r\n\r\n", "404 Not Found"},
        {"POST /m HTTP/1.1\r\n\r\n", "405 Method Not Allowed"},
        {"\r\n\r\n", "400 Bad Request"},
        {QByteArray("\x16\x03\n\n"), "400 Bad Request"},
        {"GET /m HTTP/1.1\r\n" + QByteArray(200, 'x'), "431 "}};
    for (const auto& [words, status] : requests) {
        Visitor visitor(page.url(), words);
        QTRY_VERIFY2(visitor.isOver(), words.constData());
        QVERIFY2(visitor.heard.startsWith(QByteArray("HTTP/1.1 ") + status),
                 visitor.heard.left(80).constData());
        const bool hasPage = words.startsWith("GET") && QByteArray(status) == "200 OK";
        QCOMPARE(visitor.heard.endsWith(QByteArray(1000, '.') + '1'), hasPage);
    }
    QCOMPARE(made, 1);

    // Silent ones, half a request, and one that does not read: they give way to whoever comes next.
    std::vector<std::unique_ptr<Visitor>> hostile;
    for (const char* const words : {"", "GET", "GET /m HT", "GET /m HTTP/1.1\r\n\r\n", "", "", ""}) {
        hostile.push_back(std::make_unique<Visitor>(page.url(), words));
        hostile.back()->setReadBufferSize(1);
    }
    Visitor good(page.url(), requests[0].first);
    QTRY_VERIFY(good.isOver());
    QVERIFY(good.heard.endsWith('1'));
    const auto areOver = [&hostile](const auto& isOver) {
        return std::count_if(hostile.begin(), hostile.end(), isOver);
    };
    QTRY_VERIFY(areOver([](const auto& visitor) { return visitor->isOver(); }) >= 3);

    bounds.time = std::chrono::milliseconds(50);
    KoltaCli::HttpPage impatient("/m", "text/plain", make, bounds);
    QVERIFY(impatient.listen(QHostAddress::LocalHost, 0));
    Visitor silent(impatient.url());
    QTRY_VERIFY(silent.isOver());
    QVERIFY(silent.heard.isEmpty());
}

KOLTA_TEST(TestParts);
#include "tst_parts.moc"
