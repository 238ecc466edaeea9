#pragma once

#include <jobdescription/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Entries of a frequency store: what is known of an emission and how it is demodulated.
///
/// Each group of values has a flag that tells whether the group is in use. The flags may be unset; what that
/// means is up to the reader, as a rule that values which are present are in use.

namespace JobXml {

#define RG_FIELDS_ShortTimeSettings(F)                                                                       \
    F(Double, double, RangeStartFrequency, Optional, "lower end of the frequency range, Hz")                 \
    F(Double, double, RangeStopFrequency, Optional, "upper end of the frequency range, Hz")                  \
    F(Bool, bool, UseRange, Optional, "the frequency range is in use")                                       \
    F(UInt, quint32, SignalLengthMin, Optional, "shortest signal, in the unit of the source")                \
    F(UInt, quint32, SignalLengthMax, Optional, "longest signal, in the unit of the source")                 \
    F(Bool, bool, UseSignalLength, Optional, "the signal length is in use")                                  \
    F(UInt, quint32, BandwidthMin, Optional, "narrowest band, Hz")                                           \
    F(UInt, quint32, BandwidthMax, Optional, "widest band, Hz")                                              \
    F(Bool, bool, UseBandwidth, Optional, "the bandwidth is in use")                                         \
    F(Double, double, HopsPerSecond, Optional, "hop rate, 1/s")                                              \
    F(Bool, bool, UseHopsPerSecond, Optional, "the hop rate is in use")

/// What distinguishes short emissions.
class KOLTA_JOBDESCRIPTION_EXPORT ShortTimeSettings final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ShortTimeSettings)
};

#define RG_FIELDS_ShiftElement(F)                                                                            \
    F(UInt, quint32, ShiftMin, Optional, "smallest frequency shift, Hz")                                     \
    F(UInt, quint32, ShiftMax, Optional, "largest frequency shift, Hz")                                      \
    F(Bool, bool, UseShift, Optional, "the shift is in use")

/// One frequency shift of a keyed transmission.
class KOLTA_JOBDESCRIPTION_EXPORT ShiftElement final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ShiftElement)
};

#define RG_FIELDS_TransmissionSystem(F)                                                                      \
    F(Text, QString, Mode, Optional, "modulation, such as \"FSK2\"")                                         \
    F(Bool, bool, UseMode, Optional, "the modulation is in use")                                             \
    F(UInt, quint32, BaudRateMin, Optional, "lowest symbol rate, Bd")                                        \
    F(UInt, quint32, BaudRateMax, Optional, "highest symbol rate, Bd")                                       \
    F(Bool, bool, UseBaudRate, Optional, "the symbol rate is in use")                                        \
    F(RecordList, ShiftElement, ShiftElement, Optional, "frequency shifts, the main one first")

/// How an emission is modulated.
class KOLTA_JOBDESCRIPTION_EXPORT TransmissionSystem final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TransmissionSystem)
};

#define RG_FIELDS_DemodulatorSettings(F)                                                                     \
    F(Record, TransmissionSystem, TransmissionSystem, Optional, "what is to be demodulated")

/// How an emission is demodulated.
class KOLTA_JOBDESCRIPTION_EXPORT DemodulatorSettings final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(DemodulatorSettings)
};

#define RG_FIELDS_FrequencyStoreEntry(F)                                                                     \
    F(Text, QString, ID, Optional, "name of the entry")                                                      \
    F(Record, ShortTimeSettings, ShortTimeSettings, Optional, "what distinguishes the emission")             \
    F(Record, DemodulatorSettings, DemodulatorSettings, Optional, "how it is demodulated")

/// One emission of a frequency store.
class KOLTA_JOBDESCRIPTION_EXPORT FrequencyStoreEntry final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(FrequencyStoreEntry)
};

} // namespace JobXml
