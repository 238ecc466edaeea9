#include "commands.h"

#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

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
        table.print();
}

int describe(const CommandLine& line, Session& session)
{
    const auto reply = session.request(makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY,
                                                   XmlCommunication::CAppDescription::makeFragment()),
                                       line.timeoutMs());
    QString problem = reply ? Kolta::KoltaConnection::getReplyProblem(reply) : session.errorText();
    if (problem.isEmpty() && (reply->getNumberOfFragments() == 0 ||
                              !XmlCommunication::CAppDescription(reply->getFragment(0)).isCompatible()))
        problem = QStringLiteral("%1 answered with something else than an application description")
                      .arg(session.endpoint().toString());
    if (!problem.isEmpty()) {
        printError(problem);
        return eExitFailed;
    }
    print(XmlCommunication::CAppDescription(reply->getFragment(0)), line.json());
    return eExitOk;
}

} // namespace

Command describeCommand()
{
    return {"describe",
            "ask a server who it is",
            "Asks a server for its application description.",
            {Session::argument()},
            {},
            with(Session::startOpen, describe)};
}

} // namespace KoltaCli
