#pragma once

#include <resourcemodel/rgobject.h>

#include <vector>

namespace REPORTGENERATOR {

/// Places of the records of an object that are looked into, by field; all others are known to be complete.
using RecordPlaces = std::vector<std::vector<int>>;

/// Check() of an object of which only some records need it; false with the same `error`.
bool check(const IRGObject& object, const RecordPlaces& places, QString& error);

} // namespace REPORTGENERATOR
