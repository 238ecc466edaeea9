#include <support/files.h>
#include <support/scriptedpeer.h>

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/koltaconnection.h>
#include <support/test.h>

#include <startup/cfgcenter.h>
#include <xmlmessaging/converters.h>

using Kolta::Fault;
using Kolta::FaultMessageHandler;
using ResourceConverter::CQueryFaultReference;
using Startup::CfgCenter;
using XmlCommon::CFaultTree;

namespace {

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
        QVERIFY(CfgCenter::Instance().Open(dir->filePath("kolta.ini"_s)));
    }

    void buildsChains()
    {
        const QHash<unsigned int, QString> table{{1, "one"_s}, {2, "two"_s}};
        const CFaultTree root(3, 5);
        const CFaultTree middle(2, 6, {"a"_s, "b"_s}, root);
        const Fault fault(CFaultTree(1, 7, {"x"_s}, middle), table);
        const QString unknown = "<No description because of unknown Fault ID: 3>"_s;
        QCOMPARE(fault.toString(true, false), "one (x)"_s);
        QCOMPARE(fault.toString(false, true), QString("one; Caused by:; two; Caused by:; "_s + unknown));
        QCOMPARE(fault.toString(true, true),
                 QString("one (x); Caused by:; two (a, b); Caused by:; "_s + unknown));
        // As many addenda as a server likes: their number must not stall whoever shows the text.
        const QByteArray many = "<Fault id=\"1\">" + QByteArray("<Addendum/>").repeated(300000) + "</Fault>";
        const CFaultTree tree(XmlCommon::CDataTree::fromXml(many));
        QCOMPARE(Fault(tree, table).getPlainAddenda().size(), 300000);
    }

    void tracesBadFaults()
    {
        Startup::TraceRecorder recorder;
        const Fault invalid(CFaultTree(), {});
        QCOMPARE(invalid.toString(true, true), "<Invalid fault description received>"_s);
        const auto tree = [](const char* xml) { return CFaultTree(XmlCommon::CDataTree::fromXml(xml)); };
        const Fault noNumber(tree("<Fault id=\"4294967296\"/>"), {});
        QCOMPARE(noNumber.getFaultID(), 0u);
        const Fault addenda(tree("<Fault id=\"1\"><Addendum><b/></Addendum><Addendum>y</Addendum></Fault>"),
                            {{1, "one"_s}});
        QCOMPARE(addenda.toString(true, true), "one (y)"_s);
        QVector<int> lines;
        for (const Startup::TraceRecord& record : recorder.records())
            lines.append(record.line);
        QCOMPARE(lines, QVector<int>({190, 190, 176}));
    }

    /// Whatever is configured before: what cannot be read is no file; what was read stays.
    void readsReferenceFiles()
    {
        const QString path = dir->filePath("f.sfr"_s);
        for (const bool isGood : {true, false}) {
            const QByteArray line = "7|" + QByteArray(100000, 'x') + '\n'; // too long to be kept
            QVERIFY(writeFile(path, isGood ? line + "7|seven\n" : line));
            Startup::TraceRecorder recorder;
            FaultMessageHandler handler;
            for (const QString& other : {QString(), dir->path(), dir->filePath("none"_s), "/dev/zero"_s}) {
                CfgCenter::Instance().SetValue("VeskConfiguration"_s, "FaultReferenceFile"_s, other);
                QVERIFY(!handler.Init("K"_s));
            }
            CfgCenter::Instance().SetValue("VeskConfiguration"_s, "FaultReferenceFile"_s, path);
            QCOMPARE(handler.Init("K"_s), isGood);
            QCOMPARE(recorder.count("\"<ID>|<text>\": 1"_s), 1);
            QCOMPARE(handler.ConvertFaultMessage(CFaultTree(7, 1)) == "seven"_s, isGood);
            QVERIFY(QFile::remove(path));
            QCOMPARE(handler.Init("K"_s), isGood);
        }
    }

    void writesReferenceFiles()
    {
        CQueryFaultReference query(referenceReply({{7, "se\r\nv\ne|n"_s}, {8, "é"_s}}));
        FaultMessageHandler handler;
        QSignalSpy written(&handler, &FaultMessageHandler::si_faultReferenceFile);
        const auto configure = [](const QString& path) {
            CfgCenter::Instance().SetValue("VeskConfiguration"_s, "FaultReferenceFile"_s, path);
        };
        handler.sl_QueryFaultReference(nullptr);
        // What cannot be written is known all the same, though to this handler only.
        QVERIFY(writeFile(dir->filePath("file"_s), "x"));
        for (const QString& folder : {"no/such"_s, "file"_s}) {
            const QString nowhere = dir->filePath(folder + "/Vesk.sfr"_s);
            configure(nowhere);
            FaultMessageHandler other;
            QSignalSpy told(&other, &FaultMessageHandler::si_faultReferenceFile);
            other.sl_QueryFaultReference(&query);
            QCOMPARE(told.count(), 0);
            QVERIFY(other.Init("K"_s) && !handler.Init("K"_s) && !QFile::exists(nowhere));
            QCOMPARE(other.ConvertFaultMessage(CFaultTree(7, 1)), "se v e"_s);
        }

        // Without a configured file it goes to the data folder, and is configured from then on.
        CfgCenter::Instance().Remove("VeskConfiguration"_s, "FaultReferenceFile"_s);
        Startup::AdministratorConfiguration::Instance().SetValue("TavikDataDir"_s,
                                                                 dir->filePath("new/data"_s));
        handler.sl_QueryFaultReference(&query);
        handler.sl_QueryFaultReference(&query);
        const QString path = dir->filePath("new/data/Vesk.sfr"_s);
        QCOMPARE(written.count(), 1);
        QCOMPARE(written.first().first().toString(), path);
        QCOMPARE(readFile(path), QByteArray("7|se v e|n\n8|\xC3\xA9\n"));
        FaultMessageHandler later;
        QVERIFY(handler.Init("K"_s) && later.Init("K"_s));
        QCOMPARE(later.ConvertFaultMessage(CFaultTree(8, 1)), handler.ConvertFaultMessage(CFaultTree(8, 1)));
    }

    void asksTheServerOnce()
    {
        Startup::AdministratorConfiguration::Instance().SetValue("TavikDataDir"_s, dir->path());
        ScriptedPeer peer;
        peer.rule = [&](const XmlCommon::CXmlMessage& message) {
            XmlCommon::CXmlMessage reply = peer.replyTo(message);
            if (CQueryFaultReference::isQuery(message.getFragment(0)))
                CQueryFaultReference::fillReply(reply.getFragment(0), {{7, "seven"_s}});
            peer.send(reply);
        };
        Kolta::KoltaConnection connection("K"_s, "1.0"_s, peer.host(), false);
        connection.initMessageHandler(this, SLOT(sl_loaded(XmlCommon::ptrCXmlMessage)));
        connection.open();
        QTRY_COMPARE(replies, QVector<int>{1});
        QCOMPARE(
            Kolta::KoltaConnection::getStaticFaultMessageHandler()->ConvertFaultMessage(CFaultTree(7, 1)),
            "seven"_s);
        connection.initMessageHandler(this, SLOT(sl_loaded(XmlCommon::ptrCXmlMessage)));
        QCOMPARE(replies, QVector<int>({1, 0}));
        QTRY_VERIFY(connection.isIdle());
        QVERIFY(connection.closeAndWaitForFinished(5000, false));
    }

private:
    std::unique_ptr<QTemporaryDir> dir;
    QVector<int> replies; ///< number of fragments of each
};

KOLTA_TEST(tst_FaultMessageHandler);
#include "tst_faultmessagehandler.moc"
