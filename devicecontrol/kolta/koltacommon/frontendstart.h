#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QStringList>

class QObject;
class QProcess;

namespace Kolta {

/// How the graphical front end of a driver is started: a program in the application's own folder.
struct KOLTA_COMMON_EXPORT FrontEndStart
{
    QString executable;
    QStringList arguments;
    QString workingDirectory; ///< the installation's data folder

    /// For a driver of that type at that address. Nothing, so an empty executable, for a type that is no
    /// plain name: it could lead to any program.
    static FrontEndStart of(const QString& type, const QString& address);

    /// Starts the front end and waits until it runs; its output is not read. Null, with a trace line, when it
    /// cannot be started.
    QProcess* run(QObject* parent) const;
    /// Starts it so that it outlives this program. Empty, or why it cannot be started.
    QString runOnItsOwn() const;
    /// Lets the GUI starter start the front end of such a driver. False, with a trace line, when the starter
    /// cannot be started.
    static bool runDetached(const QString& type, const QString& address);
};

} // namespace Kolta
