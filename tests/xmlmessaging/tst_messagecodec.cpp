#include <xmlmessaging/messagecodec.h>

#include <QtTest>

#include <malloc.h>
#include <vector>

using namespace XmlCommon;

namespace {

QByteArray encoded(const CXmlMessage& message)
{
    QByteArray text;
    MessageCodec::encode(message, text);
    return text;
}

QByteArray fragment(const QByteArray& content)
{
    return "<Message id=\"1\" service=\"1\"><Fragment component=\"c\">" + content + "</Fragment></Message>";
}

QByteArray data(const QByteArray& content)
{
    return fragment("<Data>" + content + "</Data>");
}

} // namespace

class TestMessageCodec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip();
    void harmlessVariants_data();
    void harmlessVariants();
    void refused_data();
    void refused();
    void cutAnywhereIsRefused();
    void randomDamageNeverCrashes();
    void limits();
    void memoryIsBounded();
    void replyFillsRequest();
    void generatorSkipsNothingAndNeverRepeats();
};

void TestMessageCodec::roundTrip()
{
    CXmlMessage message(CXmlMessage::eSERVICE_COMMAND);
    message.setMessageID(4294967295U);
    message.setAvailableTime(6000000);
    CDataTree request(QLatin1String("Set"));
    request.editRoot().append("Name", QStringLiteral("<\"&'> ä€😀 ]]> \r\n\t end "));
    request.editRoot().setAttribute("note", QStringLiteral(" \r\n\t\"<>& "));
    request.editRoot().append("Blank", QStringLiteral("   "));
    CMsgFragment first(QStringLiteral("Resources \"1\" <&>"));
    first.setRequestTree(CRequestTree(request));
    first.setFaultTree(CFaultTree(7, 1700000000000, {QStringLiteral("a"), QString()}, CFaultTree(8, 1)));
    for (int i = 0; i < 3; ++i)
        message.addFragment(CMsgFragment(QString::number(i)));
    message.addFragment(first, 1);

    const QByteArray text = encoded(message);
    QString error;
    const ptrCXmlMessage back = MessageCodec::decode(text, error);
    QVERIFY2(back, qPrintable(error));
    QCOMPARE(encoded(*back), text);
    QCOMPARE(back->getMessageID(), 4294967295U);
    QCOMPARE(back->getAvailableTime(), 6000000U);
    QCOMPARE(back->getFragment(1).getComponentName(), first.getComponentName());
    const CConstElement root = back->getFragment(1).getRequestTree().getDataTree().root();
    QCOMPARE(root.childText("Name"), QStringLiteral("<\"&'> ä€😀 ]]> \r\n\t end "));
    QCOMPARE(root.attribute("note"), QStringLiteral(" \r\n\t\"<>& "));
    QCOMPARE(root.childText("Blank"), QStringLiteral("   "));
    QVERIFY(back->getFragment(1).getFaultTree().hasCausationDataTree());
    QVERIFY(MessageCodec::toReadable(*back).contains(QLatin1String("\n  <Fragment")));
}

void TestMessageCodec::harmlessVariants_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("declaration") << "<?xml version='1.0' encoding='utf-8'?>\n" + data("<v>x</v>") + "\n";
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + data("<v>x</v>");
    QTest::newRow("white space") << fragment("\n <Data>\r\n\t<v>x</v> </Data> ");
    QTest::newRow("comments") << "<!-- <a> -->" + data("<!--]]>--><v><!-- & -->x</v>") + "<!-- -->";
    QTest::newRow("character data section") << data("<v><![CDATA[x]]></v>");
    QTest::newRow("names") << data("<v \xC3\xA4\xCC\x80='' \xF0\x90\x80\x80-\xC2\xB7='' _.1=''>x</v>");
    QTest::newRow("references") << data("<v>&#x78;</v>");
    QTest::newRow("single quotes") << QByteArray(data("<v>x</v>")).replace('"', '\'');
    QTest::newRow("broadcast without ID")
        << data("<v>x</v>").replace("id=\"1\" service=\"1\"", "service=\"5\" id=\"0\"");
}

void TestMessageCodec::harmlessVariants()
{
    QFETCH(QByteArray, text);
    QString error;
    const ptrCXmlMessage message = MessageCodec::decode(text, error);
    QVERIFY2(message, qPrintable(error));
    QCOMPARE(message->getFragment(0).getDataTree().root().text(), QStringLiteral("x"));
}

void TestMessageCodec::refused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const QByteArray& text, const char* complaint) {
        QTest::newRow(name) << text << QString::fromLatin1(complaint);
    };
    row("empty", "", "line 1, column 1: no element");
    row("no XML", "hello", "line 1, column 1: content before the root element");
    row("document type", "<!DOCTYPE a [<!ENTITY b \"&c;\">]>" + data("<v/>"),
        "line 1, column 1: declaration");
    row("entity", data("<v>&b;</v>"), "line 1, column 62: unknown entity");
    row("instruction", data("<?php ?>"), "processing instruction");
    row("other encoding", "<?xml version=\"1.0\" encoding=\"latin1\"?>" + data("<v/>"),
        "foreign character encoding");
    row("second root", data("<v/>") + "<a/>", "content behind the root element");
    row("text behind", data("<v/>") + "x", "content behind the root element");
    row("zero byte", data("<v>" + QByteArray(1, '\0') + "</v>"),
        "line 1, column 62: control character U+0000");
    row("control reference", data("<v>&#1;</v>"), "malformed character reference");
    row("huge reference", data("<v>&#99999999999999;</v>"), "malformed character reference");
    row("overlong UTF-8", data("<v>\xC0\xAF</v>"), "line 1, column 62: invalid byte sequence");
    row("surrogate", data("<v>\xED\xA0\x80</v>"), "invalid byte sequence");
    row("cut UTF-8", data("<v>\xE2\x82</v>"), "invalid byte sequence");
    row("over the last code", data("<v>\xF4\x90\x80\x80</v>"), "invalid byte sequence");
    row("non-character", data("<v>\xEF\xBF\xBF</v>"), "control character");
    row("duplicate attribute", data("<v a=\"1\" b=\"2\" a=\"3\"/>"),
        "line 1, column 74: duplicate attribute");
    row("attributes without blank", data("<v a=\"1\"b=\"2\"/>"), "malformed tag");
    row("less-than in attribute", data("<v a=\"<\"/>"), "\"<\" in an attribute value");
    for (const char* name : {"\xC3\x97", "\xE2\x80\xAE", "a\xE2\x80\xAE", "-a", "1", "\xCC\x80"})
        row(name, data(QByteArray("<") + name + "/>"),
            *name == 'a' ? "malformed tag, expected white space" : "malformed tag, expected a name");
    for (const char* declaration : {"<?xml encoding='utf-8' version='1.0'?>", "<?xml version='2.0'?>",
                                    "<?xml version='1.0' standalone='maybe'?>", "<?xml version='1.0' x='1'?>",
                                    "<?xml?>", "\n<?xml version='1.0'?>"})
        row(declaration, declaration + data("<v/>"), ", expected ");
    row("section end in text", data("<v>]]></v>"), "\"]]>\" in character data");
    row("crossed tags", data("<v><w></v></w>"), "end tag of another element, expected </w>");
    row("too many attributes",
        data("<v " +
             [] {
                 QByteArray all;
                 for (int i = 0; i < 65; ++i)
                     all += "a" + QByteArray::number(i) + "=\"\" ";
                 return all;
             }() +
             "/>"),
        "too many attributes");
    row("100,000 levels", data(QByteArray("<v>").repeated(100000)), "elements nested too deep");
    row("other root", "<Massage id=\"1\" service=\"1\"/>", "unknown root element");
    row("no ID", "<Message service=\"1\"/>", "Message lacks an attribute");
    row("no service", "<Message id=\"1\"/>", "Message lacks an attribute");
    row("ID too large", "<Message id=\"4294967296\" service=\"1\"/>", "number out of range");
    row("ID negative", "<Message id=\"-1\" service=\"1\"/>", "number out of range");
    row("ID not decimal", "<Message id=\"0x1\" service=\"1\"/>", "number out of range");
    row("service too large", "<Message id=\"1\" service=\"18446744073709551617\"/>", "number out of range");
    row("unknown attribute", "<Message id=\"1\" service=\"1\" x=\"\"/>", "unknown attribute of Message");
    row("text in message", "<Message id=\"1\" service=\"1\">x</Message>", "unknown content of Message");
    row("unknown part", fragment("<Reply/>"), "unknown content of Fragment");
    row("empty data", data(""), "wrong content of Request or Data");
    row("two elements in data", data("<v/><w/>"), "wrong content of Request or Data");
    row("text beside the element", data("x<v/>"), "wrong content of Request or Data");
    row("data twice", fragment("<Data><v/></Data><Data><v/></Data>"), "second part of the same kind");
    row("fragment without component", "<Message id=\"1\" service=\"1\"><Fragment/></Message>",
        "wrong attributes");
}

void TestMessageCodec::refused()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, complaint);
    QString error;
    QVERIFY(!MessageCodec::decode(text, error));
    QVERIFY2(error.contains(complaint), qPrintable(error));
    QVERIFY2(
        QRegularExpression(QStringLiteral("^line \\d+, column \\d+: .*, expected ")).match(error).hasMatch(),
        qPrintable(error));
}

void TestMessageCodec::cutAnywhereIsRefused()
{
    const QByteArray text = data("<v a='1'>&lt;\xC3\xA4<!-- c --><![CDATA[x]]></v>");
    for (int size = 0; size < text.size(); ++size) {
        QString error;
        QVERIFY2(!MessageCodec::decode(text.left(size), error), qPrintable(QString::number(size)));
        QVERIFY(!error.isEmpty());
        // The rest behind the end must not be taken for part of it.
        QVERIFY(!MessageCodec::decode(QByteArray::fromRawData(text.constData(), size), error));
    }
}

void TestMessageCodec::randomDamageNeverCrashes()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    const QByteArray text = data("<v a='1' b=\"&#10;\">&lt;\xC3\xA4<!-- c --><![CDATA[x]]><w/></v>");
    for (int round = 0; round < 20000; ++round) {
        QByteArray damaged = text;
        for (int i = 0; i <= round % 3; ++i)
            damaged[random.bounded(damaged.size())] = static_cast<char>(random.bounded(256));
        QString error;
        const ptrCXmlMessage message = MessageCodec::decode(damaged, error);
        QCOMPARE(message.constData() == nullptr, !error.isEmpty());
        if (!message)
            continue;
        // What was accepted can be written, and comes back the same.
        const ptrCXmlMessage again = MessageCodec::decode(encoded(*message), error);
        QVERIFY2(again, qPrintable(error + QString::fromLatin1(damaged.toPercentEncoding())));
        QCOMPARE(encoded(*again), encoded(*message));
    }
}

void TestMessageCodec::limits()
{
    MessageLimits limits;
    limits.maxDepth = 4;
    limits.maxFragments = 2;
    limits.maxMessageBytes = 400;
    QString error;
    QVERIFY(MessageCodec::decode(data("<v/>"), error, limits));
    QVERIFY(!MessageCodec::decode(data("<v><w/></v>"), error, limits));
    const auto fragments = [](int count) -> QByteArray {
        return "<Message id=\"1\" service=\"1\">" + QByteArray("<Fragment component=\"\"/>").repeated(count) +
               "</Message>";
    };
    QVERIFY(MessageCodec::decode(fragments(2), error, limits));
    QVERIFY(!MessageCodec::decode(fragments(3), error, limits));
    QVERIFY(!MessageCodec::decode(data("<v>" + QByteArray(400, 'x') + "</v>"), error, limits));
}

void TestMessageCodec::memoryIsBounded()
{
    const auto heapBytes = [] {
        const struct mallinfo2 info = mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd);
    };
    const double before = heapBytes();
    const int size = MessageLimits().maxMessageBytes;
    QString error;
    const ptrCXmlMessage message =
        MessageCodec::decode(data("<v>" + QByteArray("<a/>").repeated(size / 4 - 40) + "</v>"), error);
    QVERIFY2(message, qPrintable(error));
    QVERIFY2(heapBytes() - before <= 6.0 * size, qPrintable(QString::number((heapBytes() - before) / size)));

    constexpr int count = 1000;
    std::vector<CDataTree> requests;
    const double empty = heapBytes();
    for (int i = 0; i < count; ++i) {
        requests.emplace_back(QLatin1String("Set"));
        for (int k = 0; k < 10; ++k)
            requests.back().editRoot().append("Parameter", QString::number(k));
    }
    QVERIFY2(heapBytes() - empty <= 2048.0 * count,
             qPrintable(QString::number((heapBytes() - empty) / count)));
}

void TestMessageCodec::replyFillsRequest()
{
    CXmlMessage request(CXmlMessage::eSERVICE_QUERY);
    request.setMessageID(5);
    CMsgFragment asked(QStringLiteral("c"));
    asked.setRequestTree(CRequestTree(CDataTree(QLatin1String("Get"))));
    asked.setDataTree(CDataTree(QLatin1String("Stale")));
    request.addFragment(asked);
    request.addFragment(asked);
    CXmlMessage reply(CXmlMessage::eSERVICE_QUERY_REPLY);
    CMsgFragment answer(QStringLiteral("c"));
    answer.setFaultTree(CFaultTree(1, 2));
    reply.addFragment(answer);
    request.fillWithReply(reply);
    QCOMPARE(request.getServiceType(), CXmlMessage::eSERVICE_QUERY_REPLY);
    QCOMPARE(request.getMessageID(), 5U);
    QVERIFY(request.getFragment(0).hasRequestTree() && request.getFragment(0).hasFaultTree());
    QVERIFY(!request.getFragment(0).hasDataTree() && !request.getFragment(1).hasDataTree());
    reply.addFragment(answer);
    reply.addFragment(answer);
    request.fillWithReply(reply);
    QCOMPARE(request.getNumberOfFragments(), 3);
    QVERIFY_EXCEPTION_THROWN(request.getFragment(3), std::out_of_range);

    // By component, wherever it stands; what was not asked comes behind.
    CXmlMessage mixed(CXmlMessage::eSERVICE_QUERY);
    CXmlMessage answers(CXmlMessage::eSERVICE_QUERY_REPLY);
    for (const char* name : {"a", "b", "c"})
        mixed.addFragment(CMsgFragment(QLatin1String(name)));
    for (const char* name : {"stray", "c", "a"}) {
        CMsgFragment fragment{QString(QLatin1String(name))};
        fragment.setDataTree(CDataTree(QLatin1String(name)));
        answers.addFragment(fragment);
    }
    mixed.fillWithReply(answers);
    QCOMPARE(mixed.getFragment(0).getDataTree().getRootTagname().toString(), QStringLiteral("a"));
    QVERIFY(!mixed.getFragment(1).hasDataTree());
    QCOMPARE(mixed.getFragment(2).getDataTree().getRootTagname().toString(), QStringLiteral("c"));
    QCOMPARE(mixed.missingReply(), QStringLiteral("b"));
    QCOMPARE(mixed.getFragment(3).getComponentName(), QStringLiteral("stray"));
    mixed.removeReplyFragments();
    QCOMPARE(mixed.getNumberOfFragments(), 3);
    QVERIFY(mixed.missingReply().isEmpty());
}

void TestMessageCodec::generatorSkipsNothingAndNeverRepeats()
{
    CXmlMessage first;
    CXmlMessage second;
    first.setMessageID_byGenerator();
    second.setMessageID_byGenerator();
    QVERIFY(first.getMessageID() != 0);
    QCOMPARE(second.getMessageID(), first.getMessageID() + 1);
}

QTEST_GUILESS_MAIN(TestMessageCodec)
#include "tst_messagecodec.moc"
