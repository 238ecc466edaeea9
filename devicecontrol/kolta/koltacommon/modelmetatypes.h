#pragma once

#include <resourcemodel/demandclasses.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/owners.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>

#include <QMetaType>

/// \file
/// Lets records of the resource model travel in queued signals.

Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ResourceOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ProcessingUnit::Registration)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ProcessingUnit::LocalStorage)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::StorageUnit::Registration)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ProcessorOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::HWProcessingOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::OwnerOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ResourceDemandClassOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::TunerTypeOverview)
