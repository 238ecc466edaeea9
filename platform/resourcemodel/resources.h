#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// What a server owns: tuners, processing units and storage units, with their states.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_TavikResource(F)                                                                           \
    F(Text, QString, GUID, Optional, "identity, a UUID in text form; compared as text")                      \
    F(Text, QString, Name, Optional, "name inside the installation")                                         \
    F(Text, QString, DisplayName, Optional, "name shown to the user; not unique")                            \
    F(Text, QString, Address, Optional, "where the resource is reached")                                     \
    F(Int, qint32, ResourceID, Optional, "number given by the server")

/// Identity of a resource: what tuners, units and processors have in common.
class KOLTA_RESOURCEMODEL_EXPORT TavikResource final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TavikResource)
};

#define RG_FIELDS_Connection(F)                                                                              \
    F(Text, QString, Type, Optional, "interface type")                                                       \
    F(Text, QString, Address, Optional, "where the interface is reached")

/// One interface between a tuner and a storage.
class KOLTA_RESOURCEMODEL_EXPORT Connection final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(Connection)
};

#define RG_FIELDS_XGStorage(F)                                                                               \
    F(Text, QString, GUID, Optional, "GUID of the storage unit")                                             \
    F(RecordList, Connection, Connection, Optional, "interfaces to it")

/// A storage that a tuner can record to directly.
class KOLTA_RESOURCEMODEL_EXPORT XGStorage final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(XGStorage)
};

#define RG_FIELDS_Tuner(F)                                                                                   \
    F(Record, TavikResource, TavikResource, Required, "identity")                                            \
    F(Text, QString, Type, Optional, "tuner type name")                                                      \
    F(Text, QString, SerialNumber, Optional, "serial number")                                                \
    F(Bool, bool, Accessible, Optional, "the server reaches the tuner")                                      \
    F(Bool, bool, Idle, Optional, "nothing uses the tuner; free is accessible and idle")                     \
    F(Text, QString, Options, Optional, "option codes of the device")                                        \
    F(Double, double, MinFrequency, Optional, "lowest frequency, Hz")                                        \
    F(Double, double, MaxFrequency, Optional, "highest frequency, Hz")                                       \
    F(Double, double, MaxSWBandwidth, Optional, "widest band for software processing, Hz")                   \
    F(Double, double, MaxHWBandwidth, Optional, "widest band for hardware processing, Hz")                   \
    F(Bool, bool, SupportsHardwareProcessing, Optional, "hardware processing is possible")                   \
    F(Bool, bool, SupportsPScan, Optional, "panorama scan is possible")                                      \
    F(Text, QString, Configuration, Optional, "device configuration, an XML text of its own")                \
    F(RecordList, XGStorage, XGStorage, Optional, "storages with a direct interface")

/// A receiver.
class KOLTA_RESOURCEMODEL_EXPORT Tuner final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(Tuner)
};

#define RG_FIELDS_ProcessingUnit(F)                                                                          \
    F(Record, TavikResource, TavikResource, Required, "identity")                                            \
    F(Enum, Registration, Registration, Optional, "0 unregistered, 1 registered")                            \
    F(Enum, LocalStorage, LocalStorage, Optional, "0 none, 3 offers local storage")                          \
    F(EnumList, Exclusion, Exclusion, Optional,                                                              \
      "applications that may not use its storage: 1 DCP, 2 FFP, 3 DSC, 4 FHP")

/// A computer on which processors run.
class KOLTA_RESOURCEMODEL_EXPORT ProcessingUnit final : public REPORTGENERATOR::IRGObject
{
public:
    enum Registration : int { eUnregistered = 0, eRegistered = 1 };
    /// Other numbers occur and are carried unchanged; only 3 means that applications may store here.
    enum LocalStorage : int { eNoLocalStorage = 0, eOffersLocalStorage = 3 };
    /// Kind of application that must not use the unit's local storage.
    enum Exclusion : int { eExcludeDCP = 1, eExcludeFFP = 2, eExcludeDSC = 3, eExcludeFHP = 4 };

    RG_RECORD(ProcessingUnit)
};

#define RG_FIELDS_StorageUnit(F)                                                                             \
    F(Record, TavikResource, TavikResource, Required, "identity")                                            \
    F(Enum, Registration, Registration, Optional, "0 unregistered, 1 registered")                            \
    F(Double, double, Capacity, Optional, "size, bytes")                                                     \
    F(Double, double, FreeCapacity, Optional, "free space, bytes")

/// A recorder or another store of signal data.
class KOLTA_RESOURCEMODEL_EXPORT StorageUnit final : public REPORTGENERATOR::IRGObject
{
public:
    enum Registration : int { eUnregistered = 0, eRegistered = 1 };

    RG_RECORD(StorageUnit)
};

/// Whether a processing or storage unit says that it is registered; one that says nothing is not.
template<class Unit>
bool isRegistered(const Unit& unit)
{
    return unit.IsRegistrationSet() && unit.GetRegistration() == Unit::eRegistered;
}

#define RG_FIELDS_ResourceOverview(F)                                                                        \
    F(Int, qint32, NumberOfTuners, Optional, "number of tuners as the server counts them")                   \
    F(RecordList, Tuner, Tuner, Optional, "every tuner of the server")                                       \
    F(RecordList, ProcessingUnit, ProcessingUnit, Optional, "every processing unit of the server")           \
    F(RecordList, StorageUnit, StorageUnit, Optional, "every storage unit of the server")

/// All resources of one server.
class KOLTA_RESOURCEMODEL_EXPORT ResourceOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ResourceOverview)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::Tuner);
RG_RECORD_TYPE(RESOURCEMANAGEMENT::ProcessingUnit);
RG_RECORD_TYPE(RESOURCEMANAGEMENT::StorageUnit);
