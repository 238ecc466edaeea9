#include <koltacommon/generalrequests.h>
#include <support/test.h>

#include <xmlmessaging/converters.h>

using Kolta::AppDescriptionSlotInvoke;
using Kolta::ParameterRequest;
using Kolta::ptrKoltaRequest;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;
using XmlCommunication::CAppDescription;

/// Notes which of its slots was called and with what.
class Receiver : public QObject
{
    Q_OBJECT

public:
    QStringList calls;
    ptrKoltaRequest request;
    ptrCXmlMessage reply;

Q_SIGNALS:
    void si_none();

public Q_SLOTS:
    void sl_none() { calls.append("none"_s); }
    void sl_optional(int number = 3) { calls.append("optional %1"_s.arg(number)); }
    void sl_number(int) { calls.append("number"_s); }
    void sl_request(Kolta::ptrKoltaRequest given)
    {
        calls.append("request"_s);
        request = given;
    }
    void sl_reply(XmlCommon::ptrCXmlMessage given)
    {
        calls.append("reply"_s);
        reply = given;
    }
    void sl_app(const QString& name, const QString& guid, const QString& version, const QString& build,
                const QString& interfaceVersion)
    {
        calls = QStringList{name, guid, version, build, interfaceVersion};
    }
};

class tst_GeneralRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void choosesTheArgument()
    {
        const auto row = [](const char* slot, const char* called, int traces) {
            Startup::TraceRecorder recorder;
            Receiver receiver;
            const ptrKoltaRequest request(
                new ParameterRequest(ptrCXmlMessage(new CXmlMessage), &receiver, slot));
            QVERIFY(request->handleFault());
            const ptrCXmlMessage reply(new CXmlMessage);
            QVERIFY(!request->processReply(reply));
            QCOMPARE(receiver.calls.join(QLatin1Char(',')), QLatin1String(called));
            QVERIFY(!receiver.request || receiver.request == request);
            QVERIFY(!receiver.reply || receiver.reply == reply);
            QCOMPARE(static_cast<ParameterRequest&>(*request).getReply(), reply);
            QCOMPARE(recorder.records().size(), traces);
        };
        row(SLOT(sl_none()), "none", 0);
        row("0sl_none()", "none", 0);
        row(SLOT(sl_request(Kolta::ptrKoltaRequest)), "request", 0);
        row(SLOT(sl_reply(XmlCommon::ptrCXmlMessage)), "reply", 0);
        row(SLOT(sl_optional()), "optional 3", 0);
        // A slot that insists on an argument of another type cannot be called; the trace says so.
        row(SLOT(sl_number(int)), "", 1);
        row("2sl_none()", "", 1);
        row(SIGNAL(si_none()), "", 1);
        row("unknown()", "", 1);
        row("", "", 1);
    }
    void noticesDeadReceivers()
    {
        const QString gone = "Object that was expected to be notified on ParameterRequest "
                             "reply has been deleted in the meantime."_s;
        Startup::TraceRecorder recorder;
        auto* const receiver = new Receiver;
        const ptrCXmlMessage message(new CXmlMessage);
        const ptrKoltaRequest requests[] = {
            ptrKoltaRequest(new ParameterRequest(message, receiver, SLOT(sl_none()))),
            ptrKoltaRequest(new ParameterRequest(message, nullptr, SLOT(sl_none()))),
            ptrKoltaRequest(new ParameterRequest(message, receiver, nullptr)),
            ptrKoltaRequest(new AppDescriptionSlotInvoke(receiver, SLOT(sl_none()), QString()))};
        delete receiver;
        for (const ptrKoltaRequest& request : requests)
            QVERIFY(!request->processReply(message));
        QCOMPARE(recorder.count(gone), 4);
        QCOMPARE(recorder.records().last().line, 201);
    }

    void readsApplicationDescriptions()
    {
        Receiver receiver;
        const QString name = "S1"_s;
        AppDescriptionSlotInvoke invoke(&receiver, "sl_app(QString,QString,QString,QString,QString)", name);
        Kolta::AppDescription description;
        QVERIFY(CAppDescription::isQuery(invoke.getMessage()->getFragment(0)));
        QVERIFY(CAppDescription::isQuery(description.getMessage()->getFragment(0)));
        const ptrCXmlMessage reply(new CXmlMessage(CXmlMessage::eSERVICE_QUERY_REPLY));
        invoke.processReply(ptrCXmlMessage());
        invoke.processReply(reply);
        description.processReply(reply);

        XmlCommon::CMsgFragment fragment = CAppDescription::makeFragment();
        CAppDescription::fillReply(fragment, {name, "{g}"_s, "1.2"_s, "77"_s, "3"_s});
        reply->addFragment(fragment);
        Startup::TraceRecorder recorder;
        AppDescriptionSlotInvoke(&receiver, "sl_number(int)", name).processReply(reply);
        QCOMPARE(recorder.count("cannot be called"_s), 1);
        invoke.processReply(reply);
        description.processReply(reply);
        QVERIFY(receiver.calls.isEmpty());
        QTRY_COMPARE(receiver.calls.join(QLatin1Char(' ')), "S1 {g} 1.2 77 3"_s);
        QCOMPARE(description.getAppName(), name);
    }
};

KOLTA_TEST(tst_GeneralRequests);
#include "tst_generalrequests.moc"
