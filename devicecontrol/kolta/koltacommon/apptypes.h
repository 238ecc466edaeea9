#pragma once

namespace Kolta {

/// What an application produces, and with which kind of processor. The numbers travel and index tables; other
/// numbers may occur and stand for "unknown".
enum eAppType : int {
    eAppUnknown = 0,
    eAppSCP = 1, ///< single-channel processing, kind "DCP"
    eAppMCP = 2, ///< multi-channel processing in software or hardware, kind "DCP"
    eAppFFP = 3,
    eAppDSC = 4,
    eAppFHP = 5,
    eAppFHA = 6
};

} // namespace Kolta
