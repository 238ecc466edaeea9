#include <support/rows.h>
#include <support/testprogram.h>
#include <support/text.h>
#include <xmlmessaging/converters.h>
#include <xmlmessaging/demandclassconverter.h>
#include <xmlmessaging/hopperconverters.h>
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
    void faultReference()
    {
        const QVector<ResourceConverter::FaultDescription> faults{{4294967295U, "text <1> | ä"_s}};
        CMsgFragment fragment = sent(ResourceConverter::CQueryFaultReference::makeFragment());
        QVERIFY(ResourceConverter::CQueryFaultReference::isQuery(fragment));
        ResourceConverter::CQueryFaultReference::fillReply(fragment, faults);
        CDataTree tree = fragment.getDataTree();
        for (const char* id : {"", "x", "-1", "4294967296"})
            tree.editRoot().append("FaultText", "bad"_s).setAttribute("id", QString::fromLatin1(id));
        tree.editRoot().append("FaultText", "no number"_s);
        fragment.setDataTree(tree);
        const ResourceConverter::CQueryFaultReference reply(sent(fragment));
        QVERIFY(reply.isCompatible());
        QCOMPARE(reply.getFaults().size(), faults.size());
        QCOMPARE(reply.getFaults().last().id, faults.last().id);
        QCOMPARE(reply.getFaults().last().text, faults.last().text);
    }

    void demandClasses()
    {
        using ResourceConverter::CResourceDemandClasses;
        CResourceDemandClasses::ResourceDemandClass full;
        full.name = "sw <1> & ä"_s;
        full.info = QString();
        full.traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(-2147483647 - 1);
        full.hardwareProcessing = true;
        full.cpu = {-2147483647 - 1, 2147483647};
        full.ram = 1e300;
        full.maxBandwidth = 0.1;
        CMsgFragment fragment = sent(CResourceDemandClasses::makeFragment());
        QVERIFY(CResourceDemandClasses::isQuery(fragment) && CResourceDemandClasses(fragment).isFailure());
        CResourceDemandClasses::fillReply(fragment,
                                          {{static_cast<CResourceDemandClasses::eCOMPONENTS>(5), {}},
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
            "<DemandClasses><Other/><Application><DemandClass/></Application><Application "
            "component='4294967296'>"
            "<DemandClass traits='x' hardwareProcessing='TRUE'><Cpu credits='9999999999'/><Ram>inf</Ram>"
            "<MaxBandwidth>1e999</MaxBandwidth></DemandClass></Application></DemandClasses>"));
        const CResourceDemandClasses odd(sent(fragment));
        for (const auto& application : odd.getApplications()) {
            const auto& faulty = application.getResourceDemandClasses().at(0);
            QVERIFY(application.getComponent() == -1 && faulty.traits == -1 && !faulty.hardwareProcessing);
            QVERIFY(!faulty.ram && !faulty.maxBandwidth && (!faulty.cpu || faulty.cpu->credits == 0));
        }
    }

    void hopperSeparation()
    {
        using SigVConverter::CFHSeparationParameters;
        // Every member differs from its default and from its neighbours, so that none is lost or exchanged.
        CFHSeparationParameters::struHopperProfile full;
        full.name = "n <1> \"&\u00e4"_s;
        full.useFrequency = full.useBandwidth = full.useSymbolRate = full.useModulation = full.hopperFlag =
            true;
        std::tie(full.frequencyMin, full.frequencyMax) = std::make_pair(9007199254740993u, ~quint64(0));
        std::tie(full.durationMin, full.durationMax) = std::make_pair(1u, ~quint32(0));
        std::tie(full.bandwidthMin, full.bandwidthMax) = std::make_pair(2u, 3u);
        std::tie(full.symbolRateMin, full.symbolRateMax) = std::make_pair(4u, 5u);
        std::tie(full.shiftMin, full.shiftMax) = std::make_pair(6u, 7u);
        full.hopRate = 0.1;
        full.modulation = -128;
        CFHSeparationParameters::struHopperProfile other;
        other.useDuration = other.useHopRate = other.useShift = true;
        other.hopRate = -1e300;
        other.modulation = 127;

        const CMsgFragment command = sent(CFHSeparationParameters::makeCommand({full, other}));
        QVERIFY(CFHSeparationParameters::isCommand(command) && !CFHSeparationParameters::isQuery(command));
        const CFHSeparationParameters set(command);
        QVERIFY(set.isCompatible());
        CMsgFragment reply = sent(CFHSeparationParameters::makeFragment());
        QVERIFY(CFHSeparationParameters::isQuery(reply) && !CFHSeparationParameters(reply).isCompatible());
        CFHSeparationParameters::fillReply(reply, set.getProfiles());
        const CFHSeparationParameters got(sent(reply));
        QVERIFY(got.isCompatible());
        QCOMPARE(got.getProfiles().size(), 2);
        // The text of both was written from `full` and from what was read twice: it holds every member once.
        QVERIFY(CFHSeparationParameters::makeCommand(got.getProfiles()).getRequestTree().getDataTree() ==
                command.getRequestTree().getDataTree());
        QCOMPARE(QString::fromUtf8(CDataTree(command.getRequestTree().getDataTree().root().child()).toXml()),
                 "<Profile name=\"n &lt;1&gt; &quot;&amp;\u00e4\" hopper=\"true\">"
                 "<Frequency use=\"true\" min=\"9007199254740993\" max=\"18446744073709551615\"/>"
                 "<Duration use=\"false\" min=\"1\" max=\"4294967295\"/>"
                 "<Bandwidth use=\"true\" min=\"2\" max=\"3\"/>"
                 "<HopRate use=\"false\" value=\"0.1\"/>"
                 "<SymbolRate use=\"true\" min=\"4\" max=\"5\"/>"
                 "<Shift use=\"false\" min=\"6\" max=\"7\"/>"
                 "<Modulation use=\"true\" value=\"-128\"/></Profile>"_s);
        const auto& read = got.getProfiles().at(1);
        QVERIFY(read.useDuration && read.useHopRate && read.useShift && !read.useFrequency &&
                !read.hopperFlag);
        QVERIFY(read.hopRate == other.hopRate && read.modulation == 127 && read.name.isEmpty());
    }

    void hopperProduction()
    {
        using namespace SigVConverter;
        CSetHopperProduction command;
        command.setFfpGuid("{f}"_s);
        command.setResourceId(65535);
        command.setRadioId(4294967295U);
        command.setEnabled(true);
        command.setMinCoverage(51);
        command.setProfiles({" a,b "_s, QString(), "c\n"_s});
        const CMsgFragment fragment = sent(command.makeFragment());
        QVERIFY(CSetHopperProduction::isCommand(fragment) && !CQueryHopperProduction::isQuery(fragment));
        const CSetHopperProduction set(fragment);
        QVERIFY(set.isCompatible() && set.getEnabled() && !set.getAutoRecording());
        QCOMPARE(set.getFfpGuid(), command.getFfpGuid());
        QVERIFY(set.getResourceId() == 65535 && set.getRadioId() == 4294967295U &&
                set.getMinCoverage() == 51);
        QCOMPARE(set.getProfiles(), command.getProfiles());

        CQueryHopperProduction::struProductionSetup setup{
            set.getFfpGuid(), 1, 2, false, true, 3, set.getProfiles(), -2147483647 - 1, true};
        CMsgFragment reply = sent(CQueryHopperProduction::makeFragment());
        QVERIFY(CQueryHopperProduction::isQuery(reply) && !CQueryHopperProduction(reply).isCompatible());
        CQueryHopperProduction::fillReply(reply, {setup, {}});
        const CQueryHopperProduction got(sent(reply));
        QVERIFY(got.isCompatible() && got.getSetups().size() == 2);
        const auto& read = got.getSetups().first();
        QVERIFY(read.resourceId == 1 && read.radioId == 2 && !read.enabled && read.autoRecording);
        QVERIFY(read.minCoverage == 3 && read.setupValue == setup.setupValue && read.setupFlag);
        QCOMPARE(read.profiles, setup.profiles);
    }

    void badHopperFragments_data()
    {
        const Rows<QByteArray, QByteArray> row("profile setup"); // empty: in the setup
        for (const char* bad :
             {"<Frequency min='18446744073709551616'/>", "<Shift max='4294967296'/>", "<Duration min='-1'/>",
              "<Bandwidth use='yes'/>", "<Modulation value='128'/>", "<Modulation value='-129'/>",
              "<HopRate value='inf'/>", "<HopRate value=''/>"})
            row(bad, QByteArray(bad), QByteArray());
        for (const char* bad :
             {"resource='65536'", "radio='x'", "enabled='1'", "value='2147483648'", "flag=''"})
            row(bad, QByteArray(), QByteArray(bad));
    }

    void badHopperFragments()
    {
        using namespace SigVConverter;
        QFETCH(QByteArray, profile);
        QFETCH(QByteArray, setup);
        const auto treeOf = [](const QByteArray& xml) {
            QString error;
            const CDataTree tree = CDataTree::fromXml(xml, &error);
            return error.isEmpty() ? tree : CDataTree();
        };
        if (setup.isEmpty()) {
            CMsgFragment fragment = CFHSeparationParameters::makeFragment();
            fragment.setDataTree(treeOf("<Parameters><Profile/></Parameters>"));
            QVERIFY(CFHSeparationParameters(fragment).isCompatible());
            fragment.setDataTree(
                treeOf("<Parameters><Profile/><Profile>" + profile + "</Profile></Parameters>"));
            const CFHSeparationParameters parameters(fragment);
            QVERIFY(!parameters.isCompatible() && parameters.getProfiles().isEmpty());
            return;
        }
        CMsgFragment reply = CQueryHopperProduction::makeFragment();
        reply.setDataTree(treeOf("<Production><Setup/><Setup " + setup + "/></Production>"));
        const CQueryHopperProduction production(reply);
        QVERIFY(reply.hasDataTree() && !production.isCompatible() && production.getSetups().isEmpty());
        CMsgFragment command = reply;
        command.setRequestTree(CRequestTree(treeOf("<SetProduction ffp='{f}' " + setup + "/>")));
        const CSetHopperProduction set(command);
        QVERIFY(CSetHopperProduction::isCommand(command) && !set.isCompatible() &&
                set.getFfpGuid().isEmpty());
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
