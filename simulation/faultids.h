#pragma once

#include <QtGlobal>

namespace KoltaSimulation {

/// Numbers of the faults that the simulated servers report; every fault reference must describe them.
enum FaultId : quint32 {
    eFaultNotUnderstood = 101,
    eFaultUnknownComponent = 102,
    eFaultUnknownOperation = 103,
    eFaultNoOperation = 104,
    eFaultParameterMissing = 105,
    eFaultParameterWrong = 106,
    eFaultWrongKind = 109,
    eFaultNoRight = 110,
    eFaultNoSuchResource = 201,
    eFaultLookUpFailed = 205,
    eFaultNoRegisterEntry = 206,
    eFaultAdministration = 301
};

} // namespace KoltaSimulation
