#pragma once

#include <jobdescription/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Short-time profiles and their assignment to FFPs, as jobs carry them.

namespace JobXml {

#define RG_FIELDS_ShortTime_Profile(F)                                                                       \
    F(Text, QString, Name, Required, "name of the profile, which identifies it")                             \
    F(Bool, bool, UseFrequency, Optional, "the frequency range is in use")                                   \
    F(UInt, quint64, FrequencyMin, Optional, "lowest frequency, Hz")                                         \
    F(UInt, quint64, FrequencyMax, Optional, "highest frequency, Hz")                                        \
    F(Bool, bool, UseDuration, Optional, "the signal duration is in use")                                    \
    F(UInt, quint32, DurationMin, Optional, "shortest signal, in the unit of the source")                    \
    F(UInt, quint32, DurationMax, Optional, "longest signal, in the unit of the source")                     \
    F(Bool, bool, UseBandwidth, Optional, "the bandwidth is in use")                                         \
    F(UInt, quint32, BandwidthMin, Optional, "narrowest band, Hz")                                           \
    F(UInt, quint32, BandwidthMax, Optional, "widest band, Hz")                                              \
    F(Bool, bool, UseHopRate, Optional, "the hop rate is in use")                                            \
    F(Double, double, HopRate, Optional, "hops per second")                                                  \
    F(Bool, bool, UseSymbolRate, Optional, "the symbol rate is in use")                                      \
    F(UInt, quint32, SymbolRateMin, Optional, "lowest symbol rate, Bd")                                      \
    F(UInt, quint32, SymbolRateMax, Optional, "highest symbol rate, Bd")                                     \
    F(Bool, bool, UseShift, Optional, "the frequency shift is in use")                                       \
    F(UInt, quint32, ShiftMin, Optional, "smallest frequency shift, Hz")                                     \
    F(UInt, quint32, ShiftMax, Optional, "largest frequency shift, Hz")                                      \
    F(Bool, bool, UseModulation, Optional, "the modulation is in use")                                       \
    F(Int, qint8, Modulation, Optional, "code of the modulation, -128 to 127")                               \
    F(Bool, bool, HopperFlag, Optional, "flag of the hopper separation, carried unchanged")                  \
    F(UInt, quint8, ProfileType, Optional, "kind of the profile, at most 255, carried unchanged")

/// A class of short, bursty or hopping emissions.
class KOLTA_JOBDESCRIPTION_EXPORT ShortTime_Profile final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ShortTime_Profile)
};

#define RG_FIELDS_FFP_Assignment(F)                                                                          \
    F(Text, QString, FFP_GUID, Required, "GUID of the FFP, which identifies the assignment")                 \
    F(UInt, quint16, ResourceID, Optional, "number of the FFP in the resource model, at most 65535")         \
    F(UInt, quint32, RadioID, Optional, "identifier of the radio, carried unchanged")                        \
    F(Bool, bool, Enabled, Optional, "the assignment is active")                                             \
    F(Bool, bool, AutoRecording, Optional, "detected emissions are recorded")                                \
    F(UInt, quint32, MinCoverage, Optional, "minimum coverage, 0 to 100 per cent")                           \
    F(TextList, QString, ProfileName, Optional, "names of the assigned profiles")                            \
    F(Int, qint32, SetupValue, Optional, "value of the production setup, carried unchanged")                 \
    F(Bool, bool, SetupFlag, Optional, "flag of the production setup, carried unchanged")

/// Tells one FFP which profiles it looks for, and how.
class KOLTA_JOBDESCRIPTION_EXPORT FFP_Assignment final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(FFP_Assignment)
};

} // namespace JobXml
