#pragma once

namespace KoltaApps {

/// How the programs end. Scripts know the numbers, and each program's manual page those that it has.
enum eExitCode : int {
    eExitOk = 0,        ///< all went as it must
    eExitFailed = 1,    ///< the work could not be done
    eExitUsage = 2,     ///< the command line is wrong
    eExitNameTaken = 3, ///< another process has the name under which a server was to be shared
    eExitNoTree = 4     ///< none of the other processes' servers that are needed is there
};

} // namespace KoltaApps
