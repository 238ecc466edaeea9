#include <koltacommon/koltaconnection.h>
#include <values/tree.h>
#include <values/value.h>
#include <xmlmessaging/xmlmessage.h>

#include <QCoreApplication>

#include <cstdio>

/// Touches every library that an application links: a value in the tree, a message, a connection.
int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);

    auto* value = values::Tree::Instance().Emplace<values::StringValue>(QStringLiteral("/S1/State"),
                                                                        QStringLiteral("up"));
    XmlCommon::CXmlMessage message(XmlCommon::CXmlMessage::eSERVICE_QUERY);
    message.setMessageID_byGenerator();
    const Kolta::KoltaConnection connection(QStringLiteral("S1"), QStringLiteral("1.0"),
                                            QStringLiteral("127.0.0.1:4711"), false);

    const bool well = value != nullptr && value->GetPath() == QStringLiteral("/S1/State") &&
                      message.getMessageID() != 0 && connection.getPeerPort() == 4711;
    std::puts(well ? "consumer: all well" : "consumer: something is wrong");
    return well ? 0 : 1;
}
