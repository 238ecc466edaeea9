#include <startup/childprocess.h>

#include <sys/prctl.h>

#include <csignal>

namespace Startup {

void ChildProcess::setupChildProcess()
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

} // namespace Startup
