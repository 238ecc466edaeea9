#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgobject.h>

namespace REPORTGENERATOR {

/// Makes in `target` what differs between `before` and `mine`, all three of one class, and leaves the rest of
/// it alone: so a change that was made upon `before` is made upon what others have made of that meanwhile.
///
/// Records of a list are known by their GUIDs, which may be those of the records in them; without one, by all
/// their content. New ones come last, one that the target has by now stays as it is there, and what either
/// side has removed is removed. Fields are taken one by one, texts of a list too; where both have changed the
/// same, `mine` counts, but numbers of things are added up. The order of a list is the target's.
KOLTA_RESOURCEMODEL_EXPORT void MergeChanges(const IRGObject& before, const IRGObject& mine,
                                             IRGObject& target);

} // namespace REPORTGENERATOR
