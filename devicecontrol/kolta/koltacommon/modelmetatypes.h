#pragma once

#include <resourcemodel/resources.h>

#include <QMetaType>

/// \file
/// Lets records of the resource model travel in queued signals.

Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ResourceOverview)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ProcessingUnit::Registration)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::ProcessingUnit::LocalStorage)
Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::StorageUnit::Registration)
