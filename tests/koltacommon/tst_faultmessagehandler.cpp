#include "scriptedpeer.h"

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/koltaconnection.h>

#include <startup/cfgcenter.h>
#include <startup/errorhandler.h>
#include <xmlmessaging/converters.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <tuple>

using Kolta::Fault;
using Kolta::FaultMessageHandler;
using ResourceConverter::CQueryFaultReference;
using Startup::CfgCenter;
using XmlCommon::CFaultTree;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

XmlCommon::CMsgFragment referenceReply(const QVector<ResourceConverter::FaultDescription>& faults)
{
    XmlCommon::CMsgFragment fragment = CQueryFaultReference::makeFragment();
    CQueryFaultReference::fillReply(fragment, faults);
    return fragment;
}

} // namespace

class tst_FaultMessageHandler : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void sl_loaded(XmlCommon::ptrCXmlMessage reply) { replies.append(reply->getNumberOfFragments()); }

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        QVERIFY(CfgCenter::Instance().Open(dir->filePath(text("kolta.ini"))));
    }

    void buildsChains()
    {
        const QHash<unsigned int, QString> table{{1, text("one")}, {2, text("two")}};
        const CFaultTree root(3, 5);
        const CFaultTree middle(2, 6, {text("a"), text("b")}, root);
        const Fault fault(CFaultTree(1, 7, {text("x")}, middle), table);
        const QString unknown = text("<No description because of unknown Fault ID: 3>");
        QCOMPARE(fault.toString(true, false), text("one (x)"));
        QCOMPARE(fault.toString(false, true), QString(text("one; Caused by:; two; Caused by:; ") + unknown));
        QCOMPARE(fault.toString(true, true),
                 QString(text("one (x); Caused by:; two (a, b); Caused by:; ") + unknown));
        // As many addenda as a server likes: their number must not stall whoever shows the text.
        const QByteArray many = "<Fault id=\"1\">" + QByteArray("<Addendum/>").repeated(300000) + "</Fault>";
        const CFaultTree tree(XmlCommon::CDataTree::fromXml(many));
        QCOMPARE(Fault(tree, table).getPlainAddenda().size(), 300000);
    }

    void tracesBadFaults()
    {
        Startup::TraceRecorder recorder;
        const Fault invalid(CFaultTree(), {});
        QCOMPARE(invalid.toString(true, true), text("<Invalid fault description received>"));
        const auto tree = [](const char* xml) { return CFaultTree(XmlCommon::CDataTree::fromXml(xml)); };
        const Fault noNumber(tree("<Fault id=\"4294967296\"/>"), {});
        QCOMPARE(noNumber.getFaultID(), 0u);
        const Fault addenda(tree("<Fault id=\"1\"><Addendum><b/></Addendum><Addendum>y</Addendum></Fault>"),
                            {{1, text("one")}});
        QCOMPARE(addenda.toString(true, true), text("one (y)"));
        QVector<int> lines;
        for (const Startup::TraceRecord& record : recorder.records())
            lines.append(record.line);
        QCOMPARE(lines, QVector<int>({190, 190, 176}));
    }

    void readsReferenceFiles()
    {
        const QString none = text("<No description because of unknown Fault ID: 7>");
        /// A file's content, what it says about 7, and the line numbers in the trace.
        const std::tuple<QByteArray, QString, const char*> rows[] = {
            {"1|one\r\n\r\n7|s\xC3\xA9ven|more", text("séven"), ""},
            {"\xEF\xBB\xBF"
             "7|seven\n",
             text("seven"), ""},
            {"7|a\n7|b\n", text("b"), ""},
            {"ID|Text\nno bar\n-7|x\n4294967296|x\n7|seven\n", text("seven"), "1, 2, 3, 4"},
            {QByteArray("x\n").repeated(9) + "7|seven\n", text("seven"), "1, 2, 3, 4, 5, ..."},
            {"7|" + QByteArray(100000, 'x') + "\n7|seven\n", text("seven"), "1"},
            {QByteArray(50000, '\0'), none, "1"}};
        for (const auto& [content, textOf7, skipped] : rows) {
            const bool loaded = textOf7 != none;
            const QString path = dir->filePath(text("f.sfr"));
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
            file.close();
            Startup::TraceRecorder recorder;
            FaultMessageHandler handler;
            for (const QString& other :
                 {QString(), dir->path(), dir->filePath(text("none")), text("/dev/zero")}) {
                CfgCenter::Instance().SetValue(text("VeskConfiguration"), text("FaultReferenceFile"), other);
                QVERIFY(!handler.Init(text("K")));
            }
            CfgCenter::Instance().SetValue(text("VeskConfiguration"), text("FaultReferenceFile"), path);
            QCOMPARE(handler.Init(text("K")), loaded);
            QCOMPARE(recorder.count(text("skipped")), *skipped ? 1 : 0);
            QVERIFY(!*skipped || recorder.count(text("<text>\": ") + text(skipped)) == 1);
            QCOMPARE(handler.ConvertFaultMessage(CFaultTree(7, 1)), textOf7);
            QVERIFY(file.remove());
            QCOMPARE(handler.Init(text("K")), loaded);
        }
    }

    void writesReferenceFiles()
    {
        CQueryFaultReference query(referenceReply({{7, text("se\r\nv\ne|n")}, {8, text("é")}}));
        FaultMessageHandler handler;
        QSignalSpy written(&handler, &FaultMessageHandler::si_faultReferenceFile);
        const auto configure = [](const QString& path) {
            CfgCenter::Instance().SetValue(text("VeskConfiguration"), text("FaultReferenceFile"), path);
        };
        handler.sl_QueryFaultReference(nullptr);
        configure(dir->filePath(text("no/such/folder")));
        handler.sl_QueryFaultReference(&query);
        QCOMPARE(written.count(), 0);

        // Without a configured file it goes to the data folder, and is configured from then on.
        CfgCenter::Instance().Remove(text("VeskConfiguration"), text("FaultReferenceFile"));
        Startup::AdministratorConfiguration::Instance().SetValue(text("TavikDataDir"), dir->path());
        handler.sl_QueryFaultReference(&query);
        handler.sl_QueryFaultReference(&query);
        const QString path = dir->filePath(text("Vesk.sfr"));
        QCOMPARE(written.count(), 1);
        QCOMPARE(written.first().first().toString(), path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("7|se v e|n\n8|\xC3\xA9\n"));
        FaultMessageHandler later;
        QVERIFY(handler.Init(text("K")) && later.Init(text("K")));
        QCOMPARE(later.ConvertFaultMessage(CFaultTree(8, 1)), handler.ConvertFaultMessage(CFaultTree(8, 1)));
    }

    void asksTheServerOnce()
    {
        Startup::AdministratorConfiguration::Instance().SetValue(text("TavikDataDir"), dir->path());
        ScriptedPeer peer;
        peer.rule = [&](const XmlCommon::CXmlMessage& message) {
            XmlCommon::CXmlMessage reply = peer.replyTo(message);
            if (CQueryFaultReference::isQuery(message.getFragment(0)))
                CQueryFaultReference::fillReply(reply.getFragment(0), {{7, text("seven")}});
            peer.send(reply);
        };
        Kolta::KoltaConnection connection(text("K"), text("1.0"), peer.host(), false);
        connection.initMessageHandler(this, SLOT(sl_loaded(XmlCommon::ptrCXmlMessage)));
        connection.open();
        QTRY_COMPARE(replies, QVector<int>{1});
        QCOMPARE(
            Kolta::KoltaConnection::getStaticFaultMessageHandler()->ConvertFaultMessage(CFaultTree(7, 1)),
            text("seven"));
        connection.initMessageHandler(this, SLOT(sl_loaded(XmlCommon::ptrCXmlMessage)));
        QCOMPARE(replies, QVector<int>({1, 0}));
        QTRY_VERIFY(connection.isIdle());
        QVERIFY(connection.closeAndWaitForFinished(5000, false));
    }

private:
    std::unique_ptr<QTemporaryDir> dir;
    QVector<int> replies; ///< number of fragments of each
};

QTEST_GUILESS_MAIN(tst_FaultMessageHandler)
#include "tst_faultmessagehandler.moc"
