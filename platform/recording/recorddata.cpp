#include <recording/recorddata.h>
#include <resourcemodel/fieldtable.h>

namespace SOREL_XML {

RG_OBJECT_TABLE(SOREL_IndexEntry)
RG_OBJECT_TABLE(SOREL_RecordData)

} // namespace SOREL_XML
