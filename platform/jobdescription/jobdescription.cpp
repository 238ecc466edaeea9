#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>
#include <resourcemodel/fieldtable.h>

namespace JobXml {

RG_OBJECT_TABLE(ShortTimeSettings)
RG_OBJECT_TABLE(ShiftElement)
RG_OBJECT_TABLE(TransmissionSystem)
RG_OBJECT_TABLE(DemodulatorSettings)
RG_OBJECT_TABLE(FrequencyStoreEntry)

RG_OBJECT_TABLE(ShortTime_Profile)
RG_OBJECT_TABLE(FFP_Assignment)

} // namespace JobXml
