#include <support/test.h>
#include <xmlmessaging/faulttree.h>
#include <xmlmessaging/messagecodec.h>

#include <thread>

using namespace XmlCommon;

class TestDataTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changingOneCopyLeavesTheOther()
    {
        CDataTree first = CDataTree::fromXml("<a><b>1</b><b>2</b></a>");
        const CDataTree second = first;
        QCOMPARE(first, second);
        first.editRoot().append("c", "3"_s);
        QCOMPARE(second.toXml(), QByteArray("<a><b>1</b><b>2</b></a>"));
        QCOMPARE(first.toXml(), QByteArray("<a><b>1</b><b>2</b><c>3</c></a>"));
        first.editRoot().append(second);
        first.editRoot().setText("t"_s);
        first.editRoot().setText("u"_s);
        QCOMPARE(first.toXml(), QByteArray("<a>u<b>1</b><b>2</b><c>3</c><a><b>1</b><b>2</b></a></a>"));
        const CDataTree part{first.root().child("c")};
        first = CDataTree();
        QCOMPARE(part.toXml(), QByteArray("<c>3</c>"));
        QVERIFY(first.isEmpty() && first.editRoot().append("x").isNull() &&
                first.root().child("a").next().text().isEmpty());
    }

    void treesOfOneMessageAreIndependent()
    {
        QString error;
        const ptrCXmlMessage message = MessageCodec::decode(
            "<Message id=\"1\" service=\"3\"><Fragment "
            "component=\"c\"><Request><r/></Request><Data><d>x</d></Data>"
            "<Fault id=\"1\"/></Fragment><Fragment component=\"e\"><Data><f/></Data></Fragment></Message>",
            error);
        QVERIFY2(message, qPrintable(error));
        CDataTree data = message->getFragment(0).getDataTree();
        data.editRoot().setAttribute("k", "v"_s);
        CDataTree last = message->getFragment(1).getDataTree();
        message->clearFragments();
        QCOMPARE(data.toXml(), QByteArray("<d k=\"v\">x</d>"));
        last.editRoot().setText("y"_s);
        QCOMPARE(last.toXml(), QByteArray("<f>y</f>"));
    }

    /// Finds its faults under the thread sanitizer.
    void copiesLiveOnDifferentThreads()
    {
        for (int round = 0; round < 200; ++round) {
            CDataTree mine = CDataTree::fromXml("<a><b>1</b></a>");
            QByteArray theirs;
            std::thread other([copy = mine, &theirs]() mutable {
                theirs = copy.toXml();
                copy.editRoot().append("theirs");
            });
            if (round % 2 == 0)
                QCOMPARE(mine.root().childText("b"), "1"_s);
            mine.editRoot().append("mine");
            mine.editRoot().setAttribute("n", quint64(round));
            other.join();
            QCOMPARE(theirs, QByteArray("<a><b>1</b></a>"));
            QCOMPARE(mine.toXml(), "<a n=\"" + QByteArray::number(round) + "\"><b>1</b><mine/></a>");
        }
    }

    void anyTextSurvives()
    {
        const QChar bad(QChar::ReplacementCharacter);
        const QString same[] = {"<a b=\"'&]]>"_s, "😀"_s, "\r\n\r\t "_s};
        QVector<QPair<QString, QString>> cases{{"a\u0001\u001f"_s, QLatin1Char('a') + QString(2, bad)},
                                               {QString(QChar(0xD800)) + QLatin1Char('x') + QChar(0xDC00),
                                                QString(bad) + QLatin1Char('x') + bad},
                                               {QChar(0xFFFF), bad}};
        for (const QString& text : same)
            cases.append({text, text});
        for (const auto& [text, expected] : qAsConst(cases)) {
            CDataTree tree(QLatin1String("t"));
            tree.editRoot().setText(text);
            tree.editRoot().setAttribute("a", text);
            QString error;
            const CDataTree back = CDataTree::fromXml(tree.toXml(), &error);
            QVERIFY2(!back.isEmpty(), qPrintable(error));
            QCOMPARE(back.root().text(), expected);
            QCOMPARE(back.root().attribute("a"), expected);
        }
    }

    void textIsNotLost()
    {
        const char* const cases[][2] = {
            {"<v>a<!-- c --> <!-- d -->b</v>", "<v>a b</v>"},
            {"<v> <![CDATA[<x>]]>\r\n<w/> <w> </w></v>", "<v> &lt;x&gt;\n<w/><w> </w></v>"},
            {"<v> <!-- --> </v>", "<v>  </v>"},
            {"<v>&#32;<w/>\n</v>", "<v>&#32;<w/></v>"},
            {"<v>a<w/>b<w/>c<!-- -->d</v>", "<v>a<w/>b<w/>cd</v>"},
            {"<v a='\t&#9;&quot;\r\n' b=''><![CDATA[]]></v>", "<v a=\" &#9;&quot; \" b=\"\"/>"}};
        for (const auto& [xml, expected] : cases) {
            QString error;
            CDataTree tree = CDataTree::fromXml(xml, &error);
            QCOMPARE(tree.toXml(), QByteArray(expected));
            CDataTree copy{tree.root()};
            QCOMPARE(copy.toXml(), QByteArray(expected));
            copy.editRoot().setText("Z"_s);
            copy.editRoot().setText(QString());
            QVERIFY2(copy.root().text().isEmpty() && !copy.toXml().contains('Z'), copy.toXml());
        }
        const CDataTree nested = CDataTree::fromXml("<a><b>1\n<c/></b><d x=\"&#x202E;\"><e/>\n</d></a>");
        QCOMPARE(nested.toReadableXml(),
                 "<a>\n  <b>1&#xA;<c/></b>\n  <d x=\"&#x202E;\">\n    <e/>\n  </d>\n</a>\n"_s);
    }

    void namesStayWellFormed()
    {
        for (const char* name : {"", "1a", "a b", "<", "-x", "a&b", "\"", "ok-1.2"}) {
            CDataTree tree{CTagname(QString::fromLatin1(name))};
            tree.editRoot().append(name);
            tree.editRoot().setAttribute(name, "v"_s);
            QString error;
            QVERIFY2(!CDataTree::fromXml(tree.toXml(), &error).isEmpty(), qPrintable(error));
        }
        QCOMPARE(CDataTree(QLatin1String("ok-1.2")).getRootTagname(), CTagname(QLatin1String("ok-1.2")));
    }

    void numbers()
    {
        const QStringList good{"0"_s, "007"_s, "18446744073709551615"_s};
        const QString bad = "| 1|1 |-1|+1|1.0|0x1|18446744073709551616|99999999999999999999999"_s;
        for (const QString& text : good + bad.split(QLatin1Char('|'))) {
            const bool valid = good.contains(text);
            CDataTree tree(QLatin1String("n"));
            tree.editRoot().setText(text);
            tree.editRoot().setAttribute("n", text);
            bool textOk = !valid;
            bool attributeOk = !valid;
            QCOMPARE(tree.root().textToUInt(&textOk), tree.root().attributeToUInt("n", &attributeOk));
            QVERIFY2(textOk == valid && attributeOk == valid, qPrintable(text));
            QCOMPARE(tree.root().textToUInt(), text.toULongLong() * (valid ? 1U : 0U));
        }
    }

    void faults()
    {
        const CFaultTree inner(17, 5);
        const CFaultTree fault(4294967295U, 1700000000000, {"first"_s, QString()}, inner);
        quint32 id = 0;
        QString text;
        QVERIFY(fault.isValid() && fault.getFaultID(id));
        QCOMPARE(id, 4294967295U);
        QCOMPARE(fault.getTimestamp(), quint64(1700000000000));
        QCOMPARE(fault.getNumberOfAddenda(), 2);
        QVERIFY(fault.getAddendum(1, text) && text.isEmpty());
        QVERIFY(!fault.getAddendum(2, text) && !fault.getAddendum(-1, text));
        QCOMPARE(fault.getCausationDataTree(), inner.getDataTree());
        CDataTree cause = fault.getCausationDataTree(); // shares the fault's content until it is changed
        cause.editRoot().setText("changed"_s);
        QVERIFY(cause != inner.getDataTree() && fault.getCausationDataTree() == inner.getDataTree());
        QVERIFY(!inner.hasCausationDataTree() && inner.getCausationDataTree().isEmpty());

        const CFaultTree odd(
            CDataTree::fromXml("<Fault id=\"4294967296\" timestamp=\"x\"><Addendum><b/></Addendum></Fault>"));
        QVERIFY(odd.isValid() && !odd.getFaultID(id) && !odd.getAddendum(0, text));
        QCOMPARE(odd.getTimestamp(), quint64(0));
        QVERIFY(!CFaultTree().isValid() && !CFaultTree(CDataTree(QLatin1String("Other"))).getFaultID(id));
    }
};

KOLTA_TEST(TestDataTree);
#include "tst_datatree.moc"
