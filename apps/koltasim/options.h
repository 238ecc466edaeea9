#pragma once

#include <common/endpoint.h>

#include <simulation/activity.h>
#include <simulation/misbehaviour.h>

#include <QString>
#include <QStringList>
#include <QVector>

/// What the command line asks for.
struct Options
{
    QString installation; ///< folder
    int number = 0;       ///< of the server among many of this kind; 0: it is as the files have it
    int tuners = 0;       ///< of that server; 0: those of the files
    KoltaApps::Endpoint listen{QHostAddress(QHostAddress::LocalHost), KoltaApps::kAnyPort};
    QString tlsCertificate; ///< PEM with certificate and key; empty: what the configuration says
    QString tlsClients;     ///< PEM with the authority of the clients' certificates
    QString users;          ///< file of the users who may give commands
    bool plainNetwork = false;
    bool log = false;
    QVector<KoltaSimulation::MisbehaviourRule> misbehaviour;
    quint32 seed = 1;
    bool activity = false;
    int period = KoltaSimulation::Activity::kUsualPeriodMs; ///< milliseconds from one activity to the next
    QString publish; ///< URL of a broker; empty: the value tree is not shared
    QString branch;  ///< name under which it is; empty: that of the server
    bool takeOver = false;
};

/// What became of the command line.
enum class ParseResult {
    Run,  ///< the options are filled
    Show, ///< `message` is to be shown: the help or the version
    Wrong ///< `message` says what is wrong
};

ParseResult parseCommandLine(const QStringList& arguments, Options& options, QString& message);
