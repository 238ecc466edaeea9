#pragma once

#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>
#include <recording/recorddata.h>
#include <resourcemodel/demandclasses.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/owners.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/requests.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>

#include <memory>
#include <vector>

using ObjectPointer = std::unique_ptr<REPORTGENERATOR::IRGObject>;

template<typename... Classes>
std::vector<ObjectPointer> newObjects()
{
    std::vector<ObjectPointer> result;
    (result.push_back(std::make_unique<Classes>()), ...);
    return result;
}

/// One empty object of every class that is declared from a list of its fields, in the order of the
/// documentation.
inline std::vector<ObjectPointer> newObjectOfEachClass()
{
    using namespace RESOURCEMANAGEMENT;
    using namespace JobXml;
    using namespace SOREL_XML;
    return newObjects<ResourceOverview, Tuner, ProcessingUnit, StorageUnit, TavikResource, XGStorage,
                      Connection, ProcessorOverview, MCP, SCP, DSC, FHP, FFP, FHA, KoltaProcessor,
                      UsedProcessingUnit, DataSource, TunerTypeOverview, TunerTypeSettings,
                      TunerClassOverview, TunerIdDefinition, TunerClass, ResourceDemandClassOverview,
                      ResourceDemandClass, HWProcessingOverview, HWProcessing, OwnerOverview, Owner,
                      TunerManagementRequest, RequestResource, OwnerRequest, FrequencyStoreEntry,
                      ShortTimeSettings, DemodulatorSettings, TransmissionSystem, ShiftElement,
                      ShortTime_Profile, FFP_Assignment, SOREL_RecordData, SOREL_IndexEntry>();
}

/// A new empty object of the class, or null.
inline ObjectPointer newObject(const QString& className)
{
    for (ObjectPointer& object : newObjectOfEachClass())
        if (object->GetObjectName() == className)
            return std::move(object);
    return nullptr;
}
