#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Tuner types with their parameter forms, and tuner classes, which group tuners for allocation.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_TunerTypeSettings(F)                                                                       \
    F(Text, QString, TypeName, Required, "tuner type name, as in Tuner/Type")                                \
    F(Text, QString, ParamGuiXmlFormular, Optional, "parameter form for tuners of the type, an XML text")

/// One tuner type.
class KOLTA_RESOURCEMODEL_EXPORT TunerTypeSettings final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(TunerTypeSettings)
};

#define RG_FIELDS_TunerTypeOverview(F)                                                                       \
    F(RecordList, TunerTypeSettings, TunerTypeSettings, Optional, "every tuner type")

/// All tuner types of one server.
class KOLTA_RESOURCEMODEL_EXPORT TunerTypeOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TunerTypeOverview)
};

#define RG_FIELDS_TunerClass(F)                                                                              \
    F(Text, QString, GUID, Required, "identity")                                                             \
    F(Text, QString, Name, Required, "class name, by which applications ask")                                \
    F(Text, QString, Description, Optional, "description for the user")                                      \
    F(Text, QString, RDC, Optional, "name of the resource demand class that its productions need")           \
    F(Int, qint32, CostPenalty, Optional, "what its use adds to a tuner's cost")                             \
    F(Bool, bool, HWProcessingRDC, Optional, "the demand class means hardware processing")                   \
    F(Text, QString, SuperclassGUID, Optional, "GUID of the enclosing class")                                \
    F(Text, QString, DefaultChild, Optional, "ID of the class or tuner chosen by default")                   \
    F(TextList, QString, TunerID, Optional, "tuner IDs of its own tuners")

/// A named group of tuners, possibly nested in another.
class KOLTA_RESOURCEMODEL_EXPORT TunerClass final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(TunerClass)
};

#define RG_FIELDS_TunerIdDefinition(F)                                                                       \
    F(Int, qint32, Choice, Optional, "0 or unset address, 1 serial number, 2 GUID, 3 display name")          \
    F(Text, QString, Script, Optional, "script that computes a tuner ID")

/// What identifies a tuner in the tuner classes.
class KOLTA_RESOURCEMODEL_EXPORT TunerIdDefinition final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TunerIdDefinition)
};

#define RG_FIELDS_TunerClassOverview(F)                                                                      \
    F(Record, TunerIdDefinition, TunerIdDefinition, Optional, "what identifies a tuner")                     \
    F(RecordList, TunerClass, TunerClass, Optional, "every tuner class")

/// All tuner classes of one server.
class KOLTA_RESOURCEMODEL_EXPORT TunerClassOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TunerClassOverview)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::TunerTypeSettings);
RG_RECORD_TYPE(RESOURCEMANAGEMENT::TunerClass);
