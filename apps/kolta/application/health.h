#pragma once

#include "survey.h"

#include <QJsonObject>
#include <QPair>
#include <QString>
#include <QVector>

namespace KoltaCli {

class Session;

/// What a monitoring system wants to know. The values are the exit codes that such systems agree on.
enum class Health { Ok = 0, Warning = 1, Critical = 2, Unknown = 3 };

/// The answer to a check: one line, one exit code.
struct HealthReport
{
    Health health = Health::Ok;
    QString text;                              ///< for people
    QVector<QPair<QString, QString>> measured; ///< label and value with its unit, for graphs
    QJsonObject details;                       ///< what --json has besides

    /// Prints it and gives its exit code.
    int print(bool json) const;
};

/// Critical when a server is gone, Warning when one is not quite there or not up, Unknown when nobody can
/// tell. `problem`: why there is no connection to look over; empty for none.
HealthReport healthOf(const QVector<SurveyedServer>& servers, const QString& problem);
/// Of a server that is asked who it is over the XML protocol. `session` is not open yet.
HealthReport healthOf(Session& session, int timeoutMs);

} // namespace KoltaCli
