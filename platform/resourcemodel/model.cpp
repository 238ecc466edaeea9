#include "fieldtable.h"

#include <resourcemodel/demandclasses.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/owners.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/requests.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>

namespace RESOURCEMANAGEMENT {

RG_OBJECT_TABLE(TavikResource)
RG_OBJECT_TABLE(Connection)
RG_OBJECT_TABLE(XGStorage)
RG_OBJECT_TABLE(Tuner)
RG_OBJECT_TABLE(ProcessingUnit)
RG_OBJECT_TABLE(StorageUnit)
RG_OBJECT_TABLE(ResourceOverview)

RG_OBJECT_TABLE(UsedProcessingUnit)
RG_OBJECT_TABLE(KoltaProcessor)
RG_OBJECT_TABLE(DataSource)
RG_OBJECT_TABLE(FFP)
RG_OBJECT_TABLE(FHA)
RG_OBJECT_TABLE(DSC)
RG_OBJECT_TABLE(FHP)
RG_OBJECT_TABLE(MCP)
RG_OBJECT_TABLE(SCP)
RG_OBJECT_TABLE(ProcessorOverview)

RG_OBJECT_TABLE(TunerTypeSettings)
RG_OBJECT_TABLE(TunerTypeOverview)
RG_OBJECT_TABLE(TunerClass)
RG_OBJECT_TABLE(TunerIdDefinition)
RG_OBJECT_TABLE(TunerClassOverview)

RG_OBJECT_TABLE(ResourceDemandClass)
RG_OBJECT_TABLE(ResourceDemandClassOverview)

RG_OBJECT_TABLE(HWProcessing)
RG_OBJECT_TABLE(HWProcessingOverview)

RG_OBJECT_TABLE(Owner)
RG_OBJECT_TABLE(OwnerOverview)
RG_OBJECT_TABLE(OwnerRequest)

RG_OBJECT_TABLE(TunerManagementRequest)
RG_OBJECT_TABLE(RequestResource)

} // namespace RESOURCEMANAGEMENT
