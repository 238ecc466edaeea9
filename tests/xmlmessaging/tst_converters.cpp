#include <support/test.h>
#include <xmlmessaging/converters.h>
#include <xmlmessaging/demandclassconverter.h>
#include <xmlmessaging/hopperconverters.h>
#include <xmlmessaging/messagecodec.h>

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

/// What the converters answer beside what they read and write, which the seeds of the fuzz target tell.
class TestConverters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestsAreToldApart()
    {
        using namespace ResourceConverter;
        using namespace SigVConverter;
        QVERIFY(CQueryFaultReference::isQuery(sent(CQueryFaultReference::makeFragment())));
        const CMsgFragment classes = sent(CResourceDemandClasses::makeFragment());
        QVERIFY(CResourceDemandClasses::isQuery(classes) && CResourceDemandClasses(classes).isFailure());
        const CMsgFragment separation = sent(CFHSeparationParameters::makeFragment());
        QVERIFY(CFHSeparationParameters::isQuery(separation));
        QVERIFY(!CFHSeparationParameters::isCommand(separation));
        const CMsgFragment separate = sent(CFHSeparationParameters::makeCommand({{}}));
        QVERIFY(CFHSeparationParameters::isCommand(separate));
        QVERIFY(!CFHSeparationParameters::isQuery(separate));
        QCOMPARE(CFHSeparationParameters(separate).getProfiles().size(), 1);
        const CMsgFragment production = sent(CQueryHopperProduction::makeFragment());
        QVERIFY(CQueryHopperProduction::isQuery(production));
        QVERIFY(!CSetHopperProduction::isCommand(production));
        const CMsgFragment produce = sent(CSetHopperProduction().makeFragment());
        QVERIFY(CSetHopperProduction::isCommand(produce) && !CQueryHopperProduction::isQuery(produce));
    }

    void aFaultIsAFailure()
    {
        using ResourceConverter::CResourceDemandClasses;
        CMsgFragment fragment = CResourceDemandClasses::makeFragment();
        CResourceDemandClasses::fillReply(fragment, {{CResourceDemandClasses::eFHP, {{}}}});
        QVERIFY(!CResourceDemandClasses(sent(fragment)).isFailure());
        fragment.setFaultTree(CFaultTree(7, 0, {}));
        const CResourceDemandClasses failed(sent(fragment));
        QVERIFY(failed.isCompatible() && failed.isFailure() && failed.getApplications().isEmpty());
    }

    void foreignFragmentsFit()
    {
        for (const CMsgFragment& other : {CMsgFragment(), CEventFilterConverter::makeFragment(QString())}) {
            QVERIFY(!CAppDescription::isQuery(other) && !CAppDescription(other).isCompatible());
            QVERIFY(!CRequestTreeConverter::isCommand(other));
            QVERIFY(!ResourceConverter::CQueryFaultReference::isQuery(other));
            QVERIFY(!ResourceConverter::CQueryFaultReference(other).isCompatible());
            QVERIFY(!ResourceConverter::CResourceDemandClasses::isQuery(other));
            QVERIFY(ResourceConverter::CResourceDemandClasses(other).isFailure());
            QVERIFY(!SigVConverter::CFHSeparationParameters(other).isCompatible());
            QVERIFY(!SigVConverter::CQueryHopperProduction(other).isCompatible());
            QVERIFY(!SigVConverter::CSetHopperProduction(other).isCompatible());
        }
        QVERIFY(CEventFilterConverter::getComponents(CAppDescription::makeFragment()).isEmpty());
    }
};

KOLTA_TEST(TestConverters);
#include "tst_converters.moc"
