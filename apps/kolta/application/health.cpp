#include "health.h"

#include "session.h"

#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <startup/onelinetext.h>
#include <xmlmessaging/converters.h>

#include <QElapsedTimer>
#include <QJsonArray>

#include <algorithm>

namespace KoltaCli {

namespace {

/// More are counted only: a line of a monitoring system is short.
constexpr int kMostNamed = 5;

QString wordOf(Health health)
{
    static const char* const words[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return QLatin1String(words[static_cast<int>(health)]);
}

struct Finding
{
    Health health;
    QString text;
};

Finding findingOf(const SurveyedServer& server)
{
    if (!server.isLive()) {
        const bool isGone = server.standing == TreeMirror::Standing::Gone;
        return {isGone ? Health::Critical : Health::Warning,
                QStringLiteral("%1 is %2").arg(server.name, server.link)};
    }
    if (!server.figures || !server.figures->isConnected)
        return {Health::Critical, QStringLiteral("%1 is disconnected").arg(server.name)};
    if (server.figures->isUp)
        return {Health::Ok, QString()};
    return {Health::Warning,
            QStringLiteral("%1 is in state %2 %3")
                .arg(server.name, QString::number(server.figures->state), server.figures->stateText)};
}

QJsonObject toJson(const SurveyedServer& server, const Finding& finding)
{
    QJsonObject object{{QStringLiteral("server"), server.name},
                       {QStringLiteral("health"), wordOf(finding.health).toLower()},
                       {QStringLiteral("link"), server.link}};
    if (server.beatAgeMs >= 0)
        object[QStringLiteral("beatAgeMs")] = static_cast<double>(server.beatAgeMs);
    if (server.figures) {
        object[QStringLiteral("state")] = server.figures->state;
        object[QStringLiteral("stateText")] = server.figures->stateText;
    }
    return object;
}

/// The worst first, the rest counted.
QString textOf(QVector<Finding> findings)
{
    findings.erase(std::remove_if(findings.begin(), findings.end(),
                                  [](const Finding& finding) { return finding.health == Health::Ok; }),
                   findings.end());
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.health > b.health; });
    QStringList texts;
    for (const Finding& finding : findings.mid(0, kMostNamed))
        texts.append(finding.text);
    if (findings.size() > kMostNamed)
        texts.append(QStringLiteral("and %1 more").arg(findings.size() - kMostNamed));
    return texts.join(QLatin1String("; "));
}

/// What the servers have that are there.
struct Totals
{
    int up = 0;
    int free = 0;
    int tuners = 0;
    int productions = 0;
};

Totals totalsOf(const QVector<SurveyedServer>& servers)
{
    Totals totals;
    for (const SurveyedServer& server : servers) {
        if (!server.isLive() || !server.figures || !server.figures->isConnected)
            continue;
        totals.up += server.figures->isUp ? 1 : 0;
        totals.free += server.figures->freeTuners();
        totals.tuners += server.figures->tuners();
        totals.productions += server.figures->productions;
    }
    return totals;
}

} // namespace

int HealthReport::print(bool json) const
{
    const int code = static_cast<int>(health);
    if (json) {
        QJsonObject object = details;
        object[QStringLiteral("health")] = wordOf(health).toLower();
        object[QStringLiteral("code")] = code;
        object[QStringLiteral("text")] = text;
        printJson(object);
        return code;
    }
    // What came from a server must not look like a line, or the figures, of its own.
    QString line = Startup::oneLineText(text).replace(QLatin1Char('|'), QLatin1Char('/'));
    QStringList figures;
    for (const auto& [label, value] : measured)
        figures.append(label + QLatin1Char('=') + value);
    if (!figures.isEmpty())
        line += QStringLiteral(" | ") + figures.join(QLatin1Char(' '));
    printLine(wordOf(health) + QStringLiteral(": ") + line);
    return code;
}

HealthReport healthOf(const QVector<SurveyedServer>& servers, const QString& problem)
{
    HealthReport report;
    QVector<Finding> findings;
    QJsonArray list;
    for (const SurveyedServer& server : servers) {
        findings.append(findingOf(server));
        list.append(toJson(server, findings.last()));
        report.health = std::max(report.health, findings.last().health);
    }
    report.details[QStringLiteral("servers")] = list;
    if (servers.isEmpty() || !problem.isEmpty()) {
        report.health = Health::Unknown;
        report.text = problem.isEmpty() ? QStringLiteral("no server publishes itself there") : problem;
        return report;
    }
    const Totals totals = totalsOf(servers);
    report.text = report.health == Health::Ok
                      ? QStringLiteral("%1 up, %2 of %3 free, %4")
                            .arg(counted(totals.up, QStringLiteral("server")), QString::number(totals.free),
                                 counted(totals.tuners, QStringLiteral("tuner")),
                                 counted(totals.productions, QStringLiteral("production")))
                      : textOf(findings);
    report.measured = {{QStringLiteral("servers"), QString::number(servers.size())},
                       {QStringLiteral("up"), QString::number(totals.up)},
                       {QStringLiteral("tuners"), QString::number(totals.tuners)},
                       {QStringLiteral("free"), QString::number(totals.free)},
                       {QStringLiteral("productions"), QString::number(totals.productions)}};
    return report;
}

HealthReport healthOf(Session& session, int timeoutMs)
{
    using XmlCommunication::CAppDescription;
    const QString server = session.endpoint().toString();
    HealthReport report;
    report.health = Health::Critical;
    report.details[QStringLiteral("server")] = server;
    if (!session.open(timeoutMs)) {
        report.text = session.errorText();
        return report;
    }
    QElapsedTimer timer;
    timer.start();
    const auto reply = session.request(
        makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY, CAppDescription::makeFragment()), timeoutMs);
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    if (!reply) {
        report.text = session.errorText();
        return report;
    }
    report.measured = {
        {QStringLiteral("time"), QString::number(milliseconds / 1000, 'f', 6) + QLatin1Char('s')}};
    report.details[QStringLiteral("replyMs")] = milliseconds;
    const QString problem = Kolta::KoltaConnection::getReplyProblem(reply);
    if (!problem.isEmpty()) { // it talks, but does not know who it is
        report.health = Health::Warning;
        report.text = QStringLiteral("%1: %2").arg(server, problem);
        return report;
    }
    const CAppDescription description(reply->getFragment(0));
    report.health = Health::Ok;
    report.text =
        QStringLiteral("%1 is %2 %3").arg(server, description.getAppName(), description.getVersion());
    return report;
}

} // namespace KoltaCli
