#pragma once

#include "installation.h"

#include <simulation/installation.h>
#include <simulation/misbehaviour.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

/// The sample installation as it is in the source.
inline KoltaSimulation::Installation sampleInstallation()
{
    KoltaSimulation::Installation installation;
    QString error;
    if (!installation.load(installationFolder(), error))
        qFatal("%s", qPrintable(error));
    return installation;
}

/// A rule of misbehaviour from its text, which must be right.
inline KoltaSimulation::MisbehaviourRule misbehaviour(const QString& text)
{
    KoltaSimulation::MisbehaviourRule rule;
    QString error;
    if (!KoltaSimulation::MisbehaviourRule::fromText(text, rule, error))
        qFatal("%s", qPrintable(error));
    return rule;
}

/// Lets everybody work off what waits in the event loop now.
inline void turnOnce()
{
    bool turned = false;
    QTimer::singleShot(0, [&turned] { turned = true; });
    while (!turned)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
