#include <xmlmessaging/converters.h>
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

void TestConverters::foreignFragmentsFit()
{
    for (const CMsgFragment& other : {CMsgFragment(), CEventFilterConverter::makeFragment(QString())}) {
        QVERIFY(!CAppDescription::isQuery(other) && !CAppDescription(other).isCompatible());
        QVERIFY(!CRequestTreeConverter::isCommand(other));
        QVERIFY(!ResourceConverter::CQueryFaultReference::isQuery(other));
        QVERIFY(!ResourceConverter::CQueryFaultReference(other).isCompatible());
    }
    QVERIFY(CEventFilterConverter::getComponent(CAppDescription::makeFragment()).isEmpty());
}

QTEST_GUILESS_MAIN(TestConverters)
#include "tst_converters.moc"
