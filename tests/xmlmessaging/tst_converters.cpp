#include <xmlmessaging/converters.h>
#include <xmlmessaging/demandclassconverter.h>
#include <xmlmessaging/messagecodec.h>

#include <QtTest>

using namespace XmlCommon;
using namespace XmlCommunication;

namespace {

/// The fragment as the peer gets it.
CMsgFragment sent(const CMsgFragment& fragment)
{
    CXmlMessage message(CXmlMessage::eSERVICE_QUERY);
    message.addFragment(fragment);
    QByteArray text;
    MessageCodec::encode(message, text);
    QString error;
    const ptrCXmlMessage back = MessageCodec::decode(text, error);
    return back ? back->getFragment(0) : CMsgFragment();
}

} // namespace

class TestConverters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationDescription();
    void requestTreeSuppression();
    void eventFilter();
    void faultReferenceOfThousands();
    void demandClasses();
    void foreignFragmentsFit();
};

void TestConverters::applicationDescription()
{
    CMsgFragment fragment = sent(CAppDescription::makeFragment());
    QVERIFY(CAppDescription::isQuery(fragment) && !CAppDescription(fragment).isCompatible());
    CAppDescription::fillReply(fragment, {QStringLiteral("n & m"), QStringLiteral("{g}"),
                                          QStringLiteral("1.2"), QString(), QStringLiteral("7")});
    const CAppDescription description(sent(fragment));
    QVERIFY(description.isCompatible());
    QCOMPARE(description.getAppName(), QStringLiteral("n & m"));
    QCOMPARE(description.getAppGuid() + description.getVersion() + description.getBuild() +
                 description.getInterface(),
             QStringLiteral("{g}1.27"));
}

void TestConverters::requestTreeSuppression()
{
    for (const bool suppress : {true, false, true}) {
        CRequestTreeConverter converter;
        converter.setRequestTreeSuppression(!suppress);
        converter.setRequestTreeSuppression(suppress);
        const CMsgFragment fragment = sent(converter.makeFragment());
        QVERIFY(CRequestTreeConverter::isCommand(fragment));
        QCOMPARE(CRequestTreeConverter(fragment.getRequestTree()).getRequestTreeSuppression(), suppress);
    }
    QVERIFY(!CRequestTreeConverter().getRequestTreeSuppression());
}

void TestConverters::eventFilter()
{
    const CMsgFragment fragment = sent(CEventFilterConverter::makeFragment(QStringLiteral("*")));
    QCOMPARE(CEventFilterConverter::getComponent(fragment), QStringLiteral("*"));
}

void TestConverters::faultReferenceOfThousands()
{
    QVector<ResourceConverter::FaultDescription> faults;
    for (quint32 i = 0; i < 20000; ++i)
        faults.append({4294967295U - i, QStringLiteral("text <%1> | ä").arg(i)});
    CMsgFragment fragment = sent(ResourceConverter::CQueryFaultReference::makeFragment());
    QVERIFY(ResourceConverter::CQueryFaultReference::isQuery(fragment));
    ResourceConverter::CQueryFaultReference::fillReply(fragment, faults);
    CDataTree tree = fragment.getDataTree();
    for (const char* id : {"", "x", "-1", "4294967296"})
        tree.editRoot()
            .append("FaultText", QStringLiteral("bad"))
            .setAttribute("id", QString::fromLatin1(id));
    tree.editRoot().append("FaultText", QStringLiteral("no number"));
    fragment.setDataTree(tree);
    const ResourceConverter::CQueryFaultReference reply(sent(fragment));
    QVERIFY(reply.isCompatible());
    QCOMPARE(reply.getFaults().size(), faults.size());
    QCOMPARE(reply.getFaults().last().id, faults.last().id);
    QCOMPARE(reply.getFaults().last().text, faults.last().text);
}

void TestConverters::demandClasses()
{
    using ResourceConverter::CResourceDemandClasses;
    CResourceDemandClasses::ResourceDemandClass full;
    full.name = QStringLiteral("sw <1> & ä");
    full.info = QString();
    full.traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(-2147483647 - 1);
    full.hardwareProcessing = true;
    full.cpu = {-2147483647 - 1, 2147483647};
    full.ram = 1e300;
    full.maxBandwidth = 0.1;
    CMsgFragment fragment = sent(CResourceDemandClasses::makeFragment());
    QVERIFY(CResourceDemandClasses::isQuery(fragment) && CResourceDemandClasses(fragment).isFailure());
    CResourceDemandClasses::fillReply(fragment, {{static_cast<CResourceDemandClasses::eCOMPONENTS>(5), {}},
                                                 {CResourceDemandClasses::eFHP, {full, {}}}});
    const CResourceDemandClasses reply(sent(fragment));
    QVERIFY(reply.isCompatible() && !reply.isFailure());
    // Written again it is the same: nothing was lost or made up.
    CMsgFragment again = fragment;
    CResourceDemandClasses::fillReply(again, reply.getApplications());
    QVERIFY(again.getDataTree() == fragment.getDataTree());
    const auto& read = reply.getApplications().at(1).getResourceDemandClasses().at(0);
    QVERIFY(read.name == full.name && read.info && !read.displayInfo && read.traits == full.traits);
    QVERIFY(read.hardwareProcessing && read.cpu && read.cpu->credits == full.cpu->credits);
    QVERIFY(read.ram == full.ram && read.maxBandwidth == full.maxBandwidth);

    fragment.setFaultTree(CFaultTree(7, 0, {}));
    const CResourceDemandClasses failed(sent(fragment));
    QVERIFY(failed.isCompatible() && failed.isFailure() && failed.getApplications().isEmpty());

    fragment = CResourceDemandClasses::makeFragment();
    fragment.setDataTree(CDataTree::fromXml(
        "<DemandClasses><Other/><Application><DemandClass/></Application><Application component='4294967296'>"
        "<DemandClass traits='x' hardwareProcessing='TRUE'><Cpu credits='9999999999'/><Ram>inf</Ram>"
        "<MaxBandwidth>1e999</MaxBandwidth></DemandClass></Application></DemandClasses>"));
    const CResourceDemandClasses odd(sent(fragment));
    for (const auto& application : odd.getApplications()) {
        const auto& faulty = application.getResourceDemandClasses().at(0);
        QVERIFY(application.getComponent() == -1 && faulty.traits == -1 && !faulty.hardwareProcessing);
        QVERIFY(!faulty.ram && !faulty.maxBandwidth && (!faulty.cpu || faulty.cpu->credits == 0));
    }
}

void TestConverters::foreignFragmentsFit()
{
    for (const CMsgFragment& other : {CMsgFragment(), CEventFilterConverter::makeFragment(QString())}) {
        QVERIFY(!CAppDescription::isQuery(other) && !CAppDescription(other).isCompatible());
        QVERIFY(!CRequestTreeConverter::isCommand(other));
        QVERIFY(!ResourceConverter::CQueryFaultReference::isQuery(other));
        QVERIFY(!ResourceConverter::CQueryFaultReference(other).isCompatible());
        QVERIFY(!ResourceConverter::CResourceDemandClasses::isQuery(other));
        QVERIFY(ResourceConverter::CResourceDemandClasses(other).isFailure());
    }
    QVERIFY(CEventFilterConverter::getComponent(CAppDescription::makeFragment()).isEmpty());
}

QTEST_GUILESS_MAIN(TestConverters)
#include "tst_converters.moc"
