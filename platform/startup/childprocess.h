#pragma once

#include <startup/export.h>

#include <QProcess>

namespace Startup {

/// A process that gets SIGTERM when the thread that has started it ends, however that comes about: nothing is
/// left behind by a program that is killed.
class KOLTA_STARTUP_EXPORT ChildProcess : public QProcess
{
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override;
};

} // namespace Startup
