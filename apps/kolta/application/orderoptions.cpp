#include "orderoptions.h"

#include <kolta/cli/commandline.h>

#include <koltacommon/guidtext.h>

namespace KoltaCli {

using Kolta::ProductionOrder;

QStringList orderKinds()
{
    return {QStringLiteral("scp"), QStringLiteral("mcp"), QStringLiteral("ffp")};
}

QVector<Option> orderOptions()
{
    return {
        text("class", "name",
             "Tuner class; its cheapest free tuner is taken. An FFP without one is fed by the tuner of its "
             "MCP."),
        text("tuner", "tuner", "GUID or name of a tuner, instead of a class."),
        text("demand-class", "name",
             "Resource demand class, instead of that of the tuner class or the kind."),
        text("mcp", "MCP", "The MCP that an FFP runs in: GUID or name; not needed while there is only one."),
        text("name", "name", "Display name (the kind and a number)."),
        hertz("frequency", "Centre frequency: 98.5MHz, 98.5e6."),
        hertz("bandwidth", "Bandwidth: 5MHz, 300k."),
        text("storage", "unit",
             "GUID or name of a storage unit to which the tuner must have an interface; of one of them, "
             "when there are several.")};
}

QString readOrder(const CommandLine& line, ProductionOrder& order)
{
    order.kind = static_cast<ProductionOrder::Kind>(line.choice(0));
    order.tunerClass = line.value("class");
    order.tunerGuid = line.value("tuner");
    order.demandClass = line.value("demand-class");
    order.displayName = line.value("name");
    order.mcp = Kolta::guidFromText(line.value("mcp"));
    order.frequency = line.hertz("frequency");
    order.bandwidth = line.hertz("bandwidth");
    order.storageGuids = line.values("storage");
    const bool isFfp = order.kind == ProductionOrder::Kind::Ffp;
    if (line.isSet("tuner") && !order.tunerClass.isEmpty())
        return QStringLiteral("--tuner and --class exclude each other");
    if (!isFfp && order.tunerClass.isEmpty() && !line.isSet("tuner"))
        return QStringLiteral("--class is missing");
    if (!isFfp && line.isSet("mcp"))
        return QStringLiteral("--mcp is for an FFP");
    return {};
}

QVector<Option> needsOptions()
{
    return {hertz("frequency", "Only tuners that reach it: 98.5M, 98.5e6."),
            hertz("bandwidth", "Only tuners whose band is as wide: 5M, 300k."),
            text("storage", "GUID",
                 "Only tuners with an interface to this storage; several times for any of several.")};
}

Kolta::TunerNeeds needsFrom(const CommandLine& line)
{
    return {line.hertz("frequency"), line.hertz("bandwidth"), false};
}

QStringList storagesFrom(const CommandLine& line)
{
    QStringList storages = line.values("storage");
    for (QString& storage : storages) {
        const QUuid guid = Kolta::guidFromText(storage);
        if (!guid.isNull())
            storage = guid.toString();
    }
    return storages;
}

} // namespace KoltaCli
