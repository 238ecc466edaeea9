#pragma once

#include <xmlmessaging/demandclassconverter.h>

namespace RESOURCEMANAGEMENT {
class ResourceDemandClassOverview;
}

namespace KoltaSimulation {

/// What a server answers when it is asked for its demand classes: one application for every kind of
/// processor, in the order in which the kinds first occur, each with its classes in the order of the
/// overview. Classes of unknown kinds are left out.
QVector<ResourceConverter::CResourceDemandClasses::Application>
demandClassAnswer(const RESOURCEMANAGEMENT::ResourceDemandClassOverview& overview);

} // namespace KoltaSimulation
