#include "commands.h"

#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/converters.h>

namespace KoltaCli {

namespace {

void print(const XmlCommunication::CAppDescription& description, bool json)
{
    const QVector<QPair<QString, QString>> rows{{QStringLiteral("name"), description.getAppName()},
                                                {QStringLiteral("guid"), description.getAppGuid()},
                                                {QStringLiteral("version"), description.getVersion()},
                                                {QStringLiteral("build"), description.getBuild()},
                                                {QStringLiteral("interface"), description.getInterface()}};
    QJsonObject object;
    Table table({QStringLiteral("FIELD"), QStringLiteral("VALUE")});
    for (const auto& row : rows) {
        object[row.first] = row.second;
        table.addRow({row.first, row.second});
    }
    if (json)
        printJson(object);
    else
        printLine(table.toText());
}

} // namespace

int runDescribe(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("describe"),
                     QStringLiteral("Asks a server for its application description."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    if (!timeout)
        return eExitUsage;
    Endpoint endpoint;
    if (const auto exitCode = line.readEndpoint(0, endpoint))
        return *exitCode;

    Session session(endpoint);
    const auto query = makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY,
                                   XmlCommunication::CAppDescription::makeFragment());
    const auto reply =
        session.open(*timeout) ? session.request(query, *timeout) : XmlCommon::ptrCXmlMessage();
    if (!reply) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (Kolta::KoltaConnection::hasFault(reply)) {
        printError(Kolta::KoltaConnection::getFaultText(reply));
        return eExitFailed;
    }
    if (reply->getNumberOfFragments() == 0 ||
        !XmlCommunication::CAppDescription(reply->getFragment(0)).isCompatible()) {
        printError(QStringLiteral("%1 answered with something else than an application description")
                       .arg(endpoint.toString()));
        return eExitFailed;
    }
    print(XmlCommunication::CAppDescription(reply->getFragment(0)), line.json());
    return eExitOk;
}

} // namespace KoltaCli
